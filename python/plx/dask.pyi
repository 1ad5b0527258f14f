import os
from typing import Any, Literal, NamedTuple

from . import _Check, _Component, _Fold, _Gap, _Zone

__all__ = ["DatetimeAccessor", "Identity", "WorkersDiffer", "check", "from_npy", "get", "set", "to_npy"]

class Identity(NamedTuple):
    plx: str
    module: str
    icu: str
    rules: str

class WorkersDiffer(RuntimeError): ...

# Arrays of Dask are no types that say what they hold: a tuple of two where `x` is one, and with `check="mask"` a tuple
# of results and marks.
def set(
    x: Any,
    component: _Component,
    value: Any,
    *,
    zone: _Zone = None,
    fold: _Fold = "later",
    gap: _Gap = "shift",
    check: _Check | Literal["mask"] = None,
    threads: int = 1,
) -> Any: ...
def get(x: Any, component: _Component, *, zone: _Zone = None, threads: int = 1) -> Any: ...
def from_npy(path: str | os.PathLike[str], chunks: Any = "auto") -> Any: ...
def to_npy(path: str | os.PathLike[str], x: Any, *, compute: bool = True) -> Any: ...
def check(client: Any = None) -> dict[str, Identity]: ...

class DatetimeAccessor:
    def __init__(self, datetimes: Any) -> None: ...
    def set(
        self,
        component: _Component,
        value: Any,
        *,
        zone: None = None,
        fold: _Fold = "same",
        gap: _Gap = "shift",
        check: _Check | Literal["mask"] = None,
        threads: int = 1,
    ) -> Any: ...
    def get(self, component: _Component, *, zone: None = None, threads: int = 1) -> Any: ...
