"""The accessor ``plx`` of DataArray.

>>> import numpy as np, xarray as xr, plx.xarray
>>> da = xr.DataArray(np.array(['2014-05-31', '2016-02-29'], 'M8[ns]'), dims='time', attrs={'long_name': 'seen'})
>>> da.plx.set('day', 1).values
array(['2014-05-01T00:00:00.000000000', '2016-02-01T00:00:00.000000000'],
      dtype='datetime64[ns]')
>>> da.plx.set('day', 1).attrs
{'long_name': 'seen'}

Nothing is computed before it is asked for where the data are chunked by Dask. xarray keeps no time zone: with ``zone=``
the datetimes are instants in UTC, as in `plx.set`.
"""

import xarray as xr

from . import _functions

__all__ = ["DataArrayAccessor"]


class DataArrayAccessor:
    """Sets and reads one component of the datetimes of a DataArray."""

    def __init__(self, datetimes):
        self._datetimes = datetimes

    def set(self, component, value, *, zone=None, fold="later", gap="shift", check=None, threads=1):
        """Sets one component of every datetime, as `plx.set`.

        Parameters
        ----------
        component, zone, fold, gap, check, threads
            As in `plx.set`.
        value
            As in `plx.set`, or a DataArray whose dimensions are some of these.

        Returns
        -------
        DataArray
            With the coordinates, attributes and name of this one; with ``check="mask"``, a second one of bool.
        """
        options = dict(component=component, zone=zone, fold=fold, gap=gap, check=check, threads=threads)
        inputs = [self._datetimes]
        if isinstance(value, xr.DataArray):
            more = [dimension for dimension in value.dims if dimension not in self._datetimes.dims]
            if more:
                raise ValueError(f"value: has dimensions that the datetimes have not: {more}")
            # Its coordinates say to which datetimes values belong, and are not those of the results.
            inputs.append(value.reset_coords(drop=True))
        else:
            # Of the datetimes' shape, by position.
            options["value"] = value
        return xr.apply_ufunc(
            _set, *inputs, kwargs=options, dask="allowed", join="left", keep_attrs=_first_attributes,
            output_core_dims=[[]] * (2 if check == "mask" else 1),
        )  # fmt: skip

    def get(self, component, *, zone=None, threads=1):
        """Reads one component of every datetime, as `plx.get`.

        Returns
        -------
        DataArray
            Of float64, NaN for NaT.
        """
        options = dict(component=component, zone=zone, threads=threads)
        return xr.apply_ufunc(_get, self._datetimes, kwargs=options, dask="allowed", keep_attrs=False)

    def explain(self, component, value, *, zone=None, fold="later", gap="shift"):
        """Explains what setting a component does to a single datetime, as `plx.explain`."""
        return _functions.explain(self._datetimes.to_numpy(), component, value, zone=zone, fold=fold, gap=gap)


def _first_attributes(attributes, context=None):
    return dict(attributes[0])


def _set(datetimes, value, component, **options):
    if not (_is_lazy(datetimes) or _is_lazy(value)):
        return _functions.set(datetimes, component, value, **options)
    from . import dask

    if not _is_lazy(datetimes):
        datetimes = dask.chunked_like(datetimes, value)
    return dask.set(datetimes, component, value, **options)


def _get(datetimes, component, **options):
    if not _is_lazy(datetimes):
        return _functions.get(datetimes, component, **options)
    from . import dask

    return dask.get(datetimes, component, **options)


def _is_lazy(array):
    return hasattr(array, "dask")


xr.register_dataarray_accessor("plx")(DataArrayAccessor)
