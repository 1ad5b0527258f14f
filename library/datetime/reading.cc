#include "datetime/reading.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "base/calendar_limits.h"
#include "datetime/date_text.h"
#include "datetime/exact.h"
#include "datetime/number_text.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedOffsets = "an offset that its zone has at that time, or Z";
constexpr std::string_view kAcceptedKnownOffset =
    "datetimes that have an offset from UTC, or a time zone for all";
constexpr std::string_view kAcceptedElsewhere = "the form iso";
constexpr std::string_view kAcceptedInFormats = "a datetime in one of them, or another --format";
constexpr std::string_view kAcceptedOneFormat =
    "formats of which one at most reads a text, or which read the same";
constexpr std::string_view kAcceptedWithDigits = "a form with a decimal point";

// Whether a pair and its floored second can be set and written. Those of a calendar are bounded to
// the millisecond. Elsewhere only whole seconds tell exactly: at 2^52 days, the
// high part alone moves in steps of most of a day.
bool isInRange(const Zone& zone, const doubledouble& pair, int128 second) {
  if (zone.isCalendar()) return std::fabs(dd::collapse(dd::Floor(pair))) <= kMaxCalendarMillis;
  return -kMaxSeconds <= second && second <= kMaxSeconds;
}

bool isInRange(const Zone& zone, const doubledouble& pair) {
  if (!(std::fabs(pair.hi) <= kMaxMillis)) return false;  // NaN neither
  const bool isWithin = std::fabs(pair.hi) < kMaxMillis;
  return isInRange(zone, pair, isWithin ? 0 : rounded(pair, 9).seconds);
}

bool isNumber(Form form) { return form == Form::pair || isCount(form); }

// ---- Reading ----

// A datetime with a suffix, and the offset that its own zone has there: an offset that came along
// has to be that one, but Z and -00:00 tell the instant alone. Nothing, and a complaint, where
// something is wrong.
std::optional<DatetimeText> settled(const Zone& own, const DatetimeText& datetime,
                                    Complaint& complaint) {
  DatetimeText result = datetime;
  result.insertedSecond = false;  // the second before has the same offset
  const auto second = own.secondOf(result, complaint);
  if (!second) return std::nullopt;
  const WallTime wall = own.wallTime(*second);
  if (datetime.offset == OffsetForm::numeric && datetime.offsetSeconds != wall.offsetSeconds) {
    complaint = {"the offset ", kAcceptedOffsets};
    writeOffset(complaint.what, datetime.offsetSeconds);
    complaint.what += " contradicts the zone, where it is ";
    writeOffset(complaint.what, wall.offsetSeconds);
    return std::nullopt;
  }
  result.insertedSecond = datetime.insertedSecond;
  if (datetime.offset != OffsetForm::none) return result;
  const auto [day, secondOfDay] = floorDiv(wall.seconds, 86400);
  result.day = static_cast<std::int64_t>(day);
  result.secondOfDay = static_cast<int>(secondOfDay);
  result.offset = OffsetForm::numeric;
  result.offsetSeconds = wall.offsetSeconds;
  return result;
}

// Puts a reading of which the text is known into its zone, and finds its pair.
bool place(const Zone* zoneForAll, Zones& zones, Reading& reading, Complaint& complaint) {
  const DatetimeText* datetime = &reading.text;
  std::optional<DatetimeText> withOffset;
  reading.zone = reading.clock = zoneForAll;
  if (zoneForAll == nullptr || !datetime->suffix.zone.empty()) {
    const Zone* const own = zones.of(*datetime, complaint);
    if (own == nullptr) return false;
    if (zoneForAll == nullptr) reading.zone = own;
    reading.clock = own;
    if (!datetime->suffix.zone.empty()) {
      withOffset = settled(*own, *datetime, complaint);
      if (!withOffset) return false;
      datetime = &*withOffset;
    }
  }
  if (reading.text.offset != OffsetForm::none) reading.clock = nullptr;
  const Zone& zone = *reading.zone;
  const auto second = zone.secondOf(*datetime, complaint);
  if (!second) return false;
  reading.pair = pairOf(*second, datetime->fraction);
  if (isInRange(zone, reading.pair, *second)) return zone.isRight(reading.pair, complaint);
  complaint = {"out of range", zone.acceptedRange()};
  return false;
}

// The pair of a count of seconds in a zone, which `reading` has.
bool placeCount(const std::optional<CountText>& count, Reading& reading, Complaint& complaint) {
  if (!count) return false;
  const Zone& zone = *reading.zone;
  reading.pair = count->pair;
  reading.text.fraction = count->fraction;
  if (isInRange(zone, count->pair, count->second)) return zone.isRight(reading.pair, complaint);
  complaint = {"out of range", zone.acceptedRange()};
  return false;
}

bool saySame(const FormatReading& a, const FormatReading& b) {
  const auto digits = [](std::string_view fraction) {
    return fraction.substr(0, fraction.find_last_not_of('0') + 1);
  };
  const DatetimeText &x = a.datetime, &y = b.datetime;
  return a.count == b.count && x.day == y.day && x.secondOfDay == y.secondOfDay &&
         x.insertedSecond == y.insertedSecond && digits(x.fraction) == digits(y.fraction) &&
         x.offset == y.offset && x.offsetSeconds == y.offsetSeconds &&
         x.suffix.zone == y.suffix.zone;
}

// What the formats say of a text that none of them reads.
Complaint noneOf(const std::vector<std::shared_ptr<const Format>>& formats, std::string_view text) {
  if (formats.size() == 1) return formats.front()->complaintOf(text);
  std::string list;
  for (const auto& format : formats) list += (list.empty() ? "" : ", ") + format->text();
  return {"in none of the formats " + list, kAcceptedInFormats};
}

// The format that reads a text; null, and a complaint, where none does or two of them differ.
const Format* formatOf(std::string_view text,
                       const std::vector<std::shared_ptr<const Format>>& formats,
                       FormatReading& reading, Complaint& complaint) {
  const Format* found = nullptr;
  for (const auto& format : formats) {
    FormatReading other;
    if (!format->read(text, found == nullptr ? reading : other)) continue;
    if (found == nullptr) {
      found = format.get();
    } else if (!saySame(reading, other)) {
      complaint = {"the formats " + found->text() + " and " + format->text() +
                       " read it as two different datetimes",
                   kAcceptedOneFormat};
      complaint.endsRun = true;
      return nullptr;
    }
  }
  if (found == nullptr) complaint = noneOf(formats, text);
  return found;
}

bool readInFormats(std::string_view text, const Notation& notation, const Zone* zoneForAll,
                   Zones& zones, Reading& reading, Complaint& complaint) {
  FormatReading found;
  reading.format = formatOf(text, notation.formats, found, complaint);
  if (reading.format == nullptr) return false;
  reading.text = found.datetime;
  reading.spelling = found.spelling;
  if (!reading.format->isCount()) return place(zoneForAll, zones, reading, complaint);
  reading.text.form = Form::seconds;
  reading.zone = zoneForAll != nullptr ? zoneForAll : zones.of(reading.text, complaint);
  return placeCount(readCount(found.count, Form::seconds, complaint), reading, complaint);
}

// In the form or, where it is none of it, in the formats. What looks like a date of ISO 8601 is told as one.
bool readInEither(std::string_view text, const Notation& notation, const Zone* zoneForAll,
                  Zones& zones, Reading& reading, Complaint& complaint) {
  const bool isIso = text.size() > 4 && text[4] == '-';
  if (isIso && readDatetime(text, notation.from, reading.text, complaint))
    return place(zoneForAll, zones, reading, complaint);
  const Complaint ofIso = complaint;
  if (readInFormats(text, notation, zoneForAll, zones, reading, complaint)) return true;
  if (isIso && reading.format == nullptr) complaint = ofIso;
  return false;
}

bool readDate(std::string_view text, Form form, const Zone* zoneForAll, Zones& zones,
              Reading& reading, Complaint& complaint) {
  return readDatetime(text, form, reading.text, complaint) &&
         place(zoneForAll, zones, reading, complaint);
}

bool readNumber(std::string_view text, Form form, const Zone* zoneForAll, Zones& zones,
                Reading& reading, Complaint& complaint) {
  const Zone& zone = zoneForAll != nullptr ? *zoneForAll : *zones.plain();
  reading.zone = &zone;
  reading.text.form = form;
  reading.text.separator = 'T';  // for another form
  if (form != Form::pair) return placeCount(readCount(text, form, complaint), reading, complaint);
  const auto pair = readPair(text, complaint);
  if (!pair) return false;
  reading.pair = *pair;
  if (isInRange(zone, *pair)) return zone.isRight(reading.pair, complaint);
  complaint = {"out of range", zone.acceptedRange()};
  return false;
}

// ---- Writing ----

std::size_t digitsThatCame(const DatetimeText& text) {
  return digitsOfUnit(text.form) + text.fraction.size();
}

// How many digits of the second a result holds. Through a calendar the module keeps what is below a millisecond as one
// double, whose error is at most 2^-54 milliseconds.
std::size_t digitsHeldOf(const Reading& reading, const doubledouble& pair) {
  constexpr std::size_t kOfCalendar = 18;
  const std::size_t digits = digitsHeld(pair);
  return reading.zone->isCalendar() ? std::min(digits, kOfCalendar) : digits;
}

// A text with more digits than the result holds.
bool isLongerThanPair(const Reading& reading, const doubledouble& pair) {
  const std::size_t came = digitsThatCame(reading.text);
  return came > 9 && came > digitsHeldOf(reading, pair);
}

// Whether the fraction of the second is still that of the text, as far as the pairs tell. A setting may
// have moved the last digits: the pair of a later datetime holds fewer.
bool hasFractionOfText(const Reading& reading, const doubledouble& pair) {
  const std::size_t held = std::min(digitsHeldOf(reading, pair), digitsHeld(reading.pair));
  const std::size_t digits = std::max<std::size_t>(held - 2, 9);
  return !isCount(reading.text.form) &&
         rounded(pair, digits).fraction == rounded(reading.pair, digits).fraction;
}

// The digits that the result holds; where the fraction was left alone, those of the text.
DecimalSeconds heldDecimal(const Reading& reading, const doubledouble& pair) {
  DecimalSeconds decimal = rounded(pair, digitsHeldOf(reading, pair));
  if (!reading.keepsDigits || !hasFractionOfText(reading, pair)) return decimal;
  const std::string_view digits = reading.text.fraction;
  // Many nines were rounded up into the next second.
  if (decimal.fraction.empty() && digits.front() == '9') --decimal.seconds;
  decimal.fraction = digits.substr(0, digits.find_last_not_of('0') + 1);
  return decimal;
}

DecimalSeconds decimalOf(const Reading& reading, const doubledouble& pair, const Notation& notation,
                         std::size_t unit) {
  if (notation.exact) return shortest(pair);
  if (isLongerThanPair(reading, pair)) return heldDecimal(reading, pair);
  const std::size_t digits = std::max<std::size_t>(9, digitsThatCame(reading.text));
  DecimalSeconds decimal = rounded(pair, digits);
  // Rounded so, 59.9999999999 is the next minute, of which nothing is left to cut. One digit more tells
  // them apart; further ones do not, as the doubles of a time of day lie 10^-11 s apart.
  const bool isCut = notation.digits && unit + *notation.digits < 9;
  if (isCut && digits == 9 && decimal.fraction.size() <= unit + *notation.digits)
    decimal = rounded(pair, 10);
  return decimal;
}

// Drops digits, and with them the zeros that then stand last.
void cut(DecimalSeconds& decimal, std::size_t digits) {
  if (decimal.fraction.size() <= digits) return;
  decimal.fraction.resize(digits);
  decimal.fraction.erase(decimal.fraction.find_last_not_of('0') + 1);
}

bool isRfc(Form form) { return form == Form::rfc3339 || form == Form::rfc9557; }

// How a text is written in another form.
DatetimeText restyled(const DatetimeText& text, Form form) {
  DatetimeText style = text;
  style.form = form;
  style.basic = false;
  if (!isRfc(form)) return style;
  style.decimalMark = '.';
  if (style.separator == 0) style.separator = 'T';
  return style;
}

// What a form that is asked for by its name cannot say of a wall time; empty where it can.
Complaint unsayable(const DatetimeText& style, const WallTime& wall, bool strict) {
  if (isRfc(style.form) && wall.offset == OffsetForm::none)
    return {"no offset from UTC is known", kAcceptedKnownOffset};
  if (strict && wall.offsetSeconds % 60 != 0)
    return {"the form has no seconds in an offset", kAcceptedElsewhere};
  const auto day = static_cast<std::int64_t>(floorDiv(wall.seconds, 86400).quotient);
  if ((strict || style.basic) && !hasPlainYear(style.form, day))
    return {"the form has no years but 0000 to 9999", kAcceptedElsewhere};
  return {};
}

// Whether the date alone, which is midnight there, reads as that second: where clocks go back over
// midnight, it is the later of two.
bool isDateEnough(const Zone& zone, const WallTime& wall, int128 second) {
  const auto [day, secondOfDay] = floorDiv(wall.seconds, 86400);
  if (secondOfDay != 0 || !zone.isCalendar()) return true;  // or the time is written anyway
  DatetimeText date;
  date.day = static_cast<std::int64_t>(day);
  Complaint complaint;
  return zone.secondOf(date, complaint) == second;
}

const Format* formatToWrite(const Reading& reading, const Notation& notation) {
  if (notation.toFormat) return notation.toFormat.get();
  return notation.to ? nullptr : reading.format;
}

bool writeInFormat(const Format& format, const Reading& reading, const Notation& notation,
                   const DecimalSeconds& decimal, std::string& out, Complaint& complaint) {
  const WallTime wall = reading.zone->wallTime(decimal.seconds);
  const bool isAsRead = &format == reading.format;
  FormatTime time{decimal, wall, reading.zone->suffix()};
  if (isAsRead) {
    time.fractionDigits = reading.text.fraction.size();
    if (notation.digits) time.fractionDigits = std::min(time.fractionDigits, *notation.digits);
  } else if (notation.digits) {
    time.fractionDigits = *notation.digits;
  }
  return format.write(out, time, isAsRead ? &reading.spelling : nullptr, complaint);
}

bool writeDate(const Reading& reading, const Notation& notation, const DecimalSeconds& decimal,
               std::string& out, Complaint& complaint) {
  const WallTime wall = reading.zone->wallTime(decimal.seconds);
  const bool needsTime =
      reading.text.separator == 0 && !isDateEnough(*reading.zone, wall, decimal.seconds);
  std::optional<DatetimeText> changed;
  if (notation.to) changed = restyled(reading.text, *notation.to);
  if (needsTime && !changed) changed = reading.text;
  if (needsTime) changed->separator = 'T';
  const DatetimeText& style = changed ? *changed : reading.text;

  const bool isNamed = notation.to || notation.from == Form::rfc9557;
  const bool hasSuffix = style.form == Form::rfc9557;
  if (isRfc(style.form) || style.basic) {
    complaint = unsayable(style, wall, isRfc(style.form) && (isNamed || !hasSuffix));
    if (!complaint.what.empty()) return false;
  }
  const bool hasZone = hasSuffix && (notation.to || !style.suffix.zone.empty());
  if (hasZone && reading.zone->suffix().empty()) {
    complaint = {"the zone has no name for brackets", kAcceptedElsewhere};
    return false;
  }
  writeDatetime(out, style, wall, decimal.fraction);
  if (hasSuffix) writeSuffix(out, hasZone ? reading.zone->suffix() : "", style.suffix);
  return true;
}

}  // namespace

std::optional<Reading> read(std::string_view text, const Notation& notation, const Zone* zoneForAll,
                            Zones& zones, Complaint& complaint) {
  std::optional<Reading> reading(std::in_place);
  reading->field = text;
  const Form form = notation.from;
  if (isMissing(text) || (form == Form::pair && isMissingPair(text)) ||
      std::ranges::find(notation.missing, text) != notation.missing.end()) {
    reading->missing = true;
    return reading;
  }
  bool good = false;
  if (notation.recognisedToo) {
    good = readInEither(text, notation, zoneForAll, zones, *reading, complaint);
  } else if (!notation.formats.empty()) {
    good = readInFormats(text, notation, zoneForAll, zones, *reading, complaint);
  } else if (isNumber(form)) {
    good = readNumber(text, form, zoneForAll, zones, *reading, complaint);
  } else {
    good = readDate(text, form, zoneForAll, zones, *reading, complaint);
  }
  if (!good) reading.reset();
  return reading;
}

bool write(const Reading& reading, const doubledouble& pair, const Notation& notation,
           std::string& out, Complaint& complaint) {
  if (reading.missing) {
    out += reading.field;
    return true;
  }
  const Zone& zone = *reading.zone;
  const Format* const format = formatToWrite(reading, notation);
  const Form form = format != nullptr ? Form::calendar : notation.to.value_or(reading.text.form);
  const auto failRange = [&] {
    complaint = {"the result is out of range", zone.acceptedRange()};
    return false;
  };
  if (!(std::fabs(pair.hi) <= kMaxMillis)) return failRange();  // no decimal for these, nor for NaN
  if (form == Form::pair) {
    if (!isInRange(zone, pair)) return failRange();
    if (!zone.isRight(pair, complaint)) return false;
    if (notation.digits) {
      complaint = {"a pair of doubles has no digits to cut", kAcceptedWithDigits};
      return false;
    }
    writePair(out, pair);
    return true;
  }
  DecimalSeconds decimal = decimalOf(reading, pair, notation, digitsOfUnit(form));
  if (!isInRange(zone, pair, decimal.seconds)) return failRange();
  if (!zone.isRight(pair, complaint)) return false;
  if (notation.digits) cut(decimal, digitsOfUnit(form) + *notation.digits);
  if (format != nullptr) return writeInFormat(*format, reading, notation, decimal, out, complaint);
  if (!isCount(form)) return writeDate(reading, notation, decimal, out, complaint);
  writeCount(out, form, decimal);
  return true;
}

bool cutsDigits(const Reading& reading, const doubledouble& pair, const Notation& notation) {
  return !notation.exact && !notation.digits && isLongerThanPair(reading, pair) &&
         !hasFractionOfText(reading, pair);
}

}  // namespace plx
