#include "zones/icu_zone.h"

#include <gtest/gtest.h>

#include "support/cases.h"
#include "tools/support/zone_files.h"
#include "zones/system_zones.h"

namespace {

using zones::IcuZone;
using zones::icuZoneOf;
using zones::readZoneFile;

constexpr int kHour = 3600;

IcuZone converted(const std::string& file) { return icuZoneOf(readZoneFile(file)); }

// The numbers are those that ICU's own data has for such rules, or mean the same.
TEST(IcuZone, HasTheFilesRuleInIcusForm) {
  const struct {
    const char* rule;
    int raw;
    IcuZone::Rule expected;
    const char* why;
  } rows[] = {
      {"CET-1CEST,M3.5.0,M10.5.0/3",
       kHour,
       {2, -1, 1, 7200, 0, 9, -1, 1, 10800, 0, kHour},
       "last Sundays"},
      {"EST5EDT,M3.2.0,M11.1.0",
       -5 * kHour,
       {2, 8, -1, 7200, 0, 10, 1, -1, 7200, 0, kHour},
       "second Sunday"},
      {"IST-1GMT0,M10.5.0,M3.5.0/1",
       0,
       {2, -1, 1, 3600, 0, 9, -1, 1, 7200, 0, kHour},
       "negative saving"},
      {"<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
       37800,
       {9, 1, -1, 7200, 0, 3, 1, -1, 7200, 0, 1800},
       "half an hour"},
      {"<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
       -7200,
       {2, 24, -7, 82800, 0, 9, -1, 1, 0, 0, kHour},
       "23:00 the day before"},
      {"EET-2EEST,M3.4.4/50,M10.4.4/50",
       7200,
       {2, 24, -7, 7200, 0, 9, 24, -7, 7200, 0, kHour},
       "two days later"},
      {"EET-2EEST,M4.5.5/0,M10.5.4/24",
       7200,
       {3, -1, 6, 0, 0, 9, -1, 5, 86400, 0, kHour},
       "the end of the last Thursday, before 1 November in some years"},
      {"<-04>4<-03>,M9.1.6/24,M4.1.6/48",
       -4 * kHour,
       {8, 1, -7, 86400, 0, 3, 2, -1, 86400, 0, kHour},
       "24:00, and a day later"},
      {"AAA0BBB,J59/24,M10.5.0/3",
       0,
       {1, 28, 0, 86400, 0, 9, -1, 1, 10800, 0, kHour},
       "the end of 28 February"},
      {"AAA0BBB,J100,J300/0", 0, {3, 10, 0, 7200, 0, 9, 27, 0, 0, 0, kHour}, "days of the month"},
      {"AAA0BBB,40,M11.1.0", 0, {1, 10, 0, 7200, 0, 10, 1, -1, 7200, 0, kHour}, "before leap days"},
      {"AAA0BBB,M2.5.0,M11.1.0",
       0,
       {1, -1, 1, 7200, 0, 10, 1, -1, 7200, 0, kHour},
       "last of February"},
  };
  Cases cases(12);
  for (const auto& row : rows) {
    const IcuZone zone = converted(zoneFile(row.raw, {}, row.rule));
    ASSERT_TRUE(zone.final) << row.rule;
    EXPECT_EQ(zone.final->rule, row.expected) << row.rule << ": " << row.why;
    EXPECT_EQ(zone.final->raw, row.raw);
    // ICU lists no changes of a zone that has a rule alone.
    EXPECT_EQ(zone.final->year, 1801);
    EXPECT_EQ(zone.changes.size(), 2u);
    ++cases;
  }
}

// What is listed ends with the last year that is.
TEST(IcuZone, EveryRuleOfTheSystemsHasIcusForm) {
  const zones::SystemZones system(zones::systemZonesFolder());
  // Of Debian 13's names 143 have one; those of yesterday stand in a package of their own there.
  Cases cases(130);
  for (const std::string& name : system.names()) {
    const auto file = system.zone(name);
    if (!file->rule || !file->rule->hasChanges()) continue;
    EXPECT_TRUE(icuZoneOf(*file).final) << name;
    ++cases;
  }
}

TEST(IcuZone, ListsWhatIcuHasNoFormFor) {
  const struct {
    const char *rule, *why;
  } rows[] = {
      {"AAA0BBB,M2.5.0/25,M11.1.0", "the day after the last Sunday of February"},
      {"AAA0BBB,M10.5.0/25,M3.1.0", "may be 1 November"},
      {"AAA0BBB,M3.1.0/-1,M11.1.0", "may be the last day of February"},
      {"AAA0BBB,100,300", "a day earlier in leap years"},
      {"AAA0BBB,M3.1.0,M3.5.0", "twice in a month"},
      {"AAA0BBB,J1/0,M10.5.0", "begins with the year"},
  };
  Cases cases(6);
  for (const auto& row : rows) {
    const IcuZone zone = converted(zoneFile(0, {}, row.rule));
    EXPECT_FALSE(zone.final) << row.rule << ": " << row.why;
    EXPECT_EQ(zone.changes.size(), 2u * 701) << row.rule;
    ++cases;
  }
}

// From its own year on a rule holds; all before is listed.
TEST(IcuZone, TheRuleBeginsWithAYear) {
  // 2000-03-26 and 2000-10-29 by the rule; 1999-12-01 not.
  const IcuZone zone =
      converted(zoneFile(0, {{944006400, kHour}, {954032400, 2 * kHour}, {972781200, kHour}},
                         "CET-1CEST,M3.5.0,M10.5.0/3"));
  ASSERT_TRUE(zone.final);
  EXPECT_EQ(zone.final->year, 2000);
  ASSERT_EQ(zone.changes.size(), 1u);
  EXPECT_EQ(zone.changes[0].second, 944006400);

  // 1999-01-20: clocks stay an hour ahead of the rule until its step of October.
  const IcuZone late = converted(
      zoneFile(0, {{916790400, 2 * kHour}, {941331600, kHour}}, "CET-1CEST,M3.5.0,M10.5.0/3"));
  ASSERT_TRUE(late.final);
  EXPECT_EQ(late.final->year, 2000);
  EXPECT_EQ(late.changes.size(), 2u);
}

// A step at the very beginning of a year belongs to the list and to the rule.
TEST(IcuZone, ListsARuleWithAStepAsTheYearBegins) {
  const struct {
    int offset;
    const char* rule;
    std::size_t changes;  // to the end of 2500
  } rows[] = {{0, "AAA0BBB,J1/0,M10.5.0", 2 * 531},
              {5 * kHour, "AAA-5BBB,J1/5,M10.5.0", 2 * 531},
              {0, "AAA0BBB,M3.2.0,J1/1", 2 * 530 + 1}};
  Cases cases(3);
  for (const auto& row : rows) {
    // 1970-07-01, in saving.
    const IcuZone zone =
        converted(zoneFile(row.offset, {{15638400, row.offset + kHour}}, row.rule));
    EXPECT_FALSE(zone.final) << row.rule;
    EXPECT_EQ(zone.changes.size(), row.changes) << row.rule;
    ++cases;
  }
}

// Saving that begins as it ends is no step, and no year has one.
TEST(IcuZone, SavingAllYearIsOneOffset) {
  const IcuZone zone = converted(zoneFile(-3 * kHour, {}, "XXX3EDT4,0/0,J365/23"));
  EXPECT_FALSE(zone.final);
  for (const std::int64_t second :
       {std::int64_t{-5364662400}, std::int64_t{0}, std::int64_t{1704067200}}) {
    std::size_t type = 0;
    for (const auto& change : zone.changes)
      if (change.second <= second) type = change.type;
    EXPECT_EQ(zone.types[type].raw + zone.types[type].saving, -4 * kHour) << second;
  }
}

// However long ago a rule began.
TEST(IcuZone, RulesAreListedFromTheYearBefore1800On) {
  Cases cases(2);
  for (const char* rule : {"AAA0BBB,M3.5.0,M10.5.0", "AAA0BBB,100,300"}) {
    const IcuZone zone = converted(zoneFile(0, {{-281474976710656, 0}}, rule));
    ASSERT_FALSE(zone.changes.empty()) << rule;
    EXPECT_GE(zone.changes.front().second, -5396198400) << rule;  // 1799-01-01
    EXPECT_LE(zone.changes.front().second, -5364662400) << rule;
    EXPECT_LE(zone.changes.size(), 2u * 702 + 1) << rule;
    ++cases;
  }
}

TEST(IcuZone, SavingIsNeverNegative) {
  // As Casablanca's file has it: standard time is an hour ahead, and a month of each year saves an hour less.
  zones::ZoneFile file;
  file.types = {{0, false}, {kHour, false}, {0, true}};
  file.changes = {{100, 1}, {1000, 2}, {2000, 1}};
  const IcuZone zone = icuZoneOf(file);
  ASSERT_EQ(zone.changes.size(), 3u);
  const IcuZone::Type expected[] = {{kHour, 0}, {0, 0}, {0, kHour}};
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(zone.types[zone.changes[i].type], expected[i]) << i;
}

}  // namespace
