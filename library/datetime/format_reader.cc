// How a format reads.

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "datetime/day_number.h"
#include "datetime/format.h"
#include "datetime/scanner.h"
#include "messages/calendar_names.h"
#include "messages/letters.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedInFormat =
    "a datetime that the format fits, or another --format beside it";

bool isSmallLetter(char c) { return 'a' <= c && c <= 'z'; }

bool isOfZoneName(char c) {
  return isDigit(c) || isSmallLetter(lowerCase(c)) || c == '_' || c == '/' || c == '+' || c == '-';
}

unsigned nameStyleOf(std::string_view name) {
  if (isSmallLetter(name[0])) return NameStyle::lower;
  return isSmallLetter(name[1]) ? NameStyle::open : NameStyle::upper;
}

// Three letters as one number, in lower case.
constexpr std::uint32_t keyOf(std::string_view name) {
  std::uint32_t key = 0;
  for (std::size_t i = 0; i < 3; ++i)
    key = key << 8 | static_cast<unsigned char>(lowerCase(name[i]));
  return key;
}

template <std::size_t N>
constexpr std::array<std::uint32_t, N> keysOf(const std::array<std::string_view, N>& names) {
  std::array<std::uint32_t, N> keys{};
  for (std::size_t i = 0; i < N; ++i) keys[i] = keyOf(names[i]);
  return keys;
}

constexpr auto kMonthKeys = keysOf(kMonthNames);
constexpr auto kWeekdayKeys = keysOf(kWeekdayNames);

}  // namespace

// Reads one text. Where `why` is given, it says what is wrong with the numbers of a text of the right
// shape.
class Format::Reader {
 public:
  Reader(const Format& format, std::string_view text, FormatReading& reading, std::string* why)
      : format_(format), rest_(text), reading_(reading), why_(why) {}

  bool read() {
    for (const FormatPart& part : format_.parts_) {
      if (!readPart(part)) return false;
    }
    DatetimeText& datetime = reading_.datetime;
    if (format_.date_ == Date::count) {
      datetime.separator = 'T';
      reading_.count = {count_, static_cast<std::size_t>(countEnd_ - count_)};
      return true;
    }
    if (!findDay() || (format_.isRedundant_ && !partsAgree())) return false;
    return findTime();
  }

  std::string_view rest() const { return rest_; }

 private:
  bool readPart(const FormatPart& part) {
    switch (part.letter) {
      case Letter::literal:
        return skip(std::string_view(format_.literals_).substr(part.begin, part.size));
      case Letter::year:
        return digits(4, year_);
      case Letter::yearOfCentury:
        return digits(2, yearOfCentury_);
      case Letter::month:
        return number(part, 2, month_);
      case Letter::monthAbbreviation:
        return name(part, kMonthKeys, kMonthNames, false, month_);
      case Letter::monthName:
        return name(part, kMonthKeys, kMonthNames, true, month_);
      case Letter::day:
        return number(part, 2, day_);
      case Letter::dayOfYear:
        return number(part, 3, dayOfYear_);
      case Letter::weekYear:
        return digits(4, weekYear_);
      case Letter::week:
        return number(part, 2, week_);
      case Letter::weekday:
        return digits(1, weekday_) && (weekday_ >= 1 || fail("there is no weekday 0"));
      case Letter::weekdayFromSunday:
        if (!digits(1, weekday_)) return false;
        if (weekday_ == 7) return fail("there is no weekday 7 with %w");
        if (weekday_ == 0) weekday_ = 7;
        return true;
      case Letter::weekdayAbbreviation:
      case Letter::weekdayName:
        if (!name(part, kWeekdayKeys, kWeekdayNames, part.letter == Letter::weekdayName, weekday_))
          return false;
        weekday_ = weekday_ == 1 ? 7 : weekday_ - 1;  // from Sunday 1 to Monday 1
        return true;
      case Letter::hour:
        return number(part, 2, hour_);
      case Letter::hourOfTwelve:
        return number(part, 2, hourOfTwelve_);
      case Letter::half:
        return readHalf(part);
      case Letter::minute:
        return number(part, 2, minute_);
      case Letter::second:
        return number(part, 2, second_);
      case Letter::fraction:
        return readFraction();
      case Letter::offset:
      case Letter::offsetWithColon:
        return readOffset(part);
      case Letter::zone:
        return readZone(part);
      case Letter::count:
        return readCount();
    }
    return false;
  }

  bool skip(std::string_view literal) {
    if (rest_.size() < literal.size() ||
        std::memcmp(rest_.data(), literal.data(), literal.size()) != 0)
      return false;
    rest_.remove_prefix(literal.size());
    return true;
  }

  void setStyle(const FormatPart& part, std::uint64_t style) {
    reading_.spelling.styles |= style << part.shift;
  }

  // So many digits.
  bool digits(std::size_t width, int& value) {
    if (rest_.size() < width) return false;
    int result = 0;
    for (std::size_t i = 0; i < width; ++i) {
      if (!isDigit(rest_[i])) return false;
      result = result * 10 + (rest_[i] - '0');
    }
    rest_.remove_prefix(width);
    value = result;
    return true;
  }

  // A number of so many digits, with blanks in place of the first ones, or without the first ones.
  bool number(const FormatPart& part, std::size_t width, int& value) {
    std::size_t blanks = 0;
    while (blanks + 1 < width && blanks < rest_.size() && rest_[blanks] == ' ') ++blanks;
    std::size_t end = blanks;
    int result = 0;
    while (end < width && end < rest_.size() && isDigit(rest_[end]))
      result = result * 10 + (rest_[end++] - '0');
    const bool isFull = end == width;
    if (end == blanks || (!isFull && (blanks > 0 || part.touches))) return false;
    if (blanks > 0) {
      if (rest_[blanks] == '0' && width - blanks > 1) return false;
      setStyle(part, NumberStyle::blanks);
    } else if (!isFull) {
      if (rest_[0] == '0' && end > 1) return false;  // neither all zeros nor none
      setStyle(part, NumberStyle::none);
      if (part.letter == Letter::day || part.letter == Letter::month)
        reading_.spelling.bareDate = true;
    } else if (rest_[0] == '0') {
      setStyle(part, NumberStyle::zeros);
    }
    rest_.remove_prefix(end);
    value = result;
    return true;
  }

  template <std::size_t N>
  bool name(const FormatPart& part, const std::array<std::uint32_t, N>& keys,
            const std::array<std::string_view, N>& names, bool full, int& value) {
    if (rest_.size() < 3) return false;
    const auto* const found = std::ranges::find(keys, keyOf(rest_));
    if (found == keys.end()) return false;
    const auto index = static_cast<std::size_t>(found - keys.begin());
    const std::size_t size = full ? names[index].size() : 3;
    if (full && !areEqualInAnyCase(rest_.substr(0, size), names[index])) return false;
    setStyle(part, nameStyleOf(rest_));
    rest_.remove_prefix(size);
    value = static_cast<int>(index) + 1;
    return true;
  }

  bool readHalf(const FormatPart& part) {
    if (rest_.size() < 2 || lowerCase(rest_[1]) != 'm') return false;
    const char first = lowerCase(rest_[0]);
    if (first != 'a' && first != 'p') return false;
    isAfternoon_ = first == 'p';
    setStyle(part, nameStyleOf(rest_));
    rest_.remove_prefix(2);
    return true;
  }

  std::string_view takeDigits() {
    std::size_t count = 0;
    while (count < rest_.size() && isDigit(rest_[count])) ++count;
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return taken;
  }

  bool readFraction() {
    reading_.datetime.fraction = takeDigits();
    countEnd_ = rest_.data();
    return !reading_.datetime.fraction.empty();
  }

  bool readCount() {
    count_ = rest_.data();
    if (!rest_.empty() && (rest_[0] == '-' || rest_[0] == '+')) rest_.remove_prefix(1);
    const bool any = !takeDigits().empty();
    countEnd_ = rest_.data();
    return any;
  }

  bool readOffset(const FormatPart& part) {
    if (rest_.empty()) return false;
    const char sign = rest_[0];
    rest_.remove_prefix(1);
    DatetimeText& datetime = reading_.datetime;
    if (sign == 'Z' || sign == 'z') {
      datetime.offset = OffsetForm::z;
      setStyle(part, sign == 'Z' ? OffsetStyle::z : OffsetStyle::smallZ);
      return true;
    }
    if (sign != '+' && sign != '-') return false;
    // A colon without a number behind it is not the offset's, as in "+02:00: started".
    const auto isColon = [&] { return rest_.size() > 1 && rest_[0] == ':' && isDigit(rest_[1]); };
    int hours = 0, minutes = 0, seconds = 0;
    if (!digits(2, hours)) return false;
    const bool hasColon = isColon();
    std::uint64_t style = OffsetStyle::hours;
    if (hasColon) rest_.remove_prefix(1);
    if (hasColon || (!rest_.empty() && isDigit(rest_[0]))) {
      if (!digits(2, minutes)) return false;
      style = hasColon ? OffsetStyle::extended : OffsetStyle::basic;
      const bool hasSeconds = hasColon ? isColon() : !rest_.empty() && isDigit(rest_[0]);
      if (hasSeconds) {
        if (hasColon) rest_.remove_prefix(1);
        if (!digits(2, seconds)) return false;
        style = hasColon ? OffsetStyle::extendedSeconds : OffsetStyle::basicSeconds;
      }
    }
    if (hours > 23 || minutes > 59 || seconds > 59)
      return fail("an offset from UTC reaches from -23:59:59 to +23:59:59");
    setStyle(part, style);
    const int magnitude = hours * 3600 + minutes * 60 + seconds;
    datetime.offsetSeconds = sign == '-' ? -magnitude : magnitude;
    const bool isUnknown = sign == '-' && magnitude == 0;
    datetime.offset = isUnknown ? OffsetForm::unknown : OffsetForm::numeric;
    reading_.spelling.unknownOffset = isUnknown;
    return true;
  }

  bool readZone(const FormatPart& part) {
    std::size_t size = 0;
    while (size < rest_.size() && isOfZoneName(rest_[size])) ++size;
    const std::string_view name = rest_.substr(0, size);
    if (name.empty()) return false;
    rest_.remove_prefix(size);
    const auto* const found = std::ranges::find(kNamesOfUTC, name);
    if (found != kNamesOfUTC.end()) {
      setStyle(part, static_cast<std::uint64_t>(found - kNamesOfUTC.begin()) + ZoneStyle::utc);
      isUTC_ = true;
      return true;
    }
    if (name.find('/') == std::string_view::npos)
      return fail("the abbreviation of a time zone may mean several of them");
    reading_.datetime.suffix.zone = name;
    return true;
  }

  int year() const {
    if (format_.has(Letter::year)) return year_;
    if (format_.has(Letter::yearOfCentury))
      return yearOfCentury_ + (yearOfCentury_ < 69 ? 2000 : 1900);
    return format_.year_.value_or(0);
  }

  bool findDay() {
    std::int64_t& result = reading_.datetime.day;
    const int year = this->year();
    switch (format_.date_) {
      case Date::monthAndDay:
        if (month_ < 1 || month_ > 12) return fail("there is no month {}", month_);
        if (day_ < 1 || day_ > daysInMonth(year, month_)) {
          return fail("{} {} has {} days", kMonthNames[static_cast<std::size_t>(month_ - 1)], year,
                      daysInMonth(year, month_));
        }
        result = dayOf(year, month_, day_);
        return true;
      case Date::dayOfYear:
        if (dayOfYear_ < 1 || dayOfYear_ > daysInYear(year))
          return fail("{} has {} days", year, daysInYear(year));
        result = dayOf(year, 1, 1) + dayOfYear_ - 1;
        return true;
      case Date::week:
        if (week_ < 1 || week_ > weeksInYear(weekYear_))
          return fail("{} has {} weeks", weekYear_, weeksInYear(weekYear_));
        if (weekday_ < 1 || weekday_ > 7) return fail("there is no weekday {}", weekday_);
        result = firstMonday(weekYear_) + 7 * (week_ - 1) + weekday_ - 1;
        return true;
      case Date::none:
      case Date::count:
        break;
    }
    return false;
  }

  // What the date does not follow from has to follow from it.
  bool partsAgree() {
    const std::int64_t day = reading_.datetime.day, thursday = thursdayOf(day);
    const auto [year, month, ofMonth] = civilDateOf(day);
    const auto differs = [&](Letters letters, int told, std::int64_t is) {
      return format_.hasAny(letters) && told != is;
    };
    constexpr Letters kWeekdays = lettersOf(Letter::weekday, Letter::weekdayFromSunday,
                                            Letter::weekdayAbbreviation, Letter::weekdayName);
    const int weekday = daysSinceMonday(day) + 1;
    if (differs(kWeekdays, weekday_, weekday)) {
      return fail("that day is a {}", kWeekdayNames[static_cast<std::size_t>(weekday % 7)]);
    }
    constexpr Letters kMonths =
        lettersOf(Letter::month, Letter::monthAbbreviation, Letter::monthName);
    const bool wrong =
        differs(lettersOf(Letter::year), year_, year) ||
        differs(lettersOf(Letter::yearOfCentury), yearOfCentury_, year % 100) ||
        differs(kMonths, month_, month) || differs(lettersOf(Letter::day), day_, ofMonth) ||
        differs(lettersOf(Letter::dayOfYear), dayOfYear_, plx::dayOfYear(year, day)) ||
        differs(lettersOf(Letter::weekYear), weekYear_, yearOf(thursday)) ||
        differs(lettersOf(Letter::week), week_, weekNumber(yearOf(thursday), thursday));
    return !wrong || fail("the parts of the date contradict each other");
  }

  bool findTime() {
    DatetimeText& datetime = reading_.datetime;
    constexpr Letters kHours = lettersOf(Letter::hour, Letter::hourOfTwelve);
    if (!format_.hasAny(kHours)) return findOffset();
    datetime.separator = 'T';
    if (format_.has(Letter::hourOfTwelve)) {
      if (hourOfTwelve_ < 1 || hourOfTwelve_ > 12)
        return fail("there is no hour {} of twelve", hourOfTwelve_);
      const int hour = hourOfTwelve_ % 12 + (isAfternoon_ ? 12 : 0);
      const bool agrees = !format_.has(Letter::half) ? hour_ % 12 == hour : hour_ == hour;
      if (format_.has(Letter::hour) && !agrees) return fail("the hours contradict each other");
      if (!format_.has(Letter::hour)) hour_ = hour;
    } else if (format_.has(Letter::half) && (hour_ >= 12) != isAfternoon_) {
      return fail("the hour {} contradicts AM or PM, which %I reads", hour_);
    }
    if (hour_ > 23) return fail("there is no hour {}", hour_);
    if (minute_ > 59) return fail("there is no minute {}", minute_);
    if (second_ > 60) return fail("there is no second {}", second_);
    datetime.insertedSecond = second_ == 60;
    datetime.secondOfDay = hour_ * 3600 + minute_ * 60 + (second_ == 60 ? 59 : second_);
    return findOffset();
  }

  // UTC by its name is the offset where none is told; another offset contradicts it.
  bool findOffset() {
    DatetimeText& datetime = reading_.datetime;
    if (!isUTC_) return true;
    if (datetime.offsetSeconds == 0 && datetime.offset != OffsetForm::unknown)
      datetime.offset = OffsetForm::z;
    return datetime.offsetSeconds == 0 || fail("the offset contradicts the zone, which is UTC");
  }

  template <class... Arguments>
  bool fail(std::string_view what, const Arguments&... arguments) {
    if (why_ != nullptr) *why_ = fmt::format(fmt::runtime(what), arguments...);
    return false;
  }

  const Format& format_;
  std::string_view rest_;
  FormatReading& reading_;
  std::string* const why_;
  const char *count_ = nullptr, *countEnd_ = nullptr;
  int year_ = 0, yearOfCentury_ = 0, month_ = 1, day_ = 1, dayOfYear_ = 1;
  int weekYear_ = 0, week_ = 1, weekday_ = 1;
  int hour_ = 0, hourOfTwelve_ = 12, minute_ = 0, second_ = 0;
  bool isAfternoon_ = false, isUTC_ = false;
};

std::size_t Format::readFront(std::string_view text, FormatReading& reading) const {
  reading = {};
  Reader reader(*this, text, reading, nullptr);
  return reader.read() ? text.size() - reader.rest().size() : 0;
}

Complaint Format::complaintOf(std::string_view text) const {
  FormatReading reading;
  std::string why;
  Reader reader(*this, text, reading, &why);
  reader.read();
  std::string what = fmt::format("not in the format {}, as in {}", text_, example_);
  if (!why.empty()) what = fmt::format("{}, in the format {}", why, text_);
  return {std::move(what), kAcceptedInFormat};
}

}  // namespace plx
