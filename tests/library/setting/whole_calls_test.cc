// Calls with everything at once: several settings with a value for each element, a choice in folds and gaps, findings
// that are errors, elements left out, threads, any strides, in place or not. Held against one element at a time: the
// results, the findings, the first element that is wrong, and all that a call has to leave as it was.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "library/setting/support.h"
#include "support/cases.h"
#include "support/length.h"
#include "support/random.h"

namespace {

constexpr const char* kType = "<M8[ns]";

// Elements at equal distances, with something else between them.
template <class T>
class Spread {
 public:
  Spread(const std::vector<T>& elements, std::ptrdiff_t step, T between)
      : count_(elements.size()),
        step_(step),
        stride_(step * static_cast<std::ptrdiff_t>(sizeof(T))),
        room_(count_ * static_cast<std::size_t>(std::abs(step)), between) {
    for (std::size_t i = 0; i < count_; ++i) at(i) = elements[i];
  }

  T* first() { return step_ < 0 ? &room_.back() : room_.data(); }
  T& at(std::size_t i) { return first()[static_cast<std::ptrdiff_t>(i) * step_]; }
  const std::ptrdiff_t* stride() const { return &stride_; }
  plxArray array(const char* type) {
    return {first(), type, 1, &count_, &stride_, nullptr, nullptr};
  }
  const std::vector<T>& room() const { return room_; }

 private:
  const std::size_t count_;
  const std::ptrdiff_t step_, stride_;
  std::vector<T> room_;
};

struct Sample {
  std::int64_t datetime = 0;
  std::array<double, 3> values{};
  // What becomes of it alone.
  std::string told;
  std::int64_t result = 0;
  std::uint8_t finding = 0;
};

constexpr std::size_t kSamples = 40;

struct Kind {
  int component;
  std::int64_t least, most;
};
constexpr auto kKinds = std::to_array<Kind>({{paYEAR, 1950, 2050},
                                             {paMONTH, -2, 15},
                                             {paDAY_OF_MONTH, -3, 33},
                                             {paDAY_OF_WEEK, 0, 8},
                                             {paHOUR, 0, 4},
                                             {paMINUTE, 0, 61},
                                             {paSECOND, 0, 61}});

class WholeCalls : public testing::Test {
 protected:
  void choose() {
    constexpr std::array kZones = {static_cast<const char*>(nullptr), "America/New_York",
                                   "Australia/Lord_Howe", "Pacific/Apia"};
    options_ = inZone(kZones[static_cast<std::size_t>(random_.whole(0, 3))]);
    options_.fold = static_cast<plxFold>(random_.whole(0, random_.oneIn(4) ? 3 : 2));
    options_.gap = std::array{
        plxGAP_SHIFT, plxGAP_START, plxGAP_END,
        plxGAP_ERROR}[static_cast<std::size_t>(random_.whole(0, random_.oneIn(4) ? 3 : 2))];
    options_.refused = random_.oneIn(3) ? 1U << random_.whole(0, 4) : 0;
    kinds_.clear();
    for (std::int64_t more = random_.whole(1, 3); more > 0; --more)
      kinds_.push_back(kKinds[static_cast<std::size_t>(random_.whole(0, kKinds.size() - 1))]);
    for (Sample& sample : samples_) {
      constexpr std::array kChanges = {1394348400LL, 1414908000LL, 1412438400LL, 1396710000LL,
                                       1325239200LL};
      const auto change = kChanges[static_cast<std::size_t>(random_.whole(0, kChanges.size() - 1))];
      sample.datetime = random_.oneIn(12)
                            ? kNaT
                            : (change + random_.whole(-90'000, 90'000)) * 1'000'000'000 +
                                  random_.whole(0, 999'999'999);
      for (std::size_t k = 0; k < kinds_.size(); ++k) {
        sample.values[k] = static_cast<double>(random_.whole(kinds_[k].least, kinds_[k].most));
        if (random_.oneIn(20)) sample.values[k] += 0.5;
        if (random_.oneIn(50)) sample.values[k] = random_.oneIn(2) ? 3e9 : kNan;
      }
      setAlone(sample);
    }
  }

  void setAlone(Sample& sample) {
    std::vector<plxSetting> settings;
    for (std::size_t k = 0; k < kinds_.size(); ++k)
      settings.push_back(forAll(kinds_[k].component, sample.values[k]));
    Column<std::int64_t> datetime({sample.datetime}, kType), result({0}, kType);
    const plxArray in = datetime.array(), out = result.array();
    plxOptions options = options_;
    options.findings = &sample.finding;
    plxError error;
    sample.finding = 0;
    const int status = plxSet(&in, settings.data(), settings.size(), &options, &out, &error);
    sample.told = status == 0 ? "" : std::string(error.identifier) + error.message;
    sample.result = result.elements().front();
  }

  // An array of samples, most of them such as cause no error.
  void setTogether(std::size_t count) {
    std::vector<const Sample*> of(count);
    for (const Sample*& sample : of) {
      do {
        sample = &samples_[static_cast<std::size_t>(random_.whole(0, kSamples - 1))];
      } while (!sample->told.empty() && !random_.oneIn(static_cast<int>(1 + count / 8)));
    }
    const auto step = [this] { return random_.whole(1, 3) * (random_.oneIn(3) ? -1 : 1); };
    const bool isInPlace = random_.oneIn(2), leavesOut = random_.oneIn(2);
    std::vector<std::int64_t> datetimes, zeros(count, 7);
    std::vector<std::uint8_t> where;
    std::vector<std::vector<double>> values(kinds_.size());
    for (const Sample* sample : of) {
      datetimes.push_back(sample->datetime);
      where.push_back(
          static_cast<std::uint8_t>(leavesOut && random_.oneIn(4) ? 0 : random_.whole(1, 255)));
      for (std::size_t k = 0; k < kinds_.size(); ++k) values[k].push_back(sample->values[k]);
    }
    Spread in(datetimes, step(), std::int64_t{5}), apart(zeros, step(), std::int64_t{5});
    Spread<std::int64_t>& out = isInPlace ? in : apart;
    Spread mask(where, step(), std::uint8_t{1});
    Spread findings(std::vector<std::uint8_t>(count, 0xEE), step(), std::uint8_t{0xDD});
    std::vector<Spread<double>> numbers;
    for (const auto& some : values) numbers.emplace_back(some, step(), 1.5);
    std::vector<plxSetting> settings;
    for (std::size_t k = 0; k < kinds_.size(); ++k)
      settings.push_back({kinds_[k].component, numbers[k].array("<f8"), nullptr});
    plxOptions options = options_;
    options.findings = findings.first();
    options.findingStrides = findings.stride();
    if (leavesOut) {
      options.where = mask.first();
      options.whereStrides = mask.stride();
    }
    options.threads = static_cast<unsigned>(random_.oneIn(3) ? 2 : 1);

    std::size_t wrong = 0;
    while (wrong < count && (where[wrong] == 0 || of[wrong]->told.empty())) ++wrong;
    Spread expected = out;
    Spread expectedFindings = findings;
    for (std::size_t i = 0; i < wrong; ++i) {
      if (where[i] == 0) continue;
      expected.at(i) = of[i]->result;
      expectedFindings.at(i) = of[i]->finding;
    }
    const plxArray from = in.array(kType), to = out.array(kType);
    plxError error;
    const int status = plxSet(&from, settings.data(), settings.size(), &options, &to, &error);
    if (wrong == count) {
      ASSERT_EQ(told(status, error), "");
    } else {
      ASSERT_EQ(std::string(error.identifier) + error.message, of[wrong]->told);
      ASSERT_EQ(error.index, wrong);
      ASSERT_EQ(error.done, wrong);
      ++errors_;
      // Other threads may have set some that follow.
      for (std::size_t i = wrong; options.threads > 1 && i < count; ++i) {
        expected.at(i) = out.at(i);
        expectedFindings.at(i) = findings.at(i);
      }
    }
    ASSERT_EQ(out.room(), expected.room());
    ASSERT_EQ(findings.room(), expectedFindings.room());
  }

  Random random_{1617};
  plxOptions options_{};
  std::vector<Kind> kinds_;
  std::array<Sample, kSamples> samples_;
  int errors_ = 0;
};

TEST_F(WholeCalls, AgainstOneElementAtATime) {
  const std::int64_t rounds = ofWhole(400);
  Cases cases(rounds * 20'000);
  for (std::int64_t round = 0; round < rounds; ++round) {
    choose();
    std::size_t good = 0;
    for (const Sample& sample : samples_) good += sample.told.empty() ? 1 : 0;
    if (good == 0) continue;
    for (const std::size_t count : {1, 31, 513, 8192, 8193, 20'000}) {
      ASSERT_NO_FATAL_FAILURE(setTogether(count))
          << "round " << round << ", " << count << " elements";
      cases += static_cast<std::int64_t>(count);
    }
  }
  EXPECT_GT(errors_, rounds);
}

}  // namespace
