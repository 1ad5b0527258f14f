"""Uses of the package whose types `mypy --strict` has to know; it is not run."""

import datetime
from typing import Any, assert_type

import numpy as np
import numpy.typing as npt

import plx
import plx.dask
import plx.pandas
import plx.xarray

Datetimes = npt.NDArray[np.datetime64]
Floats = npt.NDArray[np.float64]


def arrays(t: Datetimes, z: npt.NDArray[np.complex128], f: Floats) -> None:
    assert_type(plx.set(t, "day", 1), Datetimes)
    assert_type(plx.set(t, "day", "last", zone="Europe/Paris", out=t, fold="same", gap="end", threads=2), Datetimes)
    assert_type(plx.set(t, 11, [1, 2, 3], zone=datetime.timezone.utc, check="nat"), Datetimes)
    assert_type(plx.set(z, "day", np.arange(3)), npt.NDArray[np.complex128])
    assert_type(plx.set((f, f), "day", 1.5), tuple[Floats, Floats])
    assert_type(plx.set(t, "day", 1, check="mask"), tuple[Datetimes, npt.NDArray[np.bool_]])
    assert_type(plx.get(t, "second"), Floats)
    assert_type(plx.split(t), tuple[Floats, Floats])


def scalars(t: np.datetime64) -> None:
    assert_type(plx.set(t, "day", 1), np.datetime64)
    assert_type(plx.get(t, "day"), np.float64)
    assert_type(plx.explain(t, "day", 1), plx.Explanation)


def numbers_and_lists(t: np.datetime64, number: np.int64) -> None:
    assert_type(plx.set(1.5, "day", 1), np.float64)
    assert_type(plx.set(1.5j, "day", 1, check="nat"), np.complex128)
    assert_type(plx.set(1.5, "day", 1, check="mask"), tuple[np.float64, np.bool_])
    assert_type(plx.set(1.5j, "day", 1, check="mask"), tuple[np.complex128, np.bool_])
    assert_type(plx.set([t, t], "day", 1), npt.NDArray[Any])
    assert_type(plx.set([t, t], "day", 1, check="mask"), tuple[npt.NDArray[Any], npt.NDArray[np.bool_]])
    assert_type(plx.set(t, number, number, threads=number), np.datetime64)
    assert_type(plx.get(1.5, number, threads=number), np.float64)
    assert_type(plx.get([t, t], "day"), Floats)
    assert_type(plx.split(1.5j), tuple[np.float64, np.float64])
    assert_type(plx.split([t, t]), tuple[Floats, Floats])


def others() -> None:
    assert_type(plx.components()[0].takes_fractions, bool)
    assert_type(plx.zones("paris"), list[str])
    assert_type(plx.versions().rules, str)
    assert_type(plx.dask.check(), dict[str, plx.dask.Identity])
    try:
        pass
    except plx.NotWhole as error:
        assert_type(error.index, int | tuple[int, ...] | None)


def wrong(t: Datetimes) -> Any:
    plx.set(t, "day", 1, fold="latest")  # type: ignore[call-overload]
    plx.set(t, "day", 1, zone=3)  # type: ignore[call-overload]
    plx.set(t, 1.5, 1)  # type: ignore[call-overload]
    plx.dask.set(t, "day", 1, check="masks")  # type: ignore[arg-type]
