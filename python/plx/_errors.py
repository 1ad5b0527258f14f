"""What plx raises and warns of."""

import warnings


class Error(ValueError):
    """What is wrong with a call of plx, and where.

    Attributes
    ----------
    identifier : str
        The kind of error, such as ``"Pelmor:datetime:MustBeInteger"``; see docs/errors.md.
    index : int, tuple of int or None
        Of the first wrong element: an int in one dimension, else a tuple. None where no element is wrong.
    written : int
        How many elements before it were set in ``out``, in the order of elements, the last dimension varying fastest.
        0 without ``out``.
    """

    def __init__(self, message="", *, identifier="", index=None, written=0):
        # Pickling and copying keep the arguments of Exception and, by themselves, the attributes.
        super().__init__(message)
        self.identifier = identifier
        self.index = index
        self.written = written


class UnknownZone(Error):
    """A text that names no time zone."""


class NotWhole(Error):
    """A fraction, for a component that takes whole numbers."""


class OutOfRange(Error):
    """A datetime, value or result that the zone, the element type or the arithmetic cannot take."""


class Refused(Error):
    """Something that was asked to be an error: by ``fold``, ``gap`` or ``check``."""


class LeapTableWarning(UserWarning):
    """Datetimes on the line UTCLeapSeconds are later than the leap seconds that are known."""


class RulesWarning(UserWarning):
    """The time-zone rules in use are older than the system's."""


# By the names that people know them by, in tracebacks and in what is pickled.
for _class in (Error, UnknownZone, NotWhole, OutOfRange, Refused, LeapTableWarning, RulesWarning):
    _class.__module__ = "plx"
del _class

_CLASSES = {
    "Pelmor:datetime:UnknownTimeZone": UnknownZone,
    "Pelmor:datetime:MustBeInteger": NotWhole,
    "Pelmor:datetime:RangeError": OutOfRange,
    "Pelmor:library:OutOfRange": OutOfRange,
    "Pelmor:library:CannotHold": OutOfRange,
    "Pelmor:library:ValueNotExact": OutOfRange,
    "Pelmor:library:Refused": Refused,
}


def error(identifier, message, index=None, written=0):
    kind = _CLASSES.get(identifier, Error)
    return kind(message, identifier=identifier, index=index, written=written)


def library_error(identifier, message):
    """Of plx itself, before the library is called."""
    return error("Pelmor:library:" + identifier, message)


def failure(told, shape=(), *, writes=False):
    """The error of a tuple that the extension returned, for datetimes of a shape."""
    identifier, message, position, done = told
    index = None
    if position is not None:
        places = []
        rest = position
        for length in reversed(shape):
            rest, place = divmod(rest, length)
            places.append(place)
        index = places[0] if len(places) == 1 else tuple(reversed(places))
        if index != ():
            message = f"element {index}: {message}"
    return error(identifier, message, index, done if writes else 0)


_warned = set()


def warn_once(category, message):
    """Once a process, whatever the filters of warnings make of it."""
    if category in _warned:
        return
    _warned.add(category)
    # The caller of plx's own functions: however deep the call is, this is outside of the package.
    import sys

    level, frame = 1, sys._getframe()
    while frame is not None and frame.f_globals.get("__name__", "").split(".")[0] == "plx":
        level, frame = level + 1, frame.f_back
    warnings.warn(message, category, stacklevel=level)
