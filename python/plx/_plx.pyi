# The extension, for the package alone: see python/extension/plx_extension.c. Arrays are taken as NumPy's, by position.
from typing import Any

_Failure = tuple[str, str, int | None, int]

def set(
    datetimes: Any,
    low: Any,
    type: str,
    component: int,
    value: Any,
    zone: str | None,
    fold: int,
    gap: int,
    results: Any,
    results_low: Any,
    findings: Any,
    refused: int,
    where: Any,
    threads: int,
    /,
) -> int | _Failure: ...
def get(
    datetimes: Any,
    low: Any,
    type: str,
    component: int,
    zone: str | None,
    numbers: Any,
    where: Any,
    threads: int,
    /,
) -> int | _Failure: ...
def convert(
    datetimes: Any,
    low: Any,
    type: str,
    results: Any,
    results_low: Any,
    results_type: str,
    where: Any,
    threads: int,
    /,
) -> _Failure | None: ...
def explain(
    datetime: Any,
    low: Any,
    type: str,
    component: int,
    value: Any,
    zone: str | None,
    fold: int,
    gap: int,
    form: int,
    /,
) -> str | _Failure: ...
def zones(pattern: str | None, /) -> str | _Failure: ...
def components() -> list[tuple[int, str, str, bool, str, str]]: ...
def versions() -> tuple[str, str, str, str, str, str] | _Failure: ...
def load() -> _Failure | None: ...
