"""Laws that hold for every datetime, component, zone and layout, tried by hypothesis."""

import numpy as np
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as st_np

import plx
from support import COMPONENTS, WHOLE, Cases, same_bits

settings.register_profile(
    "plx",
    max_examples=2000 if WHOLE else 150,
    deadline=None,
    database=None,
    derandomize=not WHOLE,
    suppress_health_check=list(HealthCheck),
)
settings.load_profile("plx")

ZONES = [None, "UTC", "UTCLeapSeconds", "Etc/UTC", "America/New_York", "Australia/Lord_Howe", "Asia/Kolkata", "+05:30"]
# As far as a count of 64 bits goes in each, or to the years 0 to 4000.
LIMITS = {
    "Y": 2000, "M": 24_000, "W": 100_000, "D": 700_000, "h": 17_000_000, "m": 10**9, "s": 6 * 10**10, "ms": 6 * 10**13,
    "us": 6 * 10**16, "ns": 8 * 10**18, "ps": 8 * 10**18, "fs": 8 * 10**18, "as": 8 * 10**18, "25s": 10**9,
}  # fmt: skip
components = st.sampled_from(sorted(COMPONENTS))
zones = st.sampled_from(ZONES)
tallies = {}


def tally(name):
    tallies[name] = tallies.get(name, 0) + 1


@st.composite
def counts(draw, shapes=st_np.array_shapes(min_dims=0, max_dims=3, min_side=0, max_side=4)):
    unit = draw(st.sampled_from(sorted(LIMITS)))
    limit = LIMITS[unit]
    elements = st.one_of(st.integers(-limit, limit), st.just(-(2**63)))
    array = draw(st_np.arrays(np.int64, draw(shapes), elements=elements))
    return array.view(f"M8[{unit}]")


@st.composite
def datetimes(draw):
    """Any kind of datetimes, in any layout."""
    x = draw(counts())
    kind = draw(st.sampled_from(["M8", "c16", "f8", "pair"]))
    if kind != "M8":
        millis = np.where(np.isnat(x), np.nan, x.astype("M8[ms]").astype(np.int64).astype(float))
        # A low part is at most half of the last place of the high part, here in whole 2^-30 ms.
        low = draw(st.sampled_from([0.0, 0.5, 0.3, -0.25])) * np.spacing(np.abs(millis))
        low = np.asarray(np.nan_to_num(np.trunc(low * 2**30) / 2**30))
        x = {"c16": _complex(millis, low), "f8": millis, "pair": (millis, low)}[kind]
    return x


def _complex(high, low):
    array = np.empty(np.shape(high), complex)
    array.real, array.imag = high, low
    return array


@st.composite
def values(draw, component):
    span = COMPONENTS[component]
    return draw(st.integers(span[0], span[-1]))


def laid_out(x, layout):
    """The same elements otherwise in memory."""
    if isinstance(x, tuple):
        return tuple(laid_out(part, layout) for part in x)
    if layout == "swapped":
        return x.astype(x.dtype.newbyteorder())
    if layout == "Fortran":
        return np.array(x, order="F")
    if layout == "backwards":
        turned = np.empty(x.shape, x.dtype)[(..., *(slice(None, None, -1) for _ in x.shape))]
        turned[...] = x
        return turned
    if layout == "packed":
        packed = np.zeros(x.shape, np.dtype([("a", "i1"), ("x", x.dtype), ("b", "i2")]))
        packed["x"] = x
        return packed["x"]
    return x


def parts(x):
    return x if isinstance(x, tuple) else (x,)


def assert_same(a, b):
    for one, other in zip(parts(a), parts(b), strict=True):
        native = np.asarray(one).dtype.newbyteorder("=")
        assert same_bits(np.asarray(one).astype(native), np.asarray(other).astype(native))


def taken(call):
    """The results, or None where some element cannot hold its own."""
    try:
        return call()
    except plx.OutOfRange:
        return None


@given(st.data(), datetimes(), components, zones)
def test_setting_what_was_read_changes_nothing(data, x, component, zone):
    # Setting the quarter goes to its first month.
    if component == "quarter":
        return
    # A double holds seconds of the day to a nanosecond, and not what a low part or a finer unit may have beyond.
    kind = parts(x)[0].dtype
    if component in ("second", "time_of_day") and (kind.kind != "M" or np.datetime_data(kind)[0] in ("ps", "fs", "as")):
        return
    read = taken(lambda: plx.get(x, component, zone=zone))
    if read is None:
        return
    again = taken(lambda: plx.set(x, component, read, zone=zone, fold="same"))
    if again is None:
        return
    # Setting goes from a leap second to the second before it.
    if zone == "UTCLeapSeconds" and (plx.get(x, "second", zone=zone) >= 60).any():
        return
    for one, other in zip(parts(again), parts(x), strict=True):
        assert np.array_equal(one, other, equal_nan=True)
    tally("read")
    if component in ("second", "time_of_day") or zone == "UTCLeapSeconds":
        tally("read rarely")


@given(st.data(), datetimes(), components, zones)
def test_setting_twice_is_setting_once(data, x, component, zone):
    # Within the range in which nothing carries, but for days that a month does not have.
    value = data.draw(st.integers(2, {"quarter": 4, "day_of_week": 7}.get(component, 12)))
    once = taken(lambda: plx.set(x, component, value, zone=zone))
    if once is None or plx.set(x, component, value, zone=zone, check="mask")[1].any():
        return
    # A wall time that is skipped is another one afterwards.
    read = plx.get(once, component, zone=zone)
    if not np.array_equal(read[~np.isnan(read)], np.full(np.count_nonzero(~np.isnan(read)), float(value))):
        return
    assert_same(plx.set(once, component, value, zone=zone), once)
    tally("twice")


@given(st.data(), datetimes(), components, zones, st.sampled_from(["swapped", "Fortran", "backwards", "packed"]))
def test_the_layout_does_not_matter(data, x, component, zone, layout):
    value = data.draw(values(component))
    expected = taken(lambda: plx.set(x, component, value, zone=zone))
    other = laid_out(x, layout)
    results = taken(lambda: plx.set(other, component, value, zone=zone))
    assert (results is None) == (expected is None)
    if expected is None:
        return
    assert_same(results, expected)
    for one, given_part in zip(parts(results), parts(other), strict=True):
        assert np.asarray(one).dtype == given_part.dtype
    assert np.array_equal(
        plx.get(other, component, zone=zone), plx.get(x, component, zone=zone), equal_nan=True
    )
    tally("layout")


@given(st.data(), counts(st.tuples(st.integers(1, 40))), components, zones)
def test_the_order_of_elements_does_not_matter(data, x, component, zone):
    value = np.array(data.draw(st.lists(values(component), min_size=len(x), max_size=len(x))))
    order = np.array(data.draw(st.permutations(range(len(x)))))
    expected = taken(lambda: plx.set(x, component, value, zone=zone))
    results = taken(lambda: plx.set(x[order], component, value[order], zone=zone))
    assert (results is None) == (expected is None)
    if expected is None:
        return
    assert_same(results, expected[order])
    alone = [plx.set(x[i], component, value[i].item(), zone=zone) for i in range(len(x))]
    assert_same(np.array(alone, x.dtype), expected)
    tally("order")


@given(datetimes())
def test_pairs_hold_every_datetime(x):
    if isinstance(x, tuple):
        return
    high, low = plx.split(x)
    if x.dtype != np.float64:
        assert_same(plx.join(high, low, x.dtype), x)
        tally("pairs")


@given(st.data(), datetimes(), components, zones)
def test_masks_hide_what_they_cover(data, x, component, zone):
    value = data.draw(values(component))
    mask = data.draw(st_np.arrays(bool, parts(x)[0].shape))
    masked = tuple(np.ma.array(part, mask=mask) for part in parts(x))
    results = taken(lambda: plx.set(masked if isinstance(x, tuple) else masked[0], component, value, zone=zone))
    expected = taken(lambda: plx.set(x, component, value, zone=zone))
    if expected is None or results is None:
        return
    for one, plain, before in zip(parts(results), parts(expected), parts(x), strict=True):
        assert np.array_equal(np.ma.getmaskarray(one), mask)
        assert same_bits(np.asarray(one)[~mask], np.asarray(plain)[~mask])
        assert same_bits(np.asarray(one)[mask], before[mask])
    tally("masks")


def test_enough_was_tried():
    # The last test of the file: each law met a good part of what was made up for it.
    least = settings.default.max_examples // 4
    assert tallies.get("read rarely", 0) >= least // 8, tallies
    with Cases(6 * least) as cases:
        for name in ("read", "twice", "layout", "order", "pairs", "masks"):
            assert tallies.get(name, 0) >= least, tallies
            cases.add(tallies[name])
