#include "elements/element_type.h"

#include <fmt/format.h>

#include <array>
#include <charconv>

namespace plx {

namespace {

using Kind = ElementType::Kind;

constexpr std::array<std::string_view, 13> kUnitNames = {"Y",  "M",  "W",  "D",  "h",  "m", "s",
                                                         "ms", "us", "ns", "ps", "fs", "as"};

constexpr std::string_view kAcceptedTypes =
    "complex128 (c16), float64 (f8), datetime64 with a unit (M8[ns]); for values float64, float32 "
    "(f4) and integers (i1 to i8, u1 to u8)";
constexpr std::string_view kAcceptedUnits =
    "Y, M, W, D, h, m, s, ms, us, ns, ps, fs or as, with a multiple from 1 to 2147483647 before it "
    "as in M8[25s]";

struct NumberType {
  std::string_view text;
  Kind kind;
  std::size_t bytes;
};
constexpr std::array<NumberType, 11> kNumberTypes = {{{"c16", Kind::complexFloat, 16},
                                                      {"f8", Kind::floatingPoint, 8},
                                                      {"f4", Kind::floatingPoint, 4},
                                                      {"i1", Kind::signedInteger, 1},
                                                      {"i2", Kind::signedInteger, 2},
                                                      {"i4", Kind::signedInteger, 4},
                                                      {"i8", Kind::signedInteger, 8},
                                                      {"u1", Kind::unsignedInteger, 1},
                                                      {"u2", Kind::unsignedInteger, 2},
                                                      {"u4", Kind::unsignedInteger, 4},
                                                      {"u8", Kind::unsignedInteger, 8}}};

std::endian readOrder(std::string_view& text) {
  const char order = text.empty() ? '\0' : text.front();
  if (order != '<' && order != '>' && order != '=' && order != '|') return std::endian::native;
  text.remove_prefix(1);
  if (order == '<') return std::endian::little;
  return order == '>' ? std::endian::big : std::endian::native;
}

// A unit with a multiple or without: "25s", "ns".
bool readUnit(std::string_view text, ElementType& type) {
  if (!text.empty() && '0' <= text.front() && text.front() <= '9') {
    const char* end = text.data() + text.size();
    const auto [next, error] = std::from_chars(text.data(), end, type.multiple);
    if (error != std::errc() || type.multiple < 1) return false;
    text.remove_prefix(static_cast<std::size_t>(next - text.data()));
  }
  for (std::size_t i = 0; i < kUnitNames.size(); ++i) {
    if (kUnitNames[i] != text) continue;
    type.unit = static_cast<TimeUnit>(i);
    return true;
  }
  return false;
}

std::string unitText(const ElementType& type) {
  const std::string_view name = kUnitNames[static_cast<std::size_t>(type.unit)];
  return type.multiple == 1 ? std::string(name) : fmt::format("{}{}", type.multiple, name);
}

}  // namespace

std::optional<ElementType> readElementType(std::string_view text, Complaint& complaint) {
  ElementType type;
  type.order = readOrder(text);
  if (text == "M8") {
    complaint = {"datetime64 without a unit", kAcceptedUnits};
    return std::nullopt;
  }
  if (text.starts_with("M8[") && text.ends_with(']')) {
    type.kind = Kind::datetime64;
    type.bytes = 8;
    if (readUnit(text.substr(3, text.size() - 4), type)) return type;
    complaint = {"unknown unit of datetime64", kAcceptedUnits};
    return std::nullopt;
  }
  for (const NumberType& number : kNumberTypes) {
    if (number.text != text) continue;
    type.kind = number.kind;
    type.bytes = number.bytes;
    return type;
  }
  complaint = {"an element type that is not read here", kAcceptedTypes};
  return std::nullopt;
}

std::string typeString(const ElementType& type) {
  const char* order = type.bytes == 1 ? "|" : type.order == std::endian::little ? "<" : ">";
  if (type.kind == Kind::datetime64) return fmt::format("{}M8[{}]", order, unitText(type));
  for (const NumberType& number : kNumberTypes) {
    if (number.kind == type.kind && number.bytes == type.bytes)
      return fmt::format("{}{}", order, number.text);
  }
  return {};
}

std::string typeName(const ElementType& type) {
  switch (type.kind) {
    case Kind::complexFloat:
      return "complex128";
    case Kind::datetime64:
      return fmt::format("datetime64[{}]", unitText(type));
    case Kind::floatingPoint:
      return fmt::format("float{}", 8 * type.bytes);
    case Kind::signedInteger:
      return fmt::format("int{}", 8 * type.bytes);
    case Kind::unsignedInteger:
      break;
  }
  return fmt::format("uint{}", 8 * type.bytes);
}

}  // namespace plx
