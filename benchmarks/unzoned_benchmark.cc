// How fast components are set without a zone, beside a copy of the same bytes: who changes a
// hundred million datetimes is to wait for the memory, not for the calendar.
//
// Names are kind/values/component/walk/elements, such as "whole/each/month/AVX3/4096". Answers are
// checked against the plain walk after each measurement.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <string>

#include "data.h"
#include "reference.h"
#include "report.h"
#include "unzoned/vector_walk.h"

namespace {

constexpr std::size_t kInCache = 4096, kInMemory = std::size_t{4} << 20;

bool sameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (a != a && b != b);
}

// The plain walk's results on elements from here and there in the array.
bool isRight(const Elements& e, Component component, bool leapSeconds) {
  const std::size_t n = std::min<std::size_t>(e.count, 1000);
  for (const std::size_t first : {std::size_t{0}, (e.count - n) / 2, e.count - n}) {
    std::vector<double> high(n), low(n);
    Elements part = e;
    part.high += first;
    if (part.low) part.low += first;
    part.values += first * e.step;
    part.resultHigh = high.data();
    part.resultLow = low.data();
    part.count = n;
    if (plainWalk(component, leapSeconds, part) != n) return false;
    for (std::size_t i = 0; i < n; ++i) {
      if (!sameBits(high[i], e.resultHigh[first + i])) return false;
      if (!sameBits(low[i], e.resultLow[first + i])) return false;
    }
  }
  return true;
}

struct Measured {
  Kind kind;
  bool oneValue;
  int component;
  std::size_t n;
};

std::string nameOf(const Measured& m, const std::string& walk) {
  return std::string(m.kind.name) + (m.oneValue ? "/one/" : "/each/") +
         kComponentNames[m.component] + '/' + walk + '/' + std::to_string(m.n);
}

// Registers one measurement of `body`, which sets the component of all elements.
void add(const Measured& m, const std::string& walk, bool isChecked,
         const std::function<void(const Elements&)>& body) {
  benchmark::RegisterBenchmark(nameOf(m, walk).c_str(), [=](benchmark::State& state) {
    const Component component = kComponents[m.component];
    const Arrays arrays(m.kind, m.n, m.oneValue, component);
    for (auto _ : state) {
      body(arrays.elements);
      benchmark::ClobberMemory();
    }
    if (isChecked && !isRight(arrays.elements, component, m.kind.leapSeconds)) {
      state.SkipWithError("wrong results");
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(m.n));
  })->UseRealTime();
}

void addWalk(const Measured& m, const std::string& name, Walk* walk) {
  add(m, name, true, [=](const Elements& e) {
    benchmark::DoNotOptimize(walk(kComponents[m.component], m.kind.leapSeconds, e));
  });
}

void addCopy(Measured m) { add(m, "copy", false, copyElements); }

// One call of the module, whose result is made and destroyed again.
void addCalls(int component) {
  const Measured m{kWhole, false, component, kInMemory};
  benchmark::RegisterBenchmark(nameOf(m, "call").c_str(), [=](benchmark::State& state) {
    constexpr double kSelectors[] = {3, 6, 7, 9, 12, 13, 14, 18, 19, 20, 21};
    paModule* const module = paLoadModule(PLX_MODULE, nullptr);
    const Arrays arrays(m.kind, m.n, m.oneValue, kComponents[m.component]);
    const std::size_t one[] = {1, 1}, none[] = {0, 0};
    paArray* const selector = paCreateNumericArray(2, one, paDOUBLE_CLASS, paREAL);
    paGetRealData(selector)[0] = kSelectors[m.component];
    paArray* const zone = paCreateCharArray(2, none, nullptr);
    const paArray* in[] = {arrays.datetimes, arrays.values, selector, zone};
    for (auto _ : state) {
      paArray* out[1];
      paError error;
      if (!module || paCallModule(module, 1, out, 4, in, &error) != 0) {
        state.SkipWithError(module ? error.message : "no module");
        break;
      }
      Elements e = arrays.elements;
      e.resultHigh = paGetRealData(out[0]);
      e.resultLow = paGetImagData(out[0]);
      if (state.iterations() == 0 && !isRight(e, kComponents[m.component], false)) {
        state.SkipWithError("wrong results");
      }
      paDestroyArray(out[0]);
    }
    paDestroyArray(selector);
    paDestroyArray(zone);
    paUnloadModule(module);
  })->UseRealTime();
}

void addAll() {
  const auto sets = instructionSets();
  const std::string best = sets.front().name;
  for (int c = 0; c < 11; ++c) {
    for (const bool oneValue : {false, true}) {
      for (const std::size_t n : {kInCache, kInMemory}) {
        const Measured whole{kWhole, oneValue, c, n};
        addCopy(whole);
        for (const auto& set : sets) addWalk(whole, set.name, set.walk);
        if (n == kInCache) addWalk(whole, "plain", plainWalk);
        const Measured zeros{kZeros, oneValue, c, n};
        addCopy(zeros);
        addWalk(zeros, best, sets.front().walk);
        const Measured fraction{kFraction, oneValue, c, n};
        addCopy(fraction);
        for (const auto& set : sets) {
          if (set.name == best || set.name == std::string("AVX2")) {
            addWalk(fraction, set.name, set.walk);
          }
        }
        if (n == kInCache) addWalk(fraction, "plain", plainWalk);
      }
    }
    for (const Kind& kind : {kLeap, kSpecial1, kSpecial10}) {
      for (const std::size_t n : {kInCache, kInMemory}) {
        addWalk({kind, false, c, n}, best, sets.front().walk);
      }
    }
    for (std::size_t n = 1; n <= 16; ++n) {
      addWalk({kWhole, false, c, n}, "plain", plainWalk);
      addWalk({kWhole, false, c, n}, "best", vectorWalk);
    }
    addCalls(c);
  }
  constexpr int kMonth = 2, kHour = 7;
  const Measured month{kWhole, false, kMonth, kInCache};
  add(month, "std::chrono", true, setMonthChrono);
  add(month, "date", true, setMonthDate);
  add(month, "cctz", true, setMonthCctz);
  for (const std::size_t n : {kInCache, kInMemory}) {
    add({kWhole, false, kMonth, n}, "auto", true, setMonthAutoVectorised);
    add({kWhole, false, kHour, n}, "auto", true, setHourAutoVectorised);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  addAll();
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  // Table, plot, and the commit that they say they measured.
  const bool isWritten = argc != 4 || writeReport(collector, argv[1], argv[2], argv[3]);
  return isWritten && !collector.hasErrors() ? 0 : 1;
}
