"""Other answers to the same questions: the command line on the same data, and pandas's vectorised idiom.

pandas reads the system's time-zone rules, and so does plx here: converted, and named before it is loaded.
"""

import ctypes
import os
import subprocess
import tempfile

import numpy as np
import pandas as pd
import pytest

PROGRAM = os.environ["PLX_PROGRAM"]
RULES = tempfile.TemporaryDirectory()
subprocess.run([PROGRAM, "rules", "update", "--to", RULES.name], check=True, capture_output=True)
os.environ["ICU_TIMEZONE_FILES_DIR"] = RULES.name

import plx
import plx.pandas
from plx._zone import system_release
from support import COMPONENTS, SANITIZED, WHOLE, Cases, random_datetimes, same_bits


def test_the_rules_are_the_systems():
    assert plx.versions().rules == system_release()


PROGRAMS_ZONES = [None, "Europe/Paris", "UTC", "UTCLeapSeconds", "America/Caracas", "+05:30"]
PROGRAMS_DTYPES = ["M8[ns]", "c16", "M8[ms]", ">M8[s]", "f8"]


def test_what_the_program_explains():
    """The same text; but in a zone the module counts the weeks at the end of a year otherwise than the program."""

    def without_weeks(text):
        return [line for line in text.splitlines() if not line.startswith("  week  ")]

    with Cases(3 * 11) as cases:
        for zone in (None, "Europe/Paris", "UTC"):
            for number, (component, span) in enumerate(COMPONENTS.items()):
                (t,) = random_datetimes(1, "ms", seed=number, first="1980-02-01", last="2010-01-01")
                value = int(np.random.default_rng(number).integers(span[0], span[-1]))
                # A zone's datetimes are told to the program with the offset that their clock has.
                at = plx.explain(t, component, value, zone=zone)
                told = f"{t}" if zone is None else f"{t}Z"
                command = [PROGRAM, "explain", component.replace("_", "-"), str(value), told, "--quiet"]
                result = subprocess.run(command + (["--zone", zone] if zone else []), capture_output=True, text=True)
                assert result.returncode == 0, result.stderr
                assert without_weeks(str(at)) == without_weeks(result.stdout), command
                assert zone == "Europe/Paris" or f"{at}\n" == result.stdout
                cases.add()


@pytest.mark.parametrize("zone", PROGRAMS_ZONES[:2] if SANITIZED else PROGRAMS_ZONES)
@pytest.mark.parametrize("dtype", PROGRAMS_DTYPES[:2] if SANITIZED else PROGRAMS_DTYPES)
def test_the_program_on_the_same_data(tmp_path, dtype, zone):
    count = 20_000 if WHOLE else 2_000
    given = tmp_path / "given.npy"
    with Cases(11 * count) as cases:
        for number, (component, span) in enumerate(COMPONENTS.items()):
            x = random_datetimes(count, "ms", seed=number, first="1890-01-01", last="2100-01-01")
            x = x.astype(dtype) if "M8" in dtype else x.astype(np.int64).astype(dtype)
            value = int(np.random.default_rng(number).integers(span[0], span[-1]))
            np.save(given, x)
            command = [PROGRAM, "set", component.replace("_", "-"), str(value), str(given), "--quiet"]
            result = subprocess.run(
                command + (["--zone", zone] if zone else []) + ["-o", str(tmp_path / "made.npy")],
                capture_output=True,
                text=True,
            )
            assert result.returncode == 0, (command, result.stderr)
            assert same_bits(plx.set(x, component, value, zone=zone), np.load(tmp_path / "made.npy")), component
            os.remove(tmp_path / "made.npy")
            cases.add(count)


@pytest.mark.parametrize("zone", ["America/New_York"] if SANITIZED else ["America/New_York", "Australia/Lord_Howe"])
def test_the_programs_options_on_the_same_data(tmp_path, zone):
    # Hours around the changes of a clock, where the options matter.
    near = _changes(zone)[-40:, None] + np.arange(-9000, 9000, 450)
    x = near.ravel().astype("M8[s]")
    given, made = tmp_path / "given.npy", tmp_path / "made.npy"
    np.save(given, x)
    different = set()
    with Cases(17 * x.size) as cases:
        for component, value, options in [
            *(("minute", 30, {"fold": fold}) for fold in ("later", "earlier", "same")),
            *(("hour", 1, {"fold": fold}) for fold in ("later", "earlier", "same")),
            *(("time_of_day", 7500.0, {"gap": gap}) for gap in ("shift", "start", "end")),
            *(("hour", 2, {"gap": gap, "fold": "same"}) for gap in ("start", "end")),
            ("day", "last", {}),
            *(("month", word, {"fold": "same"}) for word in ("feb", "last")),
            *(("day_of_week", word, {"gap": "end"}) for word in ("sun", "last")),
            ("quarter", "q2", {}),
        ]:
            command = [PROGRAM, "set", component.replace("_", "-"), str(value), str(given), "--quiet", "--zone", zone]
            command += [part for name, option in options.items() for part in (f"--{name}", option)]
            result = subprocess.run(command + ["-o", str(made)], capture_output=True, text=True)
            assert result.returncode == 0, (command, result.stderr)
            results = plx.set(x, component, value, zone=zone, **options)
            assert same_bits(results, np.load(made)), (component, value, options)
            made.unlink()
            different.add((component, value, results.tobytes()))
            cases.add(x.size)
    # No option is without an effect here.
    assert len(different) == 17


class LibraryArray(ctypes.Structure):
    """plxArray of plx/plx.h, of a single element."""

    _fields_ = [
        ("data", ctypes.c_void_p), ("type", ctypes.c_char_p), ("ndim", ctypes.c_size_t), ("shape", ctypes.c_void_p),
        ("strides", ctypes.c_void_p), ("low", ctypes.c_void_p), ("low_strides", ctypes.c_void_p),
    ]  # fmt: skip


class LibrarySetting(ctypes.Structure):
    _fields_ = [("component", ctypes.c_int), ("values", LibraryArray), ("word", ctypes.c_char_p)]


class LibraryOptions(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("zone", ctypes.c_char_p), ("fold", ctypes.c_int), ("gap", ctypes.c_int)]


def test_the_library_one_element_at_a_time():
    # Without the extension and without NumPy's memory: each datetime by itself in a number of C's.
    library = ctypes.CDLL("libplx.so.1", mode=os.RTLD_NOLOAD | os.RTLD_NOW)
    error = ctypes.create_string_buffer(4096)
    folds, gaps = ("later", "earlier", "same"), {"shift": 0, "start": 2, "end": 3}
    count = 20 if SANITIZED else 200
    with Cases(11 * 6 * count) as cases:
        for number, one in enumerate(plx.components()):
            span = COMPONENTS[one.name]
            for zone in (None, "UTC", "UTCLeapSeconds", "Etc/UTC", "America/New_York", "+05:30"):
                for unit in ("s", "ns"):
                    x = random_datetimes(count // 2, unit, seed=number)
                    values = np.random.default_rng(number).integers(span[0], span[-1], x.size)
                    fold, gap = folds[number % 3], list(gaps)[number // 3 % 3]
                    results = plx.set(x, one.name, values, zone=zone, fold=fold, gap=gap)
                    options = LibraryOptions(0, zone and zone.encode(), folds.index(fold), gaps[gap])
                    # What later versions add to the end counts as zero.
                    options.size = ctypes.sizeof(options)
                    for i in range(x.size):
                        datetime, value = ctypes.c_int64(int(x[i].astype(np.int64))), ctypes.c_int64(int(values[i]))
                        array = LibraryArray(ctypes.addressof(datetime), f"<M8[{unit}]".encode())
                        setting = LibrarySetting(one.selector, LibraryArray(ctypes.addressof(value), b"<i8"))
                        status = library.plxSet(
                            ctypes.byref(array), ctypes.byref(setting), ctypes.c_size_t(1), ctypes.byref(options),
                            ctypes.byref(array), error,
                        )  # fmt: skip
                        assert status == 0, error.value
                        assert datetime.value == results[i].astype(np.int64), (one, zone, x[i], values[i])
                        cases.add()


ZONES = """
Africa/Abidjan Africa/Cairo Africa/Johannesburg Africa/Lagos Africa/Nairobi Africa/Tunis America/Adak
America/Anchorage America/Argentina/Buenos_Aires America/Asuncion America/Bogota America/Caracas America/Chicago
America/Denver America/Edmonton America/Guatemala America/Halifax America/Havana America/La_Paz America/Lima
America/Los_Angeles America/Montevideo America/New_York America/Panama America/Phoenix America/Santiago
America/Sao_Paulo America/St_Johns America/Vancouver Asia/Amman Asia/Baghdad Asia/Bangkok Asia/Beirut Asia/Dhaka
Asia/Dubai Asia/Hong_Kong Asia/Jakarta Asia/Jerusalem Asia/Karachi Asia/Kathmandu Asia/Kolkata Asia/Manila
Asia/Seoul Asia/Shanghai Asia/Singapore Asia/Taipei Asia/Tashkent Asia/Tehran Asia/Tokyo Atlantic/Azores
Australia/Adelaide Australia/Brisbane Australia/Melbourne Australia/Perth Europe/Athens Europe/Berlin
Europe/Istanbul Europe/London Europe/Moscow Pacific/Auckland
""".split()


def idiom(t, component, value, fold_later):
    """What pandas's users write: to the wall clock, arithmetic of NumPy, and back."""
    wall = t.tz_localize(None).to_numpy()
    day = wall.astype("M8[D]")
    month = wall.astype("M8[M]")
    if component == "month":
        first = wall.astype("M8[Y]").astype("M8[M]") + (value - 1)
        new = first.astype("M8[D]") + (day - month.astype("M8[D]")) + (wall - day)
    elif component == "day":
        new = month.astype("M8[D]") + np.timedelta64(value - 1, "D") + (wall - day)
    elif component == "hour":
        new = day + np.timedelta64(value, "h") + (wall - wall.astype("M8[h]"))
    elif component == "minute":
        new = wall.astype("M8[h]") + np.timedelta64(value, "m") + (wall - wall.astype("M8[m]"))
    else:
        new = day + np.timedelta64(value, "s")
    ambiguous = np.full(len(t), not fold_later)
    # A time that is skipped comes back as NaT: by how much the clock went forward differs from change to change.
    return pd.DatetimeIndex(new).tz_localize(t.tz, ambiguous=ambiguous, nonexistent="NaT")


def test_pandas_in_sixty_zones():
    assert len(ZONES) == len(set(ZONES)) == 60
    # Five components in two folds of so many elements in each zone: two million, or a tenth of them.
    count = 3_500 if WHOLE else 350
    least = 2_000_000 if WHOLE else 200_000
    skipped = 0
    with Cases(least) as cases:
        for number, name in enumerate(ZONES):
            moments = random_datetimes(count, "ns", seed=number, first="1970-01-02", last="2021-12-30")
            # A half of them near to a change of the clock, where it matters.
            changes = _changes(name)
            if len(changes):
                generator = np.random.default_rng(number)
                near = generator.choice(changes, count // 2) + generator.integers(-7200, 7200, count // 2)
                moments[: count // 2] = near.astype("M8[s]").astype("M8[ns]")
            t = pd.DatetimeIndex(moments).tz_localize("UTC").tz_convert(name)
            for component, value in (("month", 3), ("day", 29), ("hour", 2), ("minute", 15), ("time_of_day", 5400)):
                for fold in ("later", "earlier"):
                    expected = idiom(t, component, value, fold == "later")
                    results = t.plx.set(component, value, fold=fold)
                    exists = ~expected.isna()
                    skipped += np.count_nonzero(~exists)
                    wrong = np.flatnonzero((results != expected) & exists)
                    assert not len(wrong), (name, component, fold, t[wrong[0]], results[wrong[0]], expected[wrong[0]])
                    # What is skipped is shifted by the change, and so is one that did not exist.
                    assert (results[~exists] != expected[~exists]).all()
                    cases.add(np.count_nonzero(exists))
    assert 0 < skipped < cases.count // 20


def _changes(name):
    """The seconds at which offsets change, as pandas has them."""
    days = np.arange(np.datetime64("1970-01-02", "s"), np.datetime64("2021-12-30", "s"), np.timedelta64(7, "D"))
    t = pd.DatetimeIndex(days).tz_localize("UTC").tz_convert(name)
    offsets = (t.tz_localize(None) - t.tz_convert("UTC").tz_localize(None)).to_numpy()
    changed = np.flatnonzero(offsets[1:] != offsets[:-1])
    low, high = days[changed].astype(np.int64), days[changed + 1].astype(np.int64)
    before = offsets[changed]
    while len(low) and (high - low > 1).any():
        middle = (low + high) // 2
        at = pd.DatetimeIndex(middle.astype("M8[s]").astype("M8[ns]")).tz_localize("UTC").tz_convert(name)
        same = (at.tz_localize(None) - at.tz_convert("UTC").tz_localize(None)).to_numpy() == before
        low, high = np.where(same, middle, low), np.where(same, high, middle)
    return high
