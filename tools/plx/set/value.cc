#include "set/value.h"

#include <charconv>

#include "inspect/named.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedNumbers = "a decimal number such as 13, -0.5 or 1e3";
constexpr std::string_view kAcceptedWholeNumbers =
    "whole numbers; only second and time-of-day take fractions";

// A decimal number, the entire text. Without the letters of inf and nan.
bool readNumber(std::string_view text, double& number, bool& tooLarge) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  if (text.find_first_not_of("0123456789+-.eE") != std::string_view::npos) return false;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  tooLarge = result.ec == std::errc::result_out_of_range;
  return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

std::optional<double> readValue(std::string_view text, const Component& component,
                                Complaint& complaint) {
  if (const auto name = named(component, text)) return name->isLast ? kLast : name->number;
  double number = 0;
  bool outOfRange = false;
  if (!readNumber(text, number, outOfRange)) {
    complaint = {outOfRange ? "the number is beyond the range of a double" : "not a number",
                 kAcceptedNumbers};
    return std::nullopt;
  }
  if (component.whole && std::floor(number) != number) {
    complaint = {"not a whole number", kAcceptedWholeNumbers};
    return std::nullopt;
  }
  return number;
}

}  // namespace plx
