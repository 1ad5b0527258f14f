// What the library takes beside copying the same bytes: prints the table of docs/library.md.
//   library_benchmark [ELEMENTS [ROUNDS]]
// Datetimes are random between 1970 and 2040, one new value for all, memory in use; a ratio is that of medians of
// rounds in which the two took turns, and over the components the geometric mean.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "data.h"
#include "plx/plx.h"

namespace {

std::size_t elements = 4'000'000;
int rounds = 5;

double secondsOf(const std::function<void()>& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double medianOf(std::vector<double> times) {
  std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2),
                   times.end());
  return times[times.size() / 2];
}

// How long one takes beside the other.
double ratioOf(const std::function<void()>& one, const std::function<void()>& other) {
  std::vector<double> ones, others;
  for (int round = 0; round < rounds; ++round) {
    others.push_back(secondsOf(other));
    ones.push_back(secondsOf(one));
  }
  return medianOf(ones) / medianOf(others);
}

// A column of an array, and where its results go.
struct Data {
  std::string type;
  std::size_t bytes;  // of an element
  std::vector<char> in, out;
  std::vector<double> low, newLow;  // of pairs
  std::size_t shape[1] = {elements};
  std::ptrdiff_t stride[1] = {0};

  plxArray array(std::vector<char>& memory, std::vector<double>& lows) {
    const bool isReversed = stride[0] < 0;
    return {
        memory.data() + (isReversed ? -stride[0] * static_cast<std::ptrdiff_t>(elements - 1) : 0),
        type.c_str(),
        1,
        shape,
        stride,
        lows.empty() ? nullptr : lows.data(),
        nullptr};
  }
};

// `step`: from one element to the next, in elements; negative from the end.
Data dataOf(const std::string& type, std::ptrdiff_t step = 1, bool hasLow = false,
            bool hasFraction = false) {
  Data data{type, type == "<c16" ? std::size_t{16} : std::size_t{8}, {}, {}, {}, {}};
  data.stride[0] = step * static_cast<std::ptrdiff_t>(data.bytes);
  const auto apart = static_cast<std::size_t>(std::abs(data.stride[0]));
  data.in.assign(elements * apart, 0);
  data.out = data.in;
  FastRandom random;
  for (std::size_t i = 0; i < elements; ++i) {
    const auto millis = static_cast<std::int64_t>(random.below(2'209'032'000'000));
    char* place = data.in.data() + i * apart;
    if (type.starts_with("<M8")) {
      const std::int64_t per = type == "<M8[ns]" ? 1'000'000 : type == "<M8[us]" ? 1'000 : 1;
      std::int64_t count = type == "<M8[s]" ? millis / 1000 : millis * per;
      if (per > 1)
        count += static_cast<std::int64_t>(random.below(static_cast<std::uint64_t>(per)));
      std::memcpy(place, &count, 8);
    } else {
      // Normalised, as every result of pair arithmetic is.
      const doubledouble pair = quick_two_sum(
          static_cast<double>(millis) + 1.0,
          hasFraction ? static_cast<double>(1 + random.below(1'000'000)) * 0x1p-36 : 0.0);
      std::memcpy(place, &pair.hi, 8);
      if (data.bytes == 16) std::memcpy(place + 8, &pair.lo, 8);
      if (hasLow) data.low.push_back(pair.lo);
    }
  }
  data.newLow = data.low;
  return data;
}

void check(int status, const plxError& error) {
  if (status == 0) return;
  std::fprintf(stderr, "%s: %s\n", error.identifier, error.message);
  std::exit(1);
}

struct How {
  const char* zone = "";
  unsigned threads = 1;
  plxFold fold = plxFOLD_LATER;
};

std::function<void()> setting(Data& data, Component component, const How& how) {
  FastRandom random;
  // Whole seconds, which every unit can hold.
  double value = std::floor(usualValue(random, component));
  return [&data, component, how, value]() mutable {
    const plxArray in = data.array(data.in, data.low), out = data.array(data.out, data.newLow);
    const plxSetting one{factsOf(component).selector,
                         {&value, "<f8", 0, nullptr, nullptr, nullptr, nullptr},
                         nullptr};
    plxOptions options{};
    options.size = sizeof options;
    options.zone = how.zone;
    options.threads = how.threads;
    options.fold = how.fold;
    plxError error;
    check(plxSet(&in, &one, 1, &options, &out, &error), error);
  };
}

std::function<void()> copying(Data& data) {
  return [&data] {
    std::memcpy(data.out.data(), data.in.data(), data.in.size());
    if (!data.low.empty()) std::memcpy(data.newLow.data(), data.low.data(), 8 * data.low.size());
  };
}

void print(const std::string& name, const std::string& beside, double goal,
           const std::vector<double>& ratios, bool isFaster = false) {
  double product = 0, worst = isFaster ? 1e9 : 0;
  for (const double ratio : ratios) {
    product += std::log(ratio);
    worst = isFaster ? std::min(worst, ratio) : std::max(worst, ratio);
  }
  const double mean = std::exp(product / static_cast<double>(ratios.size()));
  const bool holds = isFaster ? mean >= goal : mean <= goal;
  std::printf("| %s | %s | %.2f | %.2f, worst %.2f | %s |\n", name.c_str(), beside.c_str(), goal,
              mean, worst, holds ? "yes" : "**no**");
  std::fflush(stdout);
}

void besideCopy(const std::string& name, Data data, double goal, const How& how = {}) {
  std::vector<double> ratios;
  for (const Component component : kComponents) {
    const auto set = setting(data, component, how);
    set();
    ratios.push_back(ratioOf(set, copying(data)));
  }
  print(name, "copy", goal, ratios);
}

void besideOther(const std::string& name, const std::string& beside, Data data, Data other,
                 double goal, const How& how, const How& otherHow, bool isFaster = false) {
  std::vector<double> ratios;
  for (const Component component : kComponents) {
    const auto one = setting(data, component, how), two = setting(other, component, otherHow);
    one();
    two();
    ratios.push_back(isFaster ? ratioOf(two, one) : ratioOf(one, two));
  }
  print(name, beside, goal, ratios, isFaster);
}

// Microseconds of a call.
double callTime(const char* zone) {
  const std::size_t all = elements;
  elements = 1;
  Data data = dataOf("<M8[ms]");
  std::vector<double> times;
  for (const Component component : kComponents) {
    const auto set = setting(data, component, {zone});
    constexpr int kCalls = 2000;
    std::vector<double> some;
    for (int round = 0; round < 5; ++round)
      some.push_back(secondsOf([&] {
                       for (int i = 0; i < kCalls; ++i) set();
                     }) /
                     kCalls);
    times.push_back(medianOf(some) * 1e6);
  }
  elements = all;
  double product = 0;
  for (const double time : times) product += std::log(time);
  return std::exp(product / static_cast<double>(times.size()));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) elements = static_cast<std::size_t>(std::atoll(argv[1]));
  if (argc > 2) rounds = std::atoi(argv[2]);
  std::printf("| case, %zu elements | beside | goal | measured | holds |\n|---|---|---|---|---|\n",
              elements);
  besideCopy("high and low parts in two arrays, whole milliseconds", dataOf("<f8", 1, true), 1.1);
  besideCopy("the same with fractions", dataOf("<f8", 1, true, true), 1.4);
  besideCopy("complex128, fractions", dataOf("<c16", 1, false, true), 1.3);
  besideCopy("complex128, whole milliseconds", dataOf("<c16"), 1.3);
  for (const char* unit : {"ms", "ns", "us", "s"})
    besideCopy(std::string("datetime64[") + unit + "]", dataOf(std::string("<M8[") + unit + "]"),
               2.0);
  for (const char* unit : {"ms", "ns", "us", "s"})
    besideCopy(std::string("datetime64[") + unit + "], America/New_York",
               dataOf(std::string("<M8[") + unit + "]"), 3.0, {"America/New_York"});
  const std::string ms = "<M8[ms]";
  besideOther("every second element", "contiguous", dataOf(ms, 2), dataOf(ms), 2.0, {}, {});
  besideOther("a column of a table of four", "contiguous", dataOf(ms, 4), dataOf(ms), 2.0, {}, {});
  besideOther("reversed", "contiguous", dataOf(ms, -1), dataOf(ms), 2.0, {}, {});
  besideOther("fold `same`, America/New_York", "`later`", dataOf(ms), dataOf(ms), 1.15,
              {"America/New_York", 1, plxFOLD_SAME}, {"America/New_York"});
  besideOther("two threads, fractions", "one", dataOf("<c16", 1, false, true),
              dataOf("<c16", 1, false, true), 1.7, {"", 2}, {}, true);
  besideOther("two threads, America/New_York", "one", dataOf(ms), dataOf(ms), 1.7,
              {"America/New_York", 2}, {"America/New_York"}, true);
  const double plain = callTime(""), zoned = callTime("America/New_York");
  std::printf("| 1 element, microseconds | | 1.50 | %.2f | %s |\n", plain,
              plain <= 1.5 ? "yes" : "**no**");
  std::printf("| 1 element in America/New_York | without a zone | 2.50 | %.2f | %s |\n",
              zoned / plain, zoned <= 2.5 * plain ? "yes" : "**no**");
}
