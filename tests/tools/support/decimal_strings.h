// Sums of decimal numbers digit by digit, as on paper: slow, and sharing nothing with the code
// whose answers it checks. The exact digits of a double come from printf.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

class LongDecimal {
 public:
  // "-12.5"; no exponent.
  explicit LongDecimal(std::string_view text) {
    if (!text.empty() && text.front() == '-') {
      negative_ = true;
      text.remove_prefix(1);
    }
    const std::size_t point = std::min(text.find('.'), text.size());
    digits_.replace(kWhole - point, point, text.substr(0, point));
    if (point < text.size())
      digits_.replace(kWhole, text.size() - point - 1, text.substr(point + 1));
  }
  explicit LongDecimal(double x) : LongDecimal(exactText(x)) {}

  LongDecimal operator-() const {
    LongDecimal result = *this;
    result.negative_ = !negative_;
    return result;
  }
  friend LongDecimal operator+(const LongDecimal& a, const LongDecimal& b) {
    if (a.negative_ == b.negative_) return combined(a, b, +1);
    return a.digits_ >= b.digits_ ? combined(a, b, -1) : combined(b, a, -1);
  }
  friend LongDecimal operator-(const LongDecimal& a, const LongDecimal& b) { return a + -b; }
  friend bool operator==(const LongDecimal& a, const LongDecimal& b) {
    return a.digits_ == b.digits_ && (a.negative_ == b.negative_ || a.isZero());
  }

  bool isZero() const { return digits_.find_first_not_of('0') == std::string::npos; }

  std::string text() const {
    std::string result(negative_ ? 1 : 0, '-');
    result.append(digits_, 0, kWhole).append(1, '.').append(digits_, kWhole);
    return result;
  }
  double nearestDouble() const {
    const std::string t = text();
    double x = 0;
    std::from_chars(t.data(), t.data() + t.size(), x);
    return x;
  }

  // Nearest with so many digits behind the point, a tie to the even digit.
  LongDecimal roundedTo(std::size_t places) const {
    LongDecimal result = *this;
    const std::size_t end = kWhole + places;
    std::string half(digits_.size() - end, '0');
    half.front() = '5';
    const int side = digits_.compare(end, std::string::npos, half);
    const bool up = side > 0 || (side == 0 && (digits_[end - 1] - '0') % 2 != 0);
    std::fill(result.digits_.begin() + static_cast<std::ptrdiff_t>(end), result.digits_.end(), '0');
    for (std::size_t i = end; up && i-- > 0;) {
      if (result.digits_[i] != '9') {
        ++result.digits_[i];
        break;
      }
      result.digits_[i] = '0';
    }
    return result;
  }

 private:
  static constexpr std::size_t kWhole = 40, kBehind = 1300;

  static std::string exactText(double x) {
    char text[1500];
    return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%.1100f", x))};
  }
  // The magnitudes added or, the first being the larger, subtracted; the first one's sign.
  static LongDecimal combined(const LongDecimal& a, const LongDecimal& b, int sign) {
    LongDecimal result = a;
    int carry = 0;
    for (std::size_t i = a.digits_.size(); i-- > 0;) {
      int digit = (a.digits_[i] - '0') + sign * (b.digits_[i] - '0') + carry;
      carry = digit > 9 ? 1 : digit < 0 ? -1 : 0;
      digit -= 10 * carry;
      result.digits_[i] = static_cast<char>('0' + digit);
    }
    return result;
  }

  bool negative_ = false;
  std::string digits_ = std::string(kWhole + kBehind, '0');
};
