// Calls of plx/plx.h with layouts of any kind, over memory between pages that cannot be read. Each call sets what
// one element at a time gives, up to the element it tells of, and leaves everything else as it was.

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "plx/plx.h"
#include "support/guarded_array.h"

namespace {

constexpr std::array<const char*, 14> kTypes = {
    "<c16",   "<f8",     "<M8[ns]", "<M8[us]", "<M8[ms]", "<M8[s]",   "<M8[D]",
    "<M8[M]", ">M8[ns]", ">f8",     ">c16",    "<M8[as]", "<M8[7us]", ">M8[25s]"};
constexpr std::array<const char*, 9> kValueTypes = {"<f8", "<i8", "<i4", "<i2", "|i1",
                                                    ">f8", "<u8", "<f4", "|u1"};
constexpr std::array<std::size_t, 9> kValueBytes = {8, 8, 4, 2, 1, 8, 8, 4, 1};
constexpr std::array<const char*, 6> kZones = {"",       "UTC",    "UTCLeapSeconds", "Europe/Paris",
                                               "+05:30", "Nowhere"};
constexpr std::array<int, 13> kComponents = {3, 6, 7, 9, 11, 12, 13, 14, 18, 19, 20, 21, 5};

// Memory for the elements of an array in a random layout, guarded at the end that elements reach to.
struct Layout {
  std::vector<std::ptrdiff_t> strides;
  std::ptrdiff_t first = 0;
  std::size_t bytes = 0;

  Layout(Input& in, const std::vector<std::size_t>& shape, std::size_t size, bool mayRepeat)
      : strides(shape.size()) {
    auto step = static_cast<std::ptrdiff_t>(size);
    for (std::size_t at = 0; at < shape.size(); ++at) {
      const std::size_t d = in.oneIn(4) ? at : shape.size() - 1 - at;
      if (strides[d] != 0) continue;
      if (mayRepeat && in.oneIn(5)) continue;
      if (in.oneIn(3)) step += static_cast<std::ptrdiff_t>(in.below(20));
      strides[d] = in.oneIn(3) ? -step : step;
      step *= static_cast<std::ptrdiff_t>(shape[d] == 0 ? 1 : shape[d]);
    }
    std::ptrdiff_t last = 0;
    for (std::size_t d = 0; d < shape.size(); ++d) {
      if (strides[d] == 0 && !mayRepeat && shape[d] > 1)
        strides[d] = step, step *= static_cast<std::ptrdiff_t>(shape[d]);
      const std::ptrdiff_t reach =
          strides[d] * static_cast<std::ptrdiff_t>(shape[d] == 0 ? 0 : shape[d] - 1);
      (reach < 0 ? first : last) += reach < 0 ? -reach : reach;
    }
    bytes = static_cast<std::size_t>(first + last) + size;
  }
  std::ptrdiff_t place(const std::vector<std::size_t>& shape, std::size_t position) const {
    std::ptrdiff_t at = first;
    for (std::size_t d = shape.size(); d-- > 0; position /= shape[d])
      at += strides[d] * static_cast<std::ptrdiff_t>(position % shape[d]);
    return at;
  }
};

void fill(Input& in, char* bytes, std::size_t count) {
  for (std::size_t i = 0; i + 8 <= count; i += 8) {
    if (in.oneIn(2)) {
      const double number = in.number();
      std::memcpy(bytes + i, &number, 8);
    } else {
      const auto number = in.bits<std::int64_t>() >> (in.byte() % 64);
      std::memcpy(bytes + i, &number, 8);
    }
  }
}

bool isNaN(std::string_view type, std::string number) {
  if (type[0] == '>') std::ranges::reverse(number);
  double value = 0;
  std::memcpy(&value, number.data(), sizeof value);
  return std::isnan(value);
}

// Whether two elements are the same, any NaN being any other: the sum of two has the bits of either.
bool isSame(std::string_view type, const std::string& one, const std::string& other) {
  if (type[1] == 'M') return one == other;
  for (std::size_t part = 0; part < one.size(); part += 8) {
    const std::string number = one.substr(part, 8), same = other.substr(part, 8);
    if (number != same && !(isNaN(type, number) && isNaN(type, same))) return false;
  }
  return true;
}

void checkCall(Input in) {
  std::vector<std::size_t> shape(in.below(4));
  std::size_t count = 1;
  for (std::size_t& length : shape) count *= length = in.below(7);
  const std::string type = kTypes[in.below(kTypes.size())];
  const std::size_t size = type.ends_with("c16") ? 16 : 8;
  const Layout layout(in, shape, size, false);
  GuardedArray<char> memory(layout.bytes, in.oneIn(2) ? Guard::start : Guard::end);
  GuardedArray<char> results(layout.bytes, in.oneIn(2) ? Guard::start : Guard::end);
  fill(in, memory.data(), layout.bytes);
  std::memset(results.data(), 0x5A, layout.bytes);
  const std::string before(memory.data(), layout.bytes);
  const std::size_t valueType = in.below(kValueTypes.size());
  const bool isOneValue = in.oneIn(2);
  const std::vector<std::size_t> valueShape = isOneValue ? std::vector<std::size_t>{} : shape;
  const Layout valueLayout(in, valueShape, kValueBytes[valueType], true);
  GuardedArray<char> values(valueLayout.bytes, Guard::end);
  if (valueType == 0 && in.oneIn(2)) {
    std::memset(values.data(), 0, valueLayout.bytes);  // whole numbers, which most components want
  } else {
    fill(in, values.data(), valueLayout.bytes);
  }
  plxSetting setting{kComponents[in.below(kComponents.size())],
                     {values.data() + valueLayout.first, kValueTypes[valueType], valueShape.size(),
                      valueShape.data(), valueLayout.strides.data(), nullptr, nullptr},
                     in.oneIn(8) ? "last" : nullptr};
  plxOptions options{};
  options.size = sizeof options;
  options.zone = kZones[in.below(kZones.size())];
  options.fold = static_cast<plxFold>(in.below(4));
  options.gap = static_cast<plxGap>(in.below(4));
  std::vector<std::uint8_t> findings(count, 0xAA), where(count, 1);
  if (in.oneIn(4)) options.findings = findings.data();
  if (in.oneIn(4)) {
    for (std::uint8_t& one : where) one = in.byte() % 2;
    options.where = where.data();
  }

  const plxArray from{memory.data() + layout.first, type.c_str(), shape.size(), shape.data(),
                      layout.strides.data(),        nullptr,      nullptr};
  plxArray to = from;
  to.data = results.data() + layout.first;
  plxError error;
  const int status = plxSet(&from, &setting, 1, &options, &to, &error);
  require((status == 0) == (error.identifier[0] == '\0'),
          "an error has an identifier:", error.identifier);
  require(std::memcmp(before.data(), memory.data(), layout.bytes) == 0, "the datetimes stay");
  const std::size_t done = status == 0                   ? count
                           : error.index == PLX_NO_INDEX ? error.done
                                                         : error.index;
  require(done <= count, "the index is one:", error.message);
  for (std::size_t i = 0; i < count; ++i) {
    const auto place = static_cast<std::size_t>(layout.place(shape, i));
    std::string expected(size, '\x5A');
    plxError alone;
    bool isRefused = false;
    if (where[i] != 0) {
      std::string element = before.substr(place, size);
      const plxArray one{element.data(), type.c_str(), 0, nullptr, nullptr, nullptr, nullptr};
      plxSetting its = setting;
      its.values.data = values.data() + valueLayout.place(valueShape, isOneValue ? 0 : i);
      its.values.ndim = 0;
      plxOptions same = options;
      std::uint8_t finding = 0;
      same.where = nullptr;
      if (options.findings != nullptr) same.findings = &finding;
      isRefused = plxSet(&one, &its, 1, &same, &one, &alone) != 0;
      if (i < done && !isRefused) {
        expected = element;
        require(options.findings == nullptr || findings[i] == finding,
                "the finding is that of one");
      }
    }
    if (i < done) require(!isRefused, "what is set can be set alone:", alone.message);
    if (status != 0 && i == done && error.index != PLX_NO_INDEX) {
      require(isRefused && std::string_view(alone.identifier) == error.identifier,
              "what is refused is refused alone:", error.message);
    }
    require(isSame(type, std::string(results.data() + place, size), expected),
            "an element is as it is alone:", type);
  }
  // In place it is the same.
  plxError again;
  const int status2 = plxSet(&from, &setting, 1, &options, &from, &again);
  require(status2 == status && again.index == error.index, "in place it ends in the same way");
  for (std::size_t i = 0; i < done; ++i) {
    const auto place = static_cast<std::size_t>(layout.place(shape, i));
    if (where[i] == 0) continue;
    require(isSame(type, std::string(memory.data() + place, size),
                   std::string(results.data() + place, size)),
            "in place it is the same");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  checkCall(Input(data, size));
  return 0;
}
