"""Time zones: as texts and as the tzinfo of four libraries; compared with datetime.replace."""

import datetime
import subprocess
import sys
import zoneinfo

import dateutil.tz
import numpy as np
import pytest
import pytz

import plx
from plx._zone import system_release
from support import Cases, random_datetimes, same_bits

T = random_datetimes(50, "s")


@pytest.mark.parametrize(
    "zone, text",
    [
        (zoneinfo.ZoneInfo("Europe/Paris"), "Europe/Paris"),
        (pytz.timezone("Europe/Paris"), "Europe/Paris"),
        (pytz.timezone("Europe/Paris").localize(datetime.datetime(2014, 7, 1)).tzinfo, "Europe/Paris"),
        (dateutil.tz.gettz("Europe/Paris"), "Europe/Paris"),
        (datetime.timezone.utc, "UTC"),
        (zoneinfo.ZoneInfo("Etc/UTC"), "Etc/UTC"),
        (pytz.utc, "UTC"),
        (dateutil.tz.UTC, "UTC"),
        (datetime.timezone(datetime.timedelta(hours=5, minutes=30)), "+05:30"),
        (datetime.timezone(-datetime.timedelta(hours=3, minutes=30), "Newfoundland"), "-03:30"),
        (pytz.FixedOffset(90), "+01:30"),
        (dateutil.tz.tzoffset("x", -3600), "-01:00"),
        (np.str_("Europe/Paris"), "Europe/Paris"),
        ("", None),
    ],
)
def test_zones_of_every_library(zone, text):
    for component in ("hour", "day_of_week"):
        expected = plx.set(T, component, 3, zone=text)
        assert same_bits(plx.set(T, component, 3, zone=zone), expected)
        assert same_bits(plx.get(T, component, zone=zone), plx.get(T, component, zone=text))
    assert plx.explain(T[0], "hour", 3, zone=zone) == plx.explain(T[0], "hour", 3, zone=text)


class Keyless(datetime.tzinfo):
    def utcoffset(self, _):
        return datetime.timedelta(hours=1)


def test_zones_without_a_key_are_a_type_error():
    with open("/usr/share/zoneinfo/Europe/Paris", "rb") as file:
        without_key = zoneinfo.ZoneInfo.from_file(file)
    fraction = datetime.timezone(datetime.timedelta(microseconds=1))
    with Cases(7) as cases:
        for zone in (without_key, Keyless(), dateutil.tz.tzlocal(), fraction, 3, b"UTC", ["UTC"]):
            with pytest.raises(TypeError, match="zone: "):
                plx.set(T, "hour", 3, zone=zone)
            cases.add()


def replaced(instant, zone, component, value, fold):
    """datetime.replace on the wall clock, and back: None where the wall time is skipped."""
    local = instant.astimezone(zone)
    changed = local.replace(**{component: value}, fold=fold)
    back = changed.astimezone(datetime.timezone.utc)
    if back.astimezone(zone).replace(tzinfo=None, fold=0) != changed.replace(tzinfo=None, fold=0):
        return None
    return back


@pytest.mark.parametrize("name", ["America/New_York", "Europe/Paris", "Australia/Lord_Howe", "Asia/Kolkata"])
def test_replace_with_fold(name):
    zone = zoneinfo.ZoneInfo(name)
    changes = np.array(["2014-03-09T07", "2014-11-02T06", "2014-10-26T01", "2014-03-30T01", "2014-04-05T15"], "M8[s]")
    near = (changes[:, None] + np.arange(-10800, 10800, 423)[None, :]).ravel()
    t = np.concatenate([near, random_datetimes(100, "s", first="1990-01-01", last="2021-12-31")])
    with Cases(4 * 3 * len(t) * 9 // 10) as cases:
        for component, value in (("hour", 1), ("hour", 14), ("minute", 30), ("second", 0)):
            earlier = plx.set(t, component, value, zone=name, fold="earlier")
            later = plx.set(t, component, value, zone=name, fold="later")
            same = plx.set(t, component, value, zone=name, fold="same")
            for i, moment in enumerate(t):
                instant = datetime.datetime.fromtimestamp(int(moment.astype(np.int64)), datetime.timezone.utc)
                first = replaced(instant, zone, component, value, 0)
                if first is None:
                    continue
                second = replaced(instant, zone, component, value, 1)
                before = instant.astimezone(zone).utcoffset()
                kept = first if first.astimezone(zone).utcoffset() == before else second
                for result, expected in ((earlier, first), (later, second), (same, kept)):
                    assert result[i] == np.datetime64(expected.replace(tzinfo=None), "s"), (moment, component, value)
                    cases.add()


def warnings_of(code):
    program = "import warnings; warnings.simplefilter('always')\nimport numpy as np, plx\n" + code
    result = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, check=True)
    return result.stderr


def test_rules_older_than_the_systems_are_warned_of_once(tmp_path):
    assert system_release() is None or system_release()[:2] == "20"
    file = tmp_path / "tzdata.zi"
    begin = f"import plx._zone; plx._zone._SYSTEM_RULES = {str(file)!r}; t = np.array(['2014-05-31'], 'M8[s]')\n"
    zoned = begin + "for _ in range(3): plx.set(t, 'hour', 1, zone='Europe/Paris')\nplx.get(t, 'hour', zone='Asia/Tokyo')"
    unzoned = begin + "plx.set(t, 'hour', 1); plx.set(t, 'hour', 1, zone='+05:30'); plx.set(t, 'day', 1, zone='utc')"
    assert warnings_of(zoned) == ""
    for release, told in (("2000a", False), (plx.versions().rules, False), ("2999z", True)):
        file.write_text(f"# version {release}\n")
        assert warnings_of(unzoned) == ""
        text = warnings_of(zoned)
        assert text.count("RulesWarning") == told
        if told:
            assert "<string>:4" in text and plx.versions().rules in text and release in text
            assert "plx rules update" in text


def test_the_end_of_the_leap_table_is_warned_of_once():
    code = "t = np.array(['2010-05-31', '{}'], 'M8[s]')\nfor _ in range(3): plx.set(t, 'hour', 1, zone='UTCLeapSeconds')"
    assert warnings_of(code.format("2012-08-01")) == ""
    told = warnings_of(code.format("2020-01-01"))
    assert told.count("LeapTableWarning") == 1 and "2012-06-30" in told
    # Reading tells as well.
    code = code.replace("plx.set(t, 'hour', 1, zone", "plx.get(t, 'hour', zone")
    assert "plx.get" in code and warnings_of(code.format("2012-08-01")) == ""
    assert warnings_of(code.format("2020-01-01")).count("LeapTableWarning") == 1
