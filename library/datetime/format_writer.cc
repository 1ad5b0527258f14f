// How a format writes.

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "datetime/day_number.h"
#include "datetime/format.h"
#include "datetime/number_text.h"
#include "messages/calendar_names.h"
#include "messages/letters.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedByFormats = "a format that says it, or --to-format";
constexpr std::string_view kAcceptedYears = "a format with %Y, or --to iso";
constexpr std::string_view kAcceptedWithOffset =
    "datetimes that have an offset from UTC, or a time zone for all";

void putNumber(std::string& out, int number, std::size_t width, Padding padding) {
  char digits[4];
  std::size_t size = 0;
  for (; number > 0 || size == 0; number /= 10)
    digits[size++] = static_cast<char>('0' + number % 10);
  if (size < width && padding != Padding::none)
    out.append(width - size, padding == Padding::zeros ? '0' : ' ');
  while (size > 0) out += digits[--size];
}

void putName(std::string& out, std::string_view name, unsigned style) {
  const std::size_t begin = out.size();
  out += name;
  for (std::size_t i = begin; i < out.size(); ++i) {
    const bool upper = style == NameStyle::upper || (style == NameStyle::open && i == begin);
    const char lower = lowerCase(out[i]);
    out[i] = upper ? static_cast<char>(lower & ~0x20) : lower;
  }
}

}  // namespace

// Writes one time.
class Format::Writer {
 public:
  Writer(const Format& format, std::string& out, const FormatTime& time,
         const FormatSpelling* spelling)
      : format_(format), out_(out), time_(time), spelling_(spelling) {
    const auto [days, clock] = floorDiv(time.wall.seconds, 86400);
    day_ = static_cast<std::int64_t>(days);
    clock_ = static_cast<int>(clock);
    constexpr Letters kOfDate =
        lettersOf(Letter::year, Letter::yearOfCentury, Letter::month, Letter::monthAbbreviation,
                  Letter::monthName, Letter::day, Letter::dayOfYear);
    if (spelling == nullptr || format.hasAny(kOfDate) || format.year_) {
      const auto [year, month, day] = civilDateOf(day_);
      year_ = year;
      month_ = month;
      ofMonth_ = day;
    }
    if (format.hasAny(lettersOf(Letter::weekYear, Letter::week)))
      weekYear_ = yearOf(thursdayOf(day_));
  }

  // What the format cannot say; empty where it can say all.
  Complaint unsayable() const {
    if (format_.has(Letter::year) && (year_ < 0 || year_ > 9999))
      return {"%Y has no years but 0000 to 9999", kAcceptedElsewhere};
    if (format_.has(Letter::weekYear) && (weekYear_ < 0 || weekYear_ > 9999))
      return {"%G has no years but 0000 to 9999", kAcceptedElsewhere};
    if (format_.has(Letter::yearOfCentury) && !format_.has(Letter::year) &&
        (year_ < 1969 || year_ > 2068))
      return {"%y has no years but 1969 to 2068", kAcceptedYears};
    const bool hasOffset = format_.hasAny(lettersOf(Letter::offset, Letter::offsetWithColon));
    if (hasOffset && time_.wall.offset == OffsetForm::none)
      return {"no offset from UTC is known", kAcceptedWithOffset};
    if (format_.has(Letter::zone) && time_.zone.empty())
      return {"the zone has no name for %Z", "%z"};
    return spelling_ == nullptr ? Complaint{} : lost();
  }

  void write() {
    out_.reserve(out_.size() + format_.mostBytes_ + time_.decimal.fraction.size() +
                 time_.fractionDigits);
    for (const FormatPart& part : format_.parts_) writePart(part);
  }

 private:
  static constexpr std::string_view kAcceptedElsewhere = "another form, as with --to iso";

  // What the format does not name has to be what reading takes it for.
  Complaint lost() const {
    const auto loss = [](std::string_view what) {
      return Complaint{fmt::format("the format has no place for {}", what), kAcceptedByFormats};
    };
    const bool isCount = format_.date_ == Date::count;
    if (!format_.has(Letter::fraction) && !time_.decimal.fraction.empty())
      return loss("the fraction of the second");
    if (isCount) return {};
    if (format_.date_ == Date::monthAndDay) {
      if (format_.year_ && year_ != *format_.year_) return loss(fmt::format("the year {}", year_));
      if (!format_.has(Letter::day) && ofMonth_ != 1) return loss("the day of the month");
      const bool hasMonth =
          format_.hasAny(lettersOf(Letter::month, Letter::monthAbbreviation, Letter::monthName));
      if (!hasMonth && month_ != 1) return loss("the month");
    }
    if (format_.date_ == Date::dayOfYear && format_.year_ && year_ != *format_.year_)
      return loss(fmt::format("the year {}", year_));
    if (!format_.hasAny(lettersOf(Letter::hour, Letter::hourOfTwelve)) && clock_ / 3600 != 0)
      return loss("the hour");
    if (!format_.has(Letter::minute) && clock_ / 60 % 60 != 0) return loss("the minute");
    if (!format_.has(Letter::second) && (clock_ % 60 != 0 || time_.wall.insertedSecond))
      return loss("the second");
    return {};
  }

  unsigned styleOf(const FormatPart& part) const {
    return spelling_ == nullptr ? 0 : static_cast<unsigned>(spelling_->styles >> part.shift & 15);
  }

  void writeNumber(const FormatPart& part, int number, std::size_t width) {
    Padding padding = part.padding;
    switch (styleOf(part)) {
      case NumberStyle::zeros:
        padding = Padding::zeros;
        break;
      case NumberStyle::blanks:
        padding = Padding::blanks;
        break;
      case NumberStyle::none:
        padding = Padding::none;
        break;
      default:
        // 12 does not tell, but in 12/5/2014 the other number does, and in 12/5/2014 10:30 PM as well.
        if (spelling_ != nullptr && spelling_->bareDate && isOfBareDates(part.letter))
          padding = Padding::none;
    }
    if (part.touches && padding == Padding::none) padding = Padding::zeros;
    putNumber(out_, number, width, padding);
  }

  static bool isOfBareDates(Letter letter) {
    return letter == Letter::day || letter == Letter::month || letter == Letter::hourOfTwelve;
  }

  void writePart(const FormatPart& part) {
    switch (part.letter) {
      case Letter::literal:
        out_.append(format_.literals_, part.begin, part.size);
        return;
      case Letter::year:
        return putNumber(out_, static_cast<int>(year_), 4, Padding::zeros);
      case Letter::yearOfCentury:
        return putNumber(out_, static_cast<int>(year_ % 100), 2, Padding::zeros);
      case Letter::month:
        return writeNumber(part, month_, 2);
      case Letter::monthAbbreviation:
        return putName(out_, monthName().substr(0, 3), styleOf(part));
      case Letter::monthName:
        return putName(out_, monthName(), styleOf(part));
      case Letter::day:
        return writeNumber(part, ofMonth_, 2);
      case Letter::dayOfYear:
        return writeNumber(part, dayOfYear(year_, day_), 3);
      case Letter::weekYear:
        return putNumber(out_, static_cast<int>(weekYear_), 4, Padding::zeros);
      case Letter::week:
        return writeNumber(part, weekNumber(weekYear_, thursdayOf(day_)), 2);
      case Letter::weekday:
        out_ += static_cast<char>('1' + daysSinceMonday(day_));
        return;
      case Letter::weekdayFromSunday:
        out_ += static_cast<char>('0' + daysSinceSunday());
        return;
      case Letter::weekdayAbbreviation:
        return putName(out_, weekdayName().substr(0, 3), styleOf(part));
      case Letter::weekdayName:
        return putName(out_, weekdayName(), styleOf(part));
      case Letter::hour:
        return writeNumber(part, clock_ / 3600, 2);
      case Letter::hourOfTwelve:
        return writeNumber(part, (clock_ / 3600 + 11) % 12 + 1, 2);
      case Letter::half:
        return writeHalf(part);
      case Letter::minute:
        return writeNumber(part, clock_ / 60 % 60, 2);
      case Letter::second:
        return writeNumber(part, time_.wall.insertedSecond ? 60 : clock_ % 60, 2);
      case Letter::fraction:
        return writeFraction(part.ofCount ? fractionOfCount() : time_.decimal.fraction);
      case Letter::offset:
      case Letter::offsetWithColon:
        return writeOffset(part);
      case Letter::zone:
        return writeZone(part);
      case Letter::count:
        return writeCount(part);
    }
  }

  std::string_view monthName() const { return kMonthNames[static_cast<std::size_t>(month_ - 1)]; }
  int daysSinceSunday() const { return (daysSinceMonday(day_) + 1) % 7; }
  std::string_view weekdayName() const {
    return kWeekdayNames[static_cast<std::size_t>(daysSinceSunday())];
  }

  // As the letter has it where there is no text.
  void writeHalf(const FormatPart& part) {
    const unsigned ofLetter = part.smallLetters ? NameStyle::lower : NameStyle::upper;
    putName(out_, clock_ < 43200 ? "AM" : "PM", spelling_ == nullptr ? ofLetter : styleOf(part));
  }

  void writeFraction(std::string_view digits) {
    out_ += digits;
    const std::size_t least = std::max<std::size_t>(time_.fractionDigits, 1);
    if (digits.size() < least) out_.append(least - digits.size(), '0');
  }

  void writeOffset(const FormatPart& part) {
    const unsigned style = styleOf(part);
    const WallTime& wall = time_.wall;
    const bool isZ = style == OffsetStyle::z || style == OffsetStyle::smallZ;
    if (isZ && wall.offset != OffsetForm::numeric) {
      out_ += style == OffsetStyle::z ? 'Z' : 'z';
      return;
    }
    const bool isUnknown =
        spelling_ != nullptr && spelling_->unknownOffset && wall.offset != OffsetForm::numeric;
    out_ += wall.offsetSeconds < 0 || isUnknown ? '-' : '+';
    const int magnitude = std::abs(wall.offsetSeconds);
    const int minutes = magnitude / 60 % 60, seconds = magnitude % 60;
    const bool isOpen = style == OffsetStyle::open || isZ || style == OffsetStyle::hours;
    const bool hasColons =
        isOpen ? part.letter == Letter::offsetWithColon
               : style == OffsetStyle::extended || style == OffsetStyle::extendedSeconds;
    const bool hasSeconds =
        seconds != 0 || style == OffsetStyle::basicSeconds || style == OffsetStyle::extendedSeconds;
    putNumber(out_, magnitude / 3600, 2, Padding::zeros);
    if (style == OffsetStyle::hours && minutes == 0 && seconds == 0) return;
    if (hasColons) out_ += ':';
    putNumber(out_, minutes, 2, Padding::zeros);
    if (!hasSeconds) return;
    if (hasColons) out_ += ':';
    putNumber(out_, seconds, 2, Padding::zeros);
  }

  void writeZone(const FormatPart& part) {
    const unsigned style = styleOf(part);
    out_ += style != ZoneStyle::open && time_.wall.offset == OffsetForm::z
                ? kNamesOfUTC[style - ZoneStyle::utc]
                : time_.zone;
  }

  // The number that has its fraction behind it; of a negative one the digits count back.
  void writeCount(const FormatPart& part) {
    const std::string_view fraction = part.ofCount ? time_.decimal.fraction : std::string_view();
    count_.clear();
    plx::writeCount(count_, Form::seconds, {time_.decimal.seconds, std::string(fraction)});
    out_.append(count_, 0, count_.find('.'));
  }

  // What stands behind the point of the count.
  std::string_view fractionOfCount() const {
    const std::size_t point = count_.find('.');
    return point == std::string::npos ? std::string_view()
                                      : std::string_view(count_).substr(point + 1);
  }

  const Format& format_;
  std::string& out_;
  const FormatTime& time_;
  const FormatSpelling* const spelling_;
  std::int64_t day_ = 0, year_ = 0, weekYear_ = 0;
  int clock_ = 0, month_ = 1, ofMonth_ = 1;
  std::string count_;
};

bool Format::write(std::string& out, const FormatTime& time, const FormatSpelling* spelling,
                   Complaint& complaint) const {
  Writer writer(*this, out, time, spelling);
  complaint = writer.unsayable();
  if (!complaint.what.empty()) return false;
  writer.write();
  return true;
}

}  // namespace plx
