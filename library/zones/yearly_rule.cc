#include "zones/yearly_rule.h"

#include <array>
#include <cstddef>

namespace zones {

namespace {

constexpr std::int64_t kDay = 86400;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

bool isLeapYear(std::int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

// The text of a rule, from the front.
class RuleReader {
 public:
  explicit RuleReader(std::string_view text) : text_(text) {}

  bool atEnd() const { return text_.empty(); }
  bool skip(char c) {
    if (text_.empty() || text_.front() != c) return false;
    text_.remove_prefix(1);
    return true;
  }

  // At least three letters, or letters, digits and signs in angle brackets.
  bool skipName() {
    std::size_t length = 0;
    if (skip('<')) {
      while (length < text_.size() && (isLetter(text_[length]) || isDigit(text_[length]) ||
                                       text_[length] == '+' || text_[length] == '-'))
        ++length;
      text_.remove_prefix(length);
      return length >= 3 && skip('>');
    }
    while (length < text_.size() && isLetter(text_[length])) ++length;
    text_.remove_prefix(length);
    return length >= 3;
  }

  std::optional<int> number(int least, int most) {
    std::size_t length = 0;
    int value = 0;
    while (length < text_.size() && length < 3 && isDigit(text_[length]))
      value = value * 10 + (text_[length++] - '0');
    if (length == 0 || value < least || value > most) return std::nullopt;
    text_.remove_prefix(length);
    return value;
  }

  // [+|-]hours[:minutes[:seconds]] in seconds.
  std::optional<int> time(int mostHours) {
    const bool isNegative = skip('-');
    if (!isNegative) skip('+');
    const auto hours = number(0, mostHours);
    if (!hours) return std::nullopt;
    int seconds = *hours * 3600;
    for (const int unit : {60, 1}) {
      if (!skip(':')) break;
      const auto part = number(0, 59);
      if (!part) return std::nullopt;
      seconds += *part * unit;
    }
    return isNegative ? -seconds : seconds;
  }

  std::optional<YearlyDate> date() {
    YearlyDate date{};
    date.second = 2 * 3600;
    if (skip('M')) {
      date.kind = YearlyDate::Kind::weekday;
      const auto month = number(1, 12);
      if (!month || !skip('.')) return std::nullopt;
      const auto week = number(1, 5);
      if (!week || !skip('.')) return std::nullopt;
      const auto weekday = number(0, 6);
      if (!weekday) return std::nullopt;
      date.month = *month, date.week = *week, date.weekday = *weekday;
    } else {
      const bool notLeap = skip('J');
      date.kind = notLeap ? YearlyDate::Kind::dayNotLeap : YearlyDate::Kind::dayFromZero;
      const auto day = number(notLeap ? 1 : 0, 365);
      if (!day) return std::nullopt;
      date.day = *day;
    }
    if (skip('/')) {
      const auto second = time(167);
      if (!second) return std::nullopt;
      date.second = *second;
    }
    return date;
  }

 private:
  static bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
  static bool isDigit(char c) { return c >= '0' && c <= '9'; }

  std::string_view text_;
};

// What saving begins and ends with around a year, in the order in which it happens; what lasts no time is
// left out.
struct OffsetChanges {
  std::array<OffsetChange, 6> all;
  std::size_t count = 0;

  OffsetChanges(const YearlyRule& rule, std::int64_t year) {
    for (std::int64_t y = year - 1; y <= year + 1; ++y) {
      const OffsetChange begin{rule.beginIn(y), rule.saving->offset},
          end{rule.endIn(y), rule.standard};
      if (begin.second <= end.second) {
        add(begin), add(end);
      } else {
        add(end), add(begin);
      }
    }
  }

 private:
  void add(const OffsetChange& change) {
    if (count > 0 && all[count - 1].second >= change.second) {
      all[count - 1].offset = change.offset;
    } else {
      all[count++] = change;
    }
  }
};

}  // namespace

std::int64_t dayNumber(std::int64_t year, int month, std::int64_t day) {
  // Years that begin in March, so that leap days end them: 146097 days in 400 of them.
  const std::int64_t y = month <= 2 ? year - 1 : year, era = floorDiv(y, 400),
                     yearOfEra = y - era * 400;
  const std::int64_t dayOfYear =
      (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;  // of the month's first
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468 +
         day - 1;
}

std::int64_t yearOfDay(std::int64_t day) {
  std::int64_t year = 1970 + floorDiv(day * 400, 146097);  // off by one at most
  while (dayNumber(year, 1, 1) > day) --year;
  while (dayNumber(year + 1, 1, 1) <= day) ++year;
  return year;
}

int daysOfMonth(std::int64_t year, int month) {
  constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

std::int64_t YearlyDate::dayIn(std::int64_t year) const {
  switch (kind) {
    case Kind::dayFromZero:
      return dayNumber(year, 1, 1) + day;
    case Kind::dayNotLeap:
      return dayNumber(year, 1, day) + (isLeapYear(year) && day >= 60 ? 1 : 0);
    case Kind::weekday:
      break;
  }
  const std::int64_t first = dayNumber(year, month, 1);
  const std::int64_t weekdayOfFirst = (first % 7 + 7 + 4) % 7;  // 1970-01-01 was a Thursday
  std::int64_t dayOfMonth = (weekday - weekdayOfFirst + 7) % 7 + 7 * (week - 1);
  if (dayOfMonth >= daysOfMonth(year, month)) dayOfMonth -= 7;
  return first + dayOfMonth;
}

int YearlyRule::offsetAt(std::int64_t second) const {
  if (!hasChanges()) return standard;
  const OffsetChanges changes(*this, yearOfDay(floorDiv(second, kDay)));
  int offset = standard;
  for (std::size_t i = 0; i < changes.count && changes.all[i].second <= second; ++i)
    offset = changes.all[i].offset;
  return offset;
}

std::optional<OffsetChange> YearlyRule::nextOffsetChange(std::int64_t from) const {
  if (!hasChanges()) return std::nullopt;
  const std::int64_t year = yearOfDay(floorDiv(from, kDay));
  // One in each of two years at least, unless saving never ends. The last one may end as the next year begins.
  for (std::int64_t y = year; y <= year + 1; ++y) {
    const OffsetChanges changes(*this, y);
    for (std::size_t i = 1; i + 1 < changes.count; ++i) {
      if (changes.all[i].second >= from && changes.all[i].offset != changes.all[i - 1].offset)
        return changes.all[i];
    }
  }
  return std::nullopt;
}

std::optional<YearlyRule> readYearlyRule(std::string_view text) {
  RuleReader reader(text);
  if (!reader.skipName()) return std::nullopt;
  const auto west = reader.time(24);
  if (!west) return std::nullopt;
  YearlyRule rule{-*west, std::nullopt};
  if (reader.atEnd()) return rule;
  if (!reader.skipName()) return std::nullopt;
  YearlyRule::Saving saving{rule.standard + 3600, {}, {}};
  if (!reader.skip(',')) {
    const auto savingWest = reader.time(24);
    if (!savingWest || !reader.skip(',')) return std::nullopt;
    saving.offset = -*savingWest;
  }
  const auto begin = reader.date();
  if (!begin || !reader.skip(',')) return std::nullopt;
  const auto end = reader.date();
  if (!end || !reader.atEnd()) return std::nullopt;
  saving.begin = *begin, saving.end = *end;
  rule.saving = saving;
  return rule;
}

}  // namespace zones
