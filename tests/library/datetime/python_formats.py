"""Random datetimes in random formats as Python's strptime and strftime have them: python_formats.py SEED COUNT.

Each line: what is asked, then, separated by tabs

  read   format  text  microseconds since 1970 of the text, by wall clock or, with an offset, the instant;
                 microseconds to move it by  the moved one in the format; empty where it is not asked for
  write  format  text of ISO 8601  the same in the format
"""

import os
import random
import re
import sys
import time
from datetime import datetime, timedelta, timezone

os.environ["TZ"] = "UTC"  # %s of a datetime without an offset
time.tzset()

EPOCH = datetime(1970, 1, 1)
DATES = [
    "%Y-%m-%d", "%d/%m/%Y", "%d.%m.%Y", "%m/%d/%y", "%d %b %Y", "%B %d, %Y", "%Y%m%d", "%y%m%d", "%Y-%j", "%y%j",
    "%G-W%V-%u", "%a, %d %b %Y", "%A, %d. %B %Y", "%a W%V %G", "%d-%b-%Y", "[%Y/%m/%d]",
]
TIMES = ["%H:%M", "%H:%M:%S", "%I:%M %p", "%I:%M:%S %p", "%H:%M:%S.%f", "%H%M%S", "%I.%M%p", "%Hh%M", "%S.%f %M %H"]
LETTERS = (
    "%Y %y %m %b %h %B %d %e %j %G %V %u %w %a %A %H %k %I %l %p %P %M %S %f %F %T %R %D %r %n %t %% %s "
    "%-d %-m %-H %-I %-M %-S %-j %_d %_m %_H %_j %_S"
).split()
SIMPLE = {"%d": "%-d", "%m": "%-m", "%H": "%-H", "%I": "%-I", "%M": "%-M", "%S": "%-S"}


def micros(moment):
    if moment.tzinfo is not None:
        moment = moment.astimezone(timezone.utc).replace(tzinfo=None)
    return (moment - EPOCH) // timedelta(microseconds=1)


def a_moment(rand, years):
    day = datetime(rand.randrange(*years), 1, 1) + timedelta(days=rand.randrange(366))
    return day + timedelta(seconds=rand.randrange(86400), microseconds=rand.choice([0, rand.randrange(10**6)]))


def a_format(rand):
    date, clock = rand.choice(DATES), rand.choice(TIMES + [""])
    offset = rand.choice(["", "%z", " %z"]) if clock else ""
    parts = [date, clock] if rand.random() < 0.8 else [clock, date]
    joint = rand.choice([" ", "T", ", ", ":"])
    return joint.join(part for part in parts if part) + offset


def cut(moment, form):
    """What the format has no place for."""
    if "%H" not in form and "%I" not in form:
        return moment.replace(hour=0, minute=0, second=0, microsecond=0)
    if "%S" not in form:
        return moment.replace(second=0, microsecond=0)
    return moment if "%f" in form else moment.replace(microsecond=0)


def in_place(form):
    """How far a datetime may be moved."""
    return timedelta(days=1) if "%H" not in form and "%I" not in form else timedelta(minutes=1)


def reads(rand, form):
    moment = cut(a_moment(rand, (1969, 2068)), form)
    if "%z" in form:
        minutes = rand.choice([0, 60, 120, -300, 330, 345, -210])
        moment = moment.replace(tzinfo=timezone(timedelta(minutes=minutes)))
    text = moment.strftime(form)
    assert datetime.strptime(text, form) == moment, (text, form)
    moved = moment + in_place(form) * rand.randrange(-500, 500)
    shift = micros(moved) - micros(moment)
    written = moved.strftime(form) if 1969 <= moved.year <= 2068 else ""
    print("read", form, text, micros(moment), shift, written, sep="\t")

    other = form
    for letter, simple in SIMPLE.items():
        touches = any(letter + digit in form for digit in ("%f", "%j", "%d", "%m", "%M", "%S", "%H", "%Y"))
        if not touches and rand.random() < 0.5:
            other = other.replace(letter, simple)
    text = moment.strftime(other)
    if not re.search("[A-Za-z]", re.sub("%.", "", form)):  # whose letter case Python does not mind
        text = rand.choice([str, str.upper, str.lower])(text)
    if "%z" in form and rand.random() < 0.5 and text[-4:].isdigit():
        text = text[:-2] + ":" + text[-2:]
    try:
        back = datetime.strptime(text, form)
    except ValueError:
        return
    assert back == moment, (text, form)
    print("read", form, text, micros(moment), 0, text, sep="\t")


def damages(rand, form):
    """Texts that may be none: both refuse them, or both read the same."""
    text = list(cut(a_moment(rand, (1969, 2068)), form).replace(tzinfo=timezone.utc).strftime(form))
    for _ in range(rand.randrange(1, 3)):
        at = rand.randrange(len(text))
        text[at : at + rand.randrange(2)] = rand.choice(list("0123456789 :/-") + [""])
    text = "".join(text)
    try:
        read = micros(datetime.strptime(text, form))
    except ValueError:
        read = "none"
    print("damaged", form, text, read, 0, "", sep="\t")


def writes(rand, _):
    moment = a_moment(rand, (1969, 2068))
    if rand.random() < 0.5:
        moment = moment.replace(tzinfo=timezone(timedelta(minutes=rand.choice([0, 60, -300, 345]))))
    letters = [letter for letter in LETTERS if letter not in ("%n", "%t")]
    if moment.tzinfo is not None:
        # The C library's %s does not know of the offset.
        letters = [letter for letter in letters if letter != "%s"] + ["%z", "%:z"]
    form = rand.choice(" ,/-").join(rand.sample(letters, rand.randrange(1, 8))) + rand.choice(["", "!"])
    if form.replace("%%", "").find("%") < 0:
        return
    text = moment.isoformat()
    written = moment.strftime(form.replace("%:z", "COLON"))
    offset = moment.strftime("%z")
    print("write", form, text, written.replace("COLON", offset[:3] + ":" + offset[3:]), sep="\t")


def main():
    rand = random.Random(int(sys.argv[1]))
    for number in range(int(sys.argv[2])):
        # Python takes longer to compile a format than to read many texts in it.
        if number % 50 == 0:
            form = a_format(rand)
        for kind in (reads, damages, writes):
            kind(rand, form)


main()
