#include "datetime/zone.h"

#include <gtest/gtest.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "arith/civil.h"
#include "host/embed.h"
#include "module/module.h"
#include "support/built.h"
#include "support/cases.h"
#include "unzoned/leap_seconds.h"

namespace plx {
namespace {

constexpr int kTimeOfDay = 21;  // its selector

// The text of a wall time or an instant in a zone, there and back.
std::string inZone(const char* zoneText, const char* text) {
  const Zone zone = Zone::named(zoneText);
  Complaint complaint;
  const auto datetime = readDatetime(text, complaint);
  if (!datetime) return complaint.what;
  const auto second = zone.secondOf(*datetime, complaint);
  if (!second) return complaint.what;
  std::string out;
  writeDatetime(out, *datetime, zone.wallTime(*second), datetime->fraction);
  return out;
}

TEST(Zone, WallTimesAroundChangesOfTheClock) {
  const struct {
    const char *zone, *text, *shown, *why;
  } rows[] = {
      {"America/New_York", "2014-03-09T01:59:59", "2014-03-09T01:59:59-05:00", "before the gap"},
      {"America/New_York", "2014-03-09T02:00:00", "2014-03-09T03:00:00-04:00", "its first second"},
      {"America/New_York", "2014-03-09T02:59:59", "2014-03-09T03:59:59-04:00", "its last second"},
      {"America/New_York", "2014-03-09T03:00:00", "2014-03-09T03:00:00-04:00", "after it"},
      {"America/New_York", "2014-11-02T00:59:59", "2014-11-02T00:59:59-04:00",
       "before the overlap"},
      {"America/New_York", "2014-11-02T01:00:00", "2014-11-02T01:00:00-05:00", "the later of two"},
      {"America/New_York", "2014-11-02T01:59:59", "2014-11-02T01:59:59-05:00", "and the last"},
      {"America/New_York", "2014-11-02T01:30-04:00", "2014-11-02T01:30:00-04:00",
       "an offset tells the first of two"},
      {"America/Sao_Paulo", "2017-10-15", "2017-10-15T01:00:00-02:00", "a day without midnight"},
      {"Australia/Lord_Howe", "2014-10-05T02:15", "2014-10-05T02:45:00+11:00", "half an hour"},
      {"Pacific/Apia", "2011-12-30T12:00", "2011-12-31T12:00:00+14:00", "a day left out"},
      {"America/New_York", "1850-01-01", "1850-01-01", "local mean time"},
      {"America/New_York", "1850-01-01T08:00", "1850-01-01T08:00:00-04:56:02", "of whole seconds"},
      {"Europe/Paris", "1500-02-28T24:00", "1500-03-01T00:00:00+00:09:21",
       "Gregorian at all times"},
      {"Europe/Paris", "-0044-03-15T12:00", "-0044-03-15T12:00:00+00:09:21", "and in all years"},
      {"Asia/Kolkata", "2014-05-10T08:30Z", "2014-05-10T14:00:00+05:30", "an instant shown here"},
      {"UTC+5", "2014-05-10T08:30", "2014-05-10T08:30:00+05:00", "an offset as zone"},
      {"utc", "2014-05-10T08:30", "2014-05-10T08:30:00Z", "UTC in any letter case"},
      {"UTC", "2014-05-10T08:30-04:00", "2014-05-10T12:30:00Z", "an instant shown in UTC"},
      {"Z", "2014-05-10T08:30", "2014-05-10T08:30:00+00:00", "a zone of offset zero"},
      {"", "2014-05-10T08:30", "2014-05-10T08:30:00", "plain calendar time"},
  };
  for (const auto& r : rows) EXPECT_EQ(inZone(r.zone, r.text), r.shown) << r.why;
}

TEST(Zone, CalendarsReachTo2To52Milliseconds) {
  for (const char* zone : {"Etc/GMT", "Asia/Kolkata", "America/New_York"}) {
    for (const char* text : {"+144683-05-23T16:29:30Z", "-140744-08-10T07:30:29Z"})
      EXPECT_NE(inZone(zone, text), "out of range") << zone << ' ' << text;
    for (const char* text : {"+144683-05-23T16:29:31Z", "-140744-08-10T07:30:28Z",
                             "+144684-01-01T00:00", "-140745-01-01", "+12330436978418-07-07"})
      EXPECT_EQ(inZone(zone, text), "out of range") << zone << ' ' << text;
  }
  EXPECT_EQ(inZone("UTC", "+12330436978418-07-07T00:00"), "+12330436978418-07-07T00:00:00Z");
  EXPECT_EQ(inZone("UTC", "+12330436978418-07-07T24:00"), "out of range");
}

TEST(Zone, LeapSeconds) {
  const struct {
    const char *text, *shown, *why;
  } rows[] = {
      {"1972-06-30T23:59:59.5", "1972-06-30T23:59:59.5Z", "before the first"},
      {"1972-06-30T23:59:60.5", "1972-06-30T23:59:60.5Z", "the first"},
      {"1972-07-01T00:00:00", "1972-07-01T00:00:00Z", "after it"},
      {"2012-06-30T23:59:60Z", "2012-06-30T23:59:60Z", "the last"},
      {"2012-07-01T05:29:60+05:30", "2012-06-30T23:59:60Z", "the clock of UTC counts"},
      {"2012-07-01T00:00:00", "2012-07-01T00:00:00Z", "after the last"},
      {"2015-06-30T23:59:60", "no leap second was inserted there", "one that is not known"},
      {"2012-06-30T23:58:60", "no leap second was inserted there", "another minute"},
      {"2012-06-29T23:59:60", "no leap second was inserted there", "another day"},
      {"2012-06-30T23:59:60+05:30", "no leap second was inserted there", "another instant"},
      {"1960-06-30T23:59:60", "no leap second was inserted there", "long before the first"},
  };
  for (const auto& r : rows) EXPECT_EQ(inZone("UTCLeapSeconds", r.text), r.shown) << r.why;
  for (const char* zone : {"", "UTC", "Etc/UTC"})
    EXPECT_EQ(inZone(zone, "2012-06-30T23:59:60Z"), "there is no second 60") << zone;
}

TEST(Zone, TheLeapSecondLineHasNoHoles) {
  Cases cases(25 * 20);
  const Zone zone = Zone::named("UTCLeapSeconds");
  DatetimeText form;
  form.separator = 'T';
  for (const double instant : leapInstantsElapsed) {
    std::string last;
    for (int i = -10; i < 10; ++i, ++cases) {
      const int128 second = static_cast<int128>(instant / 1000) + i;
      std::string text;
      Complaint complaint;
      writeDatetime(text, form, zone.wallTime(second), "");
      EXPECT_LT(last, text);  // 60 sorts behind 59
      last = text;
      const auto read = readDatetime(text, complaint);
      ASSERT_TRUE(read) << text;
      EXPECT_TRUE(zone.secondOf(*read, complaint) == second) << text;
    }
  }
}

TEST(Zone, OfADatetimeIsItsOffset) {
  const struct {
    const char *text, *zone;
    bool calendar;
  } rows[] = {
      {"2014-05-10T08:30", "", false},
      {"2014-05-10T08:30Z", "UTC", false},
      {"2014-05-10T08:30+00:00", "+00:00", true},
      {"2014-05-10T08:30-04", "-04:00", true},
      {"2014-05-10T08:30-04:56:02", "-04:56:02", true},
  };
  for (const auto& r : rows) {
    Complaint complaint;
    const Zone zone = Zone::of(*readDatetime(r.text, complaint));
    EXPECT_EQ(zone.text(), r.zone);
    EXPECT_EQ(zone.isCalendar(), r.calendar);
  }
}

class WithModule : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(paSetLocale("en_US", nullptr), 0);
    ASSERT_EQ(::setenv("TZ", "Asia/Tokyo", 1), 0);
  }

  // The second that the module gives for a time of day on the day of a second; nothing for a zone
  // that it does not know.
  std::optional<int128> timeOfDay(const std::string& zone, int128 second, double value) {
    Datetimes datetimes;
    datetimes.push(pairOf(second, ""));
    const auto error = module_.set(datetimes, {value}, kTimeOfDay, zone);
    if (error) {
      EXPECT_STREQ(error->identifier, "Pelmor:datetime:UnknownTimeZone") << zone;
      return std::nullopt;
    }
    return rounded(datetimes.at(0), 9).seconds;
  }

  Module module_{built("plx_datetime.so")};
};

std::optional<Zone> named(const std::string& text) {
  try {
    return Zone::named(text);
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status, Status::unknownName);
    return std::nullopt;
  }
}

std::vector<std::string> spellings() {
  std::vector<std::string> texts = {"",
                                    "UTC",
                                    "utc",
                                    "Utc",
                                    "UTCLeapSeconds",
                                    "utcleapseconds",
                                    "UTCLEAPSECONDS",
                                    "UTCLeap\xC5\xBF"
                                    "econds",  // a long s folds to s
                                    "local",
                                    "Local",
                                    "LOCAL",
                                    "Etc/Unknown",
                                    "etc/unknown",
                                    "ETC/UNKNOWN",
                                    "Etc/Un\xE2\x84\xAAnown",  // the Kelvin sign folds to k
                                    "Etc/UTC",
                                    "etc/utc",
                                    "GMT",
                                    "gmt",
                                    "Z",
                                    "z",
                                    "UT",
                                    "UTC0",
                                    "UTC+0",
                                    "UTC-0",
                                    "utc+5",
                                    "unzoned",
                                    "GMT+3",
                                    "GMT-3:30",
                                    "GMT+0330",
                                    "gmt+3",
                                    "GMT+24",
                                    "GMT+23:59",
                                    "UT+3",
                                    "America/New_York",
                                    "america/new_york",
                                    "America/NewYork",
                                    "Europe/Paris ",
                                    " Europe/Paris",
                                    "Europe/Paris\n",
                                    "EST",
                                    "EST5EDT",
                                    "PST",
                                    "IST",
                                    "JST",
                                    "Mars/Base",
                                    "x",
                                    "+",
                                    "-",
                                    "UTC+",
                                    "0",
                                    "5",
                                    "+5:30",
                                    "+05:30x",
                                    "UTC+05:30 ",
                                    " UTC+5",
                                    "UTC +5",
                                    "UTC+ 5",
                                    "UTC+5.30",
                                    "UTC+5,30",
                                    "\xC2\xA0",
                                    "UTC+\xD9\xA5",
                                    "UTC\xE2\x88\x92"
                                    "5",
                                    "\xE2\x88\x92"
                                    "05:00",
                                    "\xFF",
                                    "\xC3\xA4",
                                    "UTC+05:30:15:00"};
  for (const char* prefix : {"", "UTC", "GMT", "utc", "UT", "Etc/GMT"})
    for (const char* sign : {"+", "-"})
      for (const char* offset :
           {"0",      "00",      "5",        "05",       "14",    "23",   "24",
            "25",     "99",      "5:30",     "05:30",    "0530",  "530",  "05:30:15",
            "053015", "5:30:15", "05:60",    "23:59:59", "24:00", "05:3", "5:3",
            "00:00",  "0000",    "00:00:30", "12345",    "005"})
        texts.push_back(std::string(prefix) + sign + offset);
  return texts;
}

TEST_F(WithModule, ZoneTextsMeanTheSameToToolAndModule) {
  Cases cases(900);
  std::vector<std::string> texts = spellings();
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::StringEnumeration> ids(
      icu::TimeZone::createTimeZoneIDEnumeration(UCAL_ZONE_TYPE_ANY, nullptr, nullptr, status));
  ASSERT_TRUE(U_SUCCESS(status));
  while (const char* id = ids->next(nullptr, status)) texts.emplace_back(id);

  for (const std::string& text : texts) {
    for (const int128 noon : {int128{1404216000}, int128{-3000000000}}) {
      const auto zone = named(text);
      // In place of `local` the tool gives the module an identifier.
      const auto midnight = timeOfDay(zone ? zone->text() : text, noon, 0);
      ASSERT_EQ(midnight.has_value(), zone.has_value()) << '"' << text << '"';
      if (!zone) continue;
      // Where the module set midnight, the tool's clock shows it.
      EXPECT_EQ(static_cast<int>(floorDiv(zone->wallTime(*midnight).seconds, 86400).remainder), 0)
          << '"' << text << '"';
    }
    ++cases;
  }
}

TEST_F(WithModule, OffsetsOfDatetimesAreZonesToTheModule) {
  Cases cases(2'000);
  std::mt19937 random(1);
  std::uniform_int_distribution<int> offsets(-86399, 86399);
  for (int i = 0; i < 2'000; ++i, ++cases) {
    DatetimeText datetime;
    datetime.offset = OffsetForm::numeric;
    datetime.offsetSeconds = i < 3 ? i - 1 : i % 2 ? offsets(random) : offsets(random) / 60 * 60;
    const Zone zone = Zone::of(datetime);
    const auto midnight = timeOfDay(zone.text(), 1404216000, 0);
    ASSERT_TRUE(midnight) << zone.text();
    EXPECT_EQ(static_cast<int>(floorDiv(*midnight + datetime.offsetSeconds, 86400).remainder), 0)
        << zone.text();
  }
}

// The module sets a time of day on a day; the tool reads the text of that wall time.
TEST_F(WithModule, WallTimesAreReadAsTheModuleSetsThem) {
  Cases cases(30 * 400);
  const char* zones[] = {"America/New_York", "Europe/Paris",      "Europe/Dublin",
                         "Asia/Kolkata",     "Asia/Tehran",       "Australia/Lord_Howe",
                         "Australia/Sydney", "America/Sao_Paulo", "America/St_Johns",
                         "America/Caracas",  "Africa/Casablanca", "Africa/Monrovia",
                         "Pacific/Apia",     "Pacific/Auckland",  "Pacific/Chatham",
                         "Asia/Pyongyang",   "Asia/Kathmandu",    "Asia/Gaza",
                         "Europe/London",    "Europe/Moscow",     "Europe/Istanbul",
                         "Antarctica/Troll", "America/Havana",    "America/Asuncion",
                         "America/Santiago", "Asia/Beirut",       "Asia/Amman",
                         "Atlantic/Azores",  "UTC+05:30:15",      "GMT-11"};
  std::mt19937_64 random(2);
  for (const char* zoneText : zones) {
    const Zone zone = Zone::named(zoneText);
    for (int i = 0; i < 400; ++i) {
      // Half of them around midnights in spring and autumn, where clocks change.
      const bool near = i % 2 == 0;
      DatetimeText wall;
      wall.separator = 'T';
      wall.day = std::uniform_int_distribution<std::int64_t>(near ? 0 : -60'000, 20'000)(random);
      const int hours = near ? 4 : 24;
      wall.secondOfDay = static_cast<int>(random() % static_cast<unsigned>(hours * 3600));
      if (near) {
        const double year = dateOf(static_cast<double>(wall.day)).year;
        const int months[] = {3, 4, 9, 10, 11};
        wall.day = static_cast<std::int64_t>(
            ymd2days(year, months[random() % 5], static_cast<double>(1 + random() % 31)));
      }
      DatetimeText noon = wall;
      noon.secondOfDay = 43200;
      Complaint complaint;
      const auto read = zone.secondOf(wall, complaint);
      const auto day = zone.secondOf(noon, complaint);
      ASSERT_TRUE(read && day);
      // A day that a zone left out has no noon to set out from.
      if (zone.wallTime(*day).seconds != int128{wall.day} * 86400 + 43200) continue;
      const auto set = timeOfDay(zoneText, *day, wall.secondOfDay);
      ASSERT_TRUE(set);
      ASSERT_TRUE(*read == *set) << zoneText << " day " << wall.day << " at " << wall.secondOfDay;
      ++cases;
    }
  }
}

}  // namespace
}  // namespace plx
