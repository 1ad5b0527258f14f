// How fast components are set without a zone, beside a copy of the same bytes: who changes a
// hundred million datetimes is to wait for the memory, not for the calendar.
//
// Walks are measured on the arrays of a host, as setFieldUTC calls them. Calls are measured through the
// module, and, for small arrays, through one with the plain code in the place of vectors.
//
// Names are kind/values/component/walk/elements, such as "whole/each/month/AVX3/4096". Answers are
// checked against the plain walk after each measurement.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>

#include "base/elements_of.h"
#include "call.h"
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
         const std::function<void(const Arrays&)>& body) {
  benchmark::RegisterBenchmark(nameOf(m, walk).c_str(), [=](benchmark::State& state) {
    const Component component = kComponents[m.component];
    const Arrays arrays(m.kind, m.n, m.oneValue, component);
    for (auto _ : state) {
      body(arrays);
      benchmark::ClobberMemory();
    }
    if (isChecked && !isRight(arrays.elements, component, m.kind.leapSeconds)) {
      state.SkipWithError("wrong results");
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(m.n));
  })->UseRealTime();
}

void addWalk(const Measured& m, const std::string& name, UnzonedWalk* walk) {
  add(m, name, true, [=](const Arrays& arrays) {
    walk(kComponents[m.component], m.kind.leapSeconds,
         elementsOf(arrays.datetimes, arrays.values, arrays.result));
  });
}

// What does no more than its loop.
void addLoop(const Measured& m, const std::string& name, bool isChecked,
             void (*loop)(const Elements&)) {
  add(m, name, isChecked, [=](const Arrays& arrays) { loop(arrays.elements); });
}

// One call of a module, whose result is made and destroyed again.
void addCall(const Measured& m, const std::string& name, const char* module) {
  benchmark::RegisterBenchmark(nameOf(m, name).c_str(), [=](benchmark::State& state) {
    const Arrays arrays(m.kind, m.n, m.oneValue, kComponents[m.component]);
    ModuleCall call(module, arrays, m.component, "");
    paArray* result = call.make();
    Elements e = arrays.elements;
    e.resultHigh = paGetRealData(result);
    e.resultLow = paGetImagData(result);
    if (!isRight(e, kComponents[m.component], false)) state.SkipWithError("wrong results");
    paDestroyArray(result);
    for (auto _ : state) paDestroyArray(call.make());
  })->UseRealTime();
}

void addAll() {
  const auto sets = unzonedInstructionSets();
  const std::string best = sets.front().name;
  for (int c = 0; c < 11; ++c) {
    for (const bool oneValue : {false, true}) {
      for (const std::size_t n : {kInCache, kInMemory}) {
        const Measured whole{kWhole, oneValue, c, n};
        addLoop(whole, "copy", false, copyElements);
        for (const auto& set : sets) addWalk(whole, set.name, set.walk);
        if (n == kInCache) addWalk(whole, "plain", plainWalk);
        const Measured zeros{kZeros, oneValue, c, n};
        addLoop(zeros, "copy", false, copyElements);
        addWalk(zeros, best, sets.front().walk);
        const Measured fraction{kFraction, oneValue, c, n};
        addLoop(fraction, "copy", false, copyElements);
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
      addCall({kWhole, false, c, n}, "plain call", PLX_PLAIN_MODULE);
      addCall({kWhole, false, c, n}, "call", PLX_MODULE);
    }
    addCall({kWhole, false, c, kInMemory}, "call", PLX_MODULE);
  }
  constexpr int kMonth = 2, kHour = 7;
  const Measured month{kWhole, false, kMonth, kInCache};
  addLoop(month, "std::chrono", true, setMonthChrono);
  addLoop(month, "date", true, setMonthDate);
  addLoop(month, "cctz", true, setMonthCctz);
  for (const std::size_t n : {kInCache, kInMemory}) {
    addLoop({kWhole, false, kMonth, n}, "auto", true, setMonthAutoVectorised);
    addLoop({kWhole, false, kHour, n}, "auto", true, setHourAutoVectorised);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (unzonedInstructionSets().empty()) {
    std::puts("nothing to measure: this processor has none of the instruction sets of this build");
    return 0;
  }
  addAll();
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  // Table, plot, and the commit that they say they measured.
  const bool isWritten = argc != 4 || writeReport(collector, argv[1], argv[2], argv[3]);
  return isWritten && !collector.hasErrors() ? 0 : 1;
}
