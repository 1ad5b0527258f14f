"""The accessor ``plx`` of Series and DatetimeIndex.

>>> import pandas as pd, plx.pandas
>>> s = pd.Series(pd.to_datetime(['2014-05-31 08:30', None]), name='seen')
>>> s.plx.set('day', 1)
0   2014-05-01 08:30:00
1                   NaT
Name: seen, dtype: datetime64[ns]

Datetimes with a zone are set in it, those without one as what a clock shows. In the hour that comes twice, as clocks go
back, `fold` is ``"same"`` here: a datetime keeps its offset where it can, as `Timestamp.replace` has it.
"""

import numpy as np
import pandas as pd

from . import _functions

__all__ = ["DatetimeAccessor"]

# pandas 2.1 renamed it, and warns of the old name.
_NUMPY_ARRAY = getattr(pd.arrays, "NumpyExtensionArray", None) or pd.arrays.PandasArray
_IS_OLD = _NUMPY_ARRAY.__name__ == "PandasArray"


class DatetimeAccessor:
    """Sets and reads one component of datetimes, in the zone of their dtype."""

    def __init__(self, datetimes):
        if not (isinstance(datetimes.dtype, pd.DatetimeTZDtype) or datetimes.dtype.kind == "M"):
            raise AttributeError(
                f"Can only use .plx accessor with datetimelike values, not {datetimes.dtype}: "
                "pd.to_datetime reads others"
            )
        self._datetimes = datetimes

    def set(self, component, value, *, zone=None, fold="same", gap="shift", check=None, threads=1):
        """Sets one component of every datetime.

        Parameters
        ----------
        component, value, gap, check, threads
            As in `plx.set`. A Series of values is aligned by its index; what is missing gives NaT.
        zone : None
            Comes from the dtype: anything else is a TypeError that tells what to write.
        fold : {"same", "later", "earlier", "error"}
            Which of the two, where a wall time comes twice.

        Returns
        -------
        Series or DatetimeIndex
            With the dtype, index and name of these; with ``check="mask"``, a second one of bool.

        Examples
        --------
        >>> import pandas as pd, plx.pandas
        >>> t = pd.DatetimeIndex(['2014-11-02 05:30', '2014-11-02 06:30'], tz='UTC').tz_convert('America/New_York')
        >>> t.plx.set('minute', 0)
        DatetimeIndex(['2014-11-02 01:00:00-04:00', '2014-11-02 01:00:00-05:00'], dtype='datetime64[ns, America/New_York]', freq=None)
        >>> t.plx.set('minute', 0, fold='later')
        DatetimeIndex(['2014-11-02 01:00:00-05:00', '2014-11-02 01:00:00-05:00'], dtype='datetime64[ns, America/New_York]', freq=None)
        """
        results = _functions.set(
            self._memory(), component, self._aligned(value), zone=self._zone(zone), fold=fold, gap=gap, check=check,
            threads=threads,
        )  # fmt: skip
        if check == "mask":
            return self._wrapped(results[0]), self._other(results[1])
        return self._wrapped(results)

    def get(self, component, *, zone=None, threads=1):
        """Reads one component of every datetime.

        Returns
        -------
        Series or Index
            Of float64, NaN for NaT.

        Examples
        --------
        >>> import pandas as pd, plx.pandas
        >>> pd.Series(pd.to_datetime(['2014-05-31 08:30', None])).plx.get('day_of_year')
        0    151.0
        1      NaN
        dtype: float64
        """
        return self._other(_functions.get(self._memory(), component, zone=self._zone(zone), threads=threads))

    def explain(self, component, value, *, zone=None, fold="same", gap="shift"):
        """Explains what setting a component does to a single datetime, as `plx.explain`.

        Examples
        --------
        >>> import pandas as pd, plx.pandas
        >>> s = pd.Series(pd.to_datetime(['2014-05-31 08:30']))
        >>> s.iloc[:1].plx.explain('month', 13)  # doctest: +ELLIPSIS
        Set month to 13, in plain calendar time
        ...
        """
        return _functions.explain(
            self._memory(), component, self._aligned(value), zone=self._zone(zone), fold=fold, gap=gap
        )

    def _zone(self, asked):
        zone = getattr(self._datetimes.dtype, "tz", None)
        if asked is None:
            return zone
        if zone is None:
            raise TypeError(
                "zone: these datetimes have none, and are what some clock shows; "
                "localise them first: .dt.tz_localize(zone), or of an index .tz_localize(zone)"
            )
        raise TypeError(
            f"zone: these datetimes have {zone}; "
            "convert them first: .dt.tz_convert(zone), or of an index .tz_convert(zone)"
        )

    def _memory(self):
        """Counts since 1970, of instants where there is a zone; not a copy."""
        datetimes = self._datetimes
        return np.asarray(datetimes.array, f"M8[{getattr(datetimes.dtype, 'unit', None) or _unit(datetimes.dtype)}]")

    def _aligned(self, value):
        if isinstance(value, pd.Series):
            index = self._datetimes.index if isinstance(self._datetimes, pd.Series) else None
            if index is not None and not value.index.equals(index):
                value = value.reindex(index)
            value = value.array
        if isinstance(value, pd.api.extensions.ExtensionArray):
            if isinstance(value, _NUMPY_ARRAY):
                return value.to_numpy()
            if value.dtype.kind in "iuf":
                return value.to_numpy(np.float64, na_value=np.nan)
        return value

    def _wrapped(self, results):
        dtype = self._datetimes.dtype
        if isinstance(dtype, pd.DatetimeTZDtype):
            # pandas 2.2 warns of the way that takes no copy.
            if _IS_OLD:
                results = pd.arrays.DatetimeArray(results, dtype=dtype)
            else:
                results = pd.DatetimeIndex(results).tz_localize("UTC").tz_convert(dtype.tz).array
        return self._other(results)

    def _other(self, results):
        datetimes = self._datetimes
        if isinstance(datetimes, pd.Index):
            return pd.Index(results, name=datetimes.name)
        return datetimes._constructor(results, index=datetimes.index, copy=False).__finalize__(datetimes)


def _unit(dtype):
    return np.datetime_data(dtype)[0]


pd.api.extensions.register_series_accessor("plx")(DatetimeAccessor)
pd.api.extensions.register_index_accessor("plx")(DatetimeAccessor)
