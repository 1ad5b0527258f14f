#include "set/values.h"

#include <charconv>
#include <cmath>

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

Values::Values(const std::string& text, const Component& component)
    : component_(component), text_(text) {
  if (text.starts_with('@')) {
    file_ = std::make_unique<LineReader>(text.substr(1));
  } else {
    value_ = parse();
  }
}

// The number that text_ says.
double Values::parse() const {
  double number = 0;
  bool outOfRange = false;
  if (!readNumber(text_, number, outOfRange)) {
    throw failure({outOfRange ? "the number is beyond the range of a double" : "not a number",
                   kAcceptedNumbers});
  }
  if (component_.whole && std::floor(number) != number)
    throw failure({"not a whole number", kAcceptedWholeNumbers});
  return number;
}

// Whether a line is there to be taken.
bool Values::fill() {
  if (nextLine_ < lines_.size()) return true;
  nextLine_ = 0;
  return file_->read(lines_);
}

std::optional<double> Values::next(Complaint& complaint) {
  if (!file_) return value_;
  if (!fill()) {
    complaint = {file_->name() + " has no value left for this datetime", "one value for each"};
    return std::nullopt;
  }
  const Line& line = lines_[nextLine_++];
  text_.assign(line.text);
  lastLine_ = line.number;
  return parse();
}

void Values::skipEmptyLine() {
  if (file_ && fill() && lines_[nextLine_].text.empty()) ++nextLine_;
}

void Values::finish() {
  while (file_ && fill()) {
    const Line& line = lines_[nextLine_++];
    if (line.text.empty()) continue;
    text_.assign(line.text);
    lastLine_ = line.number;
    throw failure({"there are more values than datetimes", "one value for each"});
  }
}

Failure Values::failure(const Complaint& complaint) const {
  const std::string where = file_ ? location(file_->name(), lastLine_) : "VALUE";
  return {Status::badData, describe(where, complaint, text_)};
}

}  // namespace plx
