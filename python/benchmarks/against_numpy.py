#!/usr/bin/env python3
"""Measures plx beside NumPy's and pandas's idioms, in one process and one thread, and prints the table of
docs/python.md.

    PYTHONPATH=build/release/python python/benchmarks/against_numpy.py [--elements N] [--repeats N]

Each rival's results are compared with those of plx before anything is timed. Times are medians of the processor's time
that the process takes, so that what else runs disturbs little.
"""

import argparse
import math
import statistics
import sys
import time
import warnings

import numpy as np
import pandas as pd

import plx
import plx.pandas

warnings.simplefilter("ignore", plx.RulesWarning)
ZONE = "America/New_York"


def median(call, repeats):
    call()
    times = []
    for _ in range(repeats):
        begin = time.process_time_ns()
        call()
        times.append(time.process_time_ns() - begin)
    return statistics.median(times)


def geometric(numbers):
    return math.exp(statistics.fmean(map(math.log, numbers)))


def idioms(unit):
    """The best arithmetic of NumPy for each component: casts, which round down, and sums."""
    day, month, year = "M8[D]", "M8[M]", "M8[Y]"

    def in_month(t, months):
        days = t.astype(day)
        return months.astype(day) + (days - t.astype(month).astype(day)) + (t - days)

    def weekday(days):
        return (days.view("i8") + 4) % 7

    def of_quarter(t, v):
        return in_month(t, t.astype(year).astype(month) + (v - 1) * 3)

    def week(t, v):
        days = t.astype(day)
        first = t.astype(year).astype(day)
        now = ((days - first).view("i8") + weekday(first)) // 7 + 1
        return t + ((v - now) * 7).view("m8[D]")

    def clock(t, v, coarse, fine):
        return t.astype(coarse) + np.timedelta64(v, fine) + (t - t.astype(f"M8[{fine}]"))

    return {
        "year": (2015, lambda t, v: in_month(t, np.datetime64(str(v), "Y").astype(month) + (t.astype(month).view("i8") % 12).view("m8[M]"))),
        "quarter": (2, of_quarter),
        "month": (2, lambda t, v: in_month(t, t.astype(year).astype(month) + (v - 1))),
        "week_of_year": (9, week),
        "day": (9, lambda t, v: t.astype(month).astype(day) + np.timedelta64(v - 1, "D") + (t - t.astype(day))),
        "day_of_year": (99, lambda t, v: t.astype(year).astype(day) + np.timedelta64(v - 1, "D") + (t - t.astype(day))),
        "day_of_week": (3, lambda t, v: t + (v - 1 - weekday(t.astype(day))).view("m8[D]")),
        "hour": (9, lambda t, v: clock(t, v, day, "h")),
        "minute": (9, lambda t, v: clock(t, v, "M8[h]", "m")),
        "second": (9, lambda t, v: t.astype("M8[m]") + np.timedelta64(v * 10 ** {"ms": 3, "ns": 9}[unit], unit)),
        "time_of_day": (9, lambda t, v: t.astype(day) + np.timedelta64(v * 10 ** {"ms": 3, "ns": 9}[unit], unit)),
    }  # fmt: skip


def random_datetimes(count, unit):
    generator = np.random.default_rng(1)
    low, high = (np.datetime64(text, unit).astype("i8") for text in ("1970-01-01", "2021-12-31"))
    return generator.integers(low, high, count).view(f"M8[{unit}]")


class Table:
    def __init__(self, stream):
        self.stream = stream
        print("| case | ns per element | beside | ratio | goal |", file=stream)
        print("|---|---|---|---|---|", file=stream)

    def row(self, case, ours, beside, ratio, goal):
        print(f"| {case} | {ours} | {beside} | {ratio} | {goal} |", file=self.stream, flush=True)


def compare(case, ours, theirs):
    ours, theirs = np.asarray(ours), np.asarray(theirs)
    if not np.array_equal(ours, theirs, equal_nan=False):
        different = np.flatnonzero(ours != theirs)
        sys.exit(f"{case}: results differ in {len(different)} elements, the first {different[0]}")


def unzoned(table, count, repeats):
    for unit in ("ms", "ns"):
        t = random_datetimes(count, unit)
        out = np.empty_like(t)
        ours, kept, theirs = [], [], []
        for component, (value, idiom) in idioms(unit).items():
            compare(f"{unit} {component}", plx.set(t, component, value), idiom(t, value))
            ours.append(median(lambda: plx.set(t, component, value), repeats) / count)
            kept.append(median(lambda: plx.set(t, component, value, out=out), repeats) / count)
            theirs.append(median(lambda: idiom(t, value), max(3, repeats // 3)) / count)
        ratios = [b / a for a, b in zip(ours, theirs)]
        name = f"`datetime64[{unit}]`, 11 components"
        table.row(
            name, f"{geometric(ours):.2f}", f"NumPy's idiom: {geometric(theirs):.1f}",
            f"{geometric(ratios):.1f} times as fast, at least {min(ratios):.1f} ({list(idioms(unit))[ratios.index(min(ratios))]})",
            "12, none below 4",
        )  # fmt: skip
        copy = median(lambda: t.copy(), repeats) / count
        table.row(name, f"{geometric(ours):.2f}", f"`x.copy()`: {copy:.2f}", f"{geometric(ours) / copy:.2f}", "at most 1.8")
        copy = median(lambda: np.copyto(out, t), repeats) / count
        table.row(name + ", `out=`", f"{geometric(kept):.2f}", f"`np.copyto`: {copy:.2f}", f"{geometric(kept) / copy:.2f}", "at most 2.0")


def pairs(table, count, repeats):
    millis = random_datetimes(count, "ms").view("i8").astype(float)
    z = millis + 0j
    pair = (millis, np.zeros(count))
    for name, x, copy in (
        ("`complex128`", z, lambda: z.copy()),
        ("`(high, low)`", pair, lambda: (pair[0].copy(), pair[1].copy())),
    ):
        ours = []
        for component, (value, _) in idioms("ms").items():
            expected = plx.set(millis.astype("i8").view("M8[ms]"), component, value).view("i8")
            result = plx.set(x, component, value)
            compare(f"{name} {component}", result[0] if isinstance(result, tuple) else result.real, expected)
            ours.append(median(lambda: plx.set(x, component, value), repeats) / count)
        copied = median(copy, repeats) / count
        table.row(f"{name}, 11 components", f"{geometric(ours):.2f}", f"`x.copy()`: {copied:.2f}", f"{geometric(ours) / copied:.2f}", "at most 1.5")


def with_pandas(table, count, repeats):
    t = random_datetimes(count, "ns")
    naive = pd.Series(t)
    zoned = naive.dt.tz_localize("UTC").dt.tz_convert(ZONE)
    small = 20_000
    ours, theirs, one_by_one, plain, plain_one_by_one = [], [], [], [], []
    for component, value in (("day", 9), ("hour", 9), ("minute", 9)):
        calculate = idioms("ns")[component][1]

        def idiom(s=zoned):
            wall = pd.Series(calculate(s.dt.tz_localize(None).to_numpy(), value))
            return wall.dt.tz_localize(ZONE, ambiguous=np.zeros(len(wall), bool), nonexistent=pd.Timedelta("1h"))

        def apply(s):
            return s.iloc[:small].apply(lambda one: one.replace(**{component: value}))

        by_idiom = idiom()
        compare(f"pandas {component}", zoned.plx.set(component, value, fold="later").to_numpy("M8[ns]"), by_idiom.to_numpy("M8[ns]"))
        by_apply = apply(naive)
        compare(f"pandas, apply, {component}", naive.plx.set(component, value).to_numpy()[:small], by_apply.to_numpy())
        ours.append(median(lambda: zoned.plx.set(component, value), repeats) / count)
        plain.append(median(lambda: naive.plx.set(component, value), repeats) / count)
        theirs.append(median(idiom, 3) / count)
        one_by_one.append(median(lambda: apply(zoned), 1) / small)
        plain_one_by_one.append(median(lambda: apply(naive), 1) / small)
    for name, a, beside, b, goal in (
        (f"pandas in {ZONE}; day, hour, minute", ours, "the vectorised idiom", theirs, "60 times"),
        (f"pandas in {ZONE}; day, hour, minute", ours, "`apply(replace)`", one_by_one, "2000 times"),
        ("pandas without a zone; day, hour, minute", plain, "`apply(replace)`", plain_one_by_one, "1000 times"),
    ):
        table.row(name, f"{geometric(a):.2f}", f"{beside}: {geometric(b):.0f}", f"{geometric(b) / geometric(a):.0f} times as fast", goal)


def small(table):
    def per_call(call, calls=2000):
        def many():
            for _ in range(calls):
                call()

        return median(many, 15) / calls

    for count in (1, 10, 100):
        t = random_datetimes(count, "ms")
        calculate = idioms("ms")["hour"][1]
        compare("small", plx.set(t, "hour", 9), calculate(t, 9))
        ours = per_call(lambda: plx.set(t, "hour", 9))
        zoned = per_call(lambda: plx.set(t, "hour", 9, zone=ZONE))
        idiom = per_call(lambda: calculate(t, 9))
        goal = "at most 3000 ns; " if count == 1 else ""
        table.row(f"{count} element{'s' * (count > 1)}, ns a call", f"{ours:.0f}", f"NumPy's idiom: {idiom:.0f}", f"{idiom / ours:.1f} times as fast", f"{goal}never slower")
        table.row(f"the same in {ZONE}", f"{zoned:.0f}", "", "", "at most 5000 ns" if count == 1 else "")
    one = pd.Timestamp("2014-05-31 08:30")
    replace = per_call(lambda: one.replace(hour=9))
    table.row("`Timestamp.replace(hour=9)`, ns a call", f"{replace:.0f}", "", "", "")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--elements", type=int, default=4_000_000)
    parser.add_argument("--repeats", type=int, default=15)
    arguments = parser.parse_args()
    table = Table(sys.stdout)
    unzoned(table, arguments.elements, arguments.repeats)
    pairs(table, arguments.elements, arguments.repeats)
    with_pandas(table, arguments.elements, arguments.repeats)
    small(table)
    print(f"\n{arguments.elements:,} elements; rules {plx.versions().rules}; NumPy {np.__version__}, pandas {pd.__version__}")


if __name__ == "__main__":
    main()
