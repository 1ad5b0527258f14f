"""The accessor of xarray: what is kept, values by dimension, and laziness where there is Dask."""

import numpy as np
import pytest
import xarray as xr

import plx
import plx.xarray
from support import Cases, random_datetimes, same_bits

T = random_datetimes(12, "ns").reshape(3, 4)


def array(data=T):
    coordinates = {"station": ["a", "b", "c"], "at": ("day", [1, 2, 3, 4], {"units": "d"})}
    return xr.DataArray(data, dims=("station", "day"), coords=coordinates, name="seen", attrs={"long_name": "seen"})


def test_what_is_kept():
    da = array()
    result = da.plx.set("hour", 3)
    assert same_bits(result.values, plx.set(T, "hour", 3))
    assert result.dims == da.dims and result.name == "seen" and result.attrs == da.attrs
    assert result.coords.equals(da.coords) if hasattr(result.coords, "equals") else set(result.coords) == set(da.coords)
    xr.testing.assert_identical(result.coords.to_dataset(), da.coords.to_dataset())
    assert same_bits(da.values, T)
    read = da.plx.get("hour", zone="Asia/Kolkata")
    assert read.dims == da.dims and np.array_equal(read.values, plx.get(T, "hour", zone="Asia/Kolkata"))
    result, otherwise = da.plx.set("day", 31, check="mask")
    assert same_bits(otherwise.values, plx.set(T, "day", 31, check="mask")[1]) and otherwise.dims == da.dims
    assert same_bits(result.values, plx.set(T, "day", 31))


def test_a_coordinate():
    da = xr.DataArray([1.0, 2.0], dims="time", coords={"time": np.array(["2014-05-31", "2014-06-01"], "M8[ns]")})
    moved = da.assign_coords(time=da.time.plx.set("hour", 12))
    assert moved.time.values.astype(str).tolist()[0].startswith("2014-05-31T12")


def test_values_by_dimension():
    da = array()
    days = xr.DataArray([5, 6, 7], dims="station", coords={"station": ["a", "b", "c"]})
    result = da.plx.set("day", days)
    assert result.dims == da.dims and same_bits(result.values, plx.set(T, "day", np.array([[5], [6], [7]])))
    by_day = xr.DataArray([5, 6, 7, 8], dims="day")
    assert same_bits(da.plx.set("day", by_day).values, plx.set(T, "day", [5, 6, 7, 8]))
    both = by_day + xr.DataArray([0, 1, 2], dims="station")
    assert same_bits(da.plx.set("day", both).values, plx.set(T, "day", [[5, 6, 7, 8], [6, 7, 8, 9], [7, 8, 9, 10]]))
    assert same_bits(da.plx.set("day", [5, 6, 7, 8]).values, plx.set(T, "day", [5, 6, 7, 8]))
    assert same_bits(da.plx.set("day", "last").values, plx.set(T, "day", "last"))
    # Coordinates are those of the datetimes, whatever others the values have.
    da = da.assign_coords(run=5)
    others = days.assign_coords(run=6, unit="d", code=("station", [1, 2, 3]))
    for others in (others, others.isel(station=[2, 0, 1])):
        result = da.plx.set("day", others)
        assert same_bits(result.values, plx.set(T, "day", np.array([[5], [6], [7]])))
        xr.testing.assert_identical(result.coords.to_dataset(), da.coords.to_dataset())
    with pytest.raises(ValueError, match="dimensions that the datetimes have not"):
        da.plx.set("day", xr.DataArray([1, 2], dims="other"))
    with pytest.raises(plx.NotWhole):
        da.plx.set("day", xr.DataArray([5, 6.5, 7], dims="station"))


def test_other_kinds_and_refusals():
    z = xr.DataArray(np.array([0j, 1j]), dims="time")
    assert same_bits(z.plx.set("day", 2).values, plx.set(np.array([0j, 1j]), "day", 2))
    for wrong in (xr.DataArray([1, 2]), xr.DataArray(["a"])):
        with pytest.raises(TypeError, match="no datetimes"):
            wrong.plx.set("day", 1)
    with pytest.raises(plx.UnknownZone):
        array().plx.set("day", 1, zone="Europe/Pariss")
    with pytest.raises(TypeError, match="import plx.xarray and write x.plx.set"):
        plx.set(array(), "day", 1)
    assert "31" in array()[0, 0].plx.explain("day", "last")


def test_lazy_where_the_data_are():
    dask_array = pytest.importorskip("dask.array", reason="python3-dask is missing")
    da = array().chunk({"station": 1, "day": 3})
    by_station = xr.DataArray([5, 6, 7], dims="station")
    whole = np.arange(12).reshape(3, 4)
    with Cases(8) as cases:
        for datetimes, value, expected in [
            (da, 5, 5),
            (da, "last", "last"),
            (da, whole, whole),
            (da, dask_array.from_array(whole, chunks=2), whole),
            (da, by_station, [[5], [6], [7]]),
            (da, by_station.chunk({"station": 2}), [[5], [6], [7]]),
            (da, xr.DataArray(whole.T, dims=("day", "station")), whole),
            (array(), xr.DataArray(whole, dims=("station", "day")).chunk({"day": 3}), whole),
        ]:
            result = datetimes.plx.set("day", value, zone="Europe/Paris")
            assert isinstance(result.data, dask_array.Array) and result.dtype == da.dtype
            assert result.chunks == (datetimes.chunks or ((3,), (3, 1)))
            assert result.attrs == da.attrs and result.name == "seen" and set(result.coords) == set(da.coords)
            assert same_bits(result.values, plx.set(T, "day", expected, zone="Europe/Paris"))
            cases.add()
    read = da.plx.get("hour")
    assert read.chunks == da.chunks and np.array_equal(read.values, plx.get(T, "hour")) and read.attrs == {}
    result, otherwise = da.plx.set("day", 31, check="mask")
    expected = plx.set(T, "day", 31, check="mask")
    assert otherwise.chunks == da.chunks and same_bits(otherwise.values, expected[1])
    assert same_bits(result.values, expected[0])
    # What is wrong with the call shows now; an element's index is that in the whole.
    with pytest.raises(plx.UnknownZone):
        da.plx.set("day", 1, zone="Europe/Pariss")
    wrong = da.plx.set("day", xr.DataArray([5, 6.5, 7], dims="station"))
    with pytest.raises(plx.NotWhole, match=r"^element \(1, [03]\): ") as raised:
        wrong.compute(scheduler="synchronous")
    assert raised.value.index in ((1, 0), (1, 3))
