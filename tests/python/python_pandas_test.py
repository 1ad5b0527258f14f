"""The accessors of pandas: what is kept, what comes from the dtype, and what differs from pandas's own replace."""

import subprocess
import sys
import warnings

import numpy as np
import pandas as pd
import pytest

import plx
import plx.pandas
from support import Cases, random_datetimes, same_bits

NEW_YORK = "America/New_York"


def moments(count=200, zone=None, **options):
    t = pd.DatetimeIndex(random_datetimes(count, "ns", **options)).rename("seen")
    return t.tz_localize("UTC").tz_convert(zone) if zone else t


@pytest.mark.parametrize("zone", [None, "UTC", NEW_YORK, "Asia/Kolkata", "+05:30"])
def test_what_is_kept(zone):
    t = moments(zone=zone)
    t = t.insert(3, pd.NaT)
    labels = pd.Index(np.arange(len(t))[::-1] * 2, name="label")
    s = pd.Series(t, index=labels, name="seen")
    s.attrs["from"] = "a buoy"
    with Cases(6) as cases, warnings.catch_warnings():
        # Of what pandas is about to drop, for one.
        warnings.simplefilter("error")
        warnings.simplefilter("ignore", plx.RulesWarning)
        for component, value in (("day", 1), ("hour", 3), ("minute", "last")):
            result = s.plx.set(component, value)
            assert result.dtype == s.dtype and result.name == "seen" and result.attrs == {"from": "a buoy"}
            assert result.index is s.index or result.index.equals(s.index)
            index = t.plx.set(component, value)
            assert isinstance(index, pd.DatetimeIndex) and index.dtype == t.dtype and index.name == "seen"
            assert pd.DatetimeIndex(result).equals(index) and index.isna().tolist() == t.isna().tolist()
            cases.add(2)
    assert s.equals(pd.Series(t, index=labels, name="seen"))
    read = s.plx.get("day")
    assert read.dtype == np.float64 and read.name == "seen" and read.index.equals(s.index)
    assert read.equals(s.dt.day.astype(float))
    assert t.plx.get("hour").equals(pd.Index(t.hour, name="seen"))


@pytest.mark.parametrize("zone", [None, NEW_YORK, "Australia/Lord_Howe"])
def test_replace_of_every_timestamp(zone):
    t = moments(400, zone, first="1980-01-01", last="2020-01-01")
    with Cases(400 * 4) as cases:
        for component, value in (("year", 2015), ("day", 3), ("hour", 12), ("minute", 5)):
            if component == "year":
                t_of = t[~((t.month == 2) & (t.day == 29))]
            else:
                t_of = t
            expected = pd.DatetimeIndex([one.replace(**{component: value}) for one in t_of])
            assert t_of.plx.set(component, value).equals(expected), component
            cases.add(len(t))


@pytest.mark.parametrize(
    "before, component, value, after, later, replaced",
    [
        ("2014-11-02 01:30-04:00", "minute", 0, "2014-11-02 01:00-04:00", "2014-11-02 01:00-05:00", "2014-11-02 01:00-04:00"),
        ("2014-11-02 01:30-05:00", "minute", 0, "2014-11-02 01:00-05:00", "2014-11-02 01:00-05:00", "2014-11-02 01:00-05:00"),
        ("2014-11-02 05:00-05:00", "hour", 1, "2014-11-02 01:00-05:00", "2014-11-02 01:00-05:00", "2014-11-02 01:00-04:00"),
        ("2014-03-09 12:30-04:00", "hour", 2, "2014-03-09 03:30-04:00", "2014-03-09 03:30-04:00", "2014-03-09 02:30-04:00"),
    ],
)
def test_nights_in_which_clocks_change(before, component, value, after, later, replaced):
    t = pd.DatetimeIndex([before]).tz_convert(NEW_YORK)
    assert t.plx.set(component, value)[0] == pd.Timestamp(after)
    assert t.plx.set(component, value, fold="later")[0] == pd.Timestamp(later)
    # What the page says of pandas: one by one, from a timestamp that knows which of the two it is.
    # As text: one of them says a time that no clock shows.
    by_pandas = pd.Timestamp(before).tz_convert(NEW_YORK).replace(**{component: value})
    assert str(by_pandas) == replaced.replace(":00-", ":00:00-").replace(":30-", ":30:00-")
    explained = t.plx.explain(component, value)
    assert pd.Timestamp(after).strftime("%H:%M") in explained and "America/New_York" in explained


def test_what_pandas_says_of_the_same_nights():
    with pytest.raises(ValueError, match="day is out of range"):
        pd.Timestamp("2014-05-31", tz=NEW_YORK).replace(month=2)
    for wall in ("2014-11-02 01:00", "2014-03-09 02:30"):
        with pytest.raises(Exception, match=wall):
            pd.DatetimeIndex([wall]).tz_localize(NEW_YORK)


def test_the_zone_comes_from_the_dtype():
    naive, aware = moments(5), moments(5, NEW_YORK)
    with pytest.raises(TypeError, match="localise them first"):
        naive.plx.set("hour", 3, zone=NEW_YORK)
    with pytest.raises(TypeError, match="localise them first"):
        pd.Series(naive).plx.get("hour", zone=NEW_YORK)
    with pytest.raises(TypeError, match="convert them first"):
        aware.plx.set("hour", 3, zone="Europe/Paris")
    assert aware.plx.set("hour", 3).hour.tolist() == [3] * 5


def test_values():
    s = pd.Series(moments(4))
    plain = [1, 2, 3, 4]
    expected = s.plx.set("day", plain)
    for value in (
        np.array(plain),
        pd.Series(plain),
        pd.Series(plain, dtype="Int64"),
        pd.Series(plain, dtype="float32"),
        pd.Series(plain[::-1], index=[3, 2, 1, 0]),
        pd.array(plain, dtype="UInt8"),
        pd.Index(plain),
    ):
        assert s.plx.set("day", value).equals(expected), type(value)
    with warnings.catch_warnings():
        warnings.simplefilter("error", FutureWarning)  # of names that a later pandas drops
        s.plx.set("day", pd.Series(plain))
    missing = s.plx.set("day", pd.Series([1, None, 3], dtype="Int64"))
    assert missing.isna().tolist() == [False, True, False, True]
    assert missing[0] == expected[0]
    with pytest.raises(plx.Error) as error:
        s.plx.set("day", [1, 2, 3])
    assert error.value.identifier == "Pelmor:library:ShapeMismatch"
    with pytest.raises(plx.NotWhole) as error:
        s.plx.set("day", [1, 2, 3.5, 4])
    assert error.value.index == 2


def test_checks_and_threads():
    s = pd.Series(pd.to_datetime(["2014-05-31", "2014-05-01"]), name="seen")
    result, otherwise = s.plx.set("month", 2, check="mask", threads=2)
    assert otherwise.tolist() == [True, False] and otherwise.name == "seen" and otherwise.dtype == bool
    assert result.equals(s.plx.set("month", 2))
    assert s.plx.set("month", 2, check="nat").isna().tolist() == [True, False]
    with pytest.raises(plx.Refused):
        s.plx.set("month", 2, check="raise")
    assert "no 31 February" in s[:1].plx.explain("month", 2)


def test_the_rest():
    with pytest.raises(AttributeError, match="datetimelike"):
        pd.Series([1, 2]).plx
    with pytest.raises(AttributeError, match="datetimelike"):
        pd.Index(["a"]).plx
    for kind in ("category", object):
        s = pd.Series(moments(3, NEW_YORK)).astype(kind)
        with pytest.raises(AttributeError, match="pd.to_datetime reads others"):
            s.plx
        assert pd.to_datetime(s).plx.set("day", 1).dt.day.tolist() == [1] * 3
    assert pd.Series([], dtype="M8[ns]").plx.set("day", 1).empty
    frame = pd.DataFrame({"t": moments(3, NEW_YORK), "n": [1, 2, 3]})
    assert frame.assign(t=frame.t.plx.set("day", frame.n)).t.dt.day.tolist() == [1, 2, 3]
    for x in (frame.t, pd.Index(frame.t)):
        with pytest.raises(TypeError, match="import plx.pandas and write x.plx.set"):
            plx.set(x, "day", 1)
    # What has no accessor is not told to use it, and what would be objects is told how to be none.
    for x, text in (
        (pd.Timestamp("2014-05-31"), r"give x\.to_numpy\(\)$"),
        (pd.Timestamp("2014-05-31", tz=NEW_YORK), r"give x\.to_numpy\(\)$"),
        (pd.NaT, r"give x\.to_numpy\(\)$"),
        (frame.n.to_frame(), r"give x\.to_numpy\(\)$"),
        (moments(3).array, r"give x\.to_numpy\(\)$"),
        (frame.t, r"or give x\.to_numpy\('M8\[ns\]'\), instants in UTC$"),
        (frame.t.array, r"; give x\.to_numpy\('M8\[ns\]'\), instants in UTC$"),
    ):
        with pytest.raises(TypeError, match=text) as error:
            plx.set(x, "day", 1)
        assert ("x.plx" in str(error.value)) == hasattr(x, "plx")
    assert same_bits(frame.t.to_numpy("M8[ns]"), frame.t.dt.tz_convert(None).to_numpy())
    # plx itself does not ask for pandas.
    code = "import sys, plx; sys.exit('pandas' in sys.modules)"
    assert subprocess.run([sys.executable, "-c", code]).returncode == 0
