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

import numpy as np
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
        # What is wrong with the arguments shows now, not when the results are asked for.
        _functions.set(np.empty(0, self._datetimes.dtype), component, 1, zone=zone, fold=fold, gap=gap, check=check)
        outputs = [self._datetimes.dtype, np.dtype(bool)] if check == "mask" else [self._datetimes.dtype]
        return self._apply(_set_block, value, options, outputs)

    def get(self, component, *, zone=None, threads=1):
        """Reads one component of every datetime, as `plx.get`.

        Returns
        -------
        DataArray
            Of float64, NaN for NaT.
        """
        _functions.get(np.empty(0, self._datetimes.dtype), component, zone=zone)
        options = dict(component=component, zone=zone, threads=threads)
        return xr.apply_ufunc(
            _functions.get, self._datetimes, kwargs=options, dask="parallelized", output_dtypes=[np.float64],
            keep_attrs=False,
        )  # fmt: skip

    def explain(self, component, value, *, zone=None, fold="later", gap="shift"):
        """Explains what setting a component does to a single datetime, as `plx.explain`."""
        return _functions.explain(self._datetimes.to_numpy(), component, value, zone=zone, fold=fold, gap=gap)

    def _apply(self, function, value, options, outputs):
        inputs = [self._datetimes]
        if isinstance(value, xr.DataArray):
            more = [dimension for dimension in value.dims if dimension not in self._datetimes.dims]
            if more:
                raise ValueError(f"value: has dimensions that the datetimes have not: {more}")
            inputs.append(value)
        else:
            if not isinstance(value, str) and np.ndim(value) > 0:
                # Of the datetimes' shape, by position.
                inputs.append(self._datetimes.copy(data=np.broadcast_to(value, self._datetimes.shape)))
            else:
                options["value"] = value
        return xr.apply_ufunc(
            function, *inputs, kwargs=options, dask="parallelized", output_dtypes=outputs,
            output_core_dims=[[]] * len(outputs), join="left", keep_attrs=_first_attributes,
        )  # fmt: skip


def _first_attributes(attributes, context=None):
    return dict(attributes[0])


def _set_block(datetimes, value, **options):
    return _functions.set(datetimes, options.pop("component"), value, **options)


xr.register_dataarray_accessor("plx")(DataArrayAccessor)
