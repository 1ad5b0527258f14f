"""The functions of the package: arguments are read, the library works, what came back is told."""

from typing import NamedTuple

import numpy as np

from . import _plx
from ._datetimes import Results, apart, as_given, ndarray, read, read_values, too_long, type_of, types
from ._errors import LeapTableWarning, failure, library_error, warn_once
from ._zone import zone_text

empty, empty_like = np.empty, np.empty_like

_FOLDS = {"later": 0, "earlier": 1, "same": 2, "error": 3}
_GAPS = {"shift": 0, "error": 1, "start": 2, "end": 3}
# What counts as otherwise than asked: that a wall time comes twice alone does not.
_CARRIED, _NO_SUCH_DATE, _SHIFTED, _TWICE, _MOVED = 1, 2, 4, 8, 16
_OTHERWISE = _CARRIED | _NO_SUCH_DATE | _SHIFTED | _MOVED
_CHECKS = (None, "raise", "nat", "mask")


class Component(NamedTuple):
    """A component of datetimes.

    Attributes
    ----------
    name : str
        As `set` takes it.
    selector : int
        Its number, which `set` takes as well.
    values : str
        Its usual values. Others carry into larger units.
    takes_fractions : bool
        Whether values may have a fraction.
    """

    name: str
    selector: int
    values: str
    takes_fractions: bool


class Versions(NamedTuple):
    """What is in use.

    Attributes
    ----------
    plx : str
        The version of the library.
    module : str
        The path of the module that computes.
    icu : str
        The version of ICU.
    rules : str
        The release of the time-zone rules in use, such as ``"2025b"``.
    rules_from : str
        Where those are from: ICU's own, or a folder.
    last_leap_second : str
        The last leap second that is known.
    """

    plx: str
    module: str
    icu: str
    rules: str
    rules_from: str
    last_leap_second: str


class Explanation(str):
    """What one setting does: lines of text, and HTML in a notebook."""

    html = ""

    def __repr__(self):
        return str(self)

    def _repr_html_(self):
        return self.html


def _checked(told):
    if type(told) is tuple and len(told) == 4 and type(told[0]) is str:
        raise failure(told)
    return told


_COMPONENTS = tuple(
    Component(name.replace("-", "_"), selector, values, takes_fractions)
    for selector, name, values, takes_fractions, _, _ in _plx.components()
)
_SELECTORS = {}
for _one in _COMPONENTS:
    for _name in (_one.name, _one.name.replace("_", "-"), _one.selector):
        _SELECTORS[_name] = _one.selector
_SELECTORS[12] = _SELECTORS["day"]


def selector(component):
    try:
        return _SELECTORS[component]
    except (KeyError, TypeError):
        pass
    names = ", ".join(one.name for one in _COMPONENTS)
    raise library_error("UnknownComponent", f"component: {component!r}; accepted: {names}, or the number of a selector")


def _option(name, options, value):
    try:
        return options[value]
    except (KeyError, TypeError):
        accepted = ", ".join(repr(one) for one in options)
        raise library_error("InvalidArgument", f"{name}: {value!r}; accepted: {accepted}") from None


def _thread_count(threads):
    count = threads.__index__() if hasattr(threads, "__index__") and type(threads) is not bool else 0
    if not 1 <= count <= 1024:
        raise library_error("InvalidArgument", f"threads: {threads!r}; accepted: 1 to 1024")
    return count


def _tell_notes(_notes):
    versions_text = versions().last_leap_second
    warn_once(
        LeapTableWarning,
        f"the last leap second that is known is {versions_text}: datetimes after the next one, of 2015-06-30, are "
        "off by those inserted since",
    )


def set(x, component, value, *, zone=None, out=None, fold="later", gap="shift", check=None, threads=1):
    """Sets one component of every datetime.

    Parameters
    ----------
    x : array_like
        Datetimes: datetime64 with a unit; complex128, milliseconds since 1970, the high part and the low part; float64,
        milliseconds since 1970; or a tuple ``(high, low)`` of float64. With a zone they are instants, without one what
        a clock shows.
    component : str or int
        ``"year"``, ``"quarter"``, ``"month"``, ``"week_of_year"``, ``"day"``, ``"day_of_year"``, ``"day_of_week"``,
        ``"hour"``, ``"minute"``, ``"second"``, ``"time_of_day"`` (seconds since midnight), or the number of a selector.
    value : number, str or array_like
        What ``x[...] = value`` would take of numbers, or a word for all: ``"last"``, ``"feb"``, ``"mon"``, ``"q2"``. NaN
        makes NaT or NaN.
    zone : str, tzinfo or None, optional
        An identifier such as ``"Europe/Paris"``, an offset such as ``"+05:30"``, ``"UTC"``, ``"UTCLeapSeconds"``,
        ``"local"``, or a tzinfo that has a key: of zoneinfo, pytz, dateutil, or `datetime.timezone`.
    out : array or tuple of two, optional
        Where results go: of the dtype and shape of `x`, which it may be.
    fold : {"later", "earlier", "same", "error"}, optional
        Which of the two, where a wall time comes twice as a clock goes back. ``"same"`` is the one with the offset that
        the datetime had before.
    gap : {"shift", "error", "start", "end"}, optional
        What becomes of a wall time that is skipped as a clock goes forward: ``"shift"`` makes 02:30 03:30, ``"start"``
        is the last second before, ``"end"`` the first after.
    check : {None, "raise", "nat", "mask"}, optional
        What to do where a result is otherwise than asked: the value carried into larger units, the date does not exist,
        the wall time is skipped, or an instant moved to the later of two equal wall times. ``"mask"`` returns them
        beside the results.
    threads : int, optional
        How many work on large arrays.

    Returns
    -------
    array, scalar or tuple
        Of the kind, dtype, shape and byte order of `x`; with ``check="mask"``, a tuple of this and an array of bool.

    Raises
    ------
    Error
        What is wrong with the call or with an element, which ``index`` names. A ValueError.
    TypeError
        For what is no datetime, number or time zone; the message names the conversion to write.

    See Also
    --------
    get : Reads a component.
    explain : Says what happens to a datetime, and why.

    Notes
    -----
    Outside of its range a value carries into larger units: month 13 is the next January, and 31 February 2 or 3 March.

    A call sets one component, on purpose. ``month=2, day=28`` in one call would look as if both took effect at once.
    Set in order, they carry on the way: of 31 March, month 2 makes 3 March, and day 28 then is 28 March. In two calls
    the order is in sight, and the day is set first.

    Examples
    --------
    >>> import numpy as np, plx
    >>> t = np.array(['2014-05-31T08:30', 'NaT', '2016-02-29T23:59'], 'M8[m]')
    >>> plx.set(t, 'month', 2)
    array(['2014-03-03T08:30',              'NaT', '2016-02-29T23:59'],
          dtype='datetime64[m]')
    >>> plx.set(t, 'month', 2, check='nat')
    array([             'NaT',              'NaT', '2016-02-29T23:59'],
          dtype='datetime64[m]')
    >>> plx.set(plx.set(t, 'day', 1), 'month', [1, 2, 3])
    array(['2014-01-01T08:30',              'NaT', '2016-03-01T23:59'],
          dtype='datetime64[m]')
    >>> plx.set(np.datetime64('2014-03-09T16:50'), 'hour', 2, zone='America/New_York')  # 02:50 is skipped there
    numpy.datetime64('2014-03-09T07:50')
    >>> plx.set(t, 'day', [1, 1, 1.5])
    Traceback (most recent call last):
    plx.NotWhole: element 2: not a whole number: "1.5"; accepted: whole numbers; only second and time-of-day take ...
    """
    # The usual call, at the least price: one element is set in less time than most of NumPy's functions take.
    if type(x) is ndarray and out is None and check is None and type(value) in (int, float, str) and threads == 1:
        try:
            known = _SELECTORS[component], types[x.dtype], _FOLDS[fold], _GAPS[gap]
        except (KeyError, TypeError):
            # The longer way knows more, or says what is wrong.
            return _set_any(x, component, value, zone, out, fold, gap, check, threads)
        selector, type_, fold, gap = known
        if zone is not None:
            zone = zone_text(zone)
        # Of one dimension either way, this one in half the time.
        results = empty(x.shape, x.dtype) if x.ndim == 1 else empty_like(x)
        try:
            told = _plx.set(x, None, type_, selector, value, zone, fold, gap, results, None, None, 0, None, 1)
        except OverflowError:
            raise too_long() from None
        if told:
            if type(told) is tuple:
                raise failure(told, x.shape)
            _tell_notes(told)
        return results
    return _set_any(x, component, value, zone, out, fold, gap, check, threads)


def _set_any(x, component, value, zone, out, fold, gap, check, threads):
    component = selector(component)
    fold, gap = _option("fold", _FOLDS, fold), _option("gap", _GAPS, gap)
    if check not in _CHECKS:
        raise library_error("InvalidArgument", f"check: {check!r}; accepted: None, 'raise', 'nat', 'mask'")
    threads = _thread_count(threads)
    zone = zone_text(zone)
    x = read(x)
    shape = x.high.shape
    value, value_where = read_values(value, shape)
    where = x.where
    if value_where is not None:
        where = value_where if where is None else where & value_where
    results = Results(x, where, out)
    value = apart(value, results.parts)
    findings = np.zeros(shape, np.uint8) if check in ("nat", "mask") else None
    told = _plx.set(
        x.high, x.low, x.type, component, value, zone, fold, gap,
        results.high, results.low, findings, _OTHERWISE if check == "raise" else 0, where, threads,
    )  # fmt: skip
    if told:
        if type(told) is tuple:
            raise failure(told, shape, writes=results.are_in_place)
        _tell_notes(told)
    if findings is None:
        return results.finish(value_where)
    otherwise = (findings & _OTHERWISE) != 0
    if check == "nat":
        for part in results.parts:
            part[otherwise] = np.datetime64("NaT") if part.dtype.kind == "M" else np.nan
        return results.finish(value_where)
    return results.finish(value_where), as_given(x, otherwise)


def get(x, component, *, zone=None, threads=1):
    """Reads one component of every datetime, by the rules that setting it uses.

    Parameters
    ----------
    x, component, zone, threads
        As in `set`.

    Returns
    -------
    array or scalar
        Of float64, NaN for what is no datetime. Seconds and times of day have their fraction.

    Examples
    --------
    >>> import numpy as np, plx
    >>> t = np.array(['2014-05-31T08:30:15.25', 'NaT'], 'M8[ms]')
    >>> plx.get(t, 'day_of_year')
    array([151.,  nan])
    >>> plx.get(t, 'second')
    array([15.25,   nan])
    >>> plx.get(t, 'hour', zone='Asia/Kolkata')
    array([14., nan])
    """
    component = selector(component)
    threads = _thread_count(threads)
    zone = zone_text(zone)
    x = read(x)
    numbers = np.empty_like(x.high, np.float64, subok=False)
    if x.where is not None:
        numbers[...] = np.nan
    told = _plx.get(x.high, x.low, x.type, component, zone, numbers, x.where, threads)
    if told:
        if type(told) is tuple:
            raise failure(told, x.high.shape)
        _tell_notes(told)
    return as_given(x, numbers)


def split(x, *, threads=1):
    """Writes datetimes as pairs of float64: milliseconds since 1970, rounded, and what that leaves over.

    Parameters
    ----------
    x : array_like
        datetime64 with a unit, complex128 or float64.
    threads : int, optional
        How many work on large arrays.

    Returns
    -------
    high, low : array or scalar
        Of float64. `join` makes the same datetimes of them.

    Raises
    ------
    OutOfRange
        For a datetime that no pair holds exactly.

    Examples
    --------
    >>> import numpy as np, plx
    >>> high, low = plx.split(np.array(['2014-05-31T08:30:00.123456789'], 'M8[ns]'))
    >>> plx.join(high, low, 'M8[ns]')
    array(['2014-05-31T08:30:00.123456789'], dtype='datetime64[ns]')
    """
    x = read(x)
    if x.is_pair:
        raise TypeError("x: a pair already; accepted: datetime64 with a unit, complex128, float64")
    high, low = (np.empty_like(x.high, np.float64, subok=False) for _ in range(2))
    if x.where is not None:
        high[...] = low[...] = np.nan
    told = _plx.convert(x.high, None, x.type, high, low, type_of(high.dtype), x.where, _thread_count(threads))
    if told is not None:
        raise failure(told, x.high.shape)
    return as_given(x, high), as_given(x, low)


def join(high, low, dtype, *, threads=1):
    """Makes datetimes of pairs, each exactly.

    Parameters
    ----------
    high, low : array_like
        float64, milliseconds since 1970.
    dtype : dtype_like
        datetime64 with a unit, or complex128.
    threads : int, optional
        How many work on large arrays.

    Returns
    -------
    array or scalar
        Of the dtype.

    Raises
    ------
    OutOfRange
        For a pair that the dtype cannot hold exactly.

    Examples
    --------
    >>> import plx
    >>> plx.join(1.5, 0.0, 'M8[us]')
    numpy.datetime64('1970-01-01T00:00:00.001500')
    """
    x = read((high, low))
    dtype = np.dtype(dtype)
    if dtype.str[1:] != "c16" and not dtype.str[1:].startswith("M8["):
        raise TypeError(f"dtype: {dtype}; accepted: datetime64 with a unit, complex128")
    type_ = type_of(dtype)
    results = np.empty_like(x.high, dtype, subok=False)
    if x.where is not None:
        results[...] = np.nan if dtype.kind == "c" else np.datetime64("NaT")
    told = _plx.convert(x.high, x.low, x.type, results, None, type_, x.where, _thread_count(threads))
    if told is not None:
        raise failure(told, x.high.shape)
    return as_given(x, results)


def explain(x, component, value, *, zone=None, fold="later", gap="shift"):
    """Says what setting a component does to one datetime, and why.

    Parameters
    ----------
    x
        A single datetime: a scalar, or an array of one element.
    component, value, zone, fold, gap
        As in `set`.

    Returns
    -------
    Explanation
        A str, shown as `plx explain` prints it, and as HTML in a notebook.

    Examples
    --------
    >>> import numpy as np, plx
    >>> plx.explain(np.datetime64('2014-05-31T08:30'), 'month', 2)  # doctest: +ELLIPSIS
    Set month to 2, in plain calendar time
    ...
      There is no 31 February 2014: February 2014 has 28 days, and the day of the
      month, which stays 31, carries over into the month after.
    ...
    """
    component = selector(component)
    fold, gap = _option("fold", _FOLDS, fold), _option("gap", _GAPS, gap)
    zone = zone_text(zone)
    x = read(x)
    if x.high.size != 1:
        raise library_error("ShapeMismatch", f"x: {x.high.size} elements; accepted: a single one")
    if x.where is not None and not x.where.all():
        raise library_error("InvalidArgument", "x: masked; accepted: an element that is not masked")
    value, where = read_values(value, x.high.shape)
    if where is not None and not where.all():
        raise library_error("InvalidArgument", "value: masked; accepted: a value that is not masked")
    given = (x.high, x.low, x.type, component, value, zone, fold, gap)
    text = _plx.explain(*given, 0)
    if type(text) is tuple:
        raise failure(text)
    explanation = Explanation(text.rstrip("\n"))
    explanation.html = _checked(_plx.explain(*given, 2))
    return explanation


def components():
    """The components that can be set.

    Returns
    -------
    tuple of Component

    Examples
    --------
    >>> import plx
    >>> [one.name for one in plx.components() if one.takes_fractions]
    ['second', 'time_of_day']
    """
    return _COMPONENTS


def zones(pattern=None):
    """The names of time zones that match a pattern.

    Parameters
    ----------
    pattern : str, optional
        All of a name with ``*``, ``?`` or ``[``, otherwise a part of it, in any letter case. All without one.

    Returns
    -------
    list of str

    Examples
    --------
    >>> import plx
    >>> plx.zones('europe/p*')
    ['Europe/Paris', 'Europe/Podgorica', 'Europe/Prague']
    """
    if pattern is not None and not isinstance(pattern, str):
        raise TypeError(f"pattern: a {type(pattern).__name__}; accepted: None, or a str such as 'Europe/*'")
    return _checked(_plx.zones(pattern)).splitlines()


def versions():
    """What is in use: the library, the module, ICU, the time-zone rules and the leap seconds.

    Returns
    -------
    Versions

    Examples
    --------
    >>> import plx
    >>> plx.versions().last_leap_second
    '2012-06-30T23:59:60Z'
    """
    library, module, icu, rules, rules_from, last_leap_second = _checked(_plx.versions())
    return Versions(library, module, icu, rules, rules_from, last_leap_second)
