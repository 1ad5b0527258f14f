#include "timezone/time_zone.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/datetime_arrays.h"
#include "support/raised.h"
#include "timezone/iso_offset.h"

namespace {

using Zone = std::unique_ptr<icu::TimeZone>;

TEST(GetTimeZone, NoZoneAndTheLeapSecondFlag) {
  const struct {
    const char* text;
    bool leapSeconds;
  } rows[] = {{"", false},
              {"UTC", false},
              {"utc", false},
              {"UTCLeapSeconds", true},
              {"utcleapseconds", true},
              {"UTCLEAPSECONDS", true}};
  for (const auto& r : rows) {
    bool leapSeconds = !r.leapSeconds;  // set in any case
    EXPECT_EQ(getTimeZone(text(r.text).get(), leapSeconds), nullptr) << r.text;
    EXPECT_EQ(leapSeconds, r.leapSeconds) << r.text;
  }
}

TEST(GetTimeZone, Zones) {
  paSetLocale("en_US", nullptr);  // the spelling of offsets follows it
  for (const char* name :
       {"America/New_York", "Etc/UTC", "GMT", "GMT+3", "UTC+05:30", "Z", "local"}) {
    bool leapSeconds = true;
    const Zone zone(getTimeZone(text(name).get(), leapSeconds));
    EXPECT_NE(zone, nullptr) << name;
    EXPECT_FALSE(leapSeconds) << name;
  }
}

TEST(GetTimeZone, UnknownZonesCarryTheText) {
  for (const char* name : {"Etc/Unknown", "eTc/uNKNOWN", "America/NewYork", "+05:00x"}) {
    bool leapSeconds = true;
    const auto raised = raisedBy([&] { getTimeZone(text(name).get(), leapSeconds); });
    ASSERT_TRUE(raised) << name;
    EXPECT_EQ(raised->identifier, "Pelmor:datetime:UnknownTimeZone");
    ASSERT_EQ(raised->arguments.size(), 1u);
    EXPECT_EQ(raised->arguments[0], name);
    EXPECT_FALSE(leapSeconds) << "cleared on entry";
  }
}

TEST(ParseISOTimeZone, OffsetsOnly) {
  paSetLocale("en_US", nullptr);
  const struct {
    const char* text;
    int seconds;
  } rows[] = {{"UTC+5", 18000},  {"UTC+05:30", 19800}, {"UTC+5:30:15", 19815},
              {"+05:30", 19800}, {"-0800", -28800},    {"Z", 0},
              {"UTC", 0},        {"UTC-00:30", -1800}};
  for (const auto& r : rows) {
    const Zone zone(parseISOTimeZone(text(r.text).get()));
    ASSERT_NE(zone, nullptr) << r.text;
    EXPECT_EQ(zone->getRawOffset(), r.seconds * 1000) << r.text;
  }
  for (const char* none : {"Europe/Paris", "+05:00x", "UTC+5 ", " +05:00", "x", "5"}) {
    EXPECT_EQ(Zone(parseISOTimeZone(text(none).get())), nullptr) << none;
  }
}

}  // namespace
