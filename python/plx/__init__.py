"""Sets one component of every datetime, exactly, at the speed of memory.

>>> import numpy as np, plx
>>> t = np.array(['2014-05-31T08:30', '2014-11-02T06:30'], 'M8[m]')
>>> plx.set(t, 'month', 2)
array(['2014-03-03T08:30', '2014-02-02T06:30'], dtype='datetime64[m]')
>>> plx.set(t, 'day', 'last')
array(['2014-05-31T08:30', '2014-11-30T06:30'], dtype='datetime64[m]')
>>> plx.set(t, 'hour', 9, zone='America/New_York')
array(['2014-05-31T13:30', '2014-11-02T14:30'], dtype='datetime64[m]')

`import plx.pandas` and `import plx.xarray` give Series, DatetimeIndex and DataArray an accessor ``plx``.
"""

# The extension comes first: where it refuses to be loaded, it says so before anything else is.
from . import _plx
from ._errors import Error, LeapTableWarning, NotWhole, OutOfRange, Refused, RulesWarning, UnknownZone

_told = _plx.load()
if _told is not None:
    raise ImportError(f"plx: {_told[1]}")
del _told

from ._functions import (
    Component,
    Explanation,
    Versions,
    components,
    explain,
    get,
    join,
    set,
    split,
    versions,
    zones,
)

__version__ = versions().plx

__all__ = [
    "Component",
    "Error",
    "Explanation",
    "LeapTableWarning",
    "NotWhole",
    "OutOfRange",
    "Refused",
    "RulesWarning",
    "UnknownZone",
    "Versions",
    "components",
    "explain",
    "get",
    "join",
    "set",
    "split",
    "versions",
    "zones",
]
