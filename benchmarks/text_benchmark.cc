// How long one datetime's text takes to read and to write: a table of a million rows has a million
// of each, and people wait for it.
//
// Names are way/form/digits of the second/zone, such as "read/iso/0/America/New_York": "wall" is the
// form iso without an offset, which takes a look at the zone to read, and "iso!" is exact. Instants
// are random ones of 1970 to 2040. What is read must be what was written.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "datetime/exact.h"
#include "datetime/reading.h"

namespace {

constexpr std::size_t kCount = 1 << 14;
constexpr std::int64_t k2040 = 2208988800;
constexpr std::string_view kOffset = "-05:00";

struct Column {
  std::string form;  // or "wall"
  int digits;        // of the second
  const char* zone;
  bool exact;
};

// A column of texts, as it came in and as it would be written.
class Texts {
 public:
  explicit Texts(const Column& column) : zone_(plx::Zone::named(column.zone)) {
    std::mt19937_64 random(1);
    plx::Notation writing;
    const bool isWall = column.form == "wall";
    writing.to = plx::formNamed(isWall ? "iso" : column.form);
    plx::Complaint complaint;
    plx::Reading reading;
    reading.zone = &zone_;
    reading.text.separator = 'T';
    for (std::size_t i = 0; i < kCount; ++i) {
      std::string fraction;
      for (int n = 0; n < column.digits; ++n) fraction += static_cast<char>('0' + random() % 10);
      const auto second = static_cast<std::int64_t>(random() % k2040);
      pairs_.push_back(plx::pairOf(second, fraction));
      texts_.emplace_back();
      if (!plx::write(reading, pairs_.back(), writing, texts_.back(), complaint)) texts_.clear();
      if (isWall) texts_.back().resize(texts_.back().size() - kOffset.size());
    }
    notation_.from = *writing.to;
    notation_.exact = column.exact;
    readings_.reserve(kCount);
    for (const std::string& text : texts_) {
      const auto read = plx::read(text, notation_, &zone_, zones_, complaint);
      if (read) readings_.push_back(*read);
    }
  }

  void read(benchmark::State& state) {
    plx::Complaint complaint;
    for (auto _ : state) {
      for (std::size_t i = 0; i < kCount; ++i) {
        const auto read = plx::read(texts_[i], notation_, &zone_, zones_, complaint);
        readings_[i] = *read;
      }
    }
    check(state, write());
  }

  void write(benchmark::State& state) {
    std::string out;
    for (auto _ : state) {
      out = write();
      benchmark::DoNotOptimize(out.data());
    }
    check(state, out);
  }

 private:
  std::string write() const {
    std::string out;
    out.reserve(kCount * 48);
    plx::Complaint complaint;
    for (std::size_t i = 0; i < kCount; ++i) {
      plx::write(readings_[i], readings_[i].pair, notation_, out, complaint);
      out += '\n';
    }
    return out;
  }

  void check(benchmark::State& state, const std::string& out) const {
    std::size_t at = 0;
    for (const std::string& text : texts_) {
      if (!std::string_view(out).substr(at).starts_with(text)) state.SkipWithError("wrong texts");
      at = out.find('\n', at) + 1;
    }
    if (at != out.size()) state.SkipWithError("not as many texts");
    state.counters["per_datetime"] = benchmark::Counter(
        kCount, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  }

  plx::Zone zone_;
  plx::Zones zones_;
  plx::Notation notation_;
  std::vector<doubledouble> pairs_;
  std::vector<std::string> texts_;
  std::vector<plx::Reading> readings_;
};

void add(const Column& column) {
  const std::string name =
      column.form + (column.exact ? "!/" : "/") + std::to_string(column.digits) + '/' + column.zone;
  benchmark::RegisterBenchmark(("read/" + name).c_str(),
                               [=](benchmark::State& state) { Texts(column).read(state); });
  benchmark::RegisterBenchmark(("write/" + name).c_str(),
                               [=](benchmark::State& state) { Texts(column).write(state); });
}

}  // namespace

int main(int argc, char** argv) {
  constexpr const char* kNewYork = "America/New_York";
  for (const char* form :
       {"wall", "iso", "ordinal", "week", "rfc3339", "rfc9557", "s", "ms", "us", "ns"})
    for (const int digits : {0, 3, 9}) add({form, digits, kNewYork, false});
  for (const char* zone : {"", "UTC", "UTCLeapSeconds", "UTC+5:30"}) add({"iso", 0, zone, false});
  for (const char* form : {"iso", "ns", "pair"}) add({form, 9, kNewYork, true});
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
