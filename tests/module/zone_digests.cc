// Prints a hash of the bits that the module gives in each zone, so that two machines can be compared:
//
//     zone_digests              every zone that ICU lists, offsets as texts, and offsets in the languages of ICU
//     zone_digests --offsets    offsets as texts only: these results depend on no rules and on no ICU
//
// A line is what was asked, how many results there are, and their hash. Half of the datetimes are near the changes
// of the zone, half of them anywhere in 20000 years; each is set in two ways, by the calendar and by tables.

#include <unicode/locid.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "host/embed.h"
#include "support/built.h"
#include "support/datetime_arrays.h"
#include "support/every_zone.h"

namespace {

constexpr double kHour = 3600000.0, kDay = 86400000.0;

// Accepted and refused ones.
constexpr const char* kOffsets[] = {"UTC",      "utc",    "UTC+5",  "UTC+05:30", "UT-3",
                                    "GMT+3",    "+05:30", "+0530",  "-0800",     "+05:31:07",
                                    "Z",        "+14:00", "-12",    "UTC+0530",  "UTC+5:30:15",
                                    "UTC+5.30", "+5:30",  "UTC+24", "GMT+5.30"};

// Whole numbers that are the same with every standard library (splitmix64, Vigna 2015).
class Draw {
 public:
  std::int64_t whole(std::int64_t low, std::int64_t high) {
    const auto count = static_cast<std::uint64_t>(high - low) + 1;
    return low + static_cast<std::int64_t>(next() % count);
  }

 private:
  std::uint64_t next() {
    std::uint64_t z = state_ += 0x9e3779b97f4a7c15;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
  }
  std::uint64_t state_ = 1;
};

// FNV-1a over 64-bit words, turned in between, so that high bits meet low ones.
class Digest {
 public:
  void add(const paArray* results) {
    const std::size_t count = paGetNumberOfElements(results);
    for (const double* half : {paGetRealData(results), paGetImagData(results)})
      for (const double x : std::span(half, count)) add(std::bit_cast<std::uint64_t>(x));
    count_ += count;
  }
  void add(const char* text) {
    for (; *text != '\0'; ++text) add(static_cast<unsigned char>(*text));
    ++count_;
  }
  void print(const char* kind, const std::string& name) const {
    std::printf("%s %s: %zu results, hash %016llx\n", kind, name.c_str(), count_,
                static_cast<unsigned long long>(hash_));
  }

 private:
  void add(std::uint64_t word) { hash_ = std::rotl(hash_ ^ word, 29) * 0x100000001b3; }
  std::uint64_t hash_ = 0xcbf29ce484222325;
  std::size_t count_ = 0;
};

struct Component {
  double selector;
  std::int64_t least, greatest;  // values, somewhat beyond those of the calendar
};
constexpr Component kComponents[] = {{3, 1850, 2150}, {6, -1, 6},        {7, -2, 15},
                                     {9, -2, 56},     {12, -3, 34},      {13, -9, 380},
                                     {14, -8, 15},    {18, -25, 49},     {19, -70, 130},
                                     {20, -70, 130},  {21, -7200, 93600}};

class Module {
 public:
  explicit Module(const std::string& path) : module_(paLoadModule(path.c_str(), &error_)) {
    if (module_ == nullptr) throw std::runtime_error(error_.message);
  }

  // Adds what a call gives: its results, or the identifier of its error.
  void set(const Array& t, const Array& values, double selector, const std::string& zone,
           Digest& digest) {
    const Array selected = scalar(selector), name = text(zone);
    const paArray* in[] = {t.get(), values.get(), selected.get(), name.get()};
    paArray* out[1];
    const bool failed = paCallModule(module_, 1, out, 4, in, &error_) != 0;
    const Array owner(out[0]);
    failed ? digest.add(error_.identifier) : digest.add(out[0]);
  }

 private:
  paError error_{};
  paModule* module_;
};

// 300 anywhere in 20000 years, some with a fraction of a millisecond, and three near each change.
std::vector<doubledouble> datetimesNear(const std::vector<Change>& changes, Draw& draw) {
  std::vector<doubledouble> all;
  for (int i = 0; i < 300; ++i) {
    const auto years = i % 3 == 0 ? 10000 : 150;
    const auto t = static_cast<double>(draw.whole(-years * 31556952000, years * 31556952000));
    all.push_back({t, i % 4 == 0 ? 0x1p-20 * static_cast<double>(draw.whole(0, 500)) : 0.0});
  }
  for (const Change& change : changes) {
    all.push_back({change.instant - kDay + static_cast<double>(draw.whole(0, 47)) * kHour, 0.0});
    all.push_back(
        {change.instant + static_cast<double>(draw.whole(-100, 100)) * kHour / 20.0, 0.0});
    all.push_back({change.instant + static_cast<double>(draw.whole(-1, 1)), 0.0});
  }
  return all;
}

void setAll(Module& module, const std::string& zone, const std::vector<Change>& changes,
            Digest& digest) {
  constexpr std::size_t kByCalendar = 60;  // calls of 80 elements and more go by tables
  Draw draw;
  const std::vector<doubledouble> t = datetimesNear(changes, draw);
  for (const auto& [selector, least, greatest] : kComponents) {
    std::vector<double> values;
    for (std::size_t i = 0; i < t.size(); ++i)
      values.push_back(static_cast<double>(draw.whole(least, greatest)));
    module.set(datetimes(t), doubles(values), selector, zone, digest);
    for (std::size_t i = 0; i < t.size(); i += kByCalendar) {
      const auto first = static_cast<std::ptrdiff_t>(i);
      const auto last = static_cast<std::ptrdiff_t>(std::min(i + kByCalendar, t.size()));
      module.set(datetimes({t.begin() + first, t.begin() + last}),
                 doubles({values.begin() + first, values.begin() + last}), selector, zone, digest);
    }
  }
}

// One by one, since an error ends a call: where ranges end, and 32 bits do.
void setExtremes(Module& module, const std::string& zone, Digest& digest) {
  constexpr double kValues[] = {0,    1e5,  1e6,     4e6,        12e6,        1e8,
                                5e8,  1e9,  2e6 / 3, 2147483647, -2147483648, 4294967296,
                                -1e5, -1e6, -12e6,   -1e8,       -5e8,        1e300};
  constexpr double kTimes[] = {0, 0x1p52, -0x1p52, 0x1p52 + 1, 0x1p51 + 0.5, -0x1p51};
  for (const Component& component : kComponents)
    for (const double value : kValues)
      for (const double t : kTimes)
        module.set(scalar(t), scalar(value), component.selector, zone, digest);
}

void printOffsets(Module& module) {
  for (const char* offset : kOffsets) {
    Digest digest;
    setAll(module, offset, {}, digest);
    setExtremes(module, offset, digest);
    digest.print("offset", offset);
  }
}

void printRules() {
  UErrorCode status = U_ZERO_ERROR;
  const char* version = icu::TimeZone::getTZDataVersion(status);
  if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
  std::printf("rules: %s\n", version);
}

void printZones(Module& module) {
  for (const std::string& id : everyZone()) {
    Digest digest;
    setAll(module, id, changesOf(*zoneOf(id)), digest);
    if (id == "Europe/Paris" || id == "Australia/Lord_Howe") setExtremes(module, id, digest);
    digest.print("zone", id);
  }
}

// What is read as an offset depends on how a language writes it.
void printLanguages(Module& module) {
  int32_t count = 0;
  const icu::Locale* all = icu::Locale::getAvailableLocales(count);
  for (const icu::Locale& locale : std::span(all, static_cast<std::size_t>(count))) {
    if (paSetLocale(locale.getName(), nullptr) != 0) continue;
    Digest digest;
    for (const char* offset : kOffsets) module.set(scalar(0.0), scalar(0.0), 21, offset, digest);
    digest.print("locale", locale.getName());
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Module module(built("plx_datetime.so"));
    paSetLocale("en_US", nullptr);
    printOffsets(module);
    if (argc > 1 && std::strcmp(argv[1], "--offsets") == 0) return 0;
    printRules();
    printZones(module);
    printLanguages(module);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "zone_digests: %s\n", problem.what());
    return 1;
  }
}
