"""Random datetimes as Python and NumPy read and write them: python_datetimes.py SEED COUNT.

Each line: zone, form of the text, text, form to write it in, what is then written. Without a zone, the first
field is empty. Python writes fractions of six digits and NumPy of nine; here they end with their last digit
that is no zero.
"""

import random
import sys
from datetime import date, datetime, timedelta, timezone
from zoneinfo import ZoneInfo

import numpy

EPOCH = datetime(1970, 1, 1)
FIRST = (datetime(1, 1, 1) - EPOCH) // timedelta(microseconds=1)
LAST = (datetime(9999, 12, 31) - EPOCH) // timedelta(microseconds=1)
# Where the two sets of rules that are asked here agree for sure.
ZONES = [
    "America/New_York", "Europe/Paris", "Europe/London", "Asia/Kolkata", "Asia/Tokyo", "Asia/Kathmandu",
    "Australia/Sydney", "Australia/Lord_Howe", "Pacific/Auckland", "Africa/Johannesburg", "America/St_Johns",
]
LAST_OF_ZONES = 2_114_380_800_000_000  # 2037


def emit(zone, source, text, target, written):
    print(zone, source, text, target, written, sep="\t")


def trimmed(text):
    return text.rstrip("0").rstrip(".") if "." in text else text


def fraction(moment):
    return trimmed(".%06d" % moment.microsecond).rstrip(".")


def text_of(moment, form):
    clock = moment.strftime("T%H:%M:%S") + fraction(moment)
    offset = moment.strftime("%z")
    if offset:
        offset = offset[:3] + ":" + offset[3:5]
    year, week, weekday = moment.isocalendar()
    if form == "iso":
        return moment.date().isoformat() + clock + offset
    if form == "ordinal":
        return "%04d-%s" % (moment.year, moment.strftime("%j")) + clock + offset
    return "%04d-W%02d-%d" % (year, week, weekday) + clock + offset


def micros(moment):
    return (moment - EPOCH) // timedelta(microseconds=1)


def calendar(rand):
    us = rand.choice([rand.randrange(FIRST, LAST), rand.randrange(0, LAST_OF_ZONES) // 1000000 * 1000000])
    moment = EPOCH + timedelta(microseconds=us)
    form = rand.choice(["iso", "ordinal", "week"])
    emit("", "us", us, form, text_of(moment, form))
    emit("", "", text_of(moment, form), "us", us)
    other = rand.choice(["iso", "ordinal", "week"])
    emit("", form, text_of(moment, form), other, text_of(moment, other))


def zoned(rand):
    name = rand.choice(ZONES)
    zone = ZoneInfo(name)
    us = rand.randrange(0, LAST_OF_ZONES)
    if rand.random() < 0.5:  # within two hours of a change of the clock
        us = near_change(rand, zone, us)
    moment = (EPOCH + timedelta(microseconds=us)).replace(tzinfo=timezone.utc).astimezone(zone)
    form = rand.choice(["iso", "ordinal", "week", "rfc3339"])
    text = text_of(moment, "iso" if form == "rfc3339" else form)
    emit(name, "us", us, form, text)
    emit(name, "", text, "us", us)
    emit("", "", text + "[" + name + "]" if form in ("iso", "rfc3339") else text, "us", us)
    # Of a wall time that is skipped or repeated, the smaller offset is taken: before a gap, after an overlap.
    wall = moment.replace(tzinfo=None) + timedelta(minutes=rand.choice([-60, -30, 0, 30, 60]))
    offset = min(wall.replace(tzinfo=zone, fold=fold).utcoffset() for fold in (0, 1))
    emit(name, "", text_of(wall, "iso"), "us", micros(wall - offset))


def near_change(rand, zone, us):
    def offset(seconds):
        return datetime.fromtimestamp(seconds, zone).utcoffset()

    low = us // 1000000
    high = low + 200 * 86400
    if offset(low) == offset(high):
        return us
    while high - low > 1:
        middle = (low + high) // 2
        if offset(middle) == offset(low):
            low = middle
        else:
            high = middle
    return high * 1000000 + rand.randrange(-7200, 7200) * 1000000 + rand.choice([0, rand.randrange(1000000)])


def spellings(rand):
    """What datetime.fromisoformat reads."""
    day = date.fromordinal(rand.randrange(1, date.max.toordinal()))
    year, week, weekday = day.isocalendar()
    basic = rand.random() < 0.5
    if rand.random() < 0.5:
        text = day.strftime("%m-%d")
        text = "%04d-%s" % (day.year, text)
    else:
        if not 1 <= year <= 9999:
            return
        text = "%04d-W%02d-%d" % (year, week, weekday)
    clock = "%02d:%02d:%02d" % (rand.randrange(24), rand.randrange(60), rand.randrange(60))
    clock = clock[: rand.choice([2, 5, 8])]
    if len(clock) == 8 and rand.random() < 0.5:
        clock += rand.choice(".,") + str(rand.randrange(10**6)).zfill(6)[: rand.randrange(1, 7)]
    sign = rand.choice("+-")
    offset = "%02d:%02d" % (rand.randrange(15), rand.choice([0, 30, 45]))
    offset = rand.choice(["", "Z", sign + offset, sign + offset[:2]])
    if basic:
        text, clock, offset = text.replace("-", ""), clock.replace(":", ""), offset.replace(":", "")
    text += ("T" if basic else rand.choice("T ")) + clock + offset
    moment = datetime.fromisoformat(text)
    if moment.tzinfo is not None:
        shifted = moment.replace(tzinfo=None) - EPOCH - moment.utcoffset()
    else:
        shifted = moment - EPOCH
    emit("", "", text, "us", shifted // timedelta(microseconds=1))


def numpys(rand):
    ns = rand.choice([rand.randrange(-(2**63) + 1, 2**63), rand.randrange(-(10**12), 10**12)])
    text = trimmed(str(numpy.datetime64(ns, "ns")))
    emit("", "ns", ns, "iso", text)
    emit("", "", text, "ns", ns)
    assert numpy.datetime64(text, "ns").astype("int64") == ns
    seconds = rand.randrange(-(10**14), 10**14)  # three million years
    text = str(numpy.datetime64(seconds, "s"))
    if not text.startswith("-") and text.index("-") > 4:
        text = "+" + text
    digits = text.lstrip("+-").split("-")[0]
    text = text.replace(digits, digits.zfill(4), 1)
    emit("", "s", seconds, "iso", text)
    emit("", "", text, "s", seconds)


def main():
    rand = random.Random(int(sys.argv[1]))
    for _ in range(int(sys.argv[2])):
        for kind in (calendar, zoned, spellings, numpys):
            kind(rand)


main()
