// Where ICU's own rules and the system's zone files differ, and where they must not.
#include "zones/difference.h"

#include <gtest/gtest.h>
#include <unicode/ucal.h>

#include <iostream>
#include <optional>
#include <set>
#include <string>

#include "support/cases.h"
#include "support/every_zone.h"
#include "zones/rules_file.h"
#include "zones/system_zones.h"

namespace {

constexpr std::int64_t k2100 = 4102444800;

// What changed from 2022e to 2025b, of times since 1970: by decision of a government, in the history that the database
// tells, or because the database merged zones that Debian keeps apart.
const std::set<std::string> kChanged = {"Africa/Cairo",
                                        "Africa/Casablanca",
                                        "Africa/El_Aaiun",
                                        "America/Asuncion",
                                        "America/Bahia_Banderas",
                                        "America/Bogota",
                                        "America/Cambridge_Bay",
                                        "America/Cancun",
                                        "America/Chihuahua",
                                        "America/Godthab",
                                        "America/Hermosillo",
                                        "America/Inuvik",
                                        "America/Iqaluit",
                                        "America/Mazatlan",
                                        "America/Merida",
                                        "America/Mexico_City",
                                        "America/Monterrey",
                                        "America/Nipigon",
                                        "America/Nuuk",
                                        "America/Ojinaga",
                                        "America/Pangnirtung",
                                        "America/Rainy_River",
                                        "America/Rankin_Inlet",
                                        "America/Resolute",
                                        "America/Scoresbysund",
                                        "America/Thunder_Bay",
                                        "America/Yellowknife",
                                        "Antarctica/Casey",
                                        "Antarctica/Vostok",
                                        "Asia/Almaty",
                                        "Asia/Choibalsan",
                                        "Asia/Gaza",
                                        "Asia/Hebron",
                                        "Asia/Kuala_Lumpur",
                                        "Asia/Manila",
                                        "Asia/Qostanay",
                                        "Asia/Singapore",
                                        "Asia/Tehran",
                                        "Atlantic/Azores",
                                        "Atlantic/Madeira",
                                        "Egypt",
                                        "Europe/Lisbon",
                                        "Iran",
                                        "Mexico/BajaSur",
                                        "Mexico/General",
                                        "Pacific/Fiji",
                                        "Portugal",
                                        "Singapore"};
// And from there to 2026f.
const std::set<std::string> kChangedLater = {"America/Edmonton",
                                             "America/Ensenada",
                                             "America/Havana",
                                             "America/Santa_Isabel",
                                             "America/Tijuana",
                                             "America/Vancouver",
                                             "America/Winnipeg",
                                             "Canada/Central",
                                             "Canada/Mountain",
                                             "Canada/Pacific",
                                             "Cuba",
                                             "Europe/Chisinau",
                                             "Europe/Tiraspol",
                                             "Mexico/BajaNorte"};
constexpr const char *kFrom = "2022e", *kTo = "2025b", *kLater = "2026f";

int offsetAt(const icu::BasicTimeZone& zone, std::int64_t second) {
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(static_cast<double>(second) * 1000, false, raw, saving, status);
  EXPECT_TRUE(U_SUCCESS(status));
  return (raw + saving) / 1000;
}

// The first second since 1970 at which one of the two changes its offset and they differ there, or a second before.
std::optional<std::int64_t> firstDisagreement(const icu::BasicTimeZone& zone,
                                              const zones::ZoneFile& file, Cases& cases) {
  std::set<std::int64_t> seconds = {0, k2100 - 1};
  icu::TimeZoneTransition next;
  for (double t = -1000; zone.getNextTransition(t, false, next) && next.getTime() < k2100 * 1000.0;
       t = next.getTime())
    seconds.insert(static_cast<std::int64_t>(next.getTime() / 1000));
  for (auto step = file.nextOffsetChange(0, k2100); step;
       step = file.nextOffsetChange(step->second + 1, k2100))
    seconds.insert(step->second);
  for (const std::int64_t second : seconds) {
    for (const std::int64_t at : {second - 1, second}) {
      ++cases;
      if (at >= 0 && offsetAt(zone, at) != file.offsetAt(at)) return at;
    }
  }
  return std::nullopt;
}

TEST(Difference, NoneSince1970WhereNothingChanged) {
  const zones::SystemZones system(zones::systemZonesFolder());
  const std::string release = system.release().value_or("");
  UErrorCode status = U_ZERO_ERROR;
  const std::string own = ucal_getTZDataVersion(&status);
  if (!zones::isRelease(release) || zones::isNewer(kFrom, own) || zones::isNewer(release, kLater) ||
      zones::isNewer(own, release))
    GTEST_SKIP() << "what changed between " << own << " and " << release << " is not listed here";
  std::set<std::string> changed = kChanged;
  if (zones::isNewer(release, kTo)) changed.insert(kChangedLater.begin(), kChangedLater.end());
  Cases cases(60'000);
  std::size_t agree = 0;
  std::set<std::string> differ;
  const std::vector<std::string> known = everyZone();
  const std::set<std::string> ofIcu(known.begin(), known.end());
  for (const std::string& name : system.names()) {
    if (ofIcu.count(name) == 0) continue;  // a zone younger than ICU's rules
    const auto zone = zoneOf(name);
    const auto file = system.zone(name);
    const auto second = firstDisagreement(*zone, *file, cases);
    EXPECT_TRUE(!second || changed.count(name) != 0) << name << " at " << *second;
    // What tells users of differences finds the same one.
    const auto found = zones::firstDifferent(*zone, *file, 0, k2100);
    EXPECT_EQ(found.has_value(), second.has_value()) << name;
    if (second) {
      differ.insert(name);
    } else {
      ++agree;
    }
  }
  std::cout << agree << " zones agree, " << differ.size() << " differ\n";
  EXPECT_GT(agree, 400u);
  if (own == kFrom && (release == kTo || release == kLater)) {
    EXPECT_EQ(differ, changed);
  }
}

// By how much they differ, from when on.
TEST(Difference, OfAFixedOffset) {
  const auto utc = zoneOf("Etc/UTC");
  zones::ZoneFile file;
  file.types = {{0, false}, {3600, false}, {7200, false}};
  file.changes = {{1000, 1}, {2000, 2}, {3000, 0}, {4000, 1}};
  const auto first = zones::firstDifferent(*utc, file, 0, k2100);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->second, 1000);
  EXPECT_EQ(first->icu, 0);
  EXPECT_EQ(first->system, 3600);
  const auto more = zones::firstOtherwise(*utc, file, *first, k2100);
  ASSERT_TRUE(more);
  EXPECT_EQ(more->second, 2000);
  EXPECT_EQ(more->system, 7200);
  EXPECT_EQ(zones::firstEqual(*utc, file, 1000, k2100)->second, 3000);
  EXPECT_FALSE(zones::firstOtherwise(*utc, file, *first, 2000));
  EXPECT_FALSE(zones::firstDifferent(*utc, file, 3000, 4000));
  EXPECT_EQ(zones::firstDifferent(*utc, file, 3000, 4001)->second, 4000);
  EXPECT_FALSE(zones::firstEqual(*utc, file, 4000, k2100));
  file.changes = {{1000, 1}, {1001, 0}};
  const auto end = zones::firstEqual(*utc, file, 1000, k2100);
  ASSERT_TRUE(end) << "for a second alone";
  EXPECT_EQ(end->second, 1001);
}

}  // namespace
