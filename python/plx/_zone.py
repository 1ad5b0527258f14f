"""Time zones as Python's libraries have them, and their names."""

import datetime
import re

from . import _plx
from ._errors import RulesWarning, failure, warn_once

_ARITHMETIC = ("", "UTC", "UTCLEAPSECONDS")
_SYSTEM_RULES = "/usr/share/zoneinfo/tzdata.zi"

# The texts of zones met before: finding one out takes longer than setting an element.
_met = {None: None}
_MOST_MET = 1000


def zone_text(zone):
    """None, or the text of a zone that is a text or a tzinfo."""
    try:
        return _met[zone]
    except KeyError:
        text = _read(zone)
        if len(_met) < _MOST_MET:
            _met[zone] = text
        return text
    except TypeError:  # not hashable, as the zones of dateutil are
        return _read(zone)


def _read(zone):
    text = str(zone) if isinstance(zone, str) else _text_of_tzinfo(zone)
    if text[:1].isalpha() and text.upper() not in _ARITHMETIC:
        _compare_rules()
    return text


def _text_of_tzinfo(zone):
    if not isinstance(zone, datetime.tzinfo):
        raise TypeError(
            f"zone: a {type(zone).__name__}; accepted: None, a text such as 'Europe/Paris', or a tzinfo that has a key"
        )
    if isinstance(zone, datetime.timezone):
        return _offset_text(zone)
    library = type(zone).__module__.split(".")[0]
    # zoneinfo, pytz
    for attribute in ("key", "zone"):
        name = getattr(zone, attribute, None)
        if isinstance(name, str) and name:
            return name
    if library == "pytz" and type(zone).__name__ == "_FixedOffset":
        return _offset_text(zone)
    if library == "dateutil":
        kind = type(zone).__name__
        if kind == "tzutc":
            return "UTC"
        if kind == "tzoffset":
            return _offset_text(zone)
        # A zone that was read from a file knows its path, and nothing else.
        path = getattr(zone, "_filename", None)
        found = re.search(r"(?:^|/)zoneinfo/(?:posix/|right/)?(.+)$", path) if isinstance(path, str) else None
        if found:
            return found.group(1)
    raise TypeError(
        f"zone: {zone!r} has no key; accepted: a text such as 'Europe/Paris' or 'local', or a tzinfo that has a key"
    )


def _offset_text(zone):
    offset = zone.utcoffset(None)
    if offset == datetime.timedelta(0):
        return "UTC"
    if offset.microseconds:
        raise TypeError(f"zone: {zone!r} is no whole number of seconds")
    seconds = offset // datetime.timedelta(seconds=1)
    sign = "-" if seconds < 0 else "+"
    hours, rest = divmod(abs(seconds), 3600)
    minutes, seconds = divmod(rest, 60)
    text = f"{sign}{hours:02d}:{minutes:02d}"
    return text + f":{seconds:02d}" if seconds else text


_compared = False


def _compare_rules():
    """Warns, the first time a zone with rules is used, where the system's are newer."""
    global _compared
    if _compared:
        return
    _compared = True
    told = _plx.versions()
    if len(told) != 6:
        raise failure(told)
    _, _, _, used, origin, _ = told
    system = system_release()
    # Releases are named by the year and a letter: 2022e.
    if system is not None and used < system:
        warn_once(
            RulesWarning,
            f"the time-zone rules in use ({used}, {origin}) are older than the system's ({system}); "
            "`plx rules diff` tells the differences, `plx rules update` takes the system's",
        )


def system_release():
    """The release of the system's rules, or None."""
    try:
        with open(_SYSTEM_RULES, encoding="ascii", errors="replace") as file:
            found = re.match(r"# version (\S+)", file.readline())
    except OSError:
        return None
    return found.group(1) if found else None
