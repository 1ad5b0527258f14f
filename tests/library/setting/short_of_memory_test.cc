// Each allocation of a call fails once, in turn, whoever makes it: the call then ends as it would have ended, or
// tells that memory ran out; and the call after it is as ever.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "library/setting/support.h"
#include "support/cases.h"
#include "support/failing_new.h"

namespace {

// The allocation that fails, counted down; below 0 none does.
std::atomic<long> failing{-1};

}  // namespace

bool allocationFails() {
  return failing.load(std::memory_order_relaxed) >= 0 &&
         failing.fetch_sub(1, std::memory_order_relaxed) == 0;
}

namespace {

constexpr std::size_t kCount = std::size_t{3} << 13;  // three blocks
// 2014-05-31T08:30:15.25Z, and a month of 2 in New York: 2014-03-03T09:30:15.25Z.
constexpr std::int64_t kBefore = 1401525015250, kAfter = 1393839015250;

struct Call {
  explicit Call(unsigned threads) : datetimes(std::vector(kCount, kBefore), "<M8[ms]") {
    options.threads = threads;
    options.fold = plxFOLD_SAME;
  }
  int run() {
    const plxArray array = datetimes.array();
    const plxSetting month = forAll(paMONTH, february);
    return plxSet(&array, &month, 1, &options, &array, &error);
  }

  Column<std::int64_t> datetimes;
  plxOptions options = inZone("America/New_York");
  const double february = 2;
  plxError error{};
};

// Runs a call with each of its allocations failing in turn. Each run ends as it would have ended, or tells of no
// element but of memory; so does one after all of them end as ever. Returns how many runs there were.
template <class Run, class Check>
long withEachAllocationFailing(Run run, Check check) {
  plxError error{};
  EXPECT_TRUE(run(error)) << error.message;  // what is made once is there
  check();
  long nth = 0;
  for (bool isOver = false; !isOver && nth < 10'000; ++nth) {
    error = {};
    failing = nth;
    const bool isDone = run(error);
    isOver = failing >= 0;  // so many are not made
    failing = -1;
    if (isDone) {
      check();
    } else {
      EXPECT_EQ(std::string(error.identifier).substr(0, 12), "Pelmor:host:") << nth;
      EXPECT_EQ(error.index, PLX_NO_INDEX) << nth;
    }
    if (testing::Test::HasFailure()) return nth;
  }
  EXPECT_LT(nth, 10'000) << "an allocation for each element";
  EXPECT_TRUE(run(error)) << error.message;
  check();
  return nth;
}

TEST(ShortOfMemory, WhicheverAllocationFails) {
  Cases cases(60);
  for (const unsigned threads : {1U, 3U}) {
    Call call(threads);
    std::size_t mostDone = 0;
    cases += withEachAllocationFailing(
        [&](plxError& error) {
          call.datetimes.elements().assign(kCount, kBefore);
          const int status = call.run();
          error = call.error;
          if (status == 0) return true;
          // A caller that goes on from there sets no element twice, and leaves none out.
          const auto& elements = call.datetimes.elements();
          const auto done = elements.begin() + static_cast<std::ptrdiff_t>(error.done);
          EXPECT_TRUE(std::all_of(elements.begin(), done, [](auto e) { return e == kAfter; }));
          const bool isAlone = threads == 1;
          EXPECT_TRUE(!isAlone ||
                      std::all_of(done, elements.end(), [](auto e) { return e == kBefore; }));
          mostDone = std::max(mostDone, error.done);
          return false;
        },
        [&] { EXPECT_EQ(call.datetimes.elements(), std::vector(kCount, kAfter)); });
    EXPECT_GT(mostDone, 0U) << "none failed behind the first block";
  }
}

TEST(ShortOfMemory, WhileComponentsAreRead) {
  Cases cases(12);
  Column<std::int64_t> datetimes(std::vector(kCount, kBefore), "<M8[ms]");
  Column<double> numbers(std::vector(kCount, 0.0), "<f8");
  const plxArray from = datetimes.array(), to = numbers.array();
  for (const char* zone : {"", "America/New_York", "local"}) {
    const plxOptions options = inZone(zone);
    cases += withEachAllocationFailing(
        [&](plxError& error) {
          numbers.elements().assign(kCount, 0.0);
          return plxGet(&from, paMONTH, &options, &to, &error) == 0;
        },
        [&] { EXPECT_EQ(numbers.elements(), std::vector(kCount, 5.0)) << zone; });
  }
}

TEST(ShortOfMemory, WhileTypesAreConverted) {
  Cases cases(4);
  Column<std::int64_t> millis(std::vector(kCount, kBefore), "<M8[ms]");
  Column<std::int64_t> nanos(std::vector<std::int64_t>(kCount), "<M8[ns]");
  const plxArray from = millis.array(), to = nanos.array();
  cases += withEachAllocationFailing(
      [&](plxError& error) {
        nanos.elements().assign(kCount, 0);
        return plxConvert(&from, nullptr, &to, &error) == 0;
      },
      [&] { EXPECT_EQ(nanos.elements(), std::vector(kCount, kBefore * 1'000'000)); });
}

TEST(ShortOfMemory, WhileTextsAreMade) {
  Cases cases(100);
  Column<std::int64_t> datetime({kBefore}, "<M8[ms]");
  const plxArray one = datetime.array();
  const double february = 2;
  const plxSetting month = forAll(paMONTH, february);
  const plxOptions options = inZone("America/New_York");
  plxError ignored{};
  const auto makes = [&](auto make) {
    char* const whole = make(&ignored);
    ASSERT_NE(whole, nullptr);
    const std::string expected = whole;
    ASSERT_GT(expected.size(), 10U);
    plxFreeText(whole);
    std::string made;
    made.reserve(2 * expected.size());  // no allocation of the test's own
    cases += withEachAllocationFailing(
        [&](plxError& error) {
          char* const text = make(&error);
          if (text == nullptr) return false;
          made = text;
          plxFreeText(text);
          return true;
        },
        [&] { EXPECT_EQ(made, expected); });
  };
  for (const plxTextForm form : {plxPLAIN_TEXT, plxCOLOURED_TEXT, plxHTML})
    makes([&, form](plxError* error) { return plxExplain(&one, &month, &options, form, error); });
  makes([](plxError* error) { return plxZones("par", error); });
}

}  // namespace
