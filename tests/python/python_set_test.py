"""plx.set: kinds of datetimes and values, layouts, memory for results, and what is refused."""

import collections

import numpy as np
import pytest

import plx
from support import COMPONENTS, UNITS, Cases, random_datetimes, same_bits

T = np.array(["2014-05-31T08:30", "NaT", "2016-02-29T23:59"], "M8[m]")


def one_by_one(x, component, value, **options):
    """Each element by itself: another path through the package."""
    results = np.empty(x.shape, x.dtype)
    values = np.broadcast_to(value, x.shape)
    for index in np.ndindex(x.shape):
        results[index] = plx.set(x[index], component, values[index].item(), **options)
    return results


@pytest.mark.parametrize(
    "component, value, results",
    [
        ("year", 2015, ["2015-05-31T08:30", "NaT", "2015-03-01T23:59"]),
        ("quarter", "q1", ["2014-01-31T08:30", "NaT", "2016-01-29T23:59"]),
        ("month", "feb", ["2014-03-03T08:30", "NaT", "2016-02-29T23:59"]),
        ("month", 13, ["2015-01-31T08:30", "NaT", "2017-01-29T23:59"]),
        ("day", "last", ["2014-05-31T08:30", "NaT", "2016-02-29T23:59"]),
        ("day_of_year", 60, ["2014-03-01T08:30", "NaT", "2016-02-29T23:59"]),
        ("day-of-week", "sun", ["2014-05-25T08:30", "NaT", "2016-02-28T23:59"]),
        ("hour", [1, 2, 3], ["2014-05-31T01:30", "NaT", "2016-02-29T03:59"]),
        ("minute", np.array([1, np.nan, np.nan]), ["2014-05-31T08:01", "NaT", "NaT"]),
        (19, np.int8(7), ["2014-05-31T08:07", "NaT", "2016-02-29T23:07"]),
        (np.int64(11), np.float16(2), ["2014-05-02T08:30", "NaT", "2016-02-02T23:59"]),
        (12, 2.0, ["2014-05-02T08:30", "NaT", "2016-02-02T23:59"]),
        ("time_of_day", 3600, ["2014-05-31T01:00", "NaT", "2016-02-29T01:00"]),
    ],
)
def test_components_and_values(component, value, results):
    assert same_bits(plx.set(T, component, value), np.array(results, T.dtype))


def test_values_of_every_type_of_number():
    expected = plx.set(T, "day", [1, 2, 3])
    with Cases(20) as cases:
        for code in ["i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f2", "f4", "f8"]:
            for order in "<>":
                assert same_bits(plx.set(T, "day", np.array([1, 2, 3], order + code)), expected), code
                cases.add()


def test_every_layout_holds_the_same_elements():
    with Cases(11 * 10) as cases:
        for number, (component, values) in enumerate(COMPONENTS.items()):
            x = random_datetimes(60, "ms", seed=number).reshape(3, 4, 5)
            value = np.random.default_rng(number).integers(values[0], values[-1], x.shape)
            expected = one_by_one(x, component, value)
            packed = np.zeros(x.shape, np.dtype([("a", "i1"), ("t", x.dtype)]))
            packed["t"] = x
            wide = np.repeat(x, 2, axis=2)
            layouts = {
                "contiguous": x,
                "Fortran's order": np.asfortranarray(x),
                "other byte order": x.astype(">M8[ms]"),
                "every second": wide[:, :, ::2],
                "backwards": np.ascontiguousarray(x[::-1, :, ::-1])[::-1, :, ::-1],
                "a field of a packed record": packed["t"],
                "not writeable": _read_only(x),
                "transposed and back": np.ascontiguousarray(x.transpose(2, 0, 1)).transpose(1, 2, 0),
            }
            for layout, same in layouts.items():
                results = plx.set(same, component, value)
                assert results.dtype == same.dtype, layout
                assert np.array_equal(results, expected), layout
                assert results.flags.writeable and results.flags.aligned, layout
                cases.add()
            assert np.array_equal(plx.set(x, component, value[:, ::-1][:, ::-1].astype(">i8")), expected)
            assert np.array_equal(plx.set(x, component, np.asfortranarray(value)), expected)
            cases.add(2)


def _read_only(x):
    x = x.copy()
    x.flags.writeable = False
    return x


def test_values_spread_as_in_an_assignment():
    x = random_datetimes(12, "s").reshape(3, 4)
    with Cases(7) as cases:
        for value in (5, np.array(5), [5], [1, 2, 3, 4], [[1], [2], [3]], np.array([[[1, 2, 3, 4]]]), np.ones((1, 1, 3, 4))):
            spread = np.empty(x.shape)
            spread[...] = value
            assert same_bits(plx.set(x, "day", value), plx.set(x, "day", spread))
            cases.add()
    for value in ([1, 2, 3], np.ones((2, 3, 4)), np.ones((4, 3))):
        with pytest.raises(plx.Error, match="of shape .* for datetimes of shape") as error:
            plx.set(x, "day", value)
        assert error.value.identifier == "Pelmor:library:ShapeMismatch"
    with pytest.raises(plx.Error, match=r"\(1, 3\), for datetimes of shape \(3, 1\)"):
        plx.set(x[:, :1], "day", [[1, 2, 3]])


def test_kinds_of_datetimes_agree():
    x = random_datetimes(500, "ms", seed=7)
    millis = x.astype(np.int64).astype(float)
    with Cases(11 * 12) as cases:
        for component, values in COMPONENTS.items():
            for zone in (None, "UTC", "Europe/Paris"):
                value = np.random.default_rng(3).integers(values[0], values[-1], x.shape)
                expected = plx.set(x, component, value, zone=zone).astype(np.int64)
                results = plx.set(millis, component, value, zone=zone)
                assert np.array_equal(results, expected)
                results = plx.set(millis + 0j, component, value, zone=zone)
                assert np.array_equal(results.real, expected) and not results.imag.any()
                high, low = plx.set((millis, np.zeros_like(millis)), component, value, zone=zone)
                assert np.array_equal(high, expected) and not low.any()
                for unit in ("us", "ns"):
                    finer = x.astype(f"M8[{unit}]") + np.timedelta64(1, unit)
                    results = plx.set(finer, component, value, zone=zone)
                    kept = 0 if component in ("second", "time_of_day") else 1
                    again = expected.view("M8[ms]").astype(finer.dtype) + np.timedelta64(kept, unit)
                    assert np.array_equal(results, again), (component, zone, unit)
                cases.add(5)


def test_every_unit():
    with Cases(3 * len(UNITS)) as cases:
        for unit in UNITS:
            t = np.array(["1970-02-03T04", "1970-03-01T00"], f"M8[{unit}]")
            for component, value, result in [
                ("day", 1, ["1970-02-01T04", "1970-03-01T00"]),
                ("month", 1, ["1970-01-03T04", "1970-01-01T00"]),
                ("hour", 5, ["1970-02-03T05", "1970-03-01T05"]),
            ]:
                assert same_bits(plx.set(t, component, value), np.array(result, t.dtype)), unit
                cases.add()
    assert plx.set(np.datetime64("2014-05", "M"), "month", 2) == np.datetime64("2014-02", "M")
    assert plx.set(np.datetime64("2014", "Y"), "year", 1) == np.datetime64("0001", "Y")
    assert plx.set(np.datetime64("2014-05-31", "25D"), "year", "2014") == np.datetime64("2014-05-31", "25D")


def test_pairs_with_names():
    Pair = collections.namedtuple("Pair", "high low")
    pair = Pair(np.array([0.0, 1.0]), np.array([2.0**-40, 0.0]))
    expected = plx.set(tuple(pair), "day", 2)
    for results in (plx.set(pair, "day", 2), plx.set(tuple(pair), "day", 2, out=Pair(np.zeros(2), np.zeros(2)))):
        assert len(results) == 2 and all(same_bits(one, other) for one, other in zip(results, expected))
    assert plx.get(pair, "day").tolist() == [1, 1]


def test_scalars_stay_scalars():
    assert type(plx.set(T[0], "day", 1)) is np.datetime64
    assert type(plx.set(0.0, "day", 2)) is np.float64
    assert plx.set(0j, "day", 2) == 86400000 and type(plx.set(0j, "day", 2)) is np.complex128
    high, low = plx.set((0.0, 2.0**-40), "day", 2)
    assert (high, low) == (86400000, 2.0**-40) and type(high) is np.float64
    single = plx.set(np.array(T[0]), "day", 1)
    assert type(single) is np.ndarray and single.shape == ()
    assert plx.set([T[0], T[2]], "day", 1).tolist() == plx.set(T[::2], "day", 1).tolist()


# -------------------------------------------------------------------------------------- memory for results


def test_out():
    expected = plx.set(T, "day", 1)
    out = np.empty_like(T)
    assert plx.set(T, "day", 1, out=out) is out and same_bits(out, expected)
    x = T.copy()
    assert plx.set(x, "day", 1, out=x) is x and same_bits(x, expected)
    pair = (np.array([0.0, 1.0]), np.array([2.0**-40, 0.0]))
    again = plx.set(pair, "day", 2, out=pair)
    assert again is pair and pair[0].tolist() == [86400000.0, 86400001.0] and pair[1].tolist() == [2.0**-40, 0.0]
    wide = np.zeros((3, 2), T.dtype)
    plx.set(T, "day", 1, out=wide[:, 1])
    assert same_bits(wide[:, 1].copy(), expected) and not wide[:, 0].astype(np.int64).any()


def test_out_that_overlaps_otherwise_is_as_if_it_did_not():
    with Cases(8) as cases:
        for step in (1, 2, 3, 5):
            for make in (lambda b: (b[step:], b[:-step]), lambda b: (b[:-step], b[step:])):
                memory = random_datetimes(40, "s")
                x, out = make(memory)
                expected = plx.set(x.copy(), "month", 5)
                plx.set(x, "month", 5, out=out)
                assert np.array_equal(out, expected)
                cases.add()
    memory = random_datetimes(40, "s")
    expected = plx.set(memory.copy(), "month", 5)
    plx.set(memory, "month", 5, out=memory[::-1])
    assert np.array_equal(memory[::-1], expected)
    # Values that stand where results go.
    values = np.arange(1, 21)
    x = random_datetimes(20, "s")
    expected = plx.set(x, "day", values.copy())
    plx.set(x, "day", values, out=values.view("M8[s]"))
    assert np.array_equal(values.view("M8[s]"), expected)


def test_out_of_another_kind_is_refused():
    for out, kind, text in [
        (np.empty(3, "M8[s]"), TypeError, r"datetime64\[s\]; accepted: datetime64\[m\]"),
        (T.astype(">M8[m]"), TypeError, "accepted: datetime64"),
        ([1, 2, 3], TypeError, "a list"),
        ((T, T), TypeError, "a tuple"),
        (np.empty(2, T.dtype), plx.Error, r"shape \(2,\), for datetimes of shape \(3,\)"),
        (_read_only(T), ValueError, "read-only"),
    ]:
        with pytest.raises(kind, match=text):
            plx.set(T, "day", 1, out=out)
    with pytest.raises(TypeError, match="an array"):
        plx.set((np.zeros(1), np.zeros(1)), "day", 1, out=np.zeros(1))


def test_an_error_leaves_what_follows():
    x = random_datetimes(100, "s")
    with Cases(100) as cases:
        for wrong in range(100):
            values = np.ones(100)
            values[wrong:] = 1.5
            out = np.zeros(100, x.dtype)
            with pytest.raises(plx.NotWhole) as error:
                plx.set(x, "day", values, out=out)
            assert (error.value.index, error.value.written) == (wrong, wrong)
            assert same_bits(out[:wrong], plx.set(x[:wrong], "day", 1)) and not out[wrong:].astype(np.int64).any()
            cases.add()
    with pytest.raises(plx.NotWhole) as error:
        plx.set(x, "day", values)
    assert (error.value.index, error.value.written) == (99, 0)
    with pytest.raises(plx.NotWhole) as error:
        plx.set(x.reshape(4, 25), "day", np.where(np.arange(100) == 60, 0.5, 1).reshape(4, 25))
    assert error.value.index == (2, 10) and str(error.value).startswith("element (2, 10): not a whole number")


# ----------------------------------------------------------------------------------- masks and subclasses


def test_masked():
    x = np.ma.array(T, mask=[False, False, True])
    result = plx.set(x, "day", [1, 2, 1.5])
    assert isinstance(result, np.ma.MaskedArray) and result.mask.tolist() == [False, False, True]
    assert same_bits(result.data, np.array([plx.set(T[0], "day", 1), T[1], T[2]]))
    assert not np.shares_memory(result.mask, x.mask) and same_bits(x.data, T)
    # Without a mask, and with a masked value.
    assert plx.set(np.ma.array(T), "day", 1).mask is np.ma.nomask
    result = plx.set(T, "day", np.ma.array([1, 2, 1.5], mask=[0, 1, 1]))
    assert result.mask.tolist() == [False, True, True] and same_bits(result.data[1:], T[1:])
    result = plx.set(x, "day", np.ma.array([1, 2, 1.5], mask=[1, 0, 0]))
    assert result.mask.tolist() == [True, False, True]
    # One masked value for all, whatever stands below its mask and behind it in memory.
    for value in (np.ma.masked, np.ma.array(1.5, mask=True), np.ma.array([1.5], mask=[True])):
        for t in (T, np.repeat(T, 1000).reshape(3, -1), np.zeros((2, 0), "M8[s]")):
            result = plx.set(t, "day", value)
            assert result.mask.shape == t.shape and result.mask.all() and same_bits(result.data, t)
    assert plx.set(T, "day", np.ma.array(2, mask=False)).mask.tolist() == [False] * 3
    # What masked arrays give for an element that is masked.
    assert plx.set(x[2], "day", 1) is np.ma.masked
    # An element that no setting can take, below a mask.
    far = np.ma.array(np.array([2**62, 0], "M8[s]"), mask=[True, False])
    assert plx.set(far, "day", 2)[1] == np.datetime64("1970-01-02")
    with pytest.raises(plx.OutOfRange):
        plx.set(far.data, "year", 2014, zone="Europe/Paris")
    out = np.ma.array(np.zeros(3, T.dtype))
    assert plx.set(x, "day", 1, out=out) is out and out.mask.tolist() == [False, False, True]
    # What was masked there is not, once it is set.
    for given, mask in ((T, [False] * 3), (np.ma.array(T), [False] * 3), (x, [False, False, True])):
        out = np.ma.array(np.zeros(3, T.dtype), mask=[True, True, False])
        assert plx.set(given, "day", 1, out=out).mask.tolist() == mask
    high, low = plx.set((np.ma.array([0.0, 1.0], mask=[1, 0]), np.array([0.0, 0.0])), "day", 2)
    assert high.mask.tolist() == [True, False] and high[1] == 86400001 and low[1] == 0


def test_subclasses():
    class Labelled(np.ndarray):
        label = None

        def __array_finalize__(self, other):
            self.label = getattr(other, "label", None)

    x = T.view(Labelled)
    x.label = "seen"
    result = plx.set(x, "day", 1)
    assert type(result) is Labelled and same_bits(result.view(np.ndarray), plx.set(T, "day", 1))
    assert type(plx.set(np.array([[T[0]]]).view(np.matrix), "day", 1)) is np.matrix
    assert plx.set(x, "month", 2, check="mask")[1].label == "seen"
    # What is read and written as pairs, as `np.isnat` has it.
    for results in (plx.get(x, "day"), *plx.split(x), plx.join(*plx.split(x), x.dtype)):
        assert type(results) is Labelled and results.label == "seen"


# -------------------------------------------------------------------------------------------- what is refused


@pytest.mark.parametrize(
    "x, text",
    [
        (np.array([1, 2]), r"x\.astype\('M8\[ms\]'\)"),
        (np.array([1, 2], "f4"), r"x\.astype\(float\)"),
        (np.array([1, 2], "c8"), r"x\.astype\(complex\)"),
        (np.array([T[0].item()], object), r"np\.array\(x, 'M8\[ms\]'\)"),
        (np.array(["2014-05-31"]), r"np\.array\(x, 'M8\[ms\]'\)"),
        (np.datetime64("NaT"), r"x\.astype\('M8\[ms\]'\)"),
        (np.array([1], "m8[s]"), "timedelta64"),
        (np.zeros(1, [("high", "f8"), ("low", "f8")]), r"\(x\['high'\], x\['low'\]\)"),
        (np.ma.array(np.zeros(1, [("high", "f8"), ("low", "f8")]), mask=True), r"\(x\['high'\], x\['low'\]\)"),
        (3, "np.datetime64"),
        (True, "np.datetime64"),
        ((np.zeros(1),), "a tuple of 1"),
        ((np.zeros(1), np.zeros(1, "f4")), "float64"),
    ],
)
def test_what_is_no_datetime_is_told_how_to_become_one(x, text):
    with pytest.raises(TypeError, match=text):
        plx.set(x, "day", 1)


@pytest.mark.parametrize(
    "value",
    [
        True, [True, False, True], 1j, None, [None, 1, 2], b"last", np.array(["last"] * 3), T, object(),
        np.timedelta64(1, "D"), np.array([1, 2, 3], object), [np.timedelta64(1, "D")] * 3,
        np.ma.array([(1,)] * 3, [("a", "i8")], mask=True),
    ],
)  # fmt: skip
def test_what_is_no_value_is_a_type_error(value):
    with pytest.raises(TypeError, match="value: "):
        plx.set(T, "day", value)


@pytest.mark.parametrize(
    "arguments, options, identifier",
    [
        (("dday", 1), {}, "library:UnknownComponent"),
        ((99, 1), {}, "library:UnknownComponent"),
        (([], 1), {}, "library:UnknownComponent"),
        (("day", "someday"), {}, "library:UnknownValue"),
        (("day", 1.5), {}, "datetime:MustBeInteger"),
        (("day", 1), {"zone": "Europe/Pariss"}, "datetime:UnknownTimeZone"),
        (("day", 1), {"fold": "latest"}, "library:InvalidArgument"),
        (("day", 1), {"fold": []}, "library:InvalidArgument"),
        (("day", 1), {"gap": None}, "library:InvalidArgument"),
        (("day", 1), {"check": True}, "library:InvalidArgument"),
        (("day", 1), {"threads": 0}, "library:InvalidArgument"),
        (("day", 1), {"threads": 1.5}, "library:InvalidArgument"),
        (("day", 2**53 + 1), {}, "library:ValueNotExact"),
        (("day", [1, 2**53 + 1, 1]), {}, "library:ValueNotExact"),
        (("day", [2**70] * 3), {}, "library:ValueNotExact"),
        (("second", 0.5), {}, "library:CannotHold"),
        (("year", 10**15), {}, "library:OutOfRange"),
    ],
)
def test_errors_say_which(arguments, options, identifier):
    with pytest.raises(plx.Error) as error:
        plx.set(T, *arguments, **options)
    assert error.value.identifier == "Pelmor:" + identifier
    assert isinstance(error.value, ValueError) and str(error.value)


def test_whole_numbers_of_any_length_are_told_of():
    for value in (2**62, -(2**62) - 1, 2**64 - 1, 2**70, -(10**400)):
        with pytest.raises(plx.OutOfRange):
            plx.set(T, "day", value)
    assert plx.set(T[0], "day", 2**20) == T[0] + np.timedelta64(2**20 - 31, "D")


def test_texts_do_not_end_early():
    for call in (
        lambda text: plx.set(T, "day", 1, zone="UTC" + text),
        lambda text: plx.get(T, "day", zone="UTC" + text),
        lambda text: plx.set(T, "day", "last" + text),
        lambda text: plx.explain(T[0], "day", "last" + text),
        lambda text: plx.zones("Paris" + text),
    ):
        call("")
        with pytest.raises(ValueError, match="embedded null character"):
            call("\0")


def test_shape_of_nothing():
    for shape in ((0,), (3, 0), (0, 2, 5)):
        for zone in (None, "Europe/Paris"):
            assert plx.set(np.empty(shape, "M8[s]"), "day", 1, zone=zone).shape == shape
    with pytest.raises(plx.UnknownZone):
        plx.set(np.empty(0, "M8[s]"), "day", 1, zone="Europe/Pariss")
    with pytest.raises(plx.Error):
        plx.set(np.empty(0, "M8[s]"), "dday", 1)


def test_checks():
    expected = plx.set(T, "month", 2)
    results, otherwise = plx.set(T, "month", 2, check="mask")
    assert same_bits(results, expected) and otherwise.tolist() == [True, False, False]
    assert np.isnat(plx.set(T, "month", 2, check="nat")).tolist() == [True, True, False]
    with pytest.raises(plx.Refused, match="element 0: there is no 31 February 2014") as error:
        plx.set(T, "month", 2, check="raise")
    assert error.value.index == 0
    assert same_bits(plx.set(T, "month", 1, check="raise"), plx.set(T, "month", 1))
    high, low = plx.set((np.array([0.0]), np.array([0.0])), "month", 13, check="nat")
    assert np.isnan(high).all() and np.isnan(low).all()
    result, mask = plx.set(T[0], "month", 2, check="mask")
    assert type(result) is np.datetime64 and mask


def test_folds_and_gaps():
    # The clocks of New York show 01:30 twice, at 05:30 and at 06:30 in UTC.
    t = np.array(["2014-11-02T05:31", "2014-11-02T06:31"], "M8[m]")
    first, second = np.array(["2014-11-02T05:30", "2014-11-02T06:30"], "M8[m]")
    for fold, expected in [
        ("later", [second, second]),
        ("earlier", [first, first]),
        ("same", [first, second]),
    ]:
        assert plx.set(t, "minute", 30, zone="America/New_York", fold=fold).tolist() == [e.item() for e in expected]
    with pytest.raises(plx.Refused):
        plx.set(t, "minute", 30, zone="America/New_York", fold="error")
    t = np.datetime64("2014-03-09T16:50")
    for gap, expected in [
        ("shift", "2014-03-09T07:50"),
        ("start", "2014-03-09T06:59:59"),
        ("end", "2014-03-09T07:00"),
    ]:
        assert plx.set(t.astype("M8[s]"), "hour", 2, zone="America/New_York", gap=gap) == np.datetime64(expected)
    with pytest.raises(plx.Refused):
        plx.set(t, "hour", 2, zone="America/New_York", gap="error")
