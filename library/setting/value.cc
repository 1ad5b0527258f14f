#include "setting/value.h"

#include "datetime/number_text.h"
#include "inspect/named.h"
#include "messages/calendar_names.h"
#include "messages/near_names.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedNumbers = "a decimal number such as 13, -0.5 or 1e3";
constexpr std::string_view kAcceptedWholeNumbers =
    "whole numbers; only second and time-of-day take fractions";

// A text that is no number may have been meant as a name.
std::string_view acceptedOf(Component component) {
  switch (component) {
    case Component::quarter:
      return "a number such as 13, q1 to q4, last";
    case Component::month:
      return "a number such as 13, jan to dec, last";
    case Component::dayOfWeek:
      return "a number such as 13, sun to sat, last";
    default:
      return kAcceptedNumbers;
  }
}

std::string wordMeant(std::string_view text, Component component) {
  if (component == Component::month) return didYouMean(text, kMonthNames);
  if (component == Component::dayOfWeek) return didYouMean(text, kWeekdayNames);
  return {};
}

}  // namespace

std::optional<double> readValue(std::string_view text, Component component, Complaint& complaint) {
  if (const auto name = named(component, text)) return name->isLast ? kLast : name->number;
  double number = 0;
  switch (readDecimal(text, number)) {
    case DecimalText::number:
      if (factsOf(component).takesFractions || std::floor(number) == number) return number;
      complaint = {"not a whole number", kAcceptedWholeNumbers};
      break;
    case DecimalText::tooLarge:
      complaint = {"the number is beyond the range of a double", kAcceptedNumbers};
      break;
    case DecimalText::tooSmall:
      complaint = {"the number is nearer to 0 than any double", kAcceptedNumbers};
      break;
    case DecimalText::none:
      complaint = {"not a number" + wordMeant(text, component), acceptedOf(component)};
      break;
  }
  return std::nullopt;
}

}  // namespace plx
