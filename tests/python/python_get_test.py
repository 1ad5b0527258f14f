"""plx.get, split, join, explain, components, zones, versions."""

import datetime

import numpy as np
import pytest

import plx
from support import UNITS, Cases, random_datetimes, same_bits


def test_get_agrees_with_numpy_and_the_standard_library():
    t = random_datetimes(2000, "ms", first="1600-01-01", last="2400-01-01")
    days = t.astype("M8[D]")
    months = t.astype("M8[M]").astype(np.int64)
    expected = {
        "year": t.astype("M8[Y]").astype(np.int64) + 1970,
        "quarter": months % 12 // 3 + 1,
        "month": months % 12 + 1,
        "day": (days - t.astype("M8[M]").astype("M8[D]")).astype(np.int64) + 1,
        "day_of_year": (days - t.astype("M8[Y]").astype("M8[D]")).astype(np.int64) + 1,
        "day_of_week": (days.astype(np.int64) + 4) % 7 + 1,
        "hour": (t - days).astype(np.int64) // 3600000,
        "minute": (t - days).astype(np.int64) // 60000 % 60,
        "second": (t - days).astype(np.int64) % 60000 / 1000,
        "time_of_day": (t - days).astype(np.int64) / 1000,
    }
    first = (t.astype("M8[Y]").astype("M8[D]").astype(np.int64) + 4) % 7
    expected["week_of_year"] = (expected["day_of_year"] - 1 + first) // 7 + 1
    with Cases(11 * 2000) as cases:
        for component, numbers in expected.items():
            results = plx.get(t, component)
            assert results.dtype == np.float64 and np.array_equal(results, numbers), component
            cases.add(results.size)


def test_get_in_zones():
    t = np.array(["2014-11-02T05:30", "2014-11-02T06:30", "NaT"], "M8[s]")
    assert plx.get(t, "hour", zone="America/New_York").tolist()[:2] == [1, 1]
    assert np.isnan(plx.get(t, "hour")[2])
    assert plx.get(t[0], "hour", zone="+05:30") == 11
    assert type(plx.get(t[0], "hour")) is np.float64
    assert plx.get(t.reshape(3, 1), "minute").shape == (3, 1)
    masked = plx.get(np.ma.array(t, mask=[1, 0, 0]), "minute")
    assert masked.mask.tolist() == [True, False, False] and masked[1] == 30
    # Masked arrays stay such where nothing is masked.
    plain = np.ma.array(t[:2])
    for results in (plx.get(plain, "minute"), *plx.split(plain), plx.set(plain, "day", 1, check="mask")[1]):
        assert isinstance(results, np.ma.MaskedArray) and not np.ma.getmaskarray(results).any()
    assert plx.get(np.empty((0, 2), "M8[s]"), "hour").shape == (0, 2)
    with pytest.raises(plx.UnknownZone):
        plx.get(t, "hour", zone="Europe/Pariss")
    with pytest.raises(plx.OutOfRange) as error:
        plx.get(np.array([0, 2**62], "M8[s]"), "hour", zone="Europe/Paris")
    assert error.value.index == 1


def test_pairs_there_and_back():
    with Cases(len(UNITS) * 1000) as cases:
        for unit in UNITS:
            for x in (random_datetimes(998, "ns", seed=5).astype(f"M8[{unit}]") if unit != "ps" else _picoseconds(),):
                x = np.append(x, [np.datetime64("NaT"), np.datetime64(-1, unit)])
                high, low = plx.split(x)
                assert high.dtype == low.dtype == np.float64
                # The high part is rounded, the low part no more than half of its last place.
                finite = ~np.isnat(x)
                assert np.array_equal((high + low)[finite], high[finite])
                assert same_bits(plx.join(high, low, x.dtype), x), unit
                cases.add(x.size)
    z = np.array([complex(1e12, 2**-20), complex(np.nan, 0)])
    high, low = plx.split(z)
    assert high[0] == 1e12 and low[0] == 2**-20
    assert plx.join(high, low, complex)[0] == z[0]
    assert plx.join(1.5, 0, "M8[us]") == np.datetime64(1500, "us")
    with pytest.raises(plx.OutOfRange) as error:
        plx.join(np.array([1.0, 1.5]), np.zeros(2), "M8[ms]")
    assert error.value.index == 1
    for dtype, text in ((int, "int64"), ("M8", "datetime64"), ("c8", "complex64"), (None, "float64")):
        with pytest.raises(TypeError, match=f"^dtype: {text}; accepted: datetime64 with a unit, complex128$"):
            plx.join(1.5, 0.0, dtype)
    with pytest.raises(TypeError, match="a pair already"):
        plx.split((np.zeros(1), np.zeros(1)))


def _picoseconds():
    return np.random.default_rng(5).integers(-(2**62), 2**62, 998).view("M8[ps]")


def test_explain():
    t = np.datetime64("2014-05-31T08:30")
    explanation = plx.explain(t, "month", 2)
    assert isinstance(explanation, str) and repr(explanation) == str(explanation)
    assert "There is no 31 February 2014" in explanation
    assert explanation._repr_html_().startswith("<div") and "February" in explanation._repr_html_()
    assert "America/New_York" in plx.explain(np.array([t]), "hour", 2, zone="America/New_York")
    earlier, later = (
        plx.explain(np.datetime64("2014-11-02T05:31"), "minute", 30, zone="America/New_York", fold=fold)
        for fold in ("earlier", "later")
    )
    assert earlier != later
    with pytest.raises(plx.Error, match="2 elements; accepted: a single one"):
        plx.explain(np.array([t, t]), "month", 2)
    with pytest.raises(plx.Error):
        plx.explain(t, "month", "nomonth")
    with pytest.raises(plx.Error, match="value: masked"):
        plx.explain(t, "month", np.ma.array(2, mask=True))


def test_lists():
    names = [one.name for one in plx.components()]
    assert len(names) == 11 and names[0] == "year" and "day_of_year" in names
    t = np.datetime64("2014-05-31T08:30:00")
    for one in plx.components():
        assert one.values
        assert plx.set(t, one.name, 1) == plx.set(t, one.selector, 1) == plx.set(t, one.name.replace("_", "-"), 1)
        assert one.takes_fractions == (one.name in ("second", "time_of_day"))
    zones = plx.zones()
    assert len(zones) > 400 and zones == sorted(zones) and "Europe/Paris" in zones
    assert plx.zones("Europe/P*") == [zone for zone in zones if zone.startswith("Europe/P")]
    assert plx.zones("no such zone") == []
    with pytest.raises(TypeError):
        plx.zones(3)
    versions = plx.versions()
    assert versions.plx == plx.__version__ and versions.module.endswith("plx_datetime.so")
    assert datetime.date.fromisoformat(versions.last_leap_second[:10]) >= datetime.date(2012, 6, 30)
    assert versions.rules[:2] == "20"
