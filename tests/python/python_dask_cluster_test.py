"""Dask's distributed scheduler with two worker processes on the loopback address: equal bits, errors across the wire,
workers that differ, workers that are killed."""

import contextlib
import doctest
import hashlib
import itertools
import os
import shutil
import signal
import subprocess
import sys
import time

import numpy as np
import pytest

distributed = pytest.importorskip("distributed", reason="python3-distributed is missing")

import dask
import dask.array as da
from distributed import Client, LocalCluster, futures_of, wait

import plx
import plx.dask
from support import COMPONENTS, WHOLE, Cases, random_datetimes, same_bits

ZONES = [None, "UTC", "UTCLeapSeconds", "America/New_York", "+05:30"]
DTYPES = ["M8[ns]", "M8[s]", "complex128"]
PROGRAM = os.environ["PLX_PROGRAM"]


@pytest.fixture(scope="module")
def cluster(tmp_path_factory):
    """One for all: a worker takes a second or two to start."""
    with dask.config.set({"temporary-directory": str(tmp_path_factory.mktemp("dask"))}):
        with local_cluster() as cluster:
            yield cluster


def local_cluster(**options):
    return LocalCluster(n_workers=2, threads_per_worker=1, host="127.0.0.1", dashboard_address=None, **options)


@pytest.fixture
def client(cluster):
    with Client(cluster) as client:
        yield client


@contextlib.contextmanager
def worker(cluster, client, folder, name, **environment):
    """One more worker, in an environment of its own."""
    command = [
        sys.executable, "-m", "distributed.cli.dask_worker", cluster.scheduler_address, "--name", name, "--nthreads", "1",
        "--no-nanny", "--no-dashboard", "--host", "127.0.0.1", "--local-directory", str(folder),
    ]  # fmt: skip
    count = len(client.scheduler_info()["workers"])
    with open(folder / f"{name}.log", "w") as log:
        process = subprocess.Popen(command, env={**os.environ, **environment}, stdout=log, stderr=log)
        try:
            client.wait_for_workers(count + 1, timeout=180)
            workers = client.scheduler_info()["workers"]
            yield next(address for address, known in workers.items() if known["name"] == name)
        finally:
            process.terminate()
            process.wait(180)
            wait_until(lambda: len(client.scheduler_info()["workers"]) == count)


def wait_until(is_so, seconds=180):
    end = time.monotonic() + seconds
    while not is_so():
        assert time.monotonic() < end, "waited in vain"
        time.sleep(0.02)


def moments(dtype, count=20_000):
    t = random_datetimes(count, "ns", last="2012-12-31")
    if dtype == "complex128":
        high, low = plx.split(t)
        return high + 1j * low
    return t.astype(dtype)


def test_the_bytes_of_one_call_and_of_the_command_line(client, tmp_path):
    kinds = list(itertools.product(COMPONENTS, ZONES, DTYPES))[:: 1 if WHOLE else 9]
    chunks = itertools.cycle([7000, 4096, ((0, 3, 11_000, 0, 1, 8996),)])
    lazy, expected = [], []
    for number, (component, zone, dtype) in enumerate(kinds):
        t = moments(dtype)
        allowed = COMPONENTS[component]
        lazy.append(plx.dask.set(da.from_array(t, chunks=next(chunks)), component, allowed[len(allowed) // 2], zone=zone))
        expected.append(plx.set(t, component, allowed[len(allowed) // 2], zone=zone))
    with Cases(len(COMPONENTS) * len(ZONES) * len(DTYPES) if WHOLE else 15) as cases:
        for kind, one, results in zip(kinds, expected, client.gather(client.compute(lazy))):
            assert same_bits(results, one), kind
            cases.add()
    np.save(tmp_path / "x.npy", moments("M8[ns]"))
    subprocess.run(
        [PROGRAM, "set", "hour", "9", "--zone", "America/New_York", "x.npy", "-o", "y.npy"],
        cwd=tmp_path, check=True, capture_output=True,
    )  # fmt: skip
    x = da.from_array(np.load(tmp_path / "x.npy", mmap_mode="r"), chunks=1733)
    assert same_bits(plx.dask.set(x, "hour", 9, zone="America/New_York").compute(), np.load(tmp_path / "y.npy"))


def test_the_page(cluster, monkeypatch):
    # One cluster is enough.
    monkeypatch.setattr(distributed, "LocalCluster", lambda **options: cluster)
    page = os.path.join(os.environ["PLX_SOURCE_DIR"], "docs", "dask.md")
    failed, tried = doctest.testfile(page, module_relative=False, optionflags=doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE)
    with Cases(25) as cases:
        cases.add(tried)
    assert failed == 0


def test_an_error_crosses_the_wire_and_nothing_else_is_lost(client):
    t = moments("M8[s]")
    days = np.ones(len(t))
    days[12_345] = 1.5
    results = plx.dask.set(da.from_array(t, chunks=1000), "day", days).persist()
    futures = {future.key[1]: future for future in futures_of(results)}
    wait(list(futures.values()), return_when="ALL_COMPLETED", timeout=180)
    with pytest.raises(plx.NotWhole) as alone:
        plx.set(t, "day", days)
    error = futures.pop(12).exception()
    assert type(error) is plx.NotWhole and error.index == 12_345 and error.identifier == alone.value.identifier
    assert str(error) == str(alone.value)
    with Cases(19) as cases:
        for number, future in futures.items():
            part = slice(number * 1000, (number + 1) * 1000)
            assert same_bits(future.result(), plx.set(t[part], "day", 1))
            cases.add()
    with pytest.raises(plx.NotWhole, match="^element 12345: not a whole number"):
        results.compute()


def test_workers_are_asked_once(client, monkeypatch):
    asked, run = [], client.run
    monkeypatch.setattr(client, "run", lambda *others, **options: asked.append(others) or run(*others, **options))
    x = da.from_array(moments("M8[s]", 100), chunks=50)
    for _ in range(3):
        plx.dask.set(x, "hour", 9)
    assert len(asked) == 1
    assert len(plx.dask.check()) == 2 and len(asked) == 2


# A caller with the rules of a worker, from a folder of another name, and in another locale than the worker's.
CALLER = """
import os, sys, numpy as np, dask.array as da, plx.dask
from distributed import Client
with Client(sys.argv[1], set_as_default=False) as client:
    t = np.arange('2023-06-01', '2023-06-02', dtype='M8[h]').astype('M8[s]')
    for zone in ('America/Mexico_City', '+05:30', 'Europe/Helsinki'):
        results = plx.dask.set(da.from_array(t, chunks=5), 'hour', 9, zone=zone)
        there = client.compute(results, workers=[sys.argv[2]], allow_other_workers=False).result()
        assert (there == plx.set(t, 'hour', 9, zone=zone)).all()
        print(there[0])
        # Weeks begin on Monday in Finland.
        for component, value in (('week_of_year', 30), ('day_of_week', 1)):
            results = plx.dask.set(da.from_array(t, chunks=5), component, value, zone=zone)
            there = client.compute(results, workers=[sys.argv[2]], allow_other_workers=False).result()
            assert (there == plx.set(t, component, value, zone=zone)).all()
    try:
        plx.dask.check(client)
    except plx.dask.WorkersDiffer as error:
        assert sys.argv[2] not in str(error)
        print(str(error).count('rules: '), client.run(os.getenv, 'LC_ALL', workers=[sys.argv[2]])[sys.argv[2]])
"""


def test_other_rules_are_refused_and_another_locale_changes_nothing(cluster, client, tmp_path):
    rules = tmp_path / "rules"
    subprocess.run([PROGRAM, "rules", "update", "--to", rules], check=True, capture_output=True)
    shutil.copytree(rules, tmp_path / "copy")
    t = np.arange("2023-06-01", "2023-06-02", dtype="M8[h]").astype("M8[s]")
    x = da.from_array(t, chunks=5)
    lazy = plx.dask.set(x, "hour", 9, zone="America/Mexico_City")
    environment = {"ICU_TIMEZONE_FILES_DIR": str(rules), "LC_ALL": "fi_FI.UTF-8", "LANG": "fi_FI.UTF-8"}
    with worker(cluster, client, tmp_path, "newer", **environment) as address:
        with pytest.raises(plx.dask.WorkersDiffer) as raised:
            plx.dask.check(client)
        assert str(raised.value).count("://") == 1 and f"{address}: rules: 20" in str(raised.value)
        assert f"{plx.versions().rules}, ICU's own at the caller" in str(raised.value)
        # A client that comes now learns of it as its first graph is built;
        with Client(cluster) as other:
            with pytest.raises(plx.dask.WorkersDiffer):
                plx.dask.set(x, "hour", 9)
        # a graph that was built before, on the worker.
        with pytest.raises(plx.dask.WorkersDiffer, match="this worker and the caller differ: rules: 20"):
            client.compute(lazy, workers=[address], allow_other_workers=False).result()
        # Given the same rules, caller and worker agree: it is the content that counts.
        result = subprocess.run(
            [sys.executable, "-W", "ignore", "-c", CALLER, cluster.scheduler_address, address],
            env={**os.environ, "LC_ALL": "C", "ICU_TIMEZONE_FILES_DIR": str(tmp_path / "copy")},
            capture_output=True, text=True,
        )  # fmt: skip
        # By these rules Mexico has no summer time in 2023.
        expected = ["2023-05-31T15:00:00", "2023-06-01T04:00:00", "2023-06-01T06:00:00", "2 fi_FI.UTF-8"]
        assert result.stdout.splitlines() == expected, result.stderr
    # Of other keys than those that Dask remembers as failed.
    others = plx.dask.set(da.from_array(t, chunks=7), "hour", 9, zone="America/Mexico_City").compute()
    assert same_bits(others, plx.set(t, "hour", 9, zone="America/Mexico_City"))
    # By rules older than 2022f it has one.
    summer_time = plx.versions().rules < "2022f"
    assert others[0] == np.datetime64("2023-05-31T14:00:00" if summer_time else "2023-05-31T15:00:00")


@pytest.mark.skipif(not WHOLE, reason="a worker more")
def test_workers_without_plx_are_named(cluster, client, tmp_path):
    with worker(cluster, client, tmp_path, "bare", PYTHONPATH="") as address:
        with pytest.raises(plx.dask.WorkersDiffer, match=f"{address}: ModuleNotFoundError: No module named 'plx'"):
            plx.dask.check(client)
    assert len(plx.dask.check(client)) == 2


def slowly(block):
    time.sleep(0.03)
    return block


def peak():
    """The most memory that this process had, in MiB."""
    with open("/proc/self/status") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:")) / 1024


def digest(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def through_a_file(client, folder, count):
    """Sets datetimes of one file into another, by the workers, and by the command line; what the workers took for it."""
    generator = da.random.RandomState(7)
    counts = generator.randint(0, 2**60, size=count, chunks=2**20, dtype="i8")
    plx.dask.to_npy(folder / "x.npy", counts.view("M8[ns]"))
    processes = client.run(os.getpid)
    x = plx.dask.from_npy(folder / "x.npy", chunks=2**20)
    plx.dask.to_npy(folder / "y.npy", plx.dask.set(x, "hour", 9, zone="America/New_York"))
    # Nobody was ended for having too much, and started anew.
    assert client.run(os.getpid) == processes
    arguments = ["set", "hour", "9", "--zone", "America/New_York", "x.npy", "-o", "z.npy"]
    subprocess.run([PROGRAM, *arguments], cwd=folder, check=True, capture_output=True)
    assert digest(folder / "y.npy") == digest(folder / "z.npy") != digest(folder / "x.npy")
    return client.run(peak)


def test_a_file_through_the_workers(client, tmp_path):
    assert len(through_a_file(client, tmp_path, 2**22 + 1)) == 2


@pytest.mark.skipif(not WHOLE, reason="4 GiB, and three files of them")
def test_more_than_memory(tmp_path):
    options = {"temporary-directory": str(tmp_path)}
    with dask.config.set(options), local_cluster(memory_limit="400MiB") as own, Client(own) as client:
        peaks = through_a_file(client, tmp_path, 2**29)
    print("peaks in MiB:", *(round(one) for one in peaks.values()))
    assert len(peaks) == 2 and max(peaks.values()) < 400
    for name in ("x.npy", "y.npy", "z.npy"):
        assert os.path.getsize(tmp_path / name) > 2**32
        os.remove(tmp_path / name)


def test_every_worker_takes_part(client):
    t = moments("M8[s]", 40_000)
    results = plx.dask.set(da.from_array(t, chunks=1000).map_blocks(slowly, dtype=t.dtype, meta=t[:0]), "day", 1).persist()
    wait(results)
    assert {holder for holders in client.who_has(results).values() for holder in holders} == {
        address for address in client.scheduler_info()["workers"]
    }


# ------------------------------------ after the others, which count on two workers and on their processes


def killed(client, share, number):
    """Has one of two workers killed as a share of the chunks is done."""
    t = moments("M8[s]", 40_000)
    x = da.from_array(t, chunks=1000).map_blocks(slowly, dtype=t.dtype, meta=t[:0])
    results = plx.dask.set(x, "minute", number, zone="America/New_York").persist()
    futures = futures_of(results)
    wait_until(lambda: sum(future.done() for future in futures) >= share * len(futures))
    _, process = sorted(client.run(os.getpid).items())[number % 2]
    os.kill(process, signal.SIGKILL)
    assert sum(future.done() for future in futures) < len(futures)
    # What was done by it is done again, by the other or by the one that takes its place.
    expected = plx.set(t, "minute", number, zone="America/New_York")
    return same_bits(client.compute(results).result(timeout=120), expected)


def test_a_worker_is_killed(client):
    assert killed(client, 0.3, 0)


def test_a_worker_is_killed_while_a_file_is_set_into_itself(client, tmp_path):
    t = moments("M8[s]", 20_000)
    np.save(tmp_path / "t.npy", t)
    x = plx.dask.from_npy(tmp_path / "t.npy", 1000).map_blocks(slowly, dtype=t.dtype, meta=t[:0])
    future = client.compute(plx.dask.to_npy(tmp_path / "t.npy", plx.dask.set(x, "day", 1), compute=False))
    part = next(name for name in os.listdir(tmp_path) if name.endswith(".part"))
    wait_until(lambda: np.load(tmp_path / part, mmap_mode="r").view("i8").any())
    os.kill(sorted(client.run(os.getpid).values())[0], signal.SIGKILL)
    assert not future.done() and same_bits(np.load(tmp_path / "t.npy"), t)
    future.result(timeout=120)
    assert same_bits(np.load(tmp_path / "t.npy"), plx.set(t, "day", 1)) and os.listdir(tmp_path) == ["t.npy"]


@pytest.mark.skipif(not WHOLE, reason="20 clusters")
def test_workers_are_killed_at_any_time(tmp_path):
    shares = np.random.default_rng(3).uniform(0, 0.95, 20)
    with Cases(20) as cases, dask.config.set({"temporary-directory": str(tmp_path)}):
        for number, share in enumerate(shares):
            with local_cluster() as own, Client(own) as client:
                assert killed(client, share, number)
            cases.add()
