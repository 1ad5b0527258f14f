"""Datetimes in Dask's arrays and Series: nothing is computed before it is asked for.

>>> import dask.array as da, numpy as np, plx.dask
>>> t = da.from_array(np.array(['2014-05-31T08:30', '2014-11-02T06:30', 'NaT'], 'M8[m]'), chunks=2)
>>> results = plx.dask.set(t, 'month', 2)
>>> results.compute()
array(['2014-03-03T08:30', '2014-02-02T06:30',              'NaT'],
      dtype='datetime64[m]')

Series of Dask have the accessor ``plx`` as those of pandas have. What is wrong with a call shows as the graph is built;
an element that is wrong shows on a worker, and the error that arrives has its index in the whole array.
"""

import math
import sys
import warnings
import weakref

import dask
import dask.array as da
import numpy as np
from dask.base import tokenize

from . import _blocks, _functions
from ._blocks import Identity, WorkersDiffer, identity
from ._errors import library_error
from ._zone import zone_text

with warnings.catch_warnings():
    # Of Debian 13's: no concern of those who have arrays.
    warnings.filterwarnings("ignore", r"\s*Dask dataframe query planning", FutureWarning)
    try:
        import dask.dataframe as dd
    except ImportError:  # without pandas
        dd = None

__all__ = ["DatetimeAccessor", "Identity", "WorkersDiffer", "check", "from_npy", "get", "set", "to_npy"]


def set(x, component, value, *, zone=None, fold="later", gap="shift", check=None, threads=1):
    """Sets one component of every datetime, as `plx.set`, when the results are asked for.

    Parameters
    ----------
    x : dask array, or tuple of two
        Datetimes: datetime64 with a unit, complex128, float64, or a tuple ``(high, low)`` of float64.
    component, zone, fold, gap, check, threads
        As in `plx.set`. ``"local"`` is the zone of the clock here, whatever clocks the workers have. `threads` work on a
        block each; with Dask's threads or processes beside each other one is enough.
    value : number, str or array
        As in `plx.set`, or a Dask array, in chunks of any size.

    Returns
    -------
    dask array or tuple
        In the chunks of `x`, of its dtype; with ``check="mask"`` a tuple of this and an array of bool.

    Raises
    ------
    plx.Error
        What is wrong with the call, at once; a wrong element, when the results are computed, with its index in `x`.
    WorkersDiffer
        Where a worker has other time-zone rules, or another plx: see `check`.

    Examples
    --------
    >>> import dask.array as da, numpy as np, plx.dask
    >>> t = da.from_array(np.array(['2014-03-09T16:50', '2014-11-02T16:50'], 'M8[m]'), chunks=1)
    >>> plx.dask.set(t, 'hour', [2, 1], zone='America/New_York').compute()
    array(['2014-03-09T07:50', '2014-11-02T06:50'], dtype='datetime64[m]')
    """
    parts = _parts(x)
    options = dict(zone=_fixed(zone), fold=fold, gap=gap, check=check, threads=threads)
    value = _values(value, parts[0])
    # On no element: what is wrong with the call shows now, and the results show of what kind they are.
    like = _functions.set(_like(parts), component, _like_values(value), **options)
    metas = like if type(like) is tuple else (like,)
    if len(parts) == 2 and check == "mask":
        metas = (*like[0], like[1])
    block = _blocks.Call(
        "plx-set", _blocks.set_block, pair=len(parts) == 2, caller=_caller(), component=_functions.selector(component),
        spread=tuple(length == 1 for length in np.shape(value)), **options,
    )  # fmt: skip
    results = _mapped(block, [*parts, value], parts[0], metas)
    if len(parts) == 2 and check == "mask":
        return results[:2], results[2]
    return results


def get(x, component, *, zone=None, threads=1):
    """Reads one component of every datetime, as `plx.get`, when the numbers are asked for.

    Parameters
    ----------
    x, component, zone, threads
        As in `set`.

    Returns
    -------
    dask array
        Of float64, in the chunks of `x`.

    Examples
    --------
    >>> import dask.array as da, numpy as np, plx.dask
    >>> t = da.from_array(np.array(['2014-03-09T16:50', 'NaT'], 'M8[m]'), chunks=1)
    >>> plx.dask.get(t, 'day_of_year').compute()
    array([68., nan])
    """
    parts = _parts(x)
    zone = _fixed(zone)
    meta = _functions.get(_like(parts), component, zone=zone, threads=threads)
    block = _blocks.Call(
        "plx-get", _blocks.get_block, pair=len(parts) == 2, caller=_caller(), component=_functions.selector(component),
        zone=zone, threads=threads,
    )  # fmt: skip
    return _mapped(block, parts, parts[0], (meta,))


def _fixed(zone):
    """The text of a zone, that of the clock here for ``"local"``."""
    text = zone_text(zone)
    if text is None or text.lower() != "local":
        return text
    # The first line of an explanation says which one that is: "Set hour to 0, in Europe/Paris".
    explanation = _functions.explain(np.datetime64("2000-01-01T00", "s"), "hour", 0, zone=text)
    return explanation.splitlines()[0].rpartition(", in ")[2]


def _parts(x):
    parts = x if type(x) is tuple else (x,)
    for one in parts:
        if not isinstance(one, da.Array):
            library = type(one).__module__.split(".")[0]
            if library in ("dask", "dask_expr"):
                write = "write x.plx.set(...), or give x.to_dask_array()"
            else:
                write = "plx.set takes others, or dask.array.from_array(x) makes one"
            raise TypeError(f"x: of type {type(one).__name__}; accepted: arrays of Dask; {write}")
    if type(x) is not tuple:
        return parts
    if len(parts) != 2:
        raise TypeError(f"x: a tuple of {len(parts)}; accepted: (high, low), two arrays of float64")
    high, low = parts
    if high.shape == low.shape and not _is_unknown(high):
        return high, _in_chunks(low, high.chunks)
    # Lengths that are not known fit where the blocks are as many; on the worker they are compared.
    if high.numblocks != low.numblocks or not (_is_unknown(high) and _is_unknown(low)):
        raise library_error("ShapeMismatch", f"x: high parts of shape {high.shape}, low parts of shape {low.shape}")
    return parts


def _is_unknown(array):
    """Whether some of the chunks have lengths that Dask does not know."""
    return any(math.isnan(length) for length in array.shape)


def _in_chunks(array, chunks):
    # Dask leaves an empty array in the chunks that it has.
    return array.rechunk(chunks) if array.size else da.zeros(array.shape, dtype=array.dtype, chunks=chunks)


def _like(parts):
    """Datetimes as these, but none."""
    likes = tuple(_none_of(part) for part in parts)
    return likes if len(parts) == 2 else likes[0]


def chunked_like(array, values):
    """An array in the chunks of values that are assigned to it, whole along dimensions that these lack."""
    chunks = [(length,) for length in array.shape]
    for i in range(1, values.ndim + 1):
        if values.shape[-i] == array.shape[-i]:
            chunks[-i] = values.chunks[-i]
    return da.from_array(array, chunks=tuple(chunks))


def _none_of(array):
    return array._meta if array.ndim else array._meta.reshape(1)[:0]


# ------------------------------------------------------------------------------------------ .npy files


def from_npy(path, chunks="auto"):
    """Reads a `.npy` file in chunks, each by the worker that needs it.

    Parameters
    ----------
    path : path_like
        Of a file that every worker reaches by this path.
    chunks : int, tuple or str, optional
        As in `dask.array.from_array`; datetimes take 8 or 16 bytes, and a million in a chunk is a good number.

    Returns
    -------
    dask array
    """
    file = _blocks.NpyFile(path)
    chunks = da.core.normalize_chunks(chunks, file.shape, dtype=file.dtype)
    name = "plx-npy-" + tokenize(file.path, file.state, chunks)
    return da.from_array(
        file, chunks=chunks, name=name, asarray=False, inline_array=True, meta=np.empty((0,) * file.ndim, file.dtype)
    )


def to_npy(path, x, *, compute=True):
    """Writes a Dask array into a `.npy` file, each chunk by the worker that has it.

    Parameters
    ----------
    path : path_like
        Of a file that every worker reaches by this path. What is written stands beside it, under this name with ``.part``
        at its end, and replaces it when all is written; `x` may be made of what it held before.
    x : dask array
        Of chunks whose lengths are known.
    compute : bool, optional
        Whether to write now, or to return what writes when it is computed. Where that is never done, or fails, the file
        beside it stays.

    Returns
    -------
    None or dask.delayed.Delayed

    Examples
    --------
    >>> import dask.array as da, numpy as np, os, plx.dask, tempfile
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     path = os.path.join(folder, 't.npy')
    ...     plx.dask.to_npy(path, da.from_array(np.array(['2014-05-31', '2016-02-29'], 'M8[D]'), chunks=1))
    ...     plx.dask.set(plx.dask.from_npy(path, chunks=1), 'day', 1).compute()
    array(['2014-05-01', '2016-02-01'], dtype='datetime64[D]')
    """
    if not isinstance(x, da.Array):
        raise TypeError(f"x: of type {type(x).__name__}; accepted: arrays of Dask; numpy.save takes those of NumPy")
    if _is_unknown(x):
        raise library_error("InvalidArgument", f"x: of shape {x.shape}; accepted: lengths that Dask knows")
    if isinstance(x._meta, np.ma.MaskedArray):
        raise TypeError("x: masked; accepted: arrays without a mask, such as dask.array.ma.filled(x, 'NaT')")
    output = _blocks.NpyOutput(path, x.dtype, x.shape)
    try:
        # By a name of its own: what Dask takes for done already would not be written.
        target = dask.delayed(output, name=f"plx-npy-{output.name}", traverse=False)
        written = target.finish(da.store(x, target, lock=False, compute=False), dask_key_name=f"plx-npy-done-{output.name}")
        if not compute:
            return written
        written.compute()
    except BaseException:
        output.discard()
        raise
    return None


# ------------------------------------------------------------------------------------------ new values


def _values(value, x):
    """A word, a number, or an array of Dask whose blocks are those of `x`, or one for all along a dimension."""
    if isinstance(value, str):
        return str(value)
    if not isinstance(value, da.Array):
        # NumPy would compute it, here and now.
        if dask.is_dask_collection(value):
            raise TypeError(f"value: of type {type(value).__name__}; accepted: a number, a word, an array of NumPy or of Dask")
        if isinstance(value, np.ma.MaskedArray):
            value = np.ma.getdata(value) if np.ma.getmask(value) is np.ma.nomask else np.ma.atleast_1d(value)
        value = np.asanyarray(value) if np.ndim(value) else value
    if np.ndim(value) == 0:
        return value[()] if type(value) is np.ndarray else value
    given = value.shape
    while value.ndim > x.ndim and value.shape[0] == 1:
        value = value[0]
    if value.ndim > x.ndim:
        raise library_error("ShapeMismatch", f"value: of shape {given}, for datetimes of shape {x.shape}")
    chunks = tuple(
        _value_chunks(length, along, lengths, blocks, given, x)
        for length, along, lengths, blocks in zip(
            value.shape, x.shape[x.ndim - value.ndim :], x.chunks[x.ndim - value.ndim :],
            value.chunks if isinstance(value, da.Array) else [None] * value.ndim,
        )  # fmt: skip
    )
    if isinstance(value, da.Array):
        return value if value.chunks == chunks else _in_chunks(value, chunks)
    if isinstance(value, np.ma.MaskedArray):
        # Tokens of masked arrays leave the mask out.
        return da.ma.masked_array(_of_numpy(np.ma.getdata(value), chunks), _of_numpy(np.ma.getmaskarray(value), chunks))
    return _of_numpy(value, chunks)


def _of_numpy(array, chunks):
    return da.from_array(np.asarray(array), chunks=chunks)


def _value_chunks(length, along, lengths, blocks, given, x):
    if length == along:
        return lengths
    if length == 1:
        return (1,)
    # Lengths that are not known fit where the blocks are as many; on the worker they are compared.
    if blocks is not None and len(blocks) == len(lengths) and (math.isnan(length) or math.isnan(along)):
        return blocks
    message = f"value: of shape {given}, for datetimes of shape {x.shape}"
    if math.isnan(along):
        message += ", whose chunks have lengths that Dask does not know; x.compute_chunk_sizes() finds them"
    raise library_error("ShapeMismatch", message)


def _like_values(value):
    if not isinstance(value, da.Array):
        return value
    return value._meta if value.ndim else value._meta.dtype.type(1)


# -------------------------------------------------------------------------------------------- the graph


def _mapped(block, arrays, x, metas):
    """The results of a function of blocks, and of where these begin; a tuple where they are several."""
    results = da.map_blocks(
        block, *arrays, _places(x), name=block.__name__,
        dtype=metas[0].dtype if len(metas) == 1 else object,
        meta=_of_dimensions(metas[0] if len(metas) == 1 else np.empty(0, object), x.ndim),
    )  # fmt: skip
    if len(metas) == 1:
        return results
    return tuple(
        da.map_blocks(
            _blocks.part, results, number, name=f"{block.__name__}-part", dtype=meta.dtype, meta=_of_dimensions(meta, x.ndim)
        )
        for number, meta in enumerate(metas)
    )


def _of_dimensions(meta, count):
    return meta if meta.ndim == count else meta.reshape((0,) * count) if count else meta


def _places(x):
    """An array whose blocks tell those of `x` where they begin: no tasks of their own, as they are fused with others. None
    where the chunks have lengths that Dask does not know."""
    if _is_unknown(x):
        return None
    return da.from_array(
        _blocks.Places(x.shape), chunks=x.chunks, name="plx-places-" + tokenize(x.chunks), asarray=False,
        inline_array=True, meta=np.empty((0,) * x.ndim, object),
    )  # fmt: skip


# ------------------------------------------------------------------------------------------ the workers

_checked = weakref.WeakSet()


def _caller():
    """What the workers have to agree with. Where a client is active, its workers are asked once, before the first
    graph; each block is compared as well, so that workers which come later are refused as they begin to work."""
    distributed = sys.modules.get("distributed")
    if distributed is not None:
        try:
            client = distributed.default_client()
        except ValueError:
            client = None
        if client is not None and not client.asynchronous and client not in _checked and check(client):
            _checked.add(client)
    return identity()


def check(client=None):
    """Asks every worker what its results depend on, and refuses differences.

    Parameters
    ----------
    client : distributed.Client, optional
        The one that is active, without it.

    Returns
    -------
    dict
        Of each worker's address its `Identity`: the version of plx, a digest of the module, the version of ICU, and the
        release of the time-zone rules with where these are from, or a digest of them.

    Raises
    ------
    WorkersDiffer
        Names each worker that differs, and in what.
    """
    if client is None:
        from distributed import default_client

        client = default_client()
    if client.asynchronous:
        raise TypeError("client: an asynchronous one; accepted: a client that waits, as Client(address) makes it")

    # Sent by value, so that it arrives where plx is missing, too.
    def ask():
        from plx._blocks import identity

        return tuple(identity())

    answers = client.run(ask, on_error="return")
    ours = identity()
    wrong, found = [], {}
    for address, answer in sorted(answers.items()):
        if isinstance(answer, BaseException):
            wrong.append(f"{address}: {type(answer).__name__}: {answer}")
            continue
        found[address] = Identity(*answer)
        if found[address] != ours:
            wrong.append(f"{address}: {_blocks.differences(found[address], ours)}")
    if wrong:
        raise WorkersDiffer("workers differ from the caller: " + "\n".join(wrong))
    return found


# ------------------------------------------------------------------------------------------------ Series


class DatetimeAccessor:
    """Sets and reads one component of the datetimes of a Dask Series, in the zone of their dtype."""

    def __init__(self, datetimes):
        from .pandas import DatetimeAccessor as Accessor

        if not hasattr(datetimes._meta, "index"):
            raise AttributeError("Can only use .plx accessor with a Series of Dask: index.to_series() makes one")
        self._like = Accessor(datetimes._meta)
        self._datetimes = datetimes

    def set(self, component, value, *, zone=None, fold="same", gap="shift", check=None, threads=1):
        """Sets one component of every datetime, as the accessor of pandas, when the results are asked for.

        Parameters
        ----------
        component, zone, fold, gap, check, threads
            As in the accessor of pandas.
        value : number, str, Series or dask array
            A Series, of Dask or of pandas, is aligned by the index; what is missing gives NaT. A Dask array has to have
            the Series' partitions.

        Returns
        -------
        dask Series
            With the dtype, index and name of this one; with ``check="mask"``, a second one of bool.

        Examples
        --------
        >>> import dask.dataframe as dd, pandas as pd, plx.dask
        >>> t = pd.Series(pd.to_datetime(['2014-05-31 08:30', '2014-06-30 12:00']).tz_localize('Europe/Berlin'))
        >>> dd.from_pandas(t, npartitions=2).plx.set('hour', 9).compute()
        0   2014-05-31 09:30:00+02:00
        1   2014-06-30 09:00:00+02:00
        dtype: datetime64[ns, Europe/Berlin]
        """
        options = dict(zone=zone, fold=fold, gap=gap, check=check, threads=threads)
        value, like = self._values(value)
        meta = self._like.set(component, like, **options)
        if check == "mask":
            meta = _blocks.columns(*meta)
        call = _blocks.Call(
            "plx-set", _blocks.set_partition, caller=_caller(), component=_functions.selector(component), **options
        )
        results = self._datetimes.map_partitions(call, value, meta=meta)
        if check != "mask":
            return results
        name = self._datetimes.name
        return results["results"].rename(name), results["otherwise"].rename(name)

    def get(self, component, *, zone=None, threads=1):
        """Reads one component of every datetime, as the accessor of pandas, when the numbers are asked for.

        Returns
        -------
        dask Series
            Of float64, NaN for NaT.
        """
        meta = self._like.get(component, zone=zone, threads=threads)
        call = _blocks.Call(
            "plx-get", _blocks.get_partition, caller=_caller(), component=_functions.selector(component), threads=threads
        )
        return self._datetimes.map_partitions(call, meta=meta)

    def _values(self, value):
        """Values for the graph, and such of a Series without elements."""
        import pandas as pd

        if isinstance(value, pd.Series):
            return dask.delayed(value, pure=True), value.iloc[:0]
        if isinstance(value, da.Array) and value.ndim == 1:
            value = dd.from_dask_array(value, index=self._datetimes.index)
        if isinstance(value, dd.Series):
            return value, value._meta
        if np.ndim(value) == 0 and not dask.is_dask_collection(value):
            return value, value
        raise TypeError(
            f"value: of type {type(value).__name__}, for partitions whose lengths are not known; accepted: a number, a word, a "
            "Series of pandas or of Dask, or an array of Dask in the Series' partitions"
        )


if dd is not None:
    dd.extensions.register_series_accessor("plx")(DatetimeAccessor)
