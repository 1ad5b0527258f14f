// Pairs of arrays in any memory: the same bits as those of arrays that the module can take as they are.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "library/setting/support.h"
#include "support/cases.h"
#include "support/random.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Pair {
  double high, low;
  bool operator==(const Pair& other) const { return std::memcmp(this, &other, sizeof other) == 0; }
};

// Where high and low parts stand.
struct Layout {
  const char* why;
  bool isSwapped;
  std::ptrdiff_t step;     // bytes from one high part to the next
  std::ptrdiff_t lowStep;  // bytes from one low part to the next
  std::ptrdiff_t first,
      low;  // bytes before the first of them; a negative `low`: before the last of all
};
constexpr Layout kLayouts[] = {
    {"one behind the other", false, 8, 8, 0, 8 * 1000},
    {"in the other byte order", true, 8, 8, 0, 8 * 1000},
    {"with gaps", false, 24, 40, 0, 24 * 1000},
    {"with gaps, in the other byte order", true, 24, 40, 0, 24 * 1000},
    {"high and low part in turn", false, 16, 16, 0, 8},
    {"at no multiple of eight", false, 8, 8, 3, 8 * 1001},
    {"the low parts at no multiple of eight", false, 8, 8, 0, 8 * 1000 + 4},
    {"the low parts from the last to the first", false, 8, -8, 0, 8 * 1999},
};
constexpr std::size_t kMost = 1000;

class Memory {
 public:
  Memory(const Layout& layout, const std::vector<Pair>& pairs)
      : layout_(layout), count_(pairs.size()) {
    for (std::size_t i = 0; i < count_; ++i) {
      put(high(i), pairs[i].high);
      put(low(i), pairs[i].low);
    }
  }
  plxArray array() {
    return {high(0),         layout_.isSwapped ? ">f8" : "<f8", 1, &count_, &layout_.step, low(0),
            &layout_.lowStep};
  }
  Pair at(std::size_t i) { return {get(high(i)), get(low(i))}; }

 private:
  char* high(std::size_t i) { return bytes_ + layout_.first + place(i) * layout_.step; }
  char* low(std::size_t i) { return bytes_ + layout_.low + place(i) * layout_.lowStep; }
  static std::ptrdiff_t place(std::size_t i) { return static_cast<std::ptrdiff_t>(i); }
  void put(char* to, double x) const {
    char own[8];
    std::memcpy(own, &x, 8);
    if (layout_.isSwapped) std::reverse(own, own + 8);
    std::memcpy(to, own, 8);
  }
  double get(const char* from) const {
    char own[8];
    std::memcpy(own, from, 8);
    if (layout_.isSwapped) std::reverse(own, own + 8);
    double x = 0;
    std::memcpy(&x, own, 8);
    return x;
  }

  const Layout& layout_;
  const std::size_t count_;
  alignas(64) char bytes_[64 * (kMost + 1)] = {};
};

std::vector<Pair> somePairs(std::size_t count) {
  Random random(1970);
  std::vector<Pair> pairs = {{0, 0}, {-0.0, 0}, {kNaN, 0}, {1399710615250, 1e-5}, {-1, -1e-17}};
  while (pairs.size() < count)
    pairs.push_back({static_cast<double>(random.whole(-5'000'000'000'000, 5'000'000'000'000)),
                     random.oneIn(3) ? 0.0 : 1e-6});
  return pairs;
}

// What a call asks for beside the pairs.
struct Asked {
  const char* zone = nullptr;
  bool areSeveral = false, isEachItsOwn = false, leavesOut = false, tellsFindings = false,
       tellsNotes = false;
};

bool isLeftOut(const Asked& asked, std::size_t i) { return asked.leavesOut && i % 3 == 1; }

void setPairs(const Asked& asked, Memory& from, Memory& to, std::size_t count) {
  const double month = 2, hour = 3;
  std::vector<double> months(count, month);
  std::vector<std::uint8_t> where, findings(count);
  for (std::size_t i = 0; i < count; ++i) where.push_back(isLeftOut(asked, i) ? 0 : 1);
  unsigned notes = 0;
  plxOptions options = inZone(asked.zone);
  if (asked.leavesOut) options.where = where.data();
  if (asked.tellsFindings) options.findings = findings.data();
  if (asked.tellsNotes) options.notes = &notes;
  const plxArray in = from.array(), out = to.array();
  plxSetting settings[] = {forAll(paMONTH, month), forAll(paHOUR, hour)};
  if (asked.isEachItsOwn)
    settings[0].values = {months.data(), "<f8", 1, &count, nullptr, nullptr, nullptr};
  plxError error;
  const int status = plxSet(&in, settings, asked.areSeveral ? 2 : 1, &options, &out, &error);
  EXPECT_EQ(told(status, error), "");
}

TEST(Pairs, InAnyMemory) {
  const Asked kAsked[] = {{},
                          {.areSeveral = true},
                          {.isEachItsOwn = true},
                          {.leavesOut = true},
                          {.tellsFindings = true},
                          {.tellsNotes = true},
                          {.zone = "America/New_York"},
                          {.zone = "America/New_York", .leavesOut = true},
                          {.zone = "UTCLeapSeconds"}};
  Cases cases(static_cast<std::int64_t>(std::size(kAsked) * std::size(kLayouts) * 2 * 1000));
  const std::vector<Pair> pairs = somePairs(kMost), sevens(kMost, {7, 7});
  for (const Asked& asked : kAsked) {
    // What the module makes of arrays of its own kind; of all elements.
    Asked plainly = asked;
    plainly.isEachItsOwn = plainly.leavesOut = plainly.tellsFindings = plainly.tellsNotes = false;
    Memory in(kLayouts[0], pairs), expected(kLayouts[0], sevens);
    setPairs(plainly, in, expected, kMost);
    ASSERT_NE(expected.at(3), pairs[3]);
    for (const Layout& layout : kLayouts) {
      for (const bool isInPlace : {false, true}) {
        Memory from(layout, pairs), apart(layout, sevens);
        Memory& to = isInPlace ? from : apart;
        setPairs(asked, from, to, kMost);
        for (std::size_t i = 0; i < kMost; ++i, ++cases) {
          const Pair& before = isInPlace ? pairs[i] : sevens[i];
          ASSERT_EQ(to.at(i), isLeftOut(asked, i) ? before : expected.at(i))
              << layout.why << ", element " << i << (isInPlace ? ", in place" : "");
        }
      }
    }
  }
}

// High and low parts that other results would be written over before they are read.
TEST(Pairs, ExchangedInTheirOwnMemory) {
  const std::vector<Pair> pairs = {{1399710615250, 86400000}, {86400000, 1399710615250}, {0, 1}};
  const std::size_t count = pairs.size();
  std::vector<double> first, second, high(count), low(count);
  for (const Pair& pair : pairs) {
    first.push_back(pair.high);
    second.push_back(pair.low);
  }
  const double month = 2;
  const plxSetting setting = forAll(paMONTH, month);
  const auto columns = [&](std::vector<double>& a, std::vector<double>& b) {
    return plxArray{a.data(), "<f8", 1, &count, nullptr, b.data(), nullptr};
  };
  plxError error;
  const plxArray in = columns(first, second), apart = columns(high, low);
  EXPECT_EQ(told(plxSet(&in, &setting, 1, nullptr, &apart, &error), error), "");
  const plxArray exchanged = columns(second, first);
  EXPECT_EQ(told(plxSet(&in, &setting, 1, nullptr, &exchanged, &error), error), "");
  EXPECT_EQ(second, high);
  EXPECT_EQ(first, low);
}

struct Progress {
  int calls = 0;
  std::size_t done = 0;
};
int countCall(void* context, std::size_t done, std::size_t) {
  auto* const progress = static_cast<Progress*>(context);
  ++progress->calls;
  EXPECT_GE(done, progress->done);
  progress->done = done;
  return 0;
}

// More than two blocks of the largest size, and results that bypass the caches.
TEST(Pairs, LongColumnsByThreadsAndWithProgress) {
  constexpr std::size_t kLong = (std::size_t{1} << 21) + 5;
  Cases cases(2);
  std::vector<double> high(kLong), low(kLong, 1e-5);
  for (std::size_t i = 0; i < kLong; ++i) high[i] = static_cast<double>(i) * 1e6;
  std::vector<double> expectedHigh(kLong), expectedLow(kLong);
  const double hour = 13;
  const plxSetting setting = forAll(paHOUR, hour);
  const plxArray in = {high.data(), "<f8", 1, &kLong, nullptr, low.data(), nullptr};
  const plxArray all = {expectedHigh.data(), "<f8",  1, &kLong, nullptr,
                        expectedLow.data(),  nullptr};
  plxError error;
  ASSERT_EQ(told(plxSet(&in, &setting, 1, nullptr, &all, &error), error), "");
  std::vector<double> newHigh(kLong), newLow(kLong);
  for (const std::size_t count : {std::size_t{100}, kLong}) {
    const unsigned threads = count == kLong ? 3 : 1;
    const plxArray some = {high.data(), "<f8", 1, &count, nullptr, low.data(), nullptr};
    const plxArray out = {newHigh.data(), "<f8", 1, &count, nullptr, newLow.data(), nullptr};
    Progress progress;
    plxOptions options = inZone(nullptr);
    options.threads = threads;
    options.progress = countCall;
    options.context = &progress;
    ASSERT_EQ(told(plxSet(&some, &setting, 1, &options, &out, &error), error), "");
    EXPECT_EQ(progress.calls > 0, count == kLong) << "one block is not worth telling of";
    EXPECT_EQ(std::memcmp(newHigh.data(), expectedHigh.data(), 8 * count), 0);
    EXPECT_EQ(std::memcmp(newLow.data(), expectedLow.data(), 8 * count), 0);
    ++cases;
  }
}

TEST(Pairs, AreToldByBothParts) {
  const double month = 2;
  const plxSetting setting = forAll(paMONTH, month);
  double high[] = {0, 5e15}, low[] = {0, 0.25}, numbers[] = {0, 0};
  const std::size_t count = 2;
  const plxArray pairs = {high, "<f8", 1, &count, nullptr, low, nullptr};
  const plxArray out = {numbers, "<f8", 1, &count, nullptr, nullptr, nullptr};
  const plxOptions options = inZone("+01:00");
  plxError error;
  constexpr const char* kAccepted =
      "; accepted: in a time zone, from -140744-08-10T07:30:29.504Z to "
      "+144683-05-23T16:29:30.496Z";
  EXPECT_EQ(told(plxSet(&pairs, &setting, 1, &options, &pairs, &error), error),
            std::string("Pelmor:datetime:RangeError at 1: the datetime is out of range: "
                        "\"5000000000000000,0.25\"") +
                kAccepted);
  EXPECT_EQ(told(plxGet(&pairs, paMONTH, &options, &out, &error), error),
            std::string("Pelmor:datetime:RangeError at 1: the datetime is out of range: "
                        "\"5000000000000000,0.25\"") +
                kAccepted);
}

}  // namespace
