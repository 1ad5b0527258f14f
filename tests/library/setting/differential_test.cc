// The library held against the module, one element at a time, bit for bit: over types, units, byte orders,
// strides, shapes and values.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <optional>

#include "elements/element_type.h"
#include "elements/elements.h"
#include "library/setting/support.h"
#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/length.h"
#include "support/random.h"

namespace {

// What one element becomes by the module alone: read by exact arithmetic, set, written by exact arithmetic.
class OneByOne {
 public:
  // Nothing where it is refused.
  std::optional<std::string> set(const std::string& type, const std::string& element, int component,
                                 double value, const std::string& zone) const {
    plx::Complaint complaint;
    const auto known = plx::readElementType(type, complaint);
    const bool keepsParts = component != paSECOND && component != paTIME_OF_DAY;
    const auto elements = plx::DatetimeElements::of(*known, keepsParts);
    doubledouble before{};
    if (elements->readOne(element.data(), before)) return std::nullopt;
    const Outcome outcome = module_.set(datetimes({before}), doubles({value}), component, zone);
    if (outcome.status != 0) return std::nullopt;
    const doubledouble after = ::elements(outcome.result).at(0);
    plx::Slack slack{0, !std::isfinite(before.hi) || !std::isfinite(value)};
    if (std::isfinite(value) && std::floor(value) != value)
      slack.millis = std::fabs(value) * (1000 * 0x1p-52);
    std::string result(element.size(), '\0');
    if (elements->writeOne(element.data(), after, slack, result.data())) return std::nullopt;
    return result;
  }

 private:
  DatetimeModule module_;
};

void appendDouble(std::string& bytes, double x, bool isSwapped) {
  auto bits = std::bit_cast<std::uint64_t>(x);
  if (isSwapped) bits = __builtin_bswap64(bits);
  bytes.append(reinterpret_cast<const char*>(&bits), 8);
}

struct Type {
  const char* name;  // without the byte order
  int mostBits;      // counts of so many stay in range, hardly ever more
};
constexpr Type kTypes[] = {{"c16", 0},     {"f8", 0},      {"M8[Y]", 14},  {"M8[M]", 18},
                           {"M8[5M]", 15}, {"M8[W]", 20},  {"M8[D]", 23},  {"M8[3D]", 21},
                           {"M8[h]", 27},  {"M8[m]", 33},  {"M8[s]", 38},  {"M8[25s]", 34},
                           {"M8[ms]", 48}, {"M8[us]", 58}, {"M8[ns]", 63}, {"M8[10ns]", 60},
                           {"M8[ps]", 63}, {"M8[fs]", 63}, {"M8[as]", 63}};

std::string randomElement(Random& random, const Type& type, bool isSwapped) {
  std::string bytes;
  const auto millis = static_cast<double>(random.whole(-4'000'000'000'000, 4'000'000'000'000));
  if (std::string_view(type.name) == "c16") {
    const double high = random.oneIn(50) ? kNan : random.oneIn(3) ? millis + 0.125 : millis;
    const bool hasLow = random.oneIn(2);
    appendDouble(bytes, high, isSwapped);
    appendDouble(bytes, hasLow ? random.real(-1, 1) * 0x1p-12 : 0.0, isSwapped);
  } else if (std::string_view(type.name) == "f8") {
    appendDouble(bytes, random.oneIn(50) ? kNan : millis, isSwapped);
  } else {
    const int bits = static_cast<int>(random.whole(type.mostBits / 2, type.mostBits));
    const auto most = static_cast<std::int64_t>(~std::uint64_t{0} >> (64 - bits));
    const std::int64_t count = random.oneIn(50) ? kNaT : random.whole(-most, most);
    auto raw = static_cast<std::uint64_t>(count);
    if (isSwapped) raw = __builtin_bswap64(raw);
    bytes.append(reinterpret_cast<const char*>(&raw), 8);
  }
  return bytes;
}

double usualValue(Random& random, int component) {
  const auto whole = static_cast<double>(random.whole(-3, 70));
  if (component == paYEAR) return 1950 + whole;
  if (component == paSECOND || component == paTIME_OF_DAY)
    return random.oneIn(2) ? whole : whole + static_cast<double>(random.whole(0, 7)) / 8;
  return whole;
}

// A place in memory for each element of an array of up to three dimensions.
struct Layout {
  std::vector<std::size_t> shape;
  std::vector<std::ptrdiff_t> strides;
  std::ptrdiff_t first = 0;
  std::size_t bytes = 0;  // of the memory

  std::size_t count() const {
    std::size_t product = 1;
    for (const std::size_t length : shape) product *= length;
    return product;
  }
  std::ptrdiff_t place(std::size_t position) const {
    std::ptrdiff_t at = first;
    for (std::size_t d = shape.size(); d-- > 0; position /= shape[d])
      at += strides[d] * static_cast<std::ptrdiff_t>(position % shape[d]);
    return at;
  }
};

// The dimensions in any order in memory, gaps between them, either sign, any alignment.
Layout randomLayout(Random& random, std::vector<std::size_t> shape, std::size_t size) {
  Layout layout{std::move(shape), {}, 0, 0};
  std::vector<std::size_t> order(layout.shape.size());
  for (std::size_t d = 0; d < order.size(); ++d) order[d] = d;
  for (std::size_t d = order.size(); d-- > 1;)
    std::swap(order[d], order[static_cast<std::size_t>(random.whole(0, static_cast<int>(d)))]);
  layout.strides.resize(order.size());
  auto step = static_cast<std::ptrdiff_t>(size);
  layout.first = random.oneIn(3) ? random.whole(1, 7) : 0;
  for (const std::size_t d : order) {
    if (random.oneIn(3)) step += random.whole(0, 24);
    const auto extent = step * static_cast<std::ptrdiff_t>(layout.shape[d]);
    layout.strides[d] = step;
    if (random.oneIn(3)) {
      layout.strides[d] = -step;
      layout.first += extent - step;
    }
    step = std::max<std::ptrdiff_t>(extent, static_cast<std::ptrdiff_t>(size));
  }
  layout.bytes = static_cast<std::size_t>(step) + 16;
  return layout;
}

std::vector<std::size_t> randomShape(Random& random, std::size_t most) {
  std::vector<std::size_t> shape;
  std::size_t left = most;
  for (int d = static_cast<int>(random.whole(0, 3)); d > 0 && left > 0; --d) {
    shape.push_back(static_cast<std::size_t>(random.whole(1, static_cast<std::int64_t>(left))));
    left /= shape.back();
  }
  return shape;
}

// New values of a random type in memory: one for all, or an array that may repeat them by strides of 0.
class Values {
 public:
  Values(Random& random, int component, const std::vector<std::size_t>& shape)
      : isOne_(random.oneIn(2)) {
    constexpr std::array kNames = {"<f8", ">f8", "<f4", ">f4", "<i8", ">i4", "<i2", "|i1"};
    constexpr std::array<std::size_t, 8> kSizes = {8, 8, 4, 4, 8, 4, 2, 1};
    // A byte holds no year.
    const auto type = static_cast<std::size_t>(random.whole(0, component == paYEAR ? 6 : 7));
    name_ = kNames[type];
    layout_ = randomLayout(random, isOne_ ? std::vector<std::size_t>{} : shape, kSizes[type]);
    for (std::ptrdiff_t& stride : layout_.strides)
      if (random.oneIn(4)) stride = 0;
    memory_.assign(layout_.bytes, '\x5A');
    numbers_.resize(layout_.bytes);
    for (std::size_t i = 0; i < layout_.count(); ++i) {
      const double usual = usualValue(random, component);
      put(layout_.place(i), kSizes[type], name_[1] == 'f' ? usual : std::floor(usual));
    }
  }

  double at(std::size_t i) const {
    return numbers_[static_cast<std::size_t>(layout_.place(isOne_ ? 0 : i))];
  }
  plxArray array() {
    return {memory_.data() + layout_.first,
            name_,
            layout_.shape.size(),
            layout_.shape.data(),
            layout_.strides.data(),
            nullptr,
            nullptr};
  }
  const char* type() const { return name_; }

 private:
  void put(std::ptrdiff_t place, std::size_t size, double number) {
    const bool isFloat = name_[1] == 'f';
    std::uint64_t bits = size == 4 ? std::bit_cast<std::uint32_t>(static_cast<float>(number))
                                   : std::bit_cast<std::uint64_t>(number);
    if (!isFloat) bits = static_cast<std::uint64_t>(static_cast<std::int64_t>(number));
    for (std::size_t byte = 0; byte < size; ++byte) {
      const std::size_t at = name_[0] == '>' ? size - 1 - byte : byte;
      memory_[static_cast<std::size_t>(place) + at] = static_cast<char>(bits >> 8 * byte & 0xFF);
    }
    numbers_[static_cast<std::size_t>(place)] = number;
  }

  const bool isOne_;
  const char* name_ = nullptr;
  Layout layout_;
  std::string memory_;
  std::vector<double> numbers_;  // by their places
};

constexpr const char* kZones[] = {"", "UTC", "UTCLeapSeconds", "America/New_York", "+05:30"};

// Random layouts of a few elements: of each the answer by the module alone.
TEST(Differential, LayoutsAgainstOneElementAtATime) {
  const std::int64_t least = testsAreWhole() ? 10'000'000 : ofUsual(2'000'000);
  Cases cases(least);
  Random random(16);
  const OneByOne module;
  std::int64_t refused = 0;
  for (std::int64_t left = least; left > 0;) {
    const Type& type = kTypes[static_cast<std::size_t>(random.whole(0, std::size(kTypes) - 1))];
    const bool isSwapped = random.oneIn(3);
    const std::string name = (isSwapped ? ">" : "<") + std::string(type.name);
    const std::size_t size = name == "<c16" || name == ">c16" ? 16 : 8;
    const Layout in = randomLayout(random, randomShape(random, 60), size);
    const bool isInPlace = random.oneIn(3);
    const Layout out = isInPlace ? in : randomLayout(random, in.shape, size);
    const std::size_t count = in.count();
    std::string memory(in.bytes, '\x5A'), result(out.bytes, '\x5A');
    std::vector<std::string> before(count);
    for (std::size_t i = 0; i < count; ++i) {
      before[i] = randomElement(random, type, isSwapped);
      memory.replace(static_cast<std::size_t>(in.place(i)), size, before[i]);
    }
    const int component = kSelectorsOfAll[static_cast<std::size_t>(random.whole(0, 10))];
    Values values(random, component, in.shape);
    const char* zone = kZones[static_cast<std::size_t>(random.whole(0, std::size(kZones) - 1))];

    std::string& to = isInPlace ? memory : result;
    const plxArray datetimes{
        memory.data() + in.first, name.c_str(), in.shape.size(), in.shape.data(),
        in.strides.data(),        nullptr,      nullptr};
    const plxArray results{to.data() + out.first, name.c_str(), out.shape.size(), out.shape.data(),
                           out.strides.data(),    nullptr,      nullptr};
    const plxSetting setting{component, values.array(), nullptr};
    const plxOptions options = inZone(zone);
    plxError error;
    const int status = plxSet(&datetimes, &setting, 1, &options, &results, &error);
    const std::size_t done = status == 0 ? count : error.index;
    ASSERT_LE(done, count) << told(status, error) << ' ' << name;
    for (std::size_t i = 0; i < count; ++i) {
      const std::string found = to.substr(static_cast<std::size_t>(out.place(i)), size);
      const auto expected = module.set(name, before[i], component, values.at(i), zone);
      if (i < done) {
        ASSERT_TRUE(expected) << name << " component " << component << " element " << i;
        ASSERT_EQ(found, *expected) << name << " component " << component << " zone " << zone
                                    << " value " << values.at(i) << ' ' << values.type();
      } else {
        if (i == done) {
          ASSERT_FALSE(expected) << told(status, error) << ' ' << name;
        }
        ASSERT_EQ(found, isInPlace ? before[i] : std::string(size, '\x5A'));
      }
    }
    refused += status;
    // Those held against the module: up to the one that is wrong.
    const auto held = static_cast<std::int64_t>(std::min(count, done + 1));
    left -= held;
    cases += held;
  }
  EXPECT_GT(refused, least / 4000);
}

// Long arrays: all at once, against the same in reversed order, in blocks of other lengths, and by two threads. What
// becomes of few is what the test above holds against the module.
TEST(Differential, LengthsThreadsAndOrders) {
  const std::int64_t whole = 10'000'000;
  const std::int64_t least = testsAreWhole() ? whole : 2'000'000;
  Cases cases(least);
  Random random(17);
  for (std::int64_t left = least; left > 0;) {
    const Type& type = kTypes[static_cast<std::size_t>(random.whole(0, std::size(kTypes) - 1))];
    const std::string name = "<" + std::string(type.name);
    const std::size_t size = name == "<c16" ? 16 : 8;
    const auto count = static_cast<std::size_t>(random.whole(1, 40'000));
    std::string memory, reversed(count * size, '\0'), parts(count * size, '\0');
    for (std::size_t i = 0; i < count; ++i) memory += randomElement(random, type, false);
    const int component = kSelectorsOfAll[static_cast<std::size_t>(random.whole(0, 10))];
    std::vector<double> values(count);
    const bool isOneValue = random.oneIn(2);
    values[0] = usualValue(random, component);
    for (double& value : values) value = isOneValue ? values[0] : usualValue(random, component);
    plxOptions options =
        inZone(kZones[static_cast<std::size_t>(random.whole(0, std::size(kZones) - 1))]);

    const auto at = [&](std::string& bytes, std::size_t start, const std::size_t& length,
                        const std::ptrdiff_t* stride) {
      return plxArray{
          bytes.data() + start * size, name.c_str(), 1, &length, stride, nullptr, nullptr};
    };
    const auto setting = [&](std::size_t start, const std::size_t& length,
                             const std::ptrdiff_t* stride) {
      return plxSetting{component,
                        {values.data() + start, "<f8", isOneValue && random.oneIn(2) ? 0U : 1U,
                         &length, stride, nullptr, nullptr},
                        nullptr};
    };
    // From the end to the start.
    const std::ptrdiff_t back = -static_cast<std::ptrdiff_t>(size), backByOne = -8;
    plxError error, backwards;
    const plxArray inBack = at(memory, count - 1, count, &back),
                   outBack = at(reversed, count - 1, count, &back);
    const plxSetting settingBack =
        setting(isOneValue ? 0 : count - 1, count, isOneValue ? nullptr : &backByOne);
    const int statusBack = plxSet(&inBack, &settingBack, 1, &options, &outBack, &backwards);
    // In two pieces, the first by two threads.
    const std::size_t first = static_cast<std::size_t>(
                          random.whole(0, static_cast<std::int64_t>(count))),
                      second = count - first;
    options.threads = 2;
    const plxArray in1 = at(memory, 0, first, nullptr), out1 = at(parts, 0, first, nullptr);
    const plxSetting setting1 = setting(0, first, nullptr);
    int statusParts = plxSet(&in1, &setting1, 1, &options, &out1, &error);
    options.threads = 1;
    const plxArray in2 = at(memory, first, second, nullptr),
                   out2 = at(parts, first, second, nullptr);
    const plxSetting setting2 = setting(first, second, nullptr);
    if (statusParts == 0 && second > 0) {
      statusParts = plxSet(&in2, &setting2, 1, &options, &out2, &error);
      if (statusParts != 0) error.index += first;
    }
    // All of it, in place.
    std::string place = memory;
    const plxArray both = at(place, 0, count, nullptr);
    const plxSetting all = setting(0, count, nullptr);
    plxError whole1;
    const int status = plxSet(&both, &all, 1, &options, &both, &whole1);
    ASSERT_EQ(status, statusParts) << told(status, whole1) << told(statusParts, error);
    ASSERT_EQ(status, statusBack) << told(status, whole1) << told(statusBack, backwards);
    if (status == 0) {
      ASSERT_EQ(place, parts) << name << " component " << component;
      ASSERT_EQ(place, reversed) << name << " component " << component;
    } else {
      ASSERT_EQ(whole1.index, error.index) << name << ' ' << told(status, whole1);
      ASSERT_EQ(place.substr(0, whole1.index * size), parts.substr(0, whole1.index * size));
      ASSERT_EQ(place.substr(whole1.index * size), memory.substr(whole1.index * size));
    }
    left -= static_cast<std::int64_t>(count);
    cases += static_cast<std::int64_t>(count);
  }
}

// Pairs of arrays are the module's own, whatever they hold.
TEST(Differential, PairsOfArrays) {
  Cases cases(ofWhole(200'000));
  Random random(18);
  const DatetimeModule module;
  for (std::int64_t left = ofWhole(200'000); left > 0;) {
    const auto count = static_cast<std::size_t>(random.whole(1, 300));
    std::vector<doubledouble> pairs(count);
    for (doubledouble& pair : pairs) {
      const double high = random.oneIn(20) ? random.anyBits() : random.ofExponent(0, 45);
      pair = {high, random.oneIn(2) ? 0.0 : high * 0x1p-54};
    }
    std::vector<double> high(count), low(count), newHigh(count), newLow(count);
    for (std::size_t i = 0; i < count; ++i) {
      high[i] = pairs[i].hi;
      low[i] = pairs[i].lo;
    }
    const int component = kSelectorsOfAll[static_cast<std::size_t>(random.whole(0, 10))];
    const double value = usualValue(random, component);
    const plxArray in{high.data(), "<f8", 1, &count, nullptr, low.data(), nullptr};
    const bool isInPlace = random.oneIn(2);
    const plxArray out = isInPlace ? in : plxArray{newHigh.data(), "<f8",         1,      &count,
                                                   nullptr,        newLow.data(), nullptr};
    const char* zone = kZones[static_cast<std::size_t>(random.whole(0, 2))];
    const auto expected = module.results(pairs, std::vector<double>(count, value), component, zone);
    const plxSetting setting = forAll(component, value);
    const plxOptions options = inZone(zone);
    plxError error;
    const int status = plxSet(&in, &setting, 1, &options, &out, &error);
    ASSERT_EQ(told(status, error), "");
    for (std::size_t i = 0; i < count; ++i, ++cases) {
      const doubledouble found{static_cast<double*>(out.data)[i], static_cast<double*>(out.low)[i]};
      ASSERT_TRUE(sameBits(found, expected[i])) << pairs[i].hi << ' ' << component << ' ' << value;
    }
    left -= static_cast<std::int64_t>(count);
  }
}

}  // namespace
