#include "datetime/date_text.h"

#include <fmt/format.h>

#include <cstddef>
#include <string_view>

#include "datetime/datetime_text.h"
#include "datetime/day_number.h"
#include "messages/calendar_names.h"

namespace plx {

namespace {

// Years whose days are all beyond kMaxDays need no exact number.
constexpr std::int64_t kEndlessYear = 100'000'000'000'000;

// Reads a date of which the year's digits and the format are known.
class Date {
 public:
  Date(DateText& date, Complaint& complaint) : date_(date), complaint_(complaint) {}

  void setYear(char sign, std::string_view digits) {
    date_.signedYear = sign != 0;
    for (const char c : digits) {
      year_ = year_ * 10 + (c - '0');
      if (year_ > kEndlessYear) year_ = kEndlessYear;
    }
    if (sign == '-') year_ = -year_;
  }

  bool calendar(int month, int day) {
    date_.form = Form::calendar;
    if (month < 1 || month > 12) return fail(fmt::format("there is no month {}", month));
    if (isEndless()) return failTooFar();
    if (day < 1 || day > daysInMonth(year_, month)) {
      return fail(fmt::format("{} {} has {} days", kMonthNames[static_cast<std::size_t>(month - 1)],
                              year_, daysInMonth(year_, month)));
    }
    return set(dayOf(year_, month, day));
  }

  bool ordinal(int dayOfYear) {
    date_.form = Form::ordinal;
    if (isEndless()) return failTooFar();
    if (dayOfYear < 1 || dayOfYear > daysInYear(year_))
      return fail(fmt::format("{} has {} days", year_, daysInYear(year_)));
    return set(dayOf(year_, 1, 1) + dayOfYear - 1);
  }

  bool week(int number, int day) {
    date_.form = Form::week;
    if (isEndless()) return failTooFar();
    const std::int64_t first = firstMonday(year_);
    const int weeks = weeksInYear(year_);
    if (number < 1 || number > weeks) return fail(fmt::format("{} has {} weeks", year_, weeks));
    if (day < 1 || day > 7) return fail("days of the week reach from 1, Monday, to 7");
    return set(first + 7 * (number - 1) + day - 1);
  }

 private:
  bool isEndless() const { return year_ <= -kEndlessYear || year_ >= kEndlessYear; }
  bool set(std::int64_t day) {
    date_.day = day;
    return (-kMaxDays <= day && day <= kMaxDays) || failTooFar();
  }
  bool fail(std::string what) {
    complaint_.what = std::move(what);
    return false;
  }
  bool failTooFar() {
    complaint_ = {"the date lies more than 2^52 days from 1970", kAcceptedRange};
    return false;
  }

  DateText& date_;
  Complaint& complaint_;
  std::int64_t year_ = 0;
};

int numberOf(std::string_view digits) {
  int number = 0;
  for (const char c : digits) number = number * 10 + (c - '0');
  return number;
}

bool readBasic(Scanner& scan, Form expected, std::string_view digits, DateText& result,
               Date& date) {
  result.basic = true;
  date.setYear(0, digits.substr(0, 4));
  int week = 0, day = 0;
  if (digits.size() == 4)
    return scan.skip('W') && scan.twoDigits(week) && scan.oneDigit(day) && date.week(week, day);

  const bool hasTime = scan.next() == 'T' || scan.next() == 't';
  const auto isDate = [&](Form form) { return hasTime || (expected == form && scan.atEnd()); };
  if (digits.size() == 8 && isDate(Form::calendar))
    return date.calendar(numberOf(digits.substr(4, 2)), numberOf(digits.substr(6)));
  return digits.size() == 7 && isDate(Form::ordinal) && date.ordinal(numberOf(digits.substr(4)));
}

}  // namespace

bool readDate(Scanner& scan, Form expected, DateText& result, Complaint& complaint) {
  Date date(result, complaint);
  const char sign = scan.oneOf("+-");
  const std::string_view digits = scan.digits();
  if (sign == 0 && digits.size() >= 4 && scan.next() != '-')
    return readBasic(scan, expected, digits, result, date);
  if (sign == 0 ? digits.size() != 4 : digits.size() < 4) return false;
  date.setYear(sign, digits);

  int number = 0, day = 0;
  if (!scan.skip('-')) return false;
  if (scan.skip('W')) {
    return scan.twoDigits(number) && scan.skip('-') && scan.oneDigit(day) && date.week(number, day);
  }
  if (!scan.twoDigits(number)) return false;
  if (scan.oneDigit(day)) return date.ordinal(number * 10 + day);
  return scan.skip('-') && scan.twoDigits(day) && date.calendar(number, day);
}

bool hasPlainYear(Form form, std::int64_t day) {
  return isPlainDay(form == Form::week ? thursdayOf(day) : day);
}

namespace {

void writeYear(ShortText& out, std::int64_t year) {
  if (0 <= year && year <= 9999) {
    out.twoDigits(static_cast<int>(year) / 100);
    out.twoDigits(static_cast<int>(year) % 100);
    return;
  }
  out.put(year < 0 ? '-' : '+');
  const std::int64_t magnitude = year < 0 ? -year : year;
  for (std::int64_t bound = 1000; magnitude < bound; bound /= 10) out.put('0');
  out.number(magnitude);
}

}  // namespace

void writeDate(ShortText& out, Form form, bool basic, std::int64_t day) {
  const auto dash = [&] {
    if (!basic) out.put('-');
  };
  if (form == Form::week) {
    const std::int64_t thursday = thursdayOf(day), year = yearOf(thursday);
    writeYear(out, year);
    dash();
    out.put('W');
    out.twoDigits(weekNumber(year, thursday));
    dash();
    out.put(static_cast<char>('1' + daysSinceMonday(day)));
    return;
  }
  const auto [year, month, ofMonth] = civilDateOf(day);
  writeYear(out, year);
  dash();
  if (form == Form::ordinal) {
    const int ofYear = dayOfYear(year, day);
    out.put(static_cast<char>('0' + ofYear / 100));
    out.twoDigits(ofYear % 100);
    return;
  }
  out.twoDigits(month);
  dash();
  out.twoDigits(ofMonth);
}

}  // namespace plx
