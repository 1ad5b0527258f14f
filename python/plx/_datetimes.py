"""What NumPy knows best: which elements an argument has, where they stand, and what comes back."""

import numbers
from typing import NamedTuple

import numpy as np

from ._errors import library_error

ndarray = np.ndarray
masked = np.ma.masked

# Type strings of the datetimes met so far: making one takes NumPy longer than setting an element.
types: dict[np.dtype, str] = {}


def type_of(dtype):
    """The type string of datetimes. A TypeError names the conversion to write where there is one."""
    try:
        return types[dtype]
    except KeyError:
        pass
    text = dtype.str
    kind = text[1:]
    if kind in ("c16", "f8") or (kind.startswith("M8[") and kind != "M8[generic]"):
        types[dtype] = text
        return text
    if dtype.kind == "M":
        write = ", such as x.astype('M8[ms]')"
    elif dtype.kind in "iu":
        write = "; write x.astype('M8[ms]'), or another unit, for counts since 1970"
    elif dtype.kind == "f":
        write = "; write x.astype(float) for milliseconds since 1970"
    elif dtype.kind == "c":
        write = "; write x.astype(complex)"
    elif dtype.kind in "USO":
        write = "; write np.array(x, 'M8[ms]'), or another unit"
    elif dtype.names is not None:
        write = "; write a tuple of two fields, (x['high'], x['low'])"
    else:
        write = ""
    raise TypeError(
        f"x: elements of {dtype} are no datetimes; accepted: datetime64 with a unit{write or ''}"
        if dtype.kind == "M"
        else f"x: elements of {dtype} are no datetimes; accepted: datetime64 with a unit, complex128, float64, "
        f"or a tuple of two float64 arrays{write}"
    )


class Datetimes(NamedTuple):
    """Datetimes to be read."""

    high: ndarray
    low: object  # ndarray or None
    type: str
    where: object  # ndarray of bool, or None: all
    like: tuple  # what came in: one object, or two for a pair

    @property
    def is_pair(self):
        return self.low is not None

    def parts(self):
        return (self.high, self.low) if self.is_pair else (self.high,)


def read(x):
    if isinstance(x, tuple):
        return _read_pair(x)
    array, where = _read_array(x)
    return Datetimes(array, None, type_of(array.dtype), where, (x,))


def _read_pair(pair):
    if len(pair) != 2:
        raise TypeError(f"x: a tuple of {len(pair)}; accepted: (high, low), two float64 arrays")
    (high, where), (low, other) = (_read_array(float(part) if type(part) is int else part) for part in pair)
    for part in (high, low):
        if part.dtype.str[1:] != "f8":
            raise TypeError(f"x: a pair of {high.dtype} and {low.dtype}; accepted: (high, low), two float64 arrays")
    if high.shape != low.shape:
        raise library_error("ShapeMismatch", f"x: high parts of shape {high.shape}, low parts of shape {low.shape}")
    if high.dtype != low.dtype:
        high, low = high.astype("=f8"), low.astype("=f8")
    if where is None or other is None:
        where = other if where is None else where
    else:
        where = where & other
    return Datetimes(high, low, type_of(high.dtype), where, pair)


def _where(x):
    """Which elements are not masked; None where none is, and for records, which are refused anyway."""
    mask = np.ma.getmask(x)
    return None if mask is np.ma.nomask or x.dtype.names is not None else ~mask


_WITH_ACCESSOR = ("Series", "DatetimeIndex", "DataArray")


def _read_array(x):
    """The elements as NumPy's own array, and which of them are not masked."""
    if type(x) is ndarray:
        return x, None
    if isinstance(x, np.ma.MaskedArray):
        return np.asarray(x), _where(x)
    library = type(x).__module__.split(".")[0]
    if library in ("pandas", "xarray") and hasattr(x, "to_numpy"):
        has_accessor = any(kind.__name__ in _WITH_ACCESSOR for kind in type(x).__mro__)
        write = f"import plx.{library} and write x.plx.set(...), or " if has_accessor else ""
        # In a zone they would be objects otherwise. A single Timestamp takes no dtype, and is none.
        is_zoned = getattr(getattr(x, "dtype", None), "tz", None) is not None
        give = "x.to_numpy('M8[ns]'), instants in UTC" if is_zoned else "x.to_numpy()"
        raise TypeError(f"x: a {type(x).__name__} of {library}; {write}give {give}")
    if library in ("dask", "dask_expr"):
        write = "plx.dask.set(x, ...)" if hasattr(x, "chunks") else "x.plx.set(...)"
        raise TypeError(f"x: {type(x).__name__} of dask; import plx.dask and write {write}, or give x.compute()")
    if isinstance(x, (bool, int)):
        raise TypeError("x: an int is no datetime; accepted: np.datetime64(x, 'ms'), or float(x) for milliseconds")
    return np.asarray(x), None


# ------------------------------------------------------------------------------------------ new values


def read_values(value, shape):
    """A str, an int, a float or an array for the extension, and where an array of values is not masked."""
    kind = type(value)
    if kind is float:
        return value, None
    if isinstance(value, str):
        return str(value), None
    # To Python timedelta64 is an integer as well.
    if isinstance(value, numbers.Integral) and kind is not bool and not isinstance(value, np.timedelta64):
        if not -(2**63) <= value < 2**63:
            raise too_long()
        return int(value), None
    array = np.asanyarray(value)
    where = None
    if isinstance(array, np.ma.MaskedArray):
        where = _where(array)
        if where is not None:
            # Of each element, where one masked value is for all.
            where = np.broadcast_to(_spread(where, shape), shape)
    array = np.asarray(array)
    kind = array.dtype.kind
    if kind == "f" and array.dtype.itemsize == 2:
        array = array.astype(np.float32)
    if kind not in "iuf" or array.dtype.itemsize > 8:
        if kind == "O" and _are_too_long(array):
            raise too_long()
        raise TypeError(
            f"value: {f'elements of {array.dtype}' if array.ndim else repr(value)}; "
            "accepted: integers, float64, float32, or a word such as 'last', 'feb', 'mon', 'q2'"
        )
    return _spread(array, shape), where


def too_long():
    return library_error("ValueNotExact", "value: a whole number of more than 64 bits; accepted: numbers within 2^53")


def _are_too_long(array):
    """Whether these are objects because they are whole numbers that no integer of NumPy holds."""
    are_whole = all(isinstance(one, int) and type(one) is not bool for one in array.flat)
    return are_whole and any(not -(2**63) <= one < 2**64 for one in array.flat)


def _spread(array, shape):
    """As ``x[...] = array`` spreads them; one number for all stays one."""
    if array.shape == shape:
        return array
    given = array.shape
    while array.ndim > len(shape) and array.shape[0] == 1:
        array = array.reshape(array.shape[1:])
    if array.ndim == 0:
        return array
    try:
        return np.broadcast_to(array, shape)
    except ValueError:
        raise library_error("ShapeMismatch", f"value: of shape {given}, for datetimes of shape {shape}") from None


# --------------------------------------------------------------------------------------------- results


class Results:
    """Memory for results, and how it is handed back."""

    def __init__(self, x, where, out):
        self.x = x
        self.where = where
        self.out = None
        self.is_out = out is not None
        if not self.is_out:
            # What is masked keeps what stands below the mask.
            make = np.empty_like if where is None else np.array
            self.parts = tuple(make(part, subok=False) for part in x.parts())
            return
        given = _out_parts(x, out)
        self.out = out
        self.targets = tuple(np.asarray(part) for part in given)
        if _are_apart(x.parts(), self.targets):
            self.parts = self.targets
        else:
            self.parts = tuple(np.array(part) for part in x.parts())

    @property
    def high(self):
        return self.parts[0]

    @property
    def low(self):
        return self.parts[1] if len(self.parts) == 2 else None

    @property
    def are_in_place(self):
        return self.is_out and self.parts is self.targets

    def finish(self, value_where):
        """What the caller gets."""
        if self.is_out:
            for part, target, given in zip(self.parts, self.targets, _as_parts(self.out)):
                if part is not target:
                    np.copyto(target, part, where=True if self.where is None else self.where)
                if isinstance(given, np.ma.MaskedArray):
                    given.mask = np.ma.nomask if self.where is None else ~self.where
            return self.out
        parts = tuple(_like(one, part, self.where, value_where) for one, part in zip(self.x.like, self.parts))
        return parts if self.x.is_pair else parts[0]


def _as_parts(x):
    return x if isinstance(x, tuple) else (x,)


def _out_parts(x, out):
    parts = _as_parts(out)
    if len(parts) != len(x.parts()):
        raise TypeError(f"out: {'an array' if x.is_pair else 'a tuple'}; accepted: of the form of x")
    for part, given in zip(x.parts(), parts):
        if not isinstance(given, ndarray):
            raise TypeError(f"out: a {type(given).__name__}; accepted: an array of the dtype and the shape of x")
        if given.dtype != part.dtype:
            raise TypeError(f"out: elements of {given.dtype}; accepted: {part.dtype}, as those of x")
        if given.shape != part.shape:
            raise library_error("ShapeMismatch", f"out: of shape {given.shape}, for datetimes of shape {part.shape}")
        if not given.flags.writeable:
            raise ValueError("out: the array is read-only")
    return parts


def _is_same(a, b):
    return a is b or (
        a.__array_interface__["data"][0] == b.__array_interface__["data"][0] and a.strides == b.strides
    )


def _are_apart(sources, targets):
    """Whether results may be written where they go: nothing that is read later stands there."""
    for i, target in enumerate(targets):
        for j, source in enumerate(sources):
            if not (i == j and _is_same(source, target)) and np.may_share_memory(source, target):
                return False
        if any(np.may_share_memory(target, other) for other in targets[:i]):
            return False
    return True


def apart(array, results):
    """Values, or a copy of them where results are about to overwrite them."""
    if isinstance(array, ndarray) and any(np.may_share_memory(array, part) for part in results):
        return array.copy()
    return array


def _like(x, array, where, value_where):
    """Results as what came in: masked, of its subclass, or a scalar."""
    if x is masked:
        return masked
    if isinstance(x, np.ma.MaskedArray):
        result = x.copy()
        np.asarray(result)[...] = array
        if value_where is not None:
            result[~value_where] = masked
        return result
    if value_where is not None:
        return np.ma.array(array, mask=~where)
    if type(x) is ndarray:
        return array
    if isinstance(x, ndarray):
        return x.__array_wrap__(array)
    return array[()] if array.ndim == 0 else array


def as_given(x, array):
    """Results of another type than x: masked as x is, of its subclass, and a scalar for a scalar."""
    given = x.like[0]
    if x.where is not None:
        return np.ma.array(array, mask=~x.where)
    if type(given) is ndarray:
        return array
    if isinstance(given, np.ma.MaskedArray):
        return np.ma.array(array)
    if isinstance(given, ndarray):
        return given.__array_wrap__(array)
    return array[()] if array.ndim == 0 else array
