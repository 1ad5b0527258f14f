"""Errors that travel, threads, signals, and the ends and copies of processes and interpreters."""

import copy
import gc
import os
import pickle
import subprocess
import sys
import textwrap
import threading
import time
import zoneinfo

import numpy as np
import pytest

import plx
from support import SHORT, WHOLE, Cases, random_datetimes, same_bits

CALLS = 1_000_000 if WHOLE else 5_000 if SHORT else 20_000


def run(code, **options):
    program = "import numpy as np, plx\n" + textwrap.dedent(code)
    return subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, timeout=120, **options)


def errors():
    t = np.array(["2014-05-31", "2014-06-01"], "M8[s]")
    yield lambda: plx.set(t, "day", 1, zone="Europe/Pariss")
    yield lambda: plx.set(t, "day", [1, 1.5])
    yield lambda: plx.set(t.reshape(1, 2), "day", [1, 2**60])
    yield lambda: plx.set(t, "day", 31, check="raise", out=np.zeros_like(t))
    yield lambda: plx.set(t, "dday", 1)


def test_errors_keep_all_they_say():
    kinds = set()
    with Cases(5 * 3) as cases:
        for call in errors():
            with pytest.raises(plx.Error) as raised:
                call()
            error = raised.value
            kinds.add(type(error))
            for again in (pickle.loads(pickle.dumps(error)), copy.copy(error), copy.deepcopy(error)):
                assert type(again) is type(error) and str(again) == str(error)
                assert vars(again) == vars(error) and vars(error).keys() == {"identifier", "index", "written"}
                cases.add()
    assert {kind.__module__ for kind in kinds} == {"plx"}
    assert kinds == {plx.UnknownZone, plx.NotWhole, plx.OutOfRange, plx.Refused, plx.Error}


def test_errors_come_back_from_another_process():
    from concurrent.futures import ProcessPoolExecutor
    from multiprocessing import get_context

    with ProcessPoolExecutor(1, mp_context=get_context("spawn")) as pool:
        error = pool.submit(plx.set, np.zeros(3, "M8[s]"), "day", [1, 2, 2.5]).exception()
    assert type(error) is plx.NotWhole and error.index == 2


def test_references_are_steady():
    t = np.array(["2014-05-31T08:30", "NaT", "2014-06-01"], "M8[s]")
    values, wrong = np.array([1, 2, 3]), np.array([1, 2, 2.5])
    out, zone, paris = np.zeros(3, "M8[s]"), "Europe/Paris", zoneinfo.ZoneInfo("Europe/Paris")
    masked = np.ma.array(t, mask=[0, 1, 0])
    pair = plx.split(t)
    held = (t, values, wrong, out, zone, paris, masked, *pair, t.dtype)
    works = [
        lambda: plx.set(t, "day", 5),
        lambda: plx.set(t, "day", values, out=out, zone=zone),
        lambda: plx.set(t, "month", 2, zone=paris, fold="same", check="mask"),
        lambda: plx.set(t[::2], "day", "last"),
        lambda: plx.set(masked, "day", 1),
        lambda: plx.set(pair, "second", values),
        lambda: plx.get(t, "hour", zone=zone),
        lambda: plx.join(*plx.split(t), "M8[ms]"),
        lambda: plx.zones("paris"),
        lambda: plx.components(),
        lambda: plx.versions(),
    ]
    fails = [
        (plx.NotWhole, lambda: plx.set(t, "day", wrong, out=out)),
        (plx.UnknownZone, lambda: plx.set(t, "day", 1, zone="Europe/Pariss")),
        (plx.OutOfRange, lambda: plx.set(t, "year", 10**18)),
        (plx.Refused, lambda: plx.set(t, "month", 2, check="raise", zone=zone)),
        (plx.UnknownZone, lambda: plx.get(t, "day", zone="Europe/Pariss")),
        (TypeError, lambda: plx.set(t, "day", 1, zone=3)),
        (ValueError, lambda: plx.set(t, "day", values[:2])),
        (TypeError, lambda: plx.get(t.astype("m8[s]"), "day")),
    ]

    def raising(error, call):
        def work():
            try:
                call()
            except error:
                return
            raise AssertionError(f"no {error.__name__}")

        return work

    with Cases(2 * CALLS - len(works) - len(fails)) as cases:
        for calls in (works, [raising(*one) for one in fails]):
            for call in calls:
                for _ in range(50):
                    call()
                gc.collect()
                before = [sys.getrefcount(one) for one in held]
                times = CALLS // len(calls)
                growths = []
                # A leak grows each time; what the interpreter makes for itself does not.
                while not growths or (growths[-1] >= min(200, times // 4) and len(growths) < 3):
                    blocks = sys.getallocatedblocks()
                    for _ in range(times):
                        call()
                    gc.collect()
                    growths.append(abs(sys.getallocatedblocks() - blocks))
                    cases.add(times)
                assert growths[-1] < min(200, times // 4), growths
                assert [sys.getrefcount(one) for one in held] == before


def test_threads_work_side_by_side():
    t = random_datetimes(200_000, "ns")
    cases_of = [("month", 2, None), ("hour", 3, "America/New_York"), ("day", "last", None), ("second", 1.5, "Asia/Kolkata")]
    expected = [plx.set(t, component, value, zone=zone) for component, value, zone in cases_of]
    wrong = []
    with Cases(8 * 12) as cases:

        def work(number):
            for i in range(12):
                component, value, zone = cases_of[(number + i) % 4]
                results = plx.set(t, component, value, zone=zone, threads=1 + i % 3)
                if not same_bits(results, expected[(number + i) % 4]):
                    wrong.append((number, i))
                cases.add()

        threads = [threading.Thread(target=work, args=(number,)) for number in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    assert not wrong


def test_other_threads_run_meanwhile():
    t = random_datetimes(4_000_000, "ns")
    ticks = []
    stop = threading.Event()

    def tick():
        while not stop.is_set():
            time.sleep(0.0002)
            ticks.append(None)

    thread = threading.Thread(target=tick)
    interval = sys.getswitchinterval()
    # Nobody is made to give way: while the call works, the thread ticks only where the call lets it.
    sys.setswitchinterval(1000)
    try:
        thread.start()
        before = len(ticks)
        plx.set(t, "month", 2, zone="Europe/Paris")
        after = len(ticks)
    finally:
        sys.setswitchinterval(interval)
        stop.set()
        thread.join()
    assert after > before


def test_a_signal_stops_a_long_call():
    result = run(
        """
        import signal, threading, os
        t = np.zeros(20_000_000, 'M8[ns]')
        threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT)).start()
        try:
            while True:
                plx.set(t, 'month', 2, zone='Europe/Paris', out=t)
        except KeyboardInterrupt:
            print('stopped', plx.set(t[:1], 'month', 2).size)
        """
    )
    assert result.stdout == "stopped 1\n", result.stderr


def test_children_of_a_fork():
    t = random_datetimes(1000, "s")
    expected = plx.set(t, "hour", 3, zone="Europe/Paris")
    child = os.fork()
    if child == 0:
        os._exit(0 if same_bits(plx.set(t, "hour", 3, zone="Europe/Paris"), expected) else 1)
    assert os.waitpid(child, 0)[1] == 0


def test_the_interpreter_ends_while_threads_are_in_calls():
    with Cases(5) as cases:
        for _ in range(5):
            result = run(
                """
                import threading, time
                t = np.zeros(2_000_000, 'M8[ns]')
                def work():
                    while True:
                        plx.set(t, 'month', 2, zone='Europe/Paris')
                for _ in range(3):
                    threading.Thread(target=work, daemon=True).start()
                time.sleep(0.1)
                """
            )
            assert result.returncode == 0 and "Fatal" not in result.stderr, result.stderr
            cases.add()


def test_calls_at_exit():
    result = run("import atexit; atexit.register(lambda: print(plx.set(np.zeros(1, 'M8[D]'), 'day', 2)))")
    assert (result.returncode, result.stdout) == (0, "['1970-01-02']\n")


@pytest.mark.skipif(sys.version_info >= (3, 13), reason="the module of interpreters has another name")
def test_other_interpreters_are_refused():
    result = subprocess.run(
        [
            sys.executable,
            "-c",
            "import _xxsubinterpreters as i; i.run_string(i.create(), 'import plx._plx')",
        ],
        capture_output=True,
        text=True,
    )
    assert result.returncode != 0 and "plx works in the main interpreter alone" in result.stderr


def test_a_module_that_is_not_there():
    result = subprocess.run(
        [sys.executable, "-c", "import plx"], capture_output=True, text=True, env={**os.environ, "PLX_MODULE": "/none"}
    )
    assert result.returncode != 0 and "ImportError: plx: " in result.stderr and "/none" in result.stderr


def test_another_locale_changes_nothing():
    code = "print(plx.set(np.zeros(1, 'M8[h]'), 'hour', 9, zone='+05:30'))"
    results = {run(code, env={**os.environ, "LC_ALL": name}).stdout for name in ("C", "fi_FI.UTF-8", "en_US.UTF-8")}
    assert len(results) == 1 and results.pop().startswith("['19")


def test_the_file_serves_every_python():
    # What it asks of Python is in the stable ABI, and it asks nothing of NumPy.
    import plx._plx as extension

    assert extension.__file__.endswith(".abi3.so")
    listed = subprocess.run(["nm", "-D", "--undefined-only", extension.__file__], capture_output=True, text=True, check=True)
    names = [line.split()[-1].split("@")[0] for line in listed.stdout.splitlines()]
    asked = {name for name in names if name.startswith(("Py", "_Py"))}
    private = {name for name in asked if name.startswith("_Py")}
    assert len(asked) > 20 and private <= {"_Py_NoneStruct", "_Py_Dealloc", "_Py_BuildValue_SizeT"}
