#include "datetime/datetime_text.h"

#include <fmt/format.h>

#include <cstddef>
#include <iterator>

#include "arith/civil.h"
#include "base/calendar_names.h"

namespace plx {

namespace {

// Years whose days are all beyond kMaxDays need no exact number.
constexpr std::int64_t kEndlessYear = 100'000'000'000'000;

bool isDigit(char c) { return '0' <= c && c <= '9'; }

// Walks over a text. What does not fit is left standing.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }
  char next() const { return rest_.empty() ? '\0' : rest_.front(); }
  bool skip(char c) {
    if (next() != c || rest_.empty()) return false;
    rest_.remove_prefix(1);
    return true;
  }
  // One of several characters; 0 where none of them stands here.
  char oneOf(std::string_view characters) {
    if (rest_.empty() || characters.find(rest_.front()) == std::string_view::npos) return 0;
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }
  bool twoDigits(int& number) {
    if (rest_.size() < 2 || !isDigit(rest_[0]) || !isDigit(rest_[1])) return false;
    number = (rest_[0] - '0') * 10 + (rest_[1] - '0');
    rest_.remove_prefix(2);
    return true;
  }
  std::string_view digits() {
    std::size_t n = 0;
    while (n < rest_.size() && isDigit(rest_[n])) ++n;
    const std::string_view found = rest_.substr(0, n);
    rest_.remove_prefix(n);
    return found;
  }

 private:
  std::string_view rest_;
};

int daysInMonth(std::int64_t year, int month) {
  if (month == 2) return isLeapYear(static_cast<double>(year)) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// Each step below reads its piece of the text. The complaint stays empty where the shape is wrong,
// which is told in one way for all, and says what is wrong where only a number is.

bool readYear(Scanner& scan, std::int64_t& year) {
  const char sign = scan.oneOf("+-");
  const std::string_view digits = scan.digits();
  if (sign == 0 ? digits.size() != 4 : digits.size() < 4) return false;
  year = 0;
  for (const char c : digits) {
    year = year * 10 + (c - '0');
    if (year > kEndlessYear) year = kEndlessYear;
  }
  if (sign == '-') year = -year;
  return true;
}

Complaint tooFar() { return {"the date lies more than 2^52 days from 1970", kAcceptedRange}; }

bool readDate(Scanner& scan, DatetimeText& result, Complaint& complaint) {
  std::int64_t year = 0;
  int month = 0, day = 0;
  if (!readYear(scan, year) || !scan.skip('-') || !scan.twoDigits(month) || !scan.skip('-') ||
      !scan.twoDigits(day))
    return false;
  if (month < 1 || month > 12) {
    complaint.what = fmt::format("there is no month {}", month);
    return false;
  }
  if (year <= -kEndlessYear || year >= kEndlessYear) {  // not known exactly
    complaint = tooFar();
    return false;
  }
  if (day < 1 || day > daysInMonth(year, month)) {
    complaint.what =
        fmt::format("{} {} has {} days", kMonthNames[static_cast<std::size_t>(month - 1)], year,
                    daysInMonth(year, month));
    return false;
  }
  const double days = ymd2days(static_cast<double>(year), month, day);
  if (days < -0x1p52 || days > 0x1p52) {
    complaint = tooFar();
    return false;
  }
  result.day = static_cast<std::int64_t>(days);
  return true;
}

bool readFraction(Scanner& scan, DatetimeText& result) {
  const char mark = scan.oneOf(".,");
  if (mark == 0) return true;
  result.decimalMark = mark;
  result.fraction = scan.digits();
  return !result.fraction.empty();
}

bool readClock(Scanner& scan, DatetimeText& result, std::string& why) {
  int hour = 0, minute = 0, second = 0;
  if (!scan.twoDigits(hour) || !scan.skip(':') || !scan.twoDigits(minute)) return false;
  if (scan.skip(':') && (!scan.twoDigits(second) || !readFraction(scan, result))) return false;

  if (hour > 24) why = fmt::format("there is no hour {}", hour);
  if (minute > 59) why = fmt::format("there is no minute {}", minute);
  if (second > 60) why = fmt::format("there is no second {}", second);
  if (hour == 24) {
    const bool midnight = minute == 0 && second == 0 &&
                          result.fraction.find_first_not_of('0') == std::string_view::npos;
    if (!midnight) why = "24:00 is the last moment of a day";
    hour = 0;
    ++result.day;
  }
  result.insertedSecond = second == 60;
  result.secondOfDay = hour * 3600 + minute * 60 + (second == 60 ? 59 : second);
  return why.empty();
}

bool readOffset(Scanner& scan, DatetimeText& result, std::string& why) {
  if (scan.oneOf("Zz") != 0) {
    result.offset = OffsetForm::z;
    return true;
  }
  const char sign = scan.oneOf("+-");
  if (sign == 0) return true;
  int hours = 0, minutes = 0, seconds = 0;
  if (!scan.twoDigits(hours)) return false;
  if (scan.skip(':')) {
    if (!scan.twoDigits(minutes)) return false;
    if (scan.skip(':') && !scan.twoDigits(seconds)) return false;
  } else if (isDigit(scan.next()) && !scan.twoDigits(minutes)) {
    return false;
  }
  if (hours > 23 || minutes > 59 || seconds > 59) {
    why = "an offset from UTC reaches from -23:59:59 to +23:59:59";
    return false;
  }
  const int magnitude = hours * 3600 + minutes * 60 + seconds;
  result.offset = OffsetForm::numeric;
  result.offsetSeconds = sign == '-' ? -magnitude : magnitude;
  return true;
}

void writeTwoDigits(std::string& out, int number) {
  out += static_cast<char>('0' + number / 10);
  out += static_cast<char>('0' + number % 10);
}

void writeClock(std::string& out, int seconds, char mark) {
  writeTwoDigits(out, seconds / 3600);
  out += mark;
  writeTwoDigits(out, seconds / 60 % 60);
}

void writeDate(std::string& out, double days) {
  double year = 0, month = 0, day = 0;
  days2ymd(days, year, month, day);
  if (year < 0.0 || year > 9999.0) {
    fmt::format_to(std::back_inserter(out), "{:+05d}", static_cast<std::int64_t>(year));
  } else {
    writeTwoDigits(out, static_cast<int>(year) / 100);
    writeTwoDigits(out, static_cast<int>(year) % 100);
  }
  out += '-';
  writeTwoDigits(out, static_cast<int>(month));
  out += '-';
  writeTwoDigits(out, static_cast<int>(day));
}

}  // namespace

std::optional<DatetimeText> readDatetime(std::string_view text, Complaint& complaint) {
  complaint = {{}, kAcceptedDatetimes};
  std::string& why = complaint.what;
  DatetimeText result;
  Scanner scan(text);
  bool good = readDate(scan, result, complaint);
  if (good && !scan.atEnd()) {
    result.separator = scan.oneOf("Tt ");
    good = result.separator != 0 && readClock(scan, result, why) && readOffset(scan, result, why);
  }
  if (good && scan.atEnd()) return result;
  if (why.empty()) why = "not a datetime";
  return std::nullopt;
}

bool looksLikeDatetime(std::string_view text) {
  Scanner scan(text);
  scan.oneOf("+-");
  return !scan.digits().empty() && scan.skip('-') && isDigit(scan.next());
}

void writeOffset(std::string& out, int offsetSeconds) {
  out += offsetSeconds < 0 ? '-' : '+';
  const int magnitude = offsetSeconds < 0 ? -offsetSeconds : offsetSeconds;
  writeClock(out, magnitude, ':');
  if (magnitude % 60 == 0) return;
  out += ':';
  writeTwoDigits(out, magnitude % 60);
}

void writeDatetime(std::string& out, const DatetimeText& form, const WallTime& wall,
                   std::string_view fraction) {
  const auto [days, secondOfDay] = floorDiv(wall.seconds, 86400);
  const auto clock = static_cast<int>(secondOfDay);
  writeDate(out, static_cast<double>(days));
  if (form.separator == 0 && clock == 0 && fraction.empty()) return;
  out += form.separator == 0 ? 'T' : form.separator;
  writeClock(out, clock, ':');
  out += ':';
  writeTwoDigits(out, wall.insertedSecond ? 60 : clock % 60);
  if (!fraction.empty()) {
    out += form.decimalMark;
    out += fraction;
  }
  if (wall.offset == OffsetForm::z) out += 'Z';
  if (wall.offset == OffsetForm::numeric) writeOffset(out, wall.offsetSeconds);
}

}  // namespace plx
