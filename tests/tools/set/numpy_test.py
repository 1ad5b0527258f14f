#!/usr/bin/env python3
"""Arrays that NumPy saved, set and loaded again, held against NumPy's own arithmetic.

    numpy_test.py SET_NPY MODULE
"""

import itertools
import os
import subprocess
import sys
import tempfile

import numpy as np
from numpy.lib import format as npy

SET_NPY, MODULE = sys.argv[1:3]
WHOLE = "PLX_WHOLE_TESTS" in os.environ
SHORT = not WHOLE and "PLX_SHORT_TESTS" in os.environ
RANDOM = np.random.default_rng(1)
UNITS = ["Y", "M", "W", "D", "h", "m", "s", "ms", "us", "ns", "ps", "fs", "as"]
NAT = np.iinfo("i8").min
cases = {}


def count(what, n):
    cases[what] = cases.get(what, 0) + n


def save(path, array, version=None):
    with open(path, "wb") as file:
        npy.write_array(file, array, version=version)


def run(folder, *settings, zone="", expect=0):
    """Sets in.npy, and gives the message of a failure."""
    result = subprocess.run(
        [SET_NPY, MODULE, f"{folder}/in.npy", f"{folder}/out.npy", zone, *map(str, settings)],
        capture_output=True, text=True)
    assert result.returncode == expect, result.stderr
    return result.stderr


def same(a, b):
    """Equal to the bit, but for the bits of NaN, types and orders included."""
    return a.dtype == b.dtype and a.shape == b.shape and bool(
        np.array_equal(a.view("i8") if a.dtype.kind == "M" else a,
                       b.view("i8") if b.dtype.kind == "M" else b, equal_nan=a.dtype.kind != "M"))


def header(path):
    with open(path, "rb") as file:
        bytes_ = file.read()
    return bytes_[:len(bytes_) - np.load(path).nbytes]


def arrays(dtype, shape):
    n = int(np.prod(shape, dtype=object))
    days = RANDOM.integers(-700_000, 700_000, n)
    dtype = np.dtype(dtype)
    if dtype.kind == "M":
        unit, multiple = np.datetime_data(dtype)
        if UNITS.index(unit) >= UNITS.index("us"):
            whole = RANDOM.integers(-2**62, 2**62, n)
        else:
            whole = days.astype("M8[D]").astype(f"M8[{multiple}{unit}]").astype("i8")
        array = whole.astype("i8").view("M8[{}{}]".format(multiple, unit)).astype(dtype)
    else:
        array = (days * 86_400_000 + RANDOM.integers(0, 86_400_000, n)).astype(dtype)
    return array.reshape(shape)


def check_identity(folder):
    """Every type, shape, order and version comes back as it went in, headers included."""
    types = ["c16", "f8"] + [f"M8[{m}{u}]" for u in UNITS for m in ("", "25")]
    shapes = [(), (0,), (1,), (7,), (3, 4), (2, 0, 3), (2, 3, 4), (9000, 2), (1,) * 31 + (3,)]
    turn = 0
    for dtype, order in itertools.product(types, "<>"):
        for shape in shapes:
            for fortran in (False, True)[:max(1, len(shape))]:
                turn += 1
                if not WHOLE and turn % (40 if SHORT else 5) != 0:
                    continue  # each shape in its turn
                array = arrays(order + dtype, shape)
                if fortran:
                    array = np.asfortranarray(array)
                version = [(1, 0), (2, 0), (3, 0)][RANDOM.integers(3)]
                save(f"{folder}/in.npy", array, version)
                # The first settings move, and the last one moves back: a week of seven days.
                save(f"{folder}/v.npy", np.asfortranarray(weekday(array)))
                run(folder, "day-of-week", f"@{folder}/v.npy")
                out = np.load(f"{folder}/out.npy")
                assert same(out, array), (dtype, order, shape, fortran)
                assert out.flags.f_contiguous == array.flags.f_contiguous
                if hasattr(npy, "GROWTH_AXIS_MAX_DIGITS"):  # so much room has a header since 1.24
                    assert header(f"{folder}/out.npy") == header(f"{folder}/in.npy")
                count("identities", max(array.size, 1))


def floor_days(array):
    """Days since 1970, floored."""
    if array.dtype.kind == "M":
        unit, multiple = np.datetime_data(array.dtype)
        counts = array.astype("=M8[%d%s]" % (multiple, unit)).view("i8")
        if unit in ("Y", "M"):
            months = counts.astype(object) * multiple * (12 if unit == "Y" else 1)
            return np.array(months, dtype="i8").view("M8[M]").astype("M8[D]").view("i8")
        per_day = {"W": (7, 1), "D": (1, 1), "h": (1, 24), "m": (1, 1440), "s": (1, 86400)}
        for i, u in enumerate(["ms", "us", "ns", "ps", "fs", "as"]):
            per_day[u] = (1, 86400 * 1000**(i + 1))
        up, down = per_day[unit]
        # Python's integers, of any size.
        days = [int(c) * multiple * up // down for c in counts.ravel()]
        return np.array(days, dtype="i8").reshape(array.shape)
    return np.floor_divide(array.real, 86_400_000).astype("i8")


def weekday(array):
    return ((floor_days(array) + 4) % 7 + 1).astype("f8")


def check_arithmetic(folder):
    """Day of the month, month, year, day of the year and the clock, as NumPy's astype has them."""
    for dtype in ["M8[D]", "M8[h]", "M8[m]", "M8[s]", "M8[ms]", "M8[us]", "M8[ns]", "f8", "c16"]:
        for order in "<>":
            for values_type in RANDOM.choice(["<i4", ">f8", "|i1", "<u2", ">f4"], 1 if SHORT else 2, replace=False):
                days = RANDOM.integers(-50_000, 50_000, 9000).astype("M8[D]")
                millis = RANDOM.integers(0, 86_400_000, 9000)
                if dtype == "M8[D]":
                    time = np.zeros(9000, "i8").view("m8[ms]")
                else:
                    time = millis.astype("m8[ms]")
                low, high = (0, 120) if values_type[1] in "u" else (-60, 120)
                values = RANDOM.integers(low, high, 9000)
                months = days.astype("M8[M]")
                years = days.astype("M8[Y]")
                of_month, of_year = days - months.astype("M8[D]"), days - years.astype("M8[D]")
                clock = time.astype("m8[ms]")
                hour, minute = clock.astype("m8[h]"), clock.astype("m8[m]")
                month = (months - years.astype("M8[M]")).astype("i8") + 1
                expected = {
                    "day": (months.astype("M8[D]") + (values - 1)) + time,
                    "day-of-year": (years.astype("M8[D]") + (values - 1)) + time,
                    "month": (years.astype("M8[M]") + (values - 1)).astype("M8[D]") + of_month + time,
                    "year": ((values - 1970).view("M8[Y]").astype("M8[M]")
                             + (month - 1)).astype("M8[D]") + of_month + time,
                    "quarter": (years.astype("M8[M]") + (values - 1) * 3).astype("M8[D]")
                               + of_month + time,
                    "hour": days + (time - hour) + values.astype("m8[h]"),
                    "minute": days + (time - (minute - hour)) + values.astype("m8[m]"),
                    "second": days + minute + values.astype("m8[s]"),
                    "time-of-day": days + values.astype("m8[s]"),
                }
                for component, result in expected.items():
                    if dtype in ("M8[D]", "M8[h]", "M8[m]", "M8[s]"):
                        # What the unit holds, on both sides.
                        kept = time.astype(dtype.replace("M8", "m8")).astype("m8[ms]")
                        if dtype == "M8[D]" and component in ("hour", "minute", "second", "time-of-day"):
                            continue
                        if dtype == "M8[h]" and component in ("minute", "second", "time-of-day"):
                            continue
                        if dtype == "M8[m]" and component in ("second", "time-of-day"):
                            continue
                        lost = time - kept
                        if component not in ("second", "time-of-day"):
                            result = result - lost
                        source = days + kept
                    else:
                        source = days + time
                    if component == "year" and dtype in ("M8[ns]",):
                        continue  # of those years, 64 bits of nanoseconds have none
                    check_one(folder, dtype, order, values_type, component, source, values, result)


def check_one(folder, dtype, order, values_type, component, source, values, expected):
    below = 0
    if dtype in ("M8[us]", "M8[ns]"):
        per = 1000 if dtype == "M8[us]" else 10**6
        below = RANDOM.integers(0, per, 9000)
    def of(instants, parts):
        millis = instants.astype("M8[ms]").view("i8")
        if dtype == "f8":
            return millis.astype(order + "f8")
        if dtype == "c16":
            return millis.astype(order + "c16")
        array = instants.astype(dtype).view("i8") + parts
        return array.view(dtype).astype(order + dtype)
    save(f"{folder}/in.npy", of(source, below))
    save(f"{folder}/v.npy", values.astype(values_type))
    run(folder, component, f"@{folder}/v.npy")
    gone = component in ("second", "time-of-day")
    out = np.load(f"{folder}/out.npy")
    wanted = of(expected, 0 if gone else below)
    assert same(out, wanted), (dtype, order, component, out[:5], wanted[:5])
    count("arithmetic", out.size)


def check_odd(folder):
    """NaN and NaT, other orders of values, several settings, and what is refused."""
    save(f"{folder}/in.npy", np.array(["2014-05-10", "NaT", "2016-02-29"], "M8[s]"))
    run(folder, "year", 2015)
    assert np.load(f"{folder}/out.npy").astype(str).tolist() == [
        "2015-05-10T00:00:00", "NaT", "2015-03-01T00:00:00"]
    table = np.arange(12).reshape(3, 4) + np.datetime64("2014-05-10", "D")
    save(f"{folder}/in.npy", table)
    save(f"{folder}/v.npy", np.asfortranarray(np.arange(12.0).reshape(3, 4)))
    run(folder, "day", f"@{folder}/v.npy", "month", 1)
    wanted = np.datetime64("2013-12-31") + np.arange(12).reshape(3, 4)
    wanted[0, 0] = np.datetime64("2014-01-30")  # 30 April first
    assert (np.load(f"{folder}/out.npy") == wanted).all()

    for array, what in [(np.array([1]), "no datetimes"), (np.array(["a"]), "not read here"),
                        (np.array([(1, 2.0)], "i4,f8"), "records"),
                        (np.array([1], "m8[s]"), "not read here"),
                        (np.array(["NaT"], "M8"), "without a unit"),
                        (np.array([1], "c8"), "not read here"),
                        (np.array([1], "f4"), "no datetimes")]:
        save(f"{folder}/in.npy", array)
        assert what in run(folder, "day", 1, expect=1), what
        count("refused", 1)


with tempfile.TemporaryDirectory() as folder:
    check_odd(folder)
    check_identity(folder)
    check_arithmetic(folder)

print("cases:", cases)
assert cases["identities"] > (500_000 if WHOLE else 50_000 if SHORT else 100_000) and cases["arithmetic"] > (500_000 if SHORT else 2_000_000) and cases["refused"] == 7
