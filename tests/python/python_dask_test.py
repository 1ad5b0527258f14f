"""Dask's arrays and Series, without a cluster: equal bits in chunks of any size, checks as the graph is built, tokens."""

import itertools
import os
import subprocess
import sys
import warnings

import numpy as np
import pytest

da = pytest.importorskip("dask.array", reason="python3-dask is missing")
# Debian 13's Dask says so without a package that Debian 13 has not.
warnings.filterwarnings("ignore", r"\s*Dask dataframe query planning", FutureWarning)

import dask
import dask.dataframe as dd
import pandas as pd
import xarray as xr

import plx
import plx.dask
import plx.pandas
from support import COMPONENTS, SANITIZED, WHOLE, Cases, random_datetimes, same_bits

ZONES = [None, "UTC", "UTCLeapSeconds", "America/New_York", "+05:30"]
DTYPES = ["M8[ns]", "M8[s]", "complex128"]
COUNT = 5000
# Uneven with empty ones among them, and larger than a block that the library works on at once.
CHUNKS = [1, 7, 4096, ((0, 3, 1700, 0, 41, COUNT - 1744, 0),)]


# Processes take long to start under sanitizers, and start what is in Python alone.
slow_to_start = pytest.mark.skipif(SANITIZED, reason="processes of Python, whose own code is not watched")


@pytest.fixture(autouse=True)
def one_after_the_other():
    with dask.config.set(scheduler="synchronous"):
        yield


def moments(dtype, count=COUNT, seed=1):
    t = random_datetimes(count, "ns", seed=seed, last="2012-12-31")
    if dtype == "complex128":
        high, low = plx.split(t)
        return high + 1j * low
    t = t.astype(dtype)
    t[::97] = "NaT"
    return t


def chunked(t, chunks):
    # Of small chunks a few: a task takes Dask longer than its element.
    return da.from_array(t[: 30 * chunks] if chunks in (1, 7) else t, chunks=chunks)


def values(component, count, number):
    """One for all, NumPy's, Dask's in other chunks, in turns."""
    allowed = np.array(COMPONENTS[component])
    each = allowed[np.arange(count) * 7 % len(allowed)]
    return [allowed[len(allowed) // 2], each, da.from_array(each, chunks=max(1, count // 3))][number % 3]


def in_memory(value):
    return value.compute() if isinstance(value, da.Array) else value


def test_the_bytes_of_one_call():
    kinds = list(itertools.product(COMPONENTS, ZONES, DTYPES))[:: 4 if SANITIZED and not WHOLE else 1]
    with Cases((4 if WHOLE else 1) * len(kinds)) as cases:
        for number, (component, zone, dtype) in enumerate(kinds):
            t = moments(dtype)
            # Of chunk sizes and kinds of values each combination comes in turn.
            for chunks in CHUNKS if WHOLE else [CHUNKS[number % 4]]:
                x = chunked(t, chunks)
                value = values(component, x.size, number)
                results = plx.dask.set(x, component, value, zone=zone)
                assert results.chunks == x.chunks and results.dtype == x.dtype
                expected = plx.set(t[: x.size], component, in_memory(value), zone=zone)
                assert same_bits(results.compute(), expected), (component, zone, dtype, chunks)
                read = plx.dask.get(results, component, zone=zone)
                assert same_bits(read.compute(), plx.get(expected, component, zone=zone))
                cases.add()


def test_the_bytes_of_the_command_line(tmp_path):
    arguments = {"year": "2008", "day": "31", "day_of_week": "2", "hour": "9"}
    kinds = list(itertools.product(COMPONENTS if WHOLE else arguments, ZONES, DTYPES))
    with Cases(len(kinds) if WHOLE else 10) as cases:
        for component, zone, dtype in kinds if WHOLE else kinds[::6]:
            value = arguments.get(component, "1")
            np.save(tmp_path / "x.npy", moments(dtype))
            zoned = [] if zone is None else ["--zone", zone]
            subprocess.run(
                [os.environ["PLX_PROGRAM"], "set", component.replace("_", "-"), value, *zoned, "x.npy", "-o", "y.npy"],
                cwd=tmp_path, check=True, capture_output=True,
            )  # fmt: skip
            x = da.from_array(np.load(tmp_path / "x.npy", mmap_mode="r"), chunks=1733)
            results = plx.dask.set(x, component, int(value), zone=zone)
            assert same_bits(results.compute(), np.load(tmp_path / "y.npy")), (component, zone, dtype)
            cases.add()


@slow_to_start
def test_schedulers_agree():
    t = moments("M8[s]")
    expected = plx.set(t, "hour", 9, zone="America/New_York")
    results = plx.dask.set(da.from_array(t, chunks=1000), "hour", 9, zone="America/New_York")
    with Cases(3) as cases:
        for scheduler in ("synchronous", "threads", "processes"):
            with dask.config.set({"multiprocessing.context": "spawn", "num_workers": 2}):
                assert same_bits(results.compute(scheduler=scheduler), expected), scheduler
            cases.add()


def test_other_shapes_and_kinds():
    t = moments("M8[s]").reshape(50, 100)
    x = da.from_array(t, chunks=(7, 33))
    days = np.arange(50)[:, None] % 28
    with Cases(10) as cases:
        for value, given in [
            (days, days),
            (pd.Series(np.arange(100)), np.arange(100)),
            (days[None], days[None]),
            (da.from_array(days, chunks=(50, 1)), days),
            (np.arange(100), np.arange(100)),
            (da.from_array(np.arange(5000).reshape(50, 100), chunks=(50, 1)), np.arange(5000).reshape(50, 100)),
            (np.int8(3), 3),
            (da.from_array(np.array(3), chunks=()), 3),
            ("last", "last"),
            ([[2.0]], 2),
        ]:
            assert same_bits(plx.dask.set(x, "day", value).compute(), plx.set(t, "day", given))
            cases.add()
    one = da.from_array(t[0, 1], chunks=())
    assert plx.dask.set(one, "day", 2).compute() == plx.set(t[0, 1], "day", 2)
    none = da.from_array(t[:0], chunks=(1, 50))
    assert same_bits(plx.dask.set(none, "day", 2).compute(), t[:0])
    # Dask leaves empty arrays in the chunks that they have.
    none = da.from_array(t[0, :0], chunks=((0, 0),))
    numbers = da.from_array(np.ones(0), chunks=((0, 0, 0),))
    assert same_bits(plx.dask.set(none, "day", numbers).compute(), t[0, :0])
    high, low = plx.dask.set((da.from_array(np.ones(0), chunks=((0, 0),)), numbers), "day", 1)
    assert high.chunks == low.chunks == none.chunks and high.compute().shape == low.compute().shape == (0,)
    big = da.from_array(t.astype(">M8[s]"), chunks=9)
    assert plx.dask.set(big, "day", 2).dtype == big.dtype == plx.dask.set(big, "day", 2).compute().dtype
    high, low = (da.from_array(part, chunks=chunks) for part, chunks in zip(plx.split(t), (9, 20)))
    results = dask.compute(*plx.dask.set((high, low), "day", days))
    assert all(map(same_bits, results, plx.set(plx.split(t), "day", days)))
    assert same_bits(plx.dask.get((high, low), "day").compute(), plx.get(t, "day"))


def any_array(generator, shape, kind):
    numbers = generator.integers(0, 10**9, shape)
    if kind == "pair":
        return np.asarray(numbers * 1e3), np.asarray(generator.random(shape) / 1e3)
    if kind == "masked":
        return np.ma.array(numbers.astype("M8[s]"), mask=generator.random(shape) < 0.3)
    return np.asarray(numbers * 1e3 if "M8" not in kind else numbers).astype(kind)


def any_chunks(generator, array):
    """In chunks that are cut anywhere, some of them empty."""
    if isinstance(array, tuple):
        return tuple(any_chunks(generator, part) for part in array)
    cuts = [np.sort(generator.integers(0, length + 1, generator.integers(0, 4))) for length in array.shape]
    chunks = (tuple(np.diff([0, *cut, length]).tolist()) for cut, length in zip(cuts, array.shape))
    return da.from_array(array, chunks=tuple(chunks))


def test_random_arrays():
    generator = np.random.default_rng(5)
    kinds = ["M8[s]", ">M8[ms]", "M8[ns]", "complex128", ">f8", "f8", "pair", "masked"]
    with Cases(2000 if WHOLE else 200) as cases:
        while cases.count < cases.least:
            shape = tuple(generator.integers(0, 7, generator.integers(0, 4)).tolist())
            t = any_array(generator, shape, generator.choice(kinds))
            x = any_chunks(generator, t)
            # One along some of the dimensions, and without some of the first.
            ones = generator.random(len(shape)) < 0.3
            short = tuple(np.where(ones, 1, shape).astype(int).tolist())[generator.integers(0, len(shape) + 1) :]
            given = np.asarray(generator.integers(-5, 28, short)).astype(generator.choice(["i8", "f8", "i2", "f4"]))
            value = [given, given.max(initial=1), any_chunks(generator, given)][generator.integers(0, 3)]
            zone = generator.choice([None, "UTC", "America/New_York", "+05:30", "UTCLeapSeconds"])
            fold = str(generator.choice(["later", "same"]))
            expected = plx.set(t, "month", in_memory(value), zone=zone, fold=fold)
            results = dask.compute(plx.dask.set(x, "month", value, zone=zone, fold=fold))[0]
            for one, other in zip(expected, results) if isinstance(t, tuple) else [(expected, results)]:
                mask = np.ma.getmaskarray(one)
                assert type(one) is type(other) and (mask == np.ma.getmaskarray(other)).all()
                assert same_bits(np.ma.getdata(one)[~mask], np.ma.getdata(other)[~mask]), (t, value, zone, fold)
            cases.add()


def test_masked_arrays():
    t = moments("M8[s]")
    mask = np.arange(COUNT) % 3 == 0
    x = da.ma.masked_array(da.from_array(t, chunks=700), mask=da.from_array(mask, chunks=700))
    results = plx.dask.set(x, "day", np.where(mask, 1.5, 1.0)).compute()
    assert (np.ma.getmaskarray(results) == mask).all() and same_bits(results.data[~mask], plx.set(t[~mask], "day", 1))
    days = np.ma.array(np.where(mask, 1.5, 1.0), mask=mask)
    given = da.from_array(t, chunks=700)
    results = plx.dask.set(given, "day", days)
    assert (np.ma.getmaskarray(results.compute()) == mask).all()
    assert type(plx.dask.set(given, "day", np.ma.array(3)).compute()) is np.ndarray
    assert np.ma.getmaskarray(plx.dask.set(given, "day", np.ma.masked).compute()).all()
    other = np.ma.array(days.data, mask=mask | (np.arange(COUNT) == 1))
    assert plx.dask.set(given, "day", other).name != results.name


def test_marks_beside_results():
    t = moments("M8[s]")
    x = da.from_array(t, chunks=700)
    results, marks = dask.compute(*plx.dask.set(x, "day", 31, check="mask"))
    expected = plx.set(t, "day", 31, check="mask")
    assert same_bits(results, expected[0]) and same_bits(marks, expected[1]) and marks.any()
    pair = tuple(da.from_array(part, chunks=700) for part in plx.split(t))
    (high, low), marks = plx.dask.set(pair, "day", 31, check="mask")
    assert marks.dtype == bool and same_bits(marks.compute(), expected[1])
    assert all(map(same_bits, dask.compute(high, low), plx.split(expected[0])))
    assert same_bits(plx.dask.set(x, "day", 31, check="nat").compute(), plx.set(t, "day", 31, check="nat"))


def test_what_is_wrong_with_a_call_shows_at_once():
    x = da.from_array(moments("M8[s]"), chunks=700)
    lazy = xr.DataArray(da.ones(COUNT).map_blocks(pytest.fail, meta=np.ones(0)))
    with Cases(16) as cases:
        for call, kind, text in [
            (lambda: plx.dask.set((), "day", 1), TypeError, "x: a tuple of 0; accepted: .high, low."),
            (lambda: plx.dask.set(x, "day", lazy), TypeError, "value: of type DataArray; accepted: a number"),
            (lambda: dd.from_dask_array(x).plx.set("day", lazy[0]), TypeError, "value: of type DataArray, for partitions"),
            (lambda: plx.dask.set(x, "dday", 1), plx.Error, "component: 'dday'"),
            (lambda: plx.dask.set(x, "day", 1, zone="Europe/Pariss"), plx.UnknownZone, "Pariss"),
            (lambda: plx.dask.set(x, "day", 1, fold="latest"), plx.Error, "fold: 'latest'"),
            (lambda: plx.dask.set(x, "day", "feb"), plx.Error, "not a number"),
            (lambda: plx.dask.set(x, "day", x), TypeError, "value: elements of datetime64"),
            (lambda: plx.dask.set(x, "day", True), TypeError, "value: True"),
            (lambda: plx.dask.set(x, "day", dd.from_dask_array(x)), TypeError, "value: of type Series"),
            (lambda: plx.dask.set(x, "day", 2**70), plx.OutOfRange, "more than 64 bits"),
            (lambda: plx.dask.set(x, "day", np.arange(3)), plx.Error, r"value: of shape \(3,\)"),
            (lambda: plx.dask.set(x.astype("i8"), "day", 1), TypeError, "elements of int64 are no datetimes"),
            (lambda: plx.dask.set(moments("M8[s]"), "day", 1), TypeError, "accepted: arrays of Dask; plx.set takes others"),
            (lambda: plx.dask.get(x, "day", zone="Europe/Pariss"), plx.UnknownZone, "Pariss"),
            (lambda: plx.set(x, "day", 1), TypeError, r"import plx.dask and write plx.dask.set\(x, ...\)"),
        ]:
            with pytest.raises(kind, match=text):
                call()
            cases.add()


def test_graphs_are_built_without_work(monkeypatch):
    sizes = []
    for name in ("set", "get"):
        work = getattr(plx._plx, name)

        def counted(x, *others, work=work):
            sizes.append(x.size)
            return work(x, *others)

        monkeypatch.setattr(plx._plx, name, counted)
    x = da.from_array(moments("M8[s]"), chunks=700)
    series = dd.from_pandas(pd.Series(moments("M8[ns]")), npartitions=3)
    results = [
        plx.dask.set(x, "day", np.arange(COUNT) % 28, check="mask")[0],
        plx.dask.set(x.reshape(50, 100), "hour", 3, zone="local"),
        plx.dask.get(x, "day"),
        series.plx.set("day", 1),
        series.plx.set("day", series.plx.get("hour"), check="mask")[0],
    ]
    # `local` is found out with the help of an explanation, which sets through another function.
    assert len(sizes) >= 5 and set(sizes) == {0}
    dask.compute(*results)
    assert sum(sizes) >= 5 * COUNT


def test_an_error_has_its_index_in_the_whole():
    t = moments("complex128")
    days = np.ones(COUNT)
    days[4321] = 1.5
    with Cases(4) as cases:
        for chunks in (100, 4096, COUNT, CHUNKS[3]):
            with pytest.raises(plx.NotWhole) as raised:
                plx.dask.set(da.from_array(t, chunks=chunks), "day", days).compute()
            with pytest.raises(plx.NotWhole) as alone:
                plx.set(t, "day", days)
            assert str(raised.value) == str(alone.value) and vars(raised.value) == vars(alone.value)
            cases.add()
    x = da.from_array(t.reshape(50, 100), chunks=(7, 33))
    with pytest.raises(plx.NotWhole, match=r"^element \(43, 21\): not a whole") as raised:
        plx.dask.set(x, "day", days.reshape(50, 100)).compute()
    assert raised.value.index == (43, 21)
    wrong = t.copy()
    wrong[4000] = complex(0, np.inf)
    with pytest.raises(plx.Error, match="^element 4000: ") as raised:
        plx.dask.get(da.from_array(wrong, chunks=100), "day").compute()
    assert raised.value.index == 4000


def test_chunks_of_lengths_that_are_not_known():
    t = moments("M8[s]")
    t[::97] = 0
    x = da.from_array(t, chunks=700)
    known = t.astype("i8") % 2 == 0
    some = x[da.from_array(known, chunks=700)]
    assert same_bits(plx.dask.set(some, "day", 1).compute(), plx.set(t[known], "day", 1))
    days = plx.dask.get(some, "day")
    assert same_bits(plx.dask.set(some, "day", days).compute(), t[known])
    with pytest.raises(plx.Error, match="compute_chunk_sizes"):
        plx.dask.set(some, "day", np.arange(known.sum()))
    # Both lengths are not known: one value in a chunk is none for all of it.
    fewer = da.arange(COUNT, chunks=700)[da.from_array(np.arange(COUNT) % 700 == 0, chunks=700)]
    with pytest.raises(plx.Error, match=r"value: a chunk of shape \(1,\), for datetimes of shape \(\d+,\)"):
        plx.dask.set(some, "day", fewer % 28).compute()
    mask = da.from_array(known, chunks=700)
    pair = tuple(da.from_array(part, chunks=700)[mask] for part in plx.split(t))
    results = dask.compute(*plx.dask.set(pair, "day", 1))
    assert all(map(same_bits, results, plx.set(plx.split(t[known]), "day", 1)))
    with pytest.raises(plx.Error, match="low parts of shape"):
        plx.dask.set((pair[0], da.zeros(COUNT, chunks=1000)[:COUNT]), "day", 1)
    with pytest.raises(plx.NotWhole, match="^element 1 of a chunk: Dask does not know") as raised:
        plx.dask.set(some, "day", da.where(some == t[known][1], 1.5, 1)).compute()
    assert raised.value.index is None


def test_tokens():
    t = moments("M8[s]")
    names = {}
    zoned = dict(zone="America/New_York")
    with Cases(11) as cases:
        for arguments, options in [
            (("day", 1), {}),
            (("day", 2), {}),
            (("day", "last"), {}),
            (("day", np.arange(COUNT)), {}),
            (("day", np.arange(COUNT) + 1), {}),
            (("hour", 1), {}),
            (("hour", 1), zoned),
            (("hour", 1), {**zoned, "fold": "same"}),
            (("hour", 1), {**zoned, "gap": "end"}),
            (("hour", 1), {**zoned, "check": "nat"}),
            (("hour", 1), {"zone": "Asia/Tokyo"}),
        ]:
            made = {plx.dask.set(da.from_array(t, chunks=700), *arguments, **options).name for _ in range(2)}
            assert len(made) == 1
            names[made.pop()] = None
            cases.add()
    assert len(names) == 11
    x = da.from_array(t, chunks=700)
    assert plx.dask.set(x, "day_of_year", 1).name == plx.dask.set(x, "day-of-year", 1).name
    series = dd.from_pandas(pd.Series(moments("M8[ns]")), npartitions=3)
    made = [series.plx.set("day", 1), series.plx.set("day", 1), series.plx.set("day", 2), series.plx.get("day")]
    assert len({one._name for one in made}) == 3


# Every key of a graph of each kind.
KEYS = """
import warnings
warnings.simplefilter("ignore")
import numpy as np, pandas as pd, dask.array as da, dask.dataframe as dd, plx.dask

t = np.arange(9).view("M8[s]")
x = da.from_array(t, chunks=2)
pair = (x.astype("i8").astype(float), da.zeros(9, chunks=4))
series = dd.from_pandas(pd.Series(t.astype("M8[ns]")).dt.tz_localize("Asia/Tokyo"), npartitions=2)
print([sorted(map(str, results.dask)) for results in (
    plx.dask.set(x, "hour", 1, zone="Asia/Tokyo"),
    plx.dask.set(x, "day", np.arange(9), fold="same"),
    plx.dask.set(x, "day", np.int8(2), check="nat", threads=2),
    plx.dask.set(x, "day", da.arange(9, chunks=4)),
    plx.dask.set(x, "day", "last", check="mask")[1],
    plx.dask.set(x, "day", np.ma.array(np.arange(9), mask=np.arange(9) % 2)),
    plx.dask.set(pair, "day", 1, gap="end")[1],
    plx.dask.get(x, "day", zone="+05:30"),
    series.plx.set("day", pd.Series(range(9)), fold="later"),
    series.plx.set("day", 1, check="mask")[0],
    series.plx.get("day"),
)])
"""


@slow_to_start
def test_keys_of_other_processes(capsys):
    # As clients of one scheduler are. Hashes of texts, by which Dask 2024 orders keywords, differ from process to process.
    there = [
        subprocess.run(
            [sys.executable, "-c", KEYS], capture_output=True, text=True, check=True, env={**os.environ, "PYTHONHASHSEED": seed}
        ).stdout
        for seed in ("1", "2")
    ]
    exec(KEYS, {})
    assert there[0] == there[1] == capsys.readouterr().out
    assert there[0].count("plx-set") > 30 and there[0].count("plx-get") > 5


def test_a_block_takes_one_task():
    x = da.ones(10_000, chunks=100).astype("M8[s]")
    results = plx.dask.set(plx.dask.set(x, "hour", 1), "minute", 2)
    assert len(dask.optimize(results)[0].dask) == x.npartitions == 100


def test_npy_files(tmp_path):
    t = moments("M8[s]")
    with Cases(6) as cases:
        for given, chunks in [
            (t, 700),
            (t.reshape(50, 100), (7, 33)),
            (np.asfortranarray(t.reshape(50, 100)), (7, 33)),
            (t.astype(">M8[s]"), 700),
            (moments("complex128"), 4096),
            (t[:0], 1),
        ]:
            np.save(tmp_path / "x.npy", given)
            x = plx.dask.from_npy(tmp_path / "x.npy", chunks)
            assert x.dtype == given.dtype and x.shape == given.shape
            plx.dask.to_npy(tmp_path / "y.npy", plx.dask.set(x, "day", "last"))
            expected = plx.set(given, "day", "last")
            # In the order of C, whatever that of the first file.
            assert same_bits(np.load(tmp_path / "y.npy"), expected)
            cases.add()
    x = plx.dask.from_npy(tmp_path / "y.npy")
    assert x.name == plx.dask.from_npy(tmp_path / "y.npy").name
    plx.dask.to_npy(tmp_path / "y.npy", da.from_array(t, chunks=700))
    assert x.name != plx.dask.from_npy(tmp_path / "y.npy").name
    with pytest.raises(plx.Error, match=r"y.npy: was written since from_npy read its header"):
        x.compute()
    x = plx.dask.from_npy(tmp_path / "y.npy")
    with dask.config.set({"array.chunk-size": "4 KiB"}):
        assert plx.dask.from_npy(tmp_path / "y.npy").name != x.name
    np.save(tmp_path / "objects.npy", np.array([None, 1], object))
    with pytest.raises(ValueError, match="(?i)python objects"):
        plx.dask.from_npy(tmp_path / "objects.npy")
    with pytest.raises(plx.Error, match="lengths that Dask knows"):
        plx.dask.to_npy(tmp_path / "z.npy", x[x == x])
    with pytest.raises(TypeError, match="x: masked; accepted: .*filled"):
        plx.dask.to_npy(tmp_path / "z.npy", da.ma.masked_array(x, mask=x == x))
    with pytest.raises(TypeError, match="x: of type ndarray; accepted: arrays of Dask"):
        plx.dask.to_npy(tmp_path / "z.npy", t)
    with pytest.raises(IsADirectoryError):
        plx.dask.to_npy(tmp_path, x)
    shorter = x.map_blocks(lambda block: block[1:], dtype=x.dtype, meta=t[:0])
    with pytest.raises(plx.Error, match=r"block of shape \(4999,\), where \(5000,\) was told"):
        plx.dask.to_npy(tmp_path / "z.npy", shorter)
    assert sorted(os.listdir(tmp_path)) == ["objects.npy", "x.npy", "y.npy"]


def test_a_file_is_whole_before_and_after(tmp_path):
    t = moments("M8[s]")
    path = tmp_path / "t.npy"
    np.save(path, t)
    os.chmod(path, 0o640)
    x = plx.dask.from_npy(path, 700)
    days = np.ones(COUNT)
    days[4321] = 1.5
    with pytest.raises(plx.NotWhole, match="^element 4321: "):
        plx.dask.to_npy(path, plx.dask.set(x, "day", days))
    assert same_bits(np.load(path), t) and os.listdir(tmp_path) == ["t.npy"]
    # Into the file that is read, and nothing before it is asked for.
    later = plx.dask.to_npy(path, plx.dask.set(x, "day", 2), compute=False)
    assert same_bits(np.load(path), t) and len(os.listdir(tmp_path)) == 2
    # Whoever reads the file while it is replaced has the old one.
    old = np.load(path, mmap_mode="r")
    later.compute()
    assert same_bits(np.load(path), plx.set(t, "day", 2)) and same_bits(old, t)
    assert os.listdir(tmp_path) == ["t.npy"] and os.stat(path).st_mode & 0o777 == 0o640
    # As Dask does it where a worker is lost after the last step: the file is written already.
    x = da.from_array(t, chunks=700)
    later = plx.dask.to_npy(path, x, compute=False)
    for _ in range(2):
        later.compute()
        assert same_bits(np.load(path), t)
    os.symlink("t.npy", tmp_path / "link.npy")
    plx.dask.to_npy(tmp_path / "link.npy", plx.dask.set(x, "day", 3))
    assert os.path.islink(tmp_path / "link.npy") and same_bits(np.load(path), plx.set(t, "day", 3))


def test_what_is_written_twice_is_written_twice(tmp_path):
    x = da.from_array(moments("M8[s]"), chunks=700)
    keys = set()
    with Cases(20) as cases:
        for number in range(20):
            # The last one is dropped each time: what follows may take its place in memory.
            later = plx.dask.to_npy(tmp_path / f"{number % 2}.npy", x, compute=False)
            keys.update(key for key in later.dask if "array" not in str(key))
            cases.add()
    assert len(keys) == 20 * len(keys.intersection(later.dask)) >= 20 * x.npartitions


def test_local_is_the_clock_of_the_caller(monkeypatch):
    t = moments("M8[s]")
    monkeypatch.setenv("TZ", "Europe/Paris")
    results = plx.dask.set(da.from_array(t, chunks=700), "hour", 3, zone="local")
    monkeypatch.setenv("TZ", "Asia/Tokyo")
    assert same_bits(results.compute(), plx.set(t, "hour", 3, zone="Europe/Paris"))
    for text, zone in (("<+03>-3", "+03:00"), ("UTC", "Etc/UTC")):
        monkeypatch.setenv("TZ", text)
        results = plx.dask.set(da.from_array(t, chunks=700), "day_of_week", 3, zone="Local")
        assert same_bits(results.compute(), plx.set(t, "day_of_week", 3, zone=zone))


# ------------------------------------------------------------------------------------------------ Series


@pytest.mark.parametrize("zone", [None, "America/New_York"])
def test_series(zone):
    s = pd.Series(moments("M8[ns]", 500), name="seen", index=np.arange(500) * 2)
    s = s.dt.tz_localize("UTC").dt.tz_convert(zone) if zone else s
    lazy = dd.from_pandas(s, npartitions=4)
    frame = dd.from_pandas(pd.DataFrame({"created": s, "day": np.arange(500) % 28}), npartitions=4)
    days = pd.Series(np.arange(500) % 28, index=s.index)
    expected = s.plx.set("day", days)
    with Cases(9) as cases:
        for results, eager in [
            (lazy.plx.set("hour", 9), s.plx.set("hour", 9)),
            (lazy.plx.set("hour", 9, fold="later", gap="end"), s.plx.set("hour", 9, fold="later", gap="end")),
            (lazy.plx.get("day_of_year"), s.plx.get("day_of_year")),
            (lazy.plx.set("day", days), expected),
            (lazy.plx.set("day", days[::-1]), expected),
            (lazy.plx.set("day", dd.from_pandas(days, npartitions=3)), expected),
            (lazy.plx.set("day", da.from_array(days.to_numpy(), chunks=125)), expected),
            (lazy.plx.set("day", days[:100]), s.plx.set("day", days[:100])),
            (frame.assign(created=frame.created.plx.set("day", frame.day)).created, expected.rename("created")),
        ]:
            assert results.dtype == eager.dtype
            pd.testing.assert_series_equal(results.compute(), eager)
            cases.add()
    for results, eager in zip(lazy.plx.set("day", 31, check="mask"), s.plx.set("day", 31, check="mask")):
        pd.testing.assert_series_equal(results.compute(), eager)


def test_series_say_what_is_wrong():
    s = pd.Series(moments("M8[ns]", 100), index=np.arange(100) + 1000)
    lazy = dd.from_pandas(s, npartitions=4)
    with Cases(5) as cases:
        for call, kind, text in [
            (lambda: lazy.plx.set("dday", 1), plx.Error, "component: 'dday'"),
            (lambda: lazy.plx.set("day", 1, zone="UTC"), TypeError, "localise them first"),
            (lambda: lazy.plx.set("day", np.arange(100)), TypeError, "partitions whose lengths are not known"),
            (lambda: plx.set(lazy, "day", 1), TypeError, r"import plx.dask and write x.plx.set"),
            (lambda: plx.dask.set(lazy, "day", 1), TypeError, r"write x.plx.set"),
        ]:
            with pytest.raises(kind, match=text):
                call()
            cases.add()
    days = pd.Series(np.where(np.arange(100) == 57, 1.5, 1), index=s.index)
    with pytest.raises(plx.NotWhole, match="^element .2, 7., partition and place, with the label 1057: ") as raised:
        lazy.plx.set("day", days).compute()
    assert raised.value.index == (2, 7)


# ------------------------------------------------------------------------------------------- what is asked


@slow_to_start
@pytest.mark.parametrize("name", ["instants.npy", "instants.zarr"] if WHOLE else ["instants.npy"])
def test_the_example(tmp_path, name):
    if name.endswith(".zarr"):
        zarr = pytest.importorskip("zarr", reason="python3-zarr is missing")
    program = os.path.join(os.environ["PLX_SOURCE_DIR"], "examples", "dask_instants.py")
    command = [sys.executable, "-W", "ignore", program, name, "--count", "3e5", "--chunk", "7e4"]
    told = subprocess.run(command, cwd=tmp_path, capture_output=True, text=True, check=True).stdout
    assert "100% Completed" in told and "300000 instants in" in told
    path = str(tmp_path / name)
    results = np.load(path) if name.endswith(".npy") else zarr.open(path, mode="r")[:].view("M8[s]")
    step = np.datetime64("2038-01-01", "s").astype("i8") // 300_000
    expected = plx.set((np.arange(300_000) * step).astype("M8[s]"), "hour", 9, zone="America/New_York")
    assert same_bits(results, expected)


@slow_to_start
def test_nothing_imports_dask_unasked():
    code = """
import sys
def imported():
    return {name for name in sys.modules if name.split(".")[0] in ("dask", "distributed")}
import plx, plx.pandas, plx._blocks
assert imported() == set(), imported()
import xarray  # has some of Dask by itself
before = imported()
import plx.xarray
assert imported() == before, imported() - before
import plx.dask
assert "dask.array" in imported() and "distributed" not in imported()
print("done")
"""
    result = subprocess.run([sys.executable, "-W", "ignore", "-c", code], capture_output=True, text=True)
    assert result.stdout == "done\n", result.stderr
