import datetime
from typing import Any, Literal, SupportsIndex

from . import Explanation, _Check, _Component, _Fold, _Gap

__all__ = ["DatetimeAccessor"]

class DatetimeAccessor:
    def __init__(self, datetimes: Any) -> None: ...
    # A Series of a Series, a DatetimeIndex of a DatetimeIndex; pandas has no types of its own that say so.
    def set(
        self,
        component: _Component,
        value: Any,
        *,
        zone: None = None,
        fold: _Fold = "same",
        gap: _Gap = "shift",
        check: _Check | Literal["mask"] = None,
        threads: SupportsIndex = 1,
    ) -> Any: ...
    def get(self, component: _Component, *, zone: None = None, threads: SupportsIndex = 1) -> Any: ...
    def explain(
        self, component: _Component, value: Any, *, zone: None = None, fold: _Fold = "same", gap: _Gap = "shift"
    ) -> Explanation: ...
