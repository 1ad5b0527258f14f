"""What Dask's workers run: a block of an array, a partition of a Series. An array's block needs neither Dask nor pandas,
which are not imported for it."""

import contextlib
import errno
import functools
import glob
import hashlib
import os
import secrets
import shutil
from typing import NamedTuple

import numpy as np

from ._errors import Error, library_error
from ._functions import get, set, versions


class Identity(NamedTuple):
    """What results depend on, as texts. Where two processes agree in it, they give the same bits."""

    plx: str
    module: str
    icu: str
    rules: str


@functools.cache
def identity():
    """That of this process; the rules that a process has in use never change."""
    used = versions()
    return Identity(used.plx, _digest([used.module]), used.icu, f"{used.rules}, {_origin(used.rules_from)}")


def _origin(told):
    """Where rules are from: ICU's own, or a digest of the files in a folder, which may be another one elsewhere."""
    # "ICU_TIMEZONE_FILES_DIR, /srv/rules, from /usr/share/zoneinfo", of which the folder is always there.
    folder = told.removeprefix("ICU_TIMEZONE_FILES_DIR, ")
    while folder:
        files = sorted(glob.glob(os.path.join(glob.escape(folder), "*.res")))
        if files:
            return _digest(files)
        folder = folder.rpartition(", from ")[0]
    return told


def _digest(paths):
    digest = hashlib.sha256()
    for path in paths:
        with open(path, "rb") as file:
            digest.update(file.read())
    return digest.hexdigest()[:16]


class WorkersDiffer(RuntimeError):
    """A worker has another plx, module, ICU or other time-zone rules than the caller: it could give other results."""

    __module__ = "plx.dask"


def require(caller):
    """Refuses to work for a caller whose results could be others."""
    ours = identity()
    if ours != caller:
        raise WorkersDiffer(f"this worker and the caller differ: {differences(ours, caller)}")


def differences(worker, caller):
    return "; ".join(
        f"{name}: {theirs} on the worker, {ours} at the caller"
        for name, theirs, ours in zip(Identity._fields, worker, caller)
        if theirs != ours
    )


def moved(error, index, where):
    """An error that tells of the same element by another index."""
    message = str(error).removeprefix(f"element {error.index}: ")
    return type(error)(f"{where}: {message}", identifier=error.identifier, index=index)


# ------------------------------------------------------------------------------------------ .npy files


class NpyFile:
    """To Dask an array in a file, blocks of which are read; a worker has to reach the file by the same path. A block is
    mapped for as long as it is copied: what stays mapped would count as the worker's memory."""

    def __init__(self, path):
        self.path = os.path.abspath(path)
        self.state = self._state()
        elements = self._mapped()
        self.shape, self.dtype, self.ndim = elements.shape, elements.dtype, elements.ndim

    def _state(self):
        # Of the file as it is opened: what a network file system knows of others by name may be seconds old.
        with open(self.path, "rb") as file:
            state = os.fstat(file.fileno())
        return state.st_mtime_ns, state.st_size

    def _mapped(self):
        # Refuses what is no array of plain elements.
        return np.lib.format.open_memmap(self.path, "r")

    def __getitem__(self, slices):
        if self._state() != self.state:
            raise library_error("InvalidArgument", f"{self.path}: was written since from_npy read its header; call it again")
        return np.array(self._mapped()[slices])


class NpyOutput:
    """To Dask an array, blocks of which are written into a file beside the one that it replaces in the end. What stood
    there before is whole until then, and may be what the blocks are made of."""

    def __init__(self, path, dtype, shape):
        path = os.path.abspath(path)
        self.path = os.path.realpath(path) if os.path.islink(path) else path
        if os.path.isdir(self.path):
            raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), self.path)
        self.dtype, self.shape = dtype, shape
        self.name = secrets.token_hex(8)
        self.unfinished = f"{self.path}.{self.name}.part"
        np.lib.format.open_memmap(self.unfinished, "w+", dtype, shape)
        self.number = os.stat(self.unfinished).st_ino
        if os.path.exists(self.path):
            shutil.copymode(self.path, self.unfinished)

    def __setitem__(self, slices, block):
        told = tuple(one.stop - one.start for one in slices)
        if block.shape != told:
            raise library_error("ShapeMismatch", f"x: a block of shape {block.shape}, where {told} was told")
        # Other machines see what was written as soon as the file is closed, or what was mapped is flushed.
        try:
            elements = np.lib.format.open_memmap(self.unfinished, "r+")
        except FileNotFoundError:
            self._require_finished()
            return
        rest = zip(slices[1:], self.shape[1:])
        if slices and all(one == slice(0, length) for one, length in rest):
            with open(self.unfinished, "r+b") as file:
                file.seek(elements.offset + slices[0].start * elements.strides[0])
                file.write(np.ascontiguousarray(block, self.dtype).reshape(-1).view(np.uint8))
        else:
            elements[slices] = block
            elements.flush()

    def finish(self, written=None):
        """Puts the file in its place, after what is `written`."""
        try:
            os.replace(self.unfinished, self.path)
        except FileNotFoundError:
            self._require_finished()

    def _require_finished(self):
        """What Dask computes again, as a worker was lost after the last step, is in its place already."""
        if not os.path.exists(self.path) or os.stat(self.path).st_ino != self.number:
            raise FileNotFoundError(errno.ENOENT, "neither this unfinished file nor what it became is there", self.unfinished)

    def discard(self):
        """Leaves nothing of an unfinished file."""
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.unfinished)


class Call:
    """What Dask calls with blocks: a function, and its options. It has the same token in every process, which
    `functools.partial` has not: Dask 2024 orders keywords by their hashes."""

    def __init__(self, name, function, **options):
        self.__name__ = name
        self.function = function
        self.options = options

    # Dask gives `partition_info` to what names it so, with partitions alone.
    def __call__(self, *blocks, partition_info=None):
        more = {} if partition_info is None else {"partition_info": partition_info}
        return self.function(*blocks, **self.options, **more)

    def __dask_tokenize__(self):
        return self.function.__name__, sorted(self.options.items())


# ------------------------------------------------------------------------------------ blocks of arrays


class Places:
    """To Dask an array, each of whose blocks is a tuple: where the block begins in the whole."""

    dtype = np.dtype(object)

    def __init__(self, shape):
        self.shape = shape
        self.ndim = len(shape)

    def __getitem__(self, slices):
        return tuple(one.start for one in slices)


def set_block(*blocks, pair, caller, component, spread, **options):
    """Sets a component in a block. `blocks`: the datetimes, two where they are a `pair`; values; and where the block
    begins, or None. `spread`: along which dimensions of all values there is one for all datetimes."""
    require(caller)
    *x, value, begin = blocks
    _require_lengths(value, x[0], spread)
    try:
        results = set(tuple(x) if pair else x[0], component, value, **options)
    except Error as error:
        raise _in_whole(error, begin) from None
    # Flat: results, of a pair two, and what `check` marks.
    if options["check"] == "mask":
        return (*results[0], results[1]) if pair else results
    return results


def _require_lengths(value, x, spread):
    """Refuses a single value of a chunk that would be taken for all of it, where Dask did not know the lengths."""
    for length, along, is_one in zip(reversed(np.shape(value)), reversed(x.shape), reversed(spread)):
        if length != along and not is_one:
            message = f"value: a chunk of shape {value.shape}, for datetimes of shape {x.shape}"
            raise library_error("ShapeMismatch", message)


def get_block(*blocks, pair, caller, component, **options):
    """Reads a component in a block, as `set_block` sets it."""
    require(caller)
    *x, begin = blocks
    try:
        return get(tuple(x) if pair else x[0], component, **options)
    except Error as error:
        raise _in_whole(error, begin) from None


def part(results, number):
    return results[number]


def _in_whole(error, begin):
    if error.index is None or error.index == ():
        return error
    if begin is None:
        return moved(error, None, f"element {error.index} of a chunk: Dask does not know the lengths of those before it")
    index = error.index if isinstance(error.index, tuple) else (error.index,)
    whole = tuple(start + place for start, place in zip(begin, index))
    whole = whole if len(whole) > 1 else whole[0]
    return moved(error, whole, f"element {whole}")


# ------------------------------------------------------------------------------- partitions of a Series


def set_partition(series, value, *, caller, component, partition_info=None, **options):
    """Sets a component in a partition; with ``check="mask"`` a DataFrame of two columns."""
    accessor = _accessor(series, caller)
    try:
        results = accessor.set(component, value, **options)
    except Error as error:
        raise _in_partition(error, series, partition_info) from None
    return columns(*results) if options["check"] == "mask" else results


def columns(results, otherwise):
    return results.to_frame("results").assign(otherwise=otherwise)


def get_partition(series, *, caller, component, threads, partition_info=None):
    """Reads a component in a partition."""
    accessor = _accessor(series, caller)
    try:
        return accessor.get(component, threads=threads)
    except Error as error:
        raise _in_partition(error, series, partition_info) from None


def _accessor(series, caller):
    from .pandas import DatetimeAccessor

    require(caller)
    return DatetimeAccessor(series)


def _in_partition(error, series, partition_info):
    """How long the partitions before are is not known: the index is that of the partition and the place in it."""
    if error.index is None or partition_info is None:
        return error
    index = (partition_info["number"], error.index)
    return moved(error, index, f"element {index}, partition and place, with the label {series.index[error.index]}")
