"""Tells when the offsets of zones change, as Python's zoneinfo reads the same files.

Takes a folder of zone files, the first and the last year and a number of days. Reads lines "name second second ..."
from standard input; prints for each "name first-offset second offset second offset ...", with every change within
these years. Looks for them at the seconds given and every so many days, and between two that differ to the second.
Last it prints "probes" and how often it asked.
"""

import sys
from datetime import datetime, timedelta, timezone
from pathlib import Path
from zoneinfo import ZoneInfo
from zoneinfo._zoneinfo import ZoneInfo as PlainZoneInfo

EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)
probes = 0


def offset_at(zone, second):
    global probes
    probes += 1
    return (EPOCH + timedelta(seconds=second)).astimezone(zone).utcoffset() // timedelta(seconds=1)


def steps(zone, seconds):
    before, at = offset_at(zone, seconds[0]), seconds[0]
    found = [before]
    for second in seconds[1:]:
        offset = offset_at(zone, second)
        while offset != before:
            # The first change behind `at` is looked for: an offset that comes back in between is none.
            low, high = at, second
            while high - low > 1:
                middle = (low + high) // 2
                if offset_at(zone, middle) == before:
                    low = middle
                else:
                    high = middle
            before, at = offset_at(zone, high), high
            found += [high, before]
        at = second
    return found


def zone_in(path):
    try:
        with open(path, "rb") as file:
            return ZoneInfo.from_file(file, key=path.name)
    except ValueError:
        # That of Python 3.11.2, which is written in C, knows no hours of three digits; that in Python does.
        with open(path, "rb") as file:
            return PlainZoneInfo.from_file(file, key=path.name)


def main():
    folder, first_year, last_year, days = Path(sys.argv[1]), *map(int, sys.argv[2:])
    first, end = ((datetime(year, 1, 1, tzinfo=timezone.utc) - EPOCH) // timedelta(seconds=1)
                  for year in (first_year, last_year + 1))
    grid = list(range(first, end, days * 86400))
    for line in sys.stdin:
        name, *given = line.split()
        zone = zone_in(folder / name)
        seconds = sorted(set(grid) | {s for s in map(int, given) if first <= s < end} | {end - 1})
        print(name, *steps(zone, seconds))
    print("probes", probes)


main()
