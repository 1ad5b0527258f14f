// Both setters against their plain forms, element by element: without a zone every set of vector instructions
// against the plain walk, in a zone the tables and every set against the calendar. The same bits, the same errors at
// the same element, and nothing written behind the end.

#include <bit>
#include <optional>
#include <string>
#include <vector>

#include "base/component.h"
#include "fuzz/input.h"
#include "host/embed.h"
#include "host/exception.h"
#include "unzoned/vector_walk.h"
#include "zoned/calendar.h"
#include "zoned/table_walk.h"
#include "zoned/vector_walk.h"

namespace {

constexpr std::size_t kMostElements = 150;
constexpr double kUntouched = 77.0;

// Of every kind: several transitions a year and none, half hours, days that were left out, rules for ever.
constexpr const char* kZones[] = {"Europe/Berlin",      "America/New_York",  "Australia/Lord_Howe",
                                  "Pacific/Apia",       "Asia/Gaza",         "Africa/Casablanca",
                                  "Asia/Kolkata",       "Etc/UTC",           "Africa/Monrovia",
                                  "GMT+05:45",          "America/Sao_Paulo", "Asia/Tehran",
                                  "Pacific/Kiritimati", "Europe/Dublin",     "Antarctica/Troll"};

// The arrays of a call; each exactly as long as it says, for the address sanitizer.
struct Arrays {
  std::vector<double> high, low, values;
  std::size_t count;
};

struct Results {
  std::vector<double> high, low;
  explicit Results(std::size_t n) : high(n, kUntouched), low(n, kUntouched) {}
};

Elements elementsOf(const Arrays& in, Results& out) {
  return {.high = in.high.data(),
          .low = in.low.empty() ? nullptr : in.low.data(),
          .values = in.values.data(),
          .step = in.values.size() == 1 ? std::size_t{0} : 1,
          .resultHigh = out.high.data(),
          .resultLow = out.low.data(),
          .count = in.count};
}

// A few numbers of the input, each time moved on by another.
std::vector<double> manyNumbers(Input& in, std::size_t count) {
  std::vector<double> given(1 + in.below(6));
  for (double& number : given) number = in.number();
  const double step = in.number();
  std::vector<double> all(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t round = i / given.size();
    const double moved = static_cast<double>(round) * step;
    all[i] = round == 0 ? given[i] : given[i % given.size()] + moved;
  }
  return all;
}

Arrays anyArrays(Input& in) {
  Arrays arrays;
  arrays.count = in.below(kMostElements);
  arrays.high = manyNumbers(in, arrays.count);
  if (in.oneIn(2)) {
    arrays.low = manyNumbers(in, arrays.count);
    // Mostly as normalised pairs have them.
    const bool isNormal = !in.oneIn(4);
    for (std::size_t i = 0; isNormal && i < arrays.count; ++i) {
      const doubledouble sum = two_sum(arrays.high[i], arrays.low[i]);
      arrays.high[i] = sum.hi;
      arrays.low[i] = sum.lo;
    }
  }
  arrays.values = manyNumbers(in, in.oneIn(2) ? arrays.count : 1);
  if (arrays.values.empty()) arrays.values = {1.0};
  return arrays;
}

bool sameDouble(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (a != a && b != b);
}

void requireSame(const Results& plain, const Results& fast, std::size_t count,
                 const std::string& way) {
  for (std::size_t i = 0; i < count; ++i) {
    require(sameDouble(plain.high[i], fast.high[i]) && sameDouble(plain.low[i], fast.low[i]),
            "the same bits by", way + " at element " + std::to_string(i));
  }
}

void compareUnzoned(Input& in) {
  const auto component =
      static_cast<Component>(in.below(static_cast<std::size_t>(Component::none) + 1));
  const bool leapSeconds = in.oneIn(3);
  const Arrays arrays = anyArrays(in);
  Results plain(arrays.count);
  const std::size_t done = plainWalk(component, leapSeconds, elementsOf(arrays, plain));
  static const std::vector<UnzonedInstructionSet> sets = unzonedInstructionSets();
  for (const UnzonedInstructionSet& set : sets) {
    Results fast(arrays.count);
    const std::size_t fastDone = set.walk(component, leapSeconds, elementsOf(arrays, fast));
    require(fastDone == done, "the same element is refused by", set.name);
    requireSame(plain, fast, done, set.name);
  }
}

struct Zone {
  boost::unique_ptr<icu::GregorianCalendar> calendar;
  std::optional<OffsetTable> table;
  std::optional<Granules> granules;

  explicit Zone(const char* name) {
    calendar = createCalendar(boost::unique_ptr<icu::TimeZone>(
        icu::TimeZone::createTimeZone(icu::UnicodeString(name, -1, US_INV))));
    table = OffsetTable::of(calendar->getTimeZone());
    if (table) granules.emplace(*table);
  }
};

const Zone& zoneAt(std::size_t i) {
  static std::unique_ptr<const Zone> zones[std::size(kZones)];
  if (!zones[i]) zones[i] = std::make_unique<const Zone>(kZones[i]);
  return *zones[i];
}

// The error that leaves `run`; empty for none.
template <class Run>
std::string errorOf(const Run& run) {
  try {
    run();
  } catch (const brel::except::IMsgIDException& error) {
    return error.GetID();
  }
  return "";
}

void compareZoned(Input& in) {
  const Component component = kFactsOfAll[in.below(kFactsOfAll.size())].component;
  const Zone& zone = zoneAt(in.below(std::size(kZones)));
  const Arrays arrays = anyArrays(in);
  if (!zone.table) return;
  Results plain(arrays.count);
  CalendarWalk byCalendar(*zone.calendar, component, elementsOf(arrays, plain));
  std::size_t done = 0;
  const std::string error = errorOf([&] {
    for (; done < arrays.count; ++done) byCalendar.set(done);
  });
  const auto compare = [&](const std::string& way, const auto& walk) {
    Results fast(arrays.count);
    const Elements elements = elementsOf(arrays, fast);
    CalendarWalk rest(*zone.calendar, component, elements);
    require(errorOf([&] { walk(elements, rest); }) == error, "the same error by", way);
    requireSame(plain, fast, done, way);
  };
  compare("tables", [&](const Elements& elements, CalendarWalk& rest) {
    tableWalk(*zone.table, component, elements, rest);
  });
  static const std::vector<ZonedInstructionSet> sets = zonedInstructionSets();
  for (const ZonedInstructionSet& set : sets) {
    compare(set.name, [&](const Elements& elements, CalendarWalk& rest) {
      set.walk({*zone.table, zone_lanes::zoneOf(*zone.table, *zone.granules), component, elements,
                rest});
    });
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  if (in.oneIn(2)) {
    compareZoned(in);
  } else {
    compareUnzoned(in);
  }
  return 0;
}
