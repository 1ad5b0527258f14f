#include "datetime/datetime_text.h"

#include <fmt/format.h>

#include <cstddef>
#include <utility>

#include "datetime/date_text.h"
#include "datetime/scanner.h"
#include "datetime/short_text.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedOrdinalDates =
    "YYYY-DDD[Thh:mm[:ss[.digits]][Z|+hh:mm]], as in 2014-130T08:30:15.25";
constexpr std::string_view kAcceptedWeekDates =
    "YYYY-Www-D[Thh:mm[:ss[.digits]][Z|+hh:mm]], as in 2014-W19-6T08:30:15.25";
constexpr std::string_view kAcceptedRfc3339 =
    "YYYY-MM-DDThh:mm:ss[.digits] and Z or +hh:mm, as in 2014-05-10T08:30:15.25Z";
constexpr std::string_view kAcceptedRfc9557 =
    "YYYY-MM-DDThh:mm:ss[.digits], Z or +hh:mm, and [Zone], as in "
    "2014-05-10T08:30:15.25-04:00[America/New_York]";
constexpr std::string_view kAcceptedNumbers =
    "--from s, ms, us or ns for numbers, and --from iso or ordinal for dates without dashes";

// How a text that is none is called, and what would be one.
Complaint noDatetime(Form form) {
  switch (form) {
    case Form::calendar:
      return {"not a calendar date", kAcceptedDatetimes};
    case Form::ordinal:
      return {"not an ordinal date", kAcceptedOrdinalDates};
    case Form::week:
      return {"not a week date", kAcceptedWeekDates};
    case Form::rfc3339:
      return {"not a datetime of RFC 3339", kAcceptedRfc3339};
    case Form::rfc9557:
      return {"not a datetime of RFC 9557", kAcceptedRfc9557};
    default:
      return {"not a datetime", kAcceptedDatetimes};
  }
}

bool isNumber(std::string_view text) {
  Scanner scan(text);
  scan.oneOf("+-");
  bool any = !scan.digits().empty();
  if (scan.skip('.')) any = !scan.digits().empty() || any;
  return any && scan.atEnd();
}

// Reads one text. Each step reads its piece; the complaint stays empty where the shape is wrong,
// which is told in one way for all, and says what is wrong where only a number is.
class Reader {
 public:
  Reader(std::string_view text, Form form, DatetimeText& datetime, Complaint& complaint)
      : result_(datetime), scan_(text), form_(form), complaint_(complaint) {}

  bool read() {
    if (!readDate()) return false;
    if (!scan_.atEnd()) {
      result_.separator = scan_.oneOf(result_.basic ? "Tt" : "Tt ");
      if (result_.separator == 0 || !readClock() || !readOffset()) return false;
      if (scan_.next() == '[' && !readSuffix()) return false;
    }
    if (!scan_.atEnd()) return false;
    return isOfForm();
  }

 private:
  bool readDate() {
    DateText date;
    if (!plx::readDate(scan_, form_, date, complaint_)) return false;
    result_.day = date.day;
    result_.form = date.form;
    result_.basic = date.basic;
    takeLiberty(date.form != Form::calendar || date.basic || date.signedYear);
    return true;
  }

  // Hours, and minutes and seconds where they follow.
  bool readFields(int& hour, int& minute, int& second) {
    const auto skipColon = [&] { return result_.basic ? isDigit(scan_.next()) : scan_.skip(':'); };
    if (!scan_.twoDigits(hour)) return false;
    const bool hasMinute = skipColon();
    if (hasMinute && !scan_.twoDigits(minute)) return false;
    const bool hasSecond = hasMinute && skipColon();
    takeLiberty(!hasSecond);
    return !hasSecond || (scan_.twoDigits(second) && readFraction());
  }

  bool readFraction() {
    const char mark = scan_.oneOf(".,");
    if (mark == 0) return true;
    takeLiberty(mark == ',');
    result_.decimalMark = mark;
    result_.fraction = scan_.digits();
    return !result_.fraction.empty();
  }

  bool readClock() {
    int hour = 0, minute = 0, second = 0;
    if (!readFields(hour, minute, second)) return false;
    if (hour > 24) return fail(fmt::format("there is no hour {}", hour));
    if (minute > 59) return fail(fmt::format("there is no minute {}", minute));
    if (second > 60) return fail(fmt::format("there is no second {}", second));
    if (hour == 24) {
      const bool midnight = minute == 0 && second == 0 &&
                            result_.fraction.find_first_not_of('0') == std::string_view::npos;
      if (!midnight) return fail("24:00 is the last moment of a day");
      takeLiberty(true);
      hour = 0;
      ++result_.day;
    }
    result_.insertedSecond = second == 60;
    result_.secondOfDay = hour * 3600 + minute * 60 + (second == 60 ? 59 : second);
    return true;
  }

  bool readOffset() {
    if (scan_.oneOf("Zz") != 0) {
      result_.offset = OffsetForm::z;
      return true;
    }
    const char sign = scan_.oneOf("+-");
    if (sign == 0) return true;
    int hours = 0, minutes = 0, seconds = 0;
    if (!scan_.twoDigits(hours)) return false;
    const bool hasColon = scan_.skip(':');
    takeLiberty(!hasColon);
    if (hasColon || isDigit(scan_.next())) {
      if (!scan_.twoDigits(minutes)) return false;
      const bool hasSeconds = hasColon ? scan_.skip(':') : result_.basic && isDigit(scan_.next());
      takeLiberty(hasSeconds);
      if (hasSeconds && !scan_.twoDigits(seconds)) return false;
    }
    if (hours > 23 || minutes > 59 || seconds > 59)
      return fail("an offset from UTC reaches from -23:59:59 to +23:59:59");
    const int magnitude = hours * 3600 + minutes * 60 + seconds;
    result_.offsetSeconds = sign == '-' ? -magnitude : magnitude;
    result_.offset = sign == '-' && magnitude == 0 ? OffsetForm::unknown : OffsetForm::numeric;
    return true;
  }

  bool readSuffix() {
    if (result_.form != Form::calendar || result_.basic) return false;
    result_.form = Form::rfc9557;
    return plx::readSuffix(scan_, result_.suffix, complaint_.what);
  }

  // Who names one of the two strict forms wants no other spelling of it.
  bool isOfForm() {
    if (form_ == Form::recognised || form_ == result_.form)
      return isRfc3339() || form_ != Form::rfc9557;
    if (result_.form != Form::calendar || !isRfc3339()) return false;
    result_.form = form_;
    return form_ == Form::rfc3339 || form_ == Form::rfc9557;
  }

  // Whether nothing is there that RFC 3339 would not have.
  bool isRfc3339() const { return liberties_ == 0 && result_.offset != OffsetForm::none; }

  void takeLiberty(bool taken) { liberties_ += taken; }
  bool fail(std::string what) {
    complaint_.what = std::move(what);
    return false;
  }

  DatetimeText& result_;
  Scanner scan_;
  const Form form_;
  Complaint& complaint_;
  int liberties_ = 0;  // that RFC 3339 does not take
};

void writeClock(ShortText& out, int seconds, bool basic, bool hasSeconds) {
  out.twoDigits(seconds / 3600);
  if (!basic) out.put(':');
  out.twoDigits(seconds / 60 % 60);
  if (!hasSeconds) return;
  if (!basic) out.put(':');
  out.twoDigits(seconds % 60);
}

void writeOffset(ShortText& out, int offsetSeconds, bool basic) {
  out.put(offsetSeconds < 0 ? '-' : '+');
  const int magnitude = offsetSeconds < 0 ? -offsetSeconds : offsetSeconds;
  writeClock(out, magnitude, basic, magnitude % 60 != 0);
}

void writeOffset(ShortText& out, const DatetimeText& form, const WallTime& wall) {
  if (wall.offset == OffsetForm::none) return;
  // To RFC 9557, Z tells less than an offset of zero.
  const bool isZero =
      form.form == Form::rfc9557 && form.offset == OffsetForm::numeric && form.offsetSeconds == 0;
  if (wall.offset == OffsetForm::numeric || isZero) {
    writeOffset(out, wall.offsetSeconds, form.basic);
  } else if (form.offset == OffsetForm::unknown) {
    out.put('-');
    writeClock(out, 0, form.basic, false);
  } else {
    out.put('Z');
  }
}

}  // namespace

bool readDatetime(std::string_view text, Form form, DatetimeText& datetime, Complaint& complaint) {
  complaint = {{}, kAcceptedDatetimes};
  if (Reader(text, form, datetime, complaint).read()) return true;
  if (!complaint.what.empty()) return false;
  complaint = noDatetime(form);
  if (form == Form::recognised && isNumber(text))
    complaint = {"a number without its unit", kAcceptedNumbers};
  return false;
}

std::optional<DatetimeText> readDatetime(std::string_view text, Complaint& complaint) {
  std::optional<DatetimeText> datetime(std::in_place);
  if (!readDatetime(text, Form::recognised, *datetime, complaint)) datetime.reset();
  return datetime;
}

bool looksLikeDatetime(std::string_view text) {
  Scanner scan(text);
  scan.oneOf("+-");
  if (scan.digits().size() >= 7 && scan.oneOf("Tt") != 0) return isDigit(scan.next());
  scan = Scanner(text);
  scan.oneOf("+-");
  if (scan.digits().empty()) return false;
  const bool dash = scan.skip('-');
  if (scan.skip('W')) return isDigit(scan.next());
  return dash && isDigit(scan.next());
}

void writeOffset(std::string& out, int offsetSeconds) {
  ShortText text;
  writeOffset(text, offsetSeconds, false);
  text.appendTo(out);
}

void writeDatetime(std::string& out, const DatetimeText& form, const WallTime& wall,
                   std::string_view fraction) {
  const auto [days, secondOfDay] = floorDiv(wall.seconds, 86400);
  const auto clock = static_cast<int>(secondOfDay);
  ShortText text;
  writeDate(text, form.form, form.basic, static_cast<std::int64_t>(days));
  if (form.separator == 0 && clock == 0 && fraction.empty()) return text.appendTo(out);

  text.put(form.separator == 0 ? 'T' : form.separator);
  writeClock(text, clock, form.basic, !wall.insertedSecond);
  if (wall.insertedSecond) {
    if (!form.basic) text.put(':');
    text.twoDigits(60);
  }
  if (!fraction.empty()) {
    text.put(form.decimalMark);
    text.appendTo(out);
    out += fraction;
    text.clear();
  }
  writeOffset(text, form, wall);
  text.appendTo(out);
}

}  // namespace plx
