// How fast components are set in a time zone, beside the calendar's own loop and a copy of the same
// bytes: who adjusts a time series in local time is not to wait for the calendar either.
//
// Names are kind/values/component/way/elements, such as "sorted/each/month/AVX3/4096". Answers are
// checked against the calendar after each measurement. Where there are arguments, they name the
// page to be written and the commit that it says it measured.

#include <benchmark/benchmark.h>
#include <cctz/civil_time.h>
#include <cctz/time_zone.h>
#include <date/tz.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <iomanip>
#include <memory>
#include <sstream>
#include <string>

#include "call.h"
#include "data.h"
#include "reference.h"
#include "report.h"
#include "unzoned/vector_walk.h"
#include "zoned/calendar.h"
#include "zoned/table_walk.h"
#include "zoned/vector_walk.h"

namespace {

constexpr std::size_t kInCache = 4096, kInMemory = std::size_t{4} << 20, kOfCalendar = 1 << 15;
constexpr const char* kNewYork = "America/New_York";

constexpr int kComponentCount = 11, kMonth = 2, kHour = 7;

using Calendar = boost::unique_ptr<icu::GregorianCalendar>;

Calendar calendarOf(const std::string& zone) {
  return createCalendar(
      boost::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(zone.c_str())));
}

// Everything that is made of a zone, once for all measurements.
struct Zone {
  explicit Zone(const std::string& id)
      : calendar(calendarOf(id)),
        table(*OffsetTable::of(calendar->getTimeZone())),
        granules(table),
        lookups(zone_lanes::zoneOf(table, granules)) {}

  Calendar calendar;
  OffsetTable table;
  Granules granules;
  zone_lanes::Zone lookups;
};

// What the datetimes are like.
enum class Order { random, sorted, centuries };

struct Measured {
  std::string name;  // of the kind
  Kind kind;
  Order order;
  bool oneValue;
  int component;
  std::size_t n;
  std::string zone;
};

// Milliseconds of the years -5000 to 9000, the middle one of which is the year 2000.
constexpr double kYear2000 = 946684800000.0, kSpan = 7000.0 * 365.2425 * 86400000.0;

std::unique_ptr<Arrays> arraysOf(const Measured& m) {
  auto arrays = std::make_unique<Arrays>(m.kind, m.n, m.oneValue, kComponents[m.component]);
  double* const high = paGetRealData(arrays->datetimes);
  if (m.order == Order::sorted) {
    static std::vector<double> sorted;  // of the largest array, kept
    if (m.n == kInMemory) {
      if (sorted.empty()) {
        sorted.assign(high, high + m.n);
        std::sort(sorted.begin(), sorted.end());
      }
      std::copy(sorted.begin(), sorted.end(), high);
    } else {
      std::sort(high, high + m.n);
    }
  } else if (m.order == Order::centuries) {
    FastRandom random;
    for (std::size_t i = 0; i < m.n; ++i) {
      high[i] = kYear2000 - kSpan +
                static_cast<double>(random.below(2 * static_cast<std::uint64_t>(kSpan)));
    }
  }
  return arrays;
}

bool sameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// The calendar's results on elements from here and there in the array.
bool isRight(const Zone& zone, Component component, const Elements& e) {
  const std::size_t n = std::min<std::size_t>(e.count, 500);
  for (const std::size_t first : {std::size_t{0}, (e.count - n) / 2, e.count - n}) {
    std::vector<double> high(n), low(n);
    Elements part = e;
    part.high += first;
    if (part.low) part.low += first;
    part.values += first * e.step;
    part.resultHigh = high.data();
    part.resultLow = low.data();
    part.count = n;
    CalendarWalk(*zone.calendar, component, part).setAll();
    for (std::size_t i = 0; i < n; ++i) {
      if (!sameBits(high[i], e.resultHigh[first + i])) return false;
      if (!sameBits(low[i], e.resultLow[first + i])) return false;
    }
  }
  return true;
}

std::string nameOf(const std::string& kind, bool oneValue, int component, const std::string& way,
                   std::size_t n) {
  return kind + (oneValue ? "/one/" : "/each/") + kComponentNames[component] + '/' + way + '/' +
         std::to_string(n);
}

using Way = std::function<void(const Zone&, Component, const Arrays&)>;

void add(const Measured& m, const std::string& name, bool isChecked, const Way& way) {
  const std::string full = nameOf(m.name, m.oneValue, m.component, name, m.n);
  benchmark::RegisterBenchmark(full.c_str(), [=](benchmark::State& state) {
    const Zone zone(m.zone);
    const auto arrays = arraysOf(m);
    for (auto _ : state) {
      way(zone, kComponents[m.component], *arrays);
      benchmark::ClobberMemory();
    }
    if (isChecked && !isRight(zone, kComponents[m.component], arrays->elements)) {
      state.SkipWithError("wrong results");
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(m.n));
  })->UseRealTime();
}

void addCalendar(Measured m) {
  m.n = std::min(m.n, kOfCalendar);
  add(m, "calendar", false, [](const Zone& zone, Component component, const Arrays& arrays) {
    CalendarWalk(*zone.calendar, component, arrays.elements).setAll();
  });
}

void addTable(const Measured& m) {
  add(m, "table", true, [](const Zone& zone, Component component, const Arrays& arrays) {
    CalendarWalk rest(*zone.calendar, component, arrays.elements);
    tableWalk(zone.table, component, arrays.elements, rest);
  });
}

void addSet(const Measured& m, const ZonedInstructionSet& set) {
  add(m, set.name, true,
      [walk = set.walk](const Zone& zone, Component component, const Arrays& arrays) {
        CalendarWalk rest(*zone.calendar, component, arrays.elements);
        walk({zone.table, zone.lookups, component, arrays.elements, rest});
      });
}

void addCopy(const Measured& m) {
  add(m, "copy", false,
      [](const Zone&, Component, const Arrays& arrays) { copyElements(arrays.elements); });
}

void addUnzoned(const Measured& m) {
  add(m, "unzoned", false,
      [c = kComponents[m.component]](const Zone&, Component, const Arrays& arrays) {
        benchmark::DoNotOptimize(unzonedVectorWalk(c, false, arrays.elements));
      });
}

// What ICU calls a zone that the module is given. The default zone is that of this program's TZ.
std::string icuNameOf(const std::string& zone) {
  return zone == "local" ? kNewYork : zone[0] == '+' ? "GMT" + zone : zone;
}

// Calls of a module, the first of which is not measured: they are in a zone that was met, or in none.
void addCall(const Measured& m, const std::string& name, const char* module) {
  const std::string full = nameOf(m.name, m.oneValue, m.component, name, m.n);
  benchmark::RegisterBenchmark(full.c_str(), [=](benchmark::State& state) {
    const auto arrays = arraysOf(m);
    ModuleCall call(module, *arrays, m.component, m.zone);
    paArray* result = call.make();
    Elements e = arrays->elements;
    e.resultHigh = paGetRealData(result);
    e.resultLow = paGetImagData(result);
    if (!m.zone.empty() && !isRight(Zone(icuNameOf(m.zone)), kComponents[m.component], e)) {
      state.SkipWithError("wrong results");
    }
    paDestroyArray(result);
    for (auto _ : state) paDestroyArray(call.make());
  })->UseRealTime();
}

// The module, and one that leaves everything to the calendar.
void addCalls(const Measured& m) {
  addCall(m, "call", PLX_MODULE);
  addCall(m, "calendarCall", PLX_PLAIN_MODULE);
}

// ---- Other libraries: month and hour of whole seconds in New York ----

template <class SetOne>
void forEach(const Elements& e, SetOne setOne) {
  for (std::size_t i = 0; i < e.count; ++i) {
    const double seconds = std::floor(e.high[i] / 1000.0);
    const auto set =
        setOne(static_cast<std::int64_t>(seconds), static_cast<int>(e.values[i * e.step]));
    e.resultHigh[i] = static_cast<double>(set) * 1000.0 + (e.high[i] - seconds * 1000.0);
    e.resultLow[i] = 0.0;
  }
}

void addRivals(const Measured& m) {
  const bool isMonth = m.component == kMonth;
  add(m, "cctz", false, [=](const Zone&, Component, const Arrays& arrays) {
    cctz::time_zone zone;
    cctz::load_time_zone(kNewYork, &zone);
    forEach(arrays.elements, [&](std::int64_t t, int v) {
      const auto instant = cctz::time_point<cctz::seconds>(cctz::seconds(t));
      const cctz::civil_second c = cctz::convert(instant, zone);
      const cctz::civil_second set =
          isMonth ? cctz::civil_second(c.year(), v, c.day(), c.hour(), c.minute(), c.second())
                  : cctz::civil_second(c.year(), c.month(), c.day(), v, c.minute(), c.second());
      return cctz::convert(set, zone).time_since_epoch().count();
    });
  });
  add(m, "date", false, [=](const Zone&, Component, const Arrays& arrays) {
    using namespace date;
    const time_zone* const zone = locate_zone(kNewYork);
    forEach(arrays.elements, [&](std::int64_t t, int v) {
      const auto local = zone->to_local(sys_seconds(std::chrono::seconds(t)));
      const auto day = floor<days>(local);
      const auto clock = local - day;
      local_seconds set;
      if (isMonth) {
        const year_month_day old(day);
        const local_days first(old.year() / month(static_cast<unsigned>(v)) / 1);
        set = first + (old.day() - date::day(1)) + clock;
      } else {
        set = day + std::chrono::hours(v) + clock % std::chrono::hours(1);
      }
      return zone->to_sys(set, choose::latest).time_since_epoch().count();
    });
  });
  add(m, "glibc", false, [=](const Zone&, Component, const Arrays& arrays) {
    forEach(arrays.elements, [&](std::int64_t t, int v) {
      const std::time_t instant = t;
      std::tm local;
      localtime_r(&instant, &local);
      (isMonth ? local.tm_mon : local.tm_hour) = isMonth ? v - 1 : v;
      local.tm_isdst = -1;
      return static_cast<std::int64_t>(std::mktime(&local));
    });
  });
}

// ---- All of them ----

// Small arrays, to find where the module takes longer than the calendar.
constexpr std::size_t kSmall[] = {1, 2, 5, 10, 20, 40, 60, 79, 80, 81, 100, 150, 200, 400, 1000};

// Small arrays in zones that were met, beside the same without a zone.
constexpr std::size_t kFew[] = {1, 8, 40, 79, 80};
constexpr const char* kMetZones[] = {kNewYork, "Europe/Paris", "+05:30", "local"};
Measured fewOf(const char* zone, int component, std::size_t n) {
  return {*zone ? zone : "none", kWhole, Order::random, true, component, n, zone};
}

void addAll() {
  const auto sets = zonedInstructionSets();
  const auto isOfInterest = [&](const ZonedInstructionSet& set) {
    return set.walk == sets.front().walk || set.name == std::string("AVX2");
  };
  for (int c = 0; c < kComponentCount; ++c) {
    for (const bool one : {false, true}) {
      for (const auto& [name, order] :
           {std::pair{"random", Order::random}, std::pair{"sorted", Order::sorted}}) {
        for (const std::size_t n : {kInCache, kInMemory}) {
          const Measured m{name, kWhole, order, one, c, n, kNewYork};
          addCopy(m);
          addCalendar(m);
          for (const auto& set : sets) {
            if (n == kInCache || isOfInterest(set)) addSet(m, set);
          }
          if (n == kInCache) addTable(m);
        }
      }
    }
    for (const std::size_t n : {kInCache, kInMemory}) {
      addSet({"fraction", kFraction, Order::random, false, c, n, kNewYork}, sets.front());
    }
    for (const char* zone : {"Asia/Kolkata", "GMT+05:30"}) {
      for (const std::size_t n : {kInCache, kInMemory}) {
        const Measured m{
            zone[0] == 'A' ? "Kolkata" : "fixed", kWhole, Order::random, false, c, n, zone};
        addSet(m, sets.front());
        addUnzoned(m);
      }
    }
    const Measured centuries{"centuries", kWhole, Order::centuries, false, c, kInCache, kNewYork};
    addSet(centuries, sets.front());
    addCalendar(centuries);
    addCalls({"random", kWhole, Order::random, false, c, kInCache, kNewYork});
    addCalls({"sorted", kWhole, Order::sorted, false, c, kInCache, kNewYork});
    for (const std::size_t n : kSmall) {
      addCalls({"random", kWhole, Order::random, false, c, n, kNewYork});
    }
    for (const std::size_t n : kFew) {
      addCall(fewOf("", c, n), "fewCall", PLX_MODULE);
      for (const char* zone : kMetZones) addCall(fewOf(zone, c, n), "fewCall", PLX_MODULE);
    }
  }
  for (const int c : {kMonth, kHour}) {
    addRivals({"random", kWhole, Order::random, false, c, kInCache, kNewYork});
  }
}

// ---- The page ----

std::string text(double x, int places) {
  std::ostringstream out;
  out << std::fixed << std::setprecision(places) << x;
  return out.str();
}

struct Side {
  std::string kind, way;
  std::size_t n;
};

class Page {
 public:
  Page(std::ostream& out, const Collector& collector) : out_(out), collector_(collector) {}

  double perElement(const Side& side, bool one, int c) const {
    const std::size_t n = side.way == "calendar" ? std::min(side.n, kOfCalendar) : side.n;
    return collector_.median(nameOf(side.kind, one, c, side.way, n)) / static_cast<double>(n);
  }

  struct Ratio {
    double mean, least, most;
  };
  // a / b over components from `first` on.
  Ratio ratio(const Side& a, const Side& b, bool one, int first = 0) const {
    double logs = 0.0;
    Ratio r{0.0, HUGE_VAL, 0.0};
    for (int c = first; c < kComponentCount; ++c) {
      const double x = perElement(a, one, c) / perElement(b, one, c);
      logs += std::log(x);
      r.least = std::min(r.least, x);
      r.most = std::max(r.most, x);
    }
    r.mean = std::exp(logs / (kComponentCount - first));
    return r;
  }

  void atMost(const std::string& what, double goal, const Ratio& r) {
    row(what, text(goal, 2), text(r.mean, 2) + ", worst " + text(r.most, 2), r.mean <= goal);
  }
  void atLeast(const std::string& what, double goal, const Ratio& r) {
    row(what, "at least " + text(goal, 0), text(r.mean, 0) + ", least " + text(r.least, 0),
        r.mean >= goal);
  }

 private:
  void row(const std::string& what, const std::string& goal, const std::string& result,
           bool holds) {
    out_ << "| " << what << " | " << goal << " | " << result << " | " << (holds ? "yes" : "**no**")
         << " |\n";
  }

  std::ostream& out_;
  const Collector& collector_;
};

void writePage(std::ostream& out, const Collector& collector, const char* commit) {
  const std::string best = zonedInstructionSets().front().name;
  Page page(out, collector);
  out << "# Performance in a time zone\n\n"
         "How fast components of datetimes in America/New_York are set, as `scripts/benchmark` "
         "measured it and\nwrote it here; [performance.md](performance.md) says how, and on what. "
         "Answers are checked against\nthe calendar. Datetimes lie between 1970 and 2040, in "
         "random order or sorted as in a time series.\n\n- commit: "
      << commit
      << "\n\n## Goals\n\nRatios are geometric means over the eleven components. \"Best\" is "
      << best << " here.\n\n| case | goal | measured | holds |\n|---|---|---|---|\n";
  for (const bool one : {true, false}) {
    const std::string values = one ? ", a single value" : ", one value per element";
    const std::size_t n = kInMemory;
    page.atMost("4 million sorted instants, best / copy" + values, one ? 1.1 : 1.4,
                page.ratio({"sorted", best, n}, {"sorted", "copy", n}, one));
    page.atLeast("the same, calendar / best", one ? 250 : 140,
                 page.ratio({"sorted", "calendar", n}, {"sorted", best, n}, one));
    page.atMost("4 million random instants, best / copy" + values, 2.0,
                page.ratio({"random", best, n}, {"random", "copy", n}, one));
    page.atLeast("the same, calendar / best", 180,
                 page.ratio({"random", "calendar", n}, {"random", best, n}, one));
    page.atLeast("the same, calendar / AVX2", 90,
                 page.ratio({"random", "calendar", n}, {"random", "AVX2", n}, one));
    page.atLeast("4096 random instants, calendar / best" + values, 220,
                 page.ratio({"random", "calendar", kInCache}, {"random", best, kInCache}, one));
    page.atLeast(
        "4096 sorted instants, calendar / best, components of the clock" + values, 600,
        page.ratio({"sorted", "calendar", kInCache}, {"sorted", best, kInCache}, one, kHour));
  }
  for (const std::size_t n : {kInCache, kInMemory}) {
    const std::string count = n == kInCache ? "4096" : "4 million";
    page.atMost(count + ", a fixed offset / unzoned", 1.3,
                page.ratio({"fixed", best, n}, {"fixed", "unzoned", n}, false));
    page.atMost(count + ", Asia/Kolkata / unzoned", 1.3,
                page.ratio({"Kolkata", best, n}, {"Kolkata", "unzoned", n}, false));
    page.atMost(count + " with a fraction / without", 2.0,
                page.ratio({"fraction", best, n}, {"random", best, n}, false));
  }
  page.atLeast(
      "4096 random instants in a call, the calendar's call / call", 200,
      page.ratio({"random", "calendarCall", kInCache}, {"random", "call", kInCache}, false));
  page.atLeast(
      "4096 sorted instants in a call, components of the clock, the same", 350,
      page.ratio({"sorted", "calendarCall", kInCache}, {"sorted", "call", kInCache}, false, kHour));
  for (const char* zone : kMetZones) {
    Page::Ratio worst{0.0, HUGE_VAL, 0.0};
    for (const std::size_t n : kFew) {
      const auto r = page.ratio({zone, "fewCall", n}, {"none", "fewCall", n}, true);
      if (r.mean > worst.mean) worst = r;
    }
    page.atMost("1 to 80 elements in a call, " + std::string(zone) + " / no zone, worst number",
                2.5, worst);
  }
  Page::Ratio small{0.0, HUGE_VAL, 0.0};
  for (const std::size_t n : kSmall) {
    const auto r = page.ratio({"random", "call", n}, {"random", "calendarCall", n}, false);
    if (r.mean > small.mean) small = r;
  }
  page.atMost("1 to 1000 elements in such a call, call / calendar's, worst number (1.05 for noise)",
              1.05, small);
  page.atLeast(
      "4096 of the years -5000 to 9000, calendar / best", 10,
      page.ratio({"centuries", "calendar", kInCache}, {"centuries", best, kInCache}, false));

  out << "\n## Nanoseconds per element\n\nOne value per element, 4096 elements, in cache; random "
         "instants, then sorted ones.\n\n| component |";
  std::vector<std::string> ways{"copy"};
  for (const auto& set : zonedInstructionSets()) ways.emplace_back(set.name);
  ways.insert(ways.end(), {"table", "calendar"});
  for (const auto& way : ways) out << ' ' << way << " |";
  out << "\n|---|";
  for (std::size_t i = 0; i < ways.size(); ++i) out << "---:|";
  out << '\n';
  for (const char* kind : {"random", "sorted"}) {
    for (int c = 0; c < kComponentCount; ++c) {
      out << "| " << kComponentNames[c] << ", " << kind << " |";
      for (const auto& way : ways) {
        out << ' ' << text(page.perElement({kind, way, kInCache}, false, c), 2) << " |";
      }
      out << '\n';
    }
  }
  out << "\n## Beside other ways\n\n4096 random instants, one value per element. The other "
         "libraries "
         "take whole seconds, and glibc the\nzone of the process. Measured once elsewhere, on "
         "other "
         "data: R's timechange some 200 ns, java.time\n134 ns, pandas' `replace` 20 "
         "microseconds.\n\n| way | month, ns | hour, ns |\n|---|---:|---:|\n";
  for (const std::string& way : {std::string("calendar"), std::string("cctz"), std::string("date"),
                                 std::string("glibc"), std::string("table"), best}) {
    out << "| " << way << " |";
    for (const int c : {kMonth, kHour}) {
      out << ' ' << text(page.perElement({"random", way, kInCache}, false, c), 2) << " |";
    }
    out << '\n';
  }
}

}  // namespace

int main(int argc, char** argv) {
  setenv("TZ", kNewYork, 1);  // for glibc alone
  tzset();
  benchmark::Initialize(&argc, argv);
  if (zonedInstructionSets().empty()) {
    std::puts("nothing to measure: this processor has none of the instruction sets of this build");
    return 0;
  }
  addAll();
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  if (argc == 3) {
    std::ofstream out(argv[1]);
    writePage(out, collector, argv[2]);
    if (!out.flush()) return 1;
  }
  return collector.hasErrors() ? 1 : 0;
}
