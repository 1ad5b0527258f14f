// Tables of offsets of zones with rules that nobody has: each is refused, or gives ICU's offsets at
// every instant and wall time.
//
// ICU reads its rules once in a process, so they are written before the tests run.

#include <gtest/gtest.h>
#include <unicode/basictz.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arith/civil.h"
#include "offsets/offset_table.h"
#include "offsets/remembered_zones.h"
#include "support/cases.h"
#include "support/datetime_arrays.h"
#include "support/every_zone.h"
#include "support/random.h"
#include "zoned/calendar.h"
#include "zoned/set_field.h"

namespace {

// By ICU's numbers. A day of the week below zero means the first one on or after the day, or, with a
// day below zero too, the last one on or before that; above zero, the day is its number in the
// month, or from the month's end; zero is none.
enum Month { kJan, kFeb, kMar, kApr, kMay, kJun, kJul, kAug, kSep, kOct, kNov, kDec };
enum Mode { kWall, kStandard, kUtc };
struct RuleDate {
  int month, day, dayOfWeek, second, mode;
};
constexpr int kSunday = 1, kSaturday = 7, kHours = 3600;

// A zone that goes over to saving and back each year from 2000 on.
struct Made {
  int raw;
  RuleDate begin, end;
  bool isTold;  // by a table
  const char* why;
};

const RuleDate kEuropeBegin{kMar, -1, kSunday, 1 * kHours, kUtc};
const RuleDate kEuropeEnd{kOct, -1, kSunday, 1 * kHours, kUtc};
const RuleDate kOctober15{kOct, 15, 0, 2 * kHours, kWall};

const Made kMade[] = {
    {kHours, kEuropeBegin, kEuropeEnd, true, "Europe"},
    {-5 * kHours,
     {kMar, 8, -kSunday, 2 * kHours, kWall},
     {kNov, 1, -kSunday, 2 * kHours, kWall},
     true,
     "America"},
    {10 * kHours,
     {kOct, 1, -kSunday, 2 * kHours, kStandard},
     {kApr, 1, -kSunday, 2 * kHours, kStandard},
     true,
     "Australia"},
    {2 * kHours, {kMar, -30, -kSaturday, kHours, kUtc}, kOctober15, true, "Saturday, 24 to 30"},
    {2 * kHours, {kFeb, -1, kSunday, 2 * kHours, kWall}, kOctober15, true, "last of February"},
    {2 * kHours, {kFeb, 22, -kSunday, 2 * kHours, kWall}, kOctober15, true, "22 to 28 February"},
    {-8 * kHours, {kApr, -1, kSunday, 2 * kHours, kUtc}, kOctober15, true, "UTC ahead of April"},
    {9 * kHours, {kMar, -1, kSunday, 15 * kHours, kUtc}, kOctober15, true, "up to 24:00"},

    {kHours, {kMar, 29, -kSunday, 2 * kHours, kWall}, kOctober15, false, "29 March to 4 April"},
    {kHours, {kMar, -3, -kSunday, 2 * kHours, kWall}, kOctober15, false, "26 February to 3 March"},
    {kHours, {kFeb, 23, -kSunday, 2 * kHours, kWall}, kOctober15, false, "23 to 29 February"},
    {kHours, {kFeb, 29, 0, 2 * kHours, kWall}, kOctober15, false, "29 February"},
    {kHours, {kMar, 5, kSunday, 2 * kHours, kWall}, kOctober15, false, "the fifth Sunday"},
    {5 * kHours, {kFeb, -1, kSunday, kHours, kUtc}, kOctober15, false, "on 1 March in February"},
    {9 * kHours, {kApr, -1, kSunday, kHours, kUtc}, kOctober15, false, "on 1 May in April"},
    {9 * kHours, {kMar, -1, kSunday, 20 * kHours, kUtc}, kOctober15, false, "on 1 April"},
    {kHours, {kOct, 20, 0, 2 * kHours, kWall}, kOctober15, false, "back before it begins"},
};

RuleDate anyDate(Random& random) {
  const auto pick = [&](int low, int high) { return static_cast<int>(random.whole(low, high)); };
  const int month = pick(kJan, kDec), weekday = pick(1, 7);
  RuleDate date{month, pick(1, 28), 0, pick(0, 48) * 1800, pick(kWall, kUtc)};
  switch (pick(0, 3)) {
    case 0:
      break;
    case 1:
      date.day = random.oneIn(2) ? -1 : pick(1, 4);
      date.dayOfWeek = weekday;
      break;
    case 2:
      date.dayOfWeek = -weekday;
      break;
    default:
      date.day = -date.day;
      date.dayOfWeek = -weekday;
  }
  return date;
}

// A zone that goes over to other offsets at some instants, in seconds since 1970 and in the order of the
// data. `more` is what else the zone has.
struct Listed {
  const char *lists, *map, *more;
  bool isTold;
  const char* why;
};

const Listed kListed[] = {
    {"trans:intvector { 0, 1000000, 2000000 }", "010201", "", true, "in order"},
    {"transPre32:intvector { -1, 0, -1, 500000 } trans:intvector { 0, 1000000 } "
     "transPost32:intvector { 1, 0, 1, 500000 }",
     "010201020100", "", true, "before 1901, in between and after 2038"},

    {"trans:intvector { 0, 2000000, 1000000 }", "010201", "", false, "the last before another"},
    {"trans:intvector { 2000000, 0, 1000000 }", "020100", "", false, "the first after all others"},
    {"trans:intvector { 0, 1000000, 1000000 }", "010200", "", false, "two at once"},
    {"transPre32:intvector { 0, 2000000 } trans:intvector { 1000000, 3000000 }", "010200", "",
     false, "after what is listed as before 1901"},
    {"trans:intvector { 1000000, 2000000 } transPost32:intvector { 0, 1500000 }", "010200", "",
     false, "before what is listed as after 2038"},
    // Two hours behind UTC, the clock goes on by one at 00:30 in UTC on 1 January 2000, when the yearly
    // rules hold already: in UTC the change never comes, on the wall clock it does.
    {"trans:intvector { 0, 1000000, 946686600 }", "030403",
     "finalRaw:int { -7200 } finalRule:string { \"R1000\" } finalYear:int { 2000 } ", false,
     "when yearly rules hold already"},
};
// More changes than a table that is remembered has room for: so many, so far apart.
constexpr int kMany = 6000, kSecondsOfMany = 350'000;

// What the digits of the maps mean.
constexpr const char* kTypes = "0, 0, 3600, 0, 7200, 0, -3600, 0, -7200, 0";

// What is written of a zone, and what is to become of it.
struct Zone {
  std::string table, rule;
  std::optional<bool> isTold;
  std::string why;
};

std::string numberOf(std::size_t i) { return std::to_string(1000 + i); }
std::string nameOf(std::size_t i) { return "Made/Zone" + numberOf(i); }

std::string textOf(const RuleDate& date) {
  std::string text;
  for (const int x : {date.month, date.day, date.dayOfWeek, date.second, date.mode}) {
    text += std::to_string(x) + ", ";
  }
  return text;
}

Zone written(const Made& made, std::optional<bool> isTold, const std::string& number) {
  const std::string raw = std::to_string(made.raw);
  // Saving already where the year begins with it.
  const std::string begins = made.begin.month > made.end.month ? "3600" : "0";
  const std::string dates = textOf(made.begin) + textOf(made.end);
  return {"typeOffsets:intvector { " + raw + ", " + begins + " } finalRaw:int { " + raw +
              " } finalRule:string { \"R" + number + "\" } finalYear:int { 2000 } ",
          "R" + number + ":intvector { " + dates + "3600 }\n", isTold,
          std::string(made.why) + ": " + dates + "raw " + raw};
}

Zone written(const Listed& listed) {
  return {std::string(listed.lists) + " typeOffsets:intvector { " + kTypes + " } typeMap:bin { \"" +
              listed.map + "\" } " + listed.more,
          "", listed.isTold, listed.why};
}

Zone writtenWithMany() {
  std::string list, map;
  for (int i = 0; i < kMany; ++i) {
    list += (i == 0 ? "" : ", ") + std::to_string(i * kSecondsOfMany);
    map += i % 2 == 0 ? "01" : "02";
  }
  return written({("trans:intvector { " + list + " }").c_str(), map.c_str(), "", true, "many"});
}

// Those with a row above, the one with many changes, and then any.
constexpr std::size_t kRows = std::size(kMade) + std::size(kListed), kOfMany = kRows, kAny = 200;

const std::vector<Zone>& zones() {
  static const std::vector<Zone> all = [] {
    std::vector<Zone> made;
    for (const Made& row : kMade) made.push_back(written(row, row.isTold, numberOf(made.size())));
    for (const Listed& row : kListed) made.push_back(written(row));
    made.push_back(writtenWithMany());
    Random random(53);
    while (made.size() < kOfMany + 1 + kAny) {
      const Made any{static_cast<int>(random.whole(-24, 28)) * 1800, anyDate(random),
                     anyDate(random), false, "any"};
      made.push_back(written(any, std::nullopt, numberOf(made.size())));
    }
    return made;
  }();
  return all;
}

// In the form that ICU's genrb takes.
void writeRules(const std::filesystem::path& folder) {
  std::string names, tables, rules, regions;
  for (std::size_t i = 0; i < zones().size(); ++i) {
    names += ", \"" + nameOf(i) + "\"";
    tables += ":table { " + zones()[i].table + "}\n";
    rules += zones()[i].rule;
    regions += ", \"001\"";
  }
  std::ofstream(folder / "zoneinfo64.txt")
      << "zoneinfo64:table(nofallback) {\nTZVersion { \"2099y\" }\nZones:array {\n"
      << ":table { typeOffsets:intvector { 0, 0 } }\n"
      << tables << "}\nNames { \"Etc/UTC\"" << names << " }\nRules {\n"
      << rules << "}\nRegions { \"001\"" << regions << " }\n}\n";
}

double offsetAt(const icu::BasicTimeZone& zone, double t, bool isWall) {
  int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  if (isWall) {
    zone.getOffsetFromLocal(t, UCAL_TZ_LOCAL_FORMER, UCAL_TZ_LOCAL_LATTER, raw, saving, status);
  } else {
    zone.getOffset(t, false, raw, saving, status);
  }
  EXPECT_TRUE(U_SUCCESS(status));
  return static_cast<double>(raw) + saving;
}

// ICU copies all changes of a zone to tell the next one, so those of the zone with many are not asked of it.
std::vector<Change> changesOfMade(std::size_t made, const icu::BasicTimeZone& zone) {
  if (made != kOfMany) return changesOf(zone);
  std::vector<Change> all;
  for (int i = 0; i < kMany; ++i) {
    const double t = 1000.0 * i * kSecondsOfMany;
    all.push_back({t, offsetAt(zone, t - 1.0, false), offsetAt(zone, t, false)});
  }
  return all;
}

// Every half an hour around the turn of each month in years of every kind, as far as standard time is
// from UTC, and beside every change.
std::vector<double> timesOf(const std::vector<Change>& changes) {
  std::vector<double> all;
  for (int year = 1999; year < 2000 + 28; ++year) {
    for (int month = 1; month <= 12; ++month) {
      const double turn = 86400000.0 * ymd2days(year, month, 1.0);
      for (int half = -28; half <= 28; ++half) all.push_back(turn + half * 1800000.0);
    }
  }
  for (const Change& change : changes) {
    for (const double t :
         {change.instant, change.instant + change.before, change.instant + change.after}) {
      for (const double around : {-1.0, 0.0}) all.push_back(t + around);
    }
  }
  for (int day = -40; day <= 40; ++day) all.push_back(day * 86400000.0);
  return all;
}

TEST(MadeRules, AreToldRightOrRefused) {
  Cases cases(1000000);
  std::size_t told = 0;
  for (std::size_t i = 0; i < zones().size(); ++i) {
    const Zone& made = zones()[i];
    const auto zone = zoneOf(nameOf(i));
    const std::vector<Change> changes = changesOfMade(i, *zone);
    ASSERT_TRUE(zone->useDaylightTime() || !changes.empty())
        << made.why << ": ICU has not taken the rules";
    const auto table = OffsetTable::of(*zone);
    if (made.isTold) {
      EXPECT_EQ(table.has_value(), *made.isTold) << made.why;
    }
    if (!table) continue;
    ++told;
    for (const double t : timesOf(changes)) {
      ASSERT_EQ(::offsetAt(table->instants(), t), offsetAt(*zone, t, false))
          << made.why << ", at " << t;
      ASSERT_EQ(::offsetAt(table->walls(), t), offsetAt(*zone, t, true))
          << made.why << ", on the clock " << t;
      cases += 2;
    }
  }
  EXPECT_GT(told, zones().size() / 4);
  EXPECT_LT(told, zones().size());
}

// A call of 79 elements, by the calendar, and one of 80, by tables.
TEST(MadeRules, GiveTheSameInShortCallsAndInLongOnes) {
  Cases cases(kRows * 19000);
  for (std::size_t i = 0; i < kRows; ++i) {
    const auto set = [&](const std::vector<double>& t) {
      const std::vector<double> zeros(t.size());
      const Array in = doubles(t), values = scalar(30.0), result = doubles(zeros, &zeros);
      setField(in.get(), values.get(), UCAL_MINUTE, result.get(),
               createCalendar(boost::unique_ptr<icu::TimeZone>(zoneOf(nameOf(i)).release())));
      const double* const high = paGetRealData(result.get());
      return std::vector<double>(high, high + t.size());
    };
    const std::vector<double> all = timesOf(changesOf(*zoneOf(nameOf(i))));
    for (std::size_t from = 0; from + 80 <= all.size(); from += 79) {
      const auto begin = all.begin() + static_cast<std::ptrdiff_t>(from);
      const std::vector<double> few = set({begin, begin + 79}), more = set({begin, begin + 80});
      for (std::size_t k = 0; k < few.size(); ++k) {
        ASSERT_EQ(few[k], more[k])
            << zones()[i].why << ", " << begin[static_cast<std::ptrdiff_t>(k)];
        ++cases;
      }
    }
  }
}

// The call that makes such a table uses it; for the next ones it is remembered that there is none.
TEST(MadeRules, ATableThatIsTooLargeIsNotKept) {
  const auto table = OffsetTable::of(*zoneOf(nameOf(kOfMany)));
  ASSERT_TRUE(table);
  ASSERT_GT(ZoneOffsets(*table).bytes(), RememberedZones::kMostBytesOfAZone);
  RememberedZones remembered;
  const std::vector<std::uint16_t> text = {'A'};
  const ZoneKey key{text, "en_US", 1};
  EXPECT_NE(remembered.remember(key, table).offsets(), nullptr);
  EXPECT_TRUE(remembered.find(key));
  EXPECT_EQ(remembered.find(key).offsets(), nullptr);
  remembered.forget();
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  char folder[] = "made_rules_XXXXXX";
  if (mkdtemp(folder) == nullptr) return 1;
  const std::filesystem::path rules = std::filesystem::absolute(folder);
  writeRules(rules);
  const std::string genrb = "'" PLX_GENRB "' --quiet --encoding UTF-8 --destdir '" +
                            rules.string() + "' '" + (rules / "zoneinfo64.txt").string() + "'";
  if (std::system(genrb.c_str()) != 0) return 1;
  setenv("ICU_TIMEZONE_FILES_DIR", rules.c_str(), 1);
  const int failed = RUN_ALL_TESTS();
  std::filesystem::remove_all(rules);
  return failed;
}
