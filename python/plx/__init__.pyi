from typing import Any, Literal, NamedTuple, SupportsIndex, TypeVar, overload

import datetime

import numpy as np
import numpy.typing as npt

_Component = str | int | np.integer[Any]
_Zone = str | datetime.tzinfo | None
_Value = str | float | npt.ArrayLike
_Fold = Literal["later", "earlier", "same", "error"]
_Gap = Literal["shift", "error", "start", "end"]
_Check = Literal["raise", "nat"] | None

_Scalar = TypeVar("_Scalar", np.datetime64, np.complex128, np.float64)
_Array = TypeVar("_Array", bound=npt.NDArray[Any])
_Floats = npt.NDArray[np.float64]
_Pair = tuple[_Floats, _Floats]
_Bools = npt.NDArray[np.bool_]

class Component(NamedTuple):
    name: str
    selector: int
    values: str
    takes_fractions: bool

class Versions(NamedTuple):
    plx: str
    module: str
    icu: str
    rules: str
    rules_from: str
    last_leap_second: str

class Explanation(str):
    html: str
    def _repr_html_(self) -> str: ...

class Error(ValueError):
    identifier: str
    index: int | tuple[int, ...] | None
    written: int
    def __init__(
        self,
        message: str = "",
        *,
        identifier: str = "",
        index: int | tuple[int, ...] | None = None,
        written: int = 0,
    ) -> None: ...

class UnknownZone(Error): ...
class NotWhole(Error): ...
class OutOfRange(Error): ...
class Refused(Error): ...
class LeapTableWarning(UserWarning): ...
class RulesWarning(UserWarning): ...

# A scalar, an array and a pair come out as what they came in.
@overload
def set(
    x: _Scalar,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: _Check = None,
    threads: SupportsIndex = 1,
) -> _Scalar: ...
@overload
def set(
    x: float,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: _Check = None,
    threads: SupportsIndex = 1,
) -> np.float64: ...
@overload
def set(
    x: complex,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: _Check = None,
    threads: SupportsIndex = 1,
) -> np.complex128: ...
@overload
def set(
    x: _Array,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: _Array | None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: _Check = None,
    threads: SupportsIndex = 1,
) -> _Array: ...
@overload
def set(
    x: tuple[npt.ArrayLike, npt.ArrayLike],
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: _Pair | None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: _Check = None,
    threads: SupportsIndex = 1,
) -> _Pair: ...
@overload
def set(
    x: list[Any],
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: npt.NDArray[Any] | None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: _Check = None,
    threads: SupportsIndex = 1,
) -> npt.NDArray[Any]: ...

# The mask of what is otherwise than asked comes beside them.
@overload
def set(
    x: _Scalar,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: Literal["mask"],
    threads: SupportsIndex = 1,
) -> tuple[_Scalar, np.bool_]: ...
@overload
def set(
    x: float,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: Literal["mask"],
    threads: SupportsIndex = 1,
) -> tuple[np.float64, np.bool_]: ...
@overload
def set(
    x: complex,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: Literal["mask"],
    threads: SupportsIndex = 1,
) -> tuple[np.complex128, np.bool_]: ...
@overload
def set(
    x: _Array,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: _Array | None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: Literal["mask"],
    threads: SupportsIndex = 1,
) -> tuple[_Array, _Bools]: ...
@overload
def set(
    x: tuple[npt.ArrayLike, npt.ArrayLike],
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: _Pair | None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: Literal["mask"],
    threads: SupportsIndex = 1,
) -> tuple[_Pair, _Bools]: ...
@overload
def set(
    x: list[Any],
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    out: npt.NDArray[Any] | None = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: Literal["mask"],
    threads: SupportsIndex = 1,
) -> tuple[npt.NDArray[Any], _Bools]: ...

@overload
def get(
    x: np.datetime64 | np.complex128 | np.float64 | complex, component: _Component, *, zone: _Zone = None, threads: SupportsIndex = 1
) -> np.float64: ...
@overload
def get(
    x: npt.NDArray[Any] | tuple[npt.ArrayLike, npt.ArrayLike] | list[Any],
    component: _Component,
    *,
    zone: _Zone = None,
    threads: SupportsIndex = 1,
) -> _Floats: ...

@overload
def split(x: np.datetime64 | np.complex128 | np.float64 | complex, *, threads: SupportsIndex = 1) -> tuple[np.float64, np.float64]: ...
@overload
def split(x: npt.NDArray[Any] | list[Any], *, threads: SupportsIndex = 1) -> _Pair: ...

def join(high: npt.ArrayLike, low: npt.ArrayLike, dtype: npt.DTypeLike, *, threads: SupportsIndex = 1) -> Any: ...
def explain(
    x: Any,
    component: _Component,
    value: _Value,
    *,
    zone: _Zone = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
) -> Explanation: ...
def components() -> tuple[Component, ...]: ...
def zones(pattern: str | None = None) -> list[str]: ...
def versions() -> Versions: ...

__version__: str
__all__: list[str]
