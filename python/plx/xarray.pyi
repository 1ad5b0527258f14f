from typing import Any, Literal, SupportsIndex

from . import Explanation, _Check, _Component, _Fold, _Gap, _Zone

__all__ = ["DataArrayAccessor"]

class DataArrayAccessor:
    def __init__(self, datetimes: Any) -> None: ...
    def set(
        self,
        component: _Component,
        value: Any,
        *,
        zone: _Zone = None,
        fold: _Fold = "later",
        gap: _Gap = "shift",
        check: _Check | Literal["mask"] = None,
        threads: SupportsIndex = 1,
    ) -> Any: ...
    def get(self, component: _Component, *, zone: _Zone = None, threads: SupportsIndex = 1) -> Any: ...
    def explain(
        self, component: _Component, value: Any, *, zone: _Zone = None, fold: _Fold = "later", gap: _Gap = "shift"
    ) -> Explanation: ...
