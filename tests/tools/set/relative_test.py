"""Relative settings, multiples, dates, times and ISO weeks against dateutil, pandas and datetime, where the rules agree.

relative_test.py PLX [LENGTH]
"""
import datetime
import os
import random
import subprocess
import sys
import tempfile

import pandas
from dateutil.relativedelta import relativedelta

PLX = sys.argv[1]
COUNT = int(sys.argv[2]) if len(sys.argv) > 2 else 25 if "PLX_SHORT_TESTS" in os.environ else 200
SEED = 20260522


def instants(generator, first=1700, last=2250):
    """Some of them at the ends of months and years, where the rules matter."""
    for _ in range(COUNT):
        year = generator.randint(first, last)
        month = generator.choice([1, 2, 3, 4, 11, 12, generator.randint(1, 12)])
        start = datetime.datetime(year, month, 1) + relativedelta(months=1)
        near = start + datetime.timedelta(seconds=generator.randint(-3 * 86400, 86400))
        anywhere = start + datetime.timedelta(seconds=generator.randint(-30 * 86400, 0))
        moment = generator.choice([near, anywhere])
        if generator.random() < 0.5:
            moment += datetime.timedelta(microseconds=generator.randint(0, 999999))
        yield moment


def plx(*arguments, lines, command="set"):
    result = subprocess.run([PLX, command, *arguments], input="\n".join(lines) + "\n", text=True,
                            capture_output=True, check=True)
    return result.stdout.splitlines()


def text(moment):
    return moment.isoformat()


def written(moment):
    """As plx writes it: digits without zeros at their end."""
    whole = moment.replace(microsecond=0).isoformat()
    digits = f"{moment.microsecond:06}".rstrip("0")
    return f"{whole}.{digits}" if digits else whole


def compare(name, arguments, moments, expected, command="set"):
    given = plx(*arguments, lines=[text(m) for m in moments], command=command)
    assert len(given) == len(moments) == len(expected), name
    for moment, result, right in zip(moments, given, expected):
        assert result == right, f"{name}: {arguments} of {text(moment)} gives {result}, not {right}"
    return len(given)


def difference(words):
    """The options of relativedelta that say the same."""
    months = {"year": 12, "quarter": 3, "month": 1}
    total = relativedelta()
    for word in words:
        component, count = word.split("+=")
        if component in months:
            total += relativedelta(months=months[component] * int(count))
        elif component in ("week-of-year", "iso-week"):
            total += relativedelta(weeks=int(count))
        elif component in ("day", "day-of-year", "day-of-week"):
            total += relativedelta(days=int(count))
        else:
            total += relativedelta(**{component + "s": int(count)})
    return total


def test_relative(generator):
    compared = 0
    for component in ["year", "quarter", "month", "week-of-year", "iso-week", "day", "day-of-year",
                      "day-of-week", "hour", "minute", "second"]:
        moments = list(instants(generator))
        count = generator.randint(-500 if component not in ("year", "quarter") else -100, 500)
        if component == "year":
            count = count % 100
        word = f"{component}+={count}"
        expected = [written(m + difference([word])) for m in moments]
        compared += compare("relative", [word, "--clip"], moments, expected)
        if count < 0:
            compared += compare("less", [f"{component}-={-count}", "--clip"], moments, expected)
    return compared


def test_carrying(generator):
    """Without --clip a day that the month lacks carries, as from its first day on."""
    moments = list(instants(generator))
    count = generator.randint(-30, 30)
    expected = []
    for moment in moments:
        first = moment.replace(day=1) + relativedelta(months=count)
        expected.append(written(first + datetime.timedelta(days=moment.day - 1)))
    return compare("carrying", [f"month+={count}"], moments, expected)


def test_pandas_offsets(generator):
    moments = list(instants(generator))
    stamps = pandas.DatetimeIndex(moments)
    rows = [(["month+=1", "day=1"], stamps.normalize() + pandas.offsets.MonthBegin()),
            (["day=last"], stamps.normalize() + pandas.offsets.MonthEnd(0)),
            (["month+=1", "day=last"],
             (stamps.normalize() + pandas.offsets.MonthEnd(0)) + pandas.offsets.MonthEnd(1)),
            (["quarter+=0", "month=last", "day=last"],
             stamps.normalize() + pandas.offsets.YearEnd(0))]
    compared = 0
    for words, expected in rows:
        compared += compare("pandas", words + ["time=00:00", "--together"], moments,
                            [written(stamp.to_pydatetime()) for stamp in expected])
    return compared


def test_multiples(generator):
    units = {"hour": ("h", [1, 2, 3, 4, 6, 8, 12, 24]), "minute": ("min", [1, 5, 10, 15, 20, 30, 60]),
             "second": ("s", [1, 5, 10, 15, 30, 60])}
    methods = {"down": "floor", "up": "ceil", "nearest": "round"}
    compared = 0
    for component, (unit, counts) in units.items():
        for change, method in methods.items():
            count = generator.choice(counts)
            moments = list(instants(generator))
            stamps = pandas.DatetimeIndex(moments)
            # pandas goes to the even one from half way between two.
            half = pandas.Timedelta(count, unit) / 2
            isTie = (stamps - stamps.floor(f"{count}{unit}")) == half
            expected = getattr(stamps, method)(f"{count}{unit}")
            expected = expected.where(~isTie | (change != "nearest"), stamps + half)
            compared += compare("multiples", [f"{component}={change}:{count}"], moments,
                                [written(stamp.to_pydatetime()) for stamp in expected])
    return compared


def test_dates_and_times(generator):
    moments = list(instants(generator))
    day = generator.choice(moments).date()
    clock = generator.choice(moments).time()
    compared = compare("date", [f"date={day}"], moments,
                       [written(datetime.datetime.combine(day, m.time())) for m in moments])
    compared += compare("time", [f"time={clock}"], moments,
                        [written(datetime.datetime.combine(m.date(), clock)) for m in moments])
    compared += compare("date", ["date"], moments, [str(m.date()) for m in moments], "get")
    compared += compare("time", ["time"], moments,
                        [written(m).split("T")[1] for m in moments], "get")
    return compared


def test_iso_weeks(generator):
    moments = list(instants(generator))
    weeks = [m.isocalendar() for m in moments]
    compared = compare("iso-year", ["iso-year"], moments, [str(w[0]) for w in weeks], "get")
    compared += compare("iso-week", ["iso-week"], moments, [str(w[1]) for w in weeks], "get")
    week, year = generator.randint(1, 52), generator.randint(1700, 2250)

    def moved(moment, *iso):
        return written(datetime.datetime.combine(datetime.date.fromisocalendar(*iso), moment.time()))

    compared += compare("iso-week", [f"iso-week={week}"], moments,
                        [moved(m, w[0], week, w[2]) for m, w in zip(moments, weeks)])
    last = [datetime.date(w[0], 12, 28).isocalendar()[1] for w in weeks]
    compared += compare("iso-week", ["iso-week=last"], moments,
                        [moved(m, w[0], l, w[2]) for m, w, l in zip(moments, weeks, last)])
    most = datetime.date(year, 12, 28).isocalendar()[1]
    compared += compare("iso-year", [f"iso-year={year}", "--clip"], moments,
                        [moved(m, year, min(w[1], most), w[2]) for m, w in zip(moments, weeks)])
    compared += compare("both", [f"iso-week={week}", f"iso-year={year}", "--together"], moments,
                        [moved(m, year, week, w[2]) for m, w in zip(moments, weeks)])
    return compared


def set_what_was_read(component, values, options, moments):
    """Changes nothing."""
    lines = [text(m) for m in moments]
    with tempfile.NamedTemporaryFile("w") as file:
        file.write("\n".join(values) + "\n")
        file.flush()
        results = plx(component, "@" + file.name, *options, lines=lines)
    assert results == plx("hour+=0", *options, lines=lines), (component, options)
    return len(results)


def test_weeks_of_any_start(generator):
    """In every zone weeks count from the same day, with 1 January in the first; get and set agree."""
    names = ["sun", "mon", "tue", "wed", "thu", "fri", "sat"]
    compared = 0
    for start, name in enumerate(names):
        moments = list(instants(generator, 1980, 2030))[:COUNT // 4]
        days, weeks = [], []
        for moment in moments:
            january = datetime.date(moment.year, 1, 1)
            place = (january.isoweekday() - start) % 7
            weeks.append(str(((moment.date() - january).days + place) // 7 + 1))
            days.append(str((moment.isoweekday() - start) % 7 + 1))
        for zone in [[], ["-z", "UTC"], ["-z", "Etc/UTC"], ["-z", "+00:00"], ["-z", "Asia/Tokyo"]]:
            options = zone + ["--week-start", name]
            compared += compare("week", ["week-of-year"] + options, moments, weeks, "get")
            compared += compare("day", ["day-of-week"] + options, moments, days, "get")
            compared += set_what_was_read("week-of-year", weeks, options, moments)
            compared += set_what_was_read("day-of-week", days, options, moments)
    return compared


def main():
    generator = random.Random(SEED)
    compared = 0
    tests = [value for name, value in sorted(globals().items()) if name.startswith("test_")]
    for test in tests:
        of_test = test(generator)
        assert of_test >= COUNT, test.__name__
        compared += of_test
    assert len(tests) == 7, len(tests)
    print(f"{compared} results compared")


main()
