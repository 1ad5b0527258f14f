// What the memory of results costs: calls of the module that make their result anew and destroy it, beside a
// copy of the same bytes between arrays that stay in use. Months of unzoned datetimes, one value each.
//
//     memory_benchmark [RUNS, else 9] [MODULE]
//
// "again" is a call when calls before it have destroyed results of the same size; "fresh" is one after
// paReleaseMemory(). Each run visits all sizes; medians and, in brackets, the least and the most are printed.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "call.h"
#include "data.h"
#include "reference.h"

namespace {

constexpr int kMonth = 2;
static_assert(kComponents[kMonth] == Component::month);
constexpr std::size_t kSizes[] = {100'000,    300'000,    1'000'000,  4'000'000,
                                  10'000'000, 20'000'000, 40'000'000, 80'000'000};

double secondsOf(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

struct Times {
  std::vector<double> nanoseconds;  // per element

  double median() {
    std::sort(nanoseconds.begin(), nanoseconds.end());
    return nanoseconds[nanoseconds.size() / 2];
  }
  std::string text() {
    char text[64];
    std::snprintf(text, sizeof text, "%.2f (%.2f to %.2f)", median(), nanoseconds.front(),
                  nanoseconds.back());
    return text;
  }
};

struct Row {
  Times copy, again, fresh;
};

void measure(std::size_t n, const char* module, Row& row) {
  const Arrays arrays(kWhole, n, false, kComponents[kMonth]);
  ModuleCall call(module, arrays, kMonth, "");
  // Small sizes several times, so that the clock's steps do not count.
  const int times = static_cast<int>(std::max<std::size_t>(1, 2'000'000 / n));
  const auto perElement = [&](const std::function<void()>& work) {
    return 1e9 * secondsOf([&] {
             for (int i = 0; i < times; ++i) work();
           }) /
           static_cast<double>(n) / times;
  };
  const auto callOnce = [&] { paDestroyArray(call.make()); };
  copyElements(arrays.elements);
  row.copy.nanoseconds.push_back(perElement([&] { copyElements(arrays.elements); }));
  callOnce();
  row.again.nanoseconds.push_back(perElement(callOnce));
  row.fresh.nanoseconds.push_back(perElement([&] {
    paReleaseMemory();
    callOnce();
  }));
}

}  // namespace

int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
  const char* module = argc > 2 ? argv[2] : PLX_MODULE;
  std::vector<Row> rows(std::size(kSizes));
  for (int run = 0; run < runs; ++run)
    for (std::size_t i = 0; i < rows.size(); ++i) measure(kSizes[i], module, rows[i]);
  std::printf("| elements | copy, ns each | again | fresh | again / copy | fresh / copy |\n");
  std::printf("|---:|---:|---:|---:|---:|---:|\n");
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Row& row = rows[i];
    const double copy = row.copy.median();
    std::printf("| %zu | %s | %s | %s | %.2f | %.2f |\n", kSizes[i], row.copy.text().c_str(),
                row.again.text().c_str(), row.fresh.text().c_str(), row.again.median() / copy,
                row.fresh.median() / copy);
  }
  return 0;
}
