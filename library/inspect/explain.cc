#include "inspect/explain.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "arith/civil.h"
#include "datetime/datetime_text.h"
#include "inspect/component_value.h"
#include "inspect/month_calendar.h"
#include "inspect/paint.h"
#include "inspect/wall.h"
#include "inspect/zone_names.h"
#include "messages/calendar_names.h"
#include "messages/message.h"

namespace plx {

namespace {

// What two sides or two months beside each other take.
constexpr std::size_t kBesideEachOther = 70;

DatetimeText formOfDatetimes() {
  DatetimeText form;
  form.separator = ' ';
  return form;
}

std::string weekdayOfWall(int128 wallSecond) {
  const auto day = static_cast<double>(floorDiv(wallSecond, 86400).quotient);
  return std::string(kWeekdayNames[static_cast<std::size_t>(weekdayOf(day))].substr(0, 3));
}

// "Sun 2014-03-09 12:50:00.25", without an offset.
std::string datetime(WallTime wall, std::string_view fraction) {
  wall.offset = OffsetForm::none;
  std::string text = weekdayOfWall(wall.seconds) + ' ';
  writeDatetime(text, formOfDatetimes(), wall, fraction);
  return text;
}

std::string offset(int seconds) {
  std::string text;
  writeOffset(text, seconds);
  return text;
}

// "-05:00 EST".
std::string offsetWithName(const Zone& zone, int128 second) {
  const std::string name = abbreviation(zone, second);
  return offset(zone.wallTime(second).offsetSeconds) + (name.empty() ? "" : " ") + name;
}

// "+1 d 2 h 30 min 0.5 s"; the largest units that are needed.
std::string duration(const doubledouble& millis, std::size_t digits) {
  const bool negative = millis.hi < 0.0;
  const DecimalSeconds d =
      rounded(negative ? doubledouble{-millis.hi, -millis.lo} : millis, digits);
  const auto [days, rest] = floorDiv(d.seconds, 86400);
  const auto second = static_cast<int>(rest);
  std::string text;
  const auto add = [&](std::int64_t count, const char* unit) {
    if (count != 0) text += fmt::format(" {} {}", count, unit);
  };
  add(static_cast<std::int64_t>(days), "d");
  add(second / 3600, "h");
  add(second / 60 % 60, "min");
  if (!d.fraction.empty()) {
    text += fmt::format(" {}.{} s", second % 60, d.fraction);
  } else {
    add(second % 60, "s");
  }
  if (text.empty()) return "none";
  text[0] = negative ? '-' : '+';
  return text;
}

std::string monthName(const Date& date) {
  return fmt::format("{} {}", kMonthNames[static_cast<std::size_t>(date.month - 1.0)],
                     static_cast<std::int64_t>(date.year));
}

// Values that do not carry, in words.
std::string_view usualValues(Component component) {
  switch (component) {
    case Component::quarter:
      return "1 to 4";
    case Component::month:
      return "1 to 12";
    case Component::weekOfYear:
      return "1 to the last week of the year";
    case Component::dayOfMonth:
      return "1 to the last day of the month";
    case Component::dayOfYear:
      return "1 to 365, in leap years 366";
    case Component::hour:
      return "0 to 23";
    case Component::minute:
      return "0 to 59";
    case Component::second:
      return "0 to less than 60";
    case Component::timeOfDay:
      return "0 to less than 86400";
    case Component::dayOfWeek:  // carriedDayOfWeek() tells
    case Component::year:       // does not carry
    case Component::none:
      break;
  }
  return "every whole number";
}

// One side of the comparison.
struct Side {
  std::string local, offset, utc, week, dayOfYear, value;
  double day;
};

class Explanation {
 public:
  Explanation(const Explained& explained, bool colour)
      : e_(explained),
        paint_(colour),
        checker_(e_.zone),
        finding_(checker_.check(e_.before, e_.after, std::span(&e_.setting, 1))),
        before_(sideOf(e_.before)),
        after_(sideOf(e_.after)) {}

  std::string text() {
    title();
    comparison();
    words();
    if (finding_.gap) edges(*finding_.gap);
    if (finding_.overlap) edges(*finding_.overlap);
    if (before_.day != after_.day) calendar();
    return std::move(out_);
  }

 private:
  CalendarField field() const {
    return e_.field == CalendarField{} ? e_.setting.field() : e_.field;
  }
  Component component() const {
    return field().own == Own::none ? field().component : Component::none;
  }
  std::string_view name() const { return field().name(); }

  Side sideOf(const doubledouble& pair) const {
    const DecimalSeconds decimal = rounded(pair, e_.digits);
    const WallTime wall = e_.zone.wallTime(decimal.seconds);
    Side side;
    side.day = static_cast<double>(floorDiv(wall.seconds, 86400).quotient);
    side.local = datetime(wall, decimal.fraction);
    if (e_.zone.isCalendar()) {
      side.offset = offsetWithName(e_.zone, decimal.seconds);
      side.utc = datetime({decimal.seconds}, decimal.fraction);
    }
    const Date date = dateOf(side.day);
    side.week = fmt::format("{}", weekOf(side.day, e_.zone));
    side.dayOfYear = fmt::format("{}", daysBeforeMonth(date.year, date.month) + date.day);
    writeFieldValue(side.value, field(), pair, e_.zone, e_.digits, false);
    return side;
  }

  void line(const std::string& text) {
    out_ += text;
    out_.erase(out_.find_last_not_of(' ') + 1);
    out_ += '\n';
  }

  void titleLines(const std::string& text) {
    wrapped(text, "", Style::title);
    out_ += '\n';
  }

  void title() {
    if (!e_.typed.empty()) {
      titleLines(fmt::format("Set {}, in {}", escapeText(e_.typed), titleOf(e_.zone)));
      return;
    }
    std::string value = escapeText(e_.asked);
    const std::string number = fmt::format("{}", e_.setting.asked());
    if (value.find_first_of("0123456789") == std::string::npos || value[0] == 'q' ||
        value[0] == 'Q')
      value += " (" + number + ')';
    titleLines(fmt::format("Set {} to {}, in {}", name(), value, titleOf(e_.zone)));
  }

  // Both sides one below the other.
  void narrowComparison() {
    const bool isUTC = !e_.zone.isCalendar() && !e_.zone.text().empty();
    for (const Side* side : {&before_, &after_}) {
      const bool isBefore = side == &before_;
      line("  " + paint_(isBefore ? Style::before : Style::after, isBefore ? "before" : "after"));
      const auto row = [&](std::string_view label, const std::string& value) {
        line(fmt::format("  {:12}{}", label, value));
      };
      row(e_.zone.isCalendar() ? "local time" : isUTC ? "UTC" : "time", side->local);
      if (e_.zone.isCalendar()) {
        row("offset", side->offset);
        row("UTC", side->utc);
      }
      row("week", side->week);
      row("day of year", side->dayOfYear);
      if (component() != Component::weekOfYear && component() != Component::dayOfYear)
        row(name(), side->value);
      out_ += '\n';
    }
    line(fmt::format("  {:12}", "moved by") +
         duration(dd::subtract(e_.after, e_.before), e_.digits));
  }

  void comparison() {
    if (e_.columns < kBesideEachOther) return narrowComparison();
    const std::size_t width =
        std::max({before_.local.size(), before_.offset.size(), before_.utc.size()}) + 2;
    const auto row = [&](std::string_view label, const std::string& before,
                         const std::string& after) {
      const Style style = before == after ? Style::plain : Style::changed;
      line(fmt::format("  {:12}{:{}}", label, before, width) + paint_(style, after));
    };
    line(fmt::format("  {:12}", "") + paint_(Style::before, fmt::format("{:{}}", "before", width)) +
         paint_(Style::after, "after"));
    const bool isUTC = !e_.zone.isCalendar() && !e_.zone.text().empty();
    row(e_.zone.isCalendar() ? "local time" : isUTC ? "UTC" : "time", before_.local, after_.local);
    if (e_.zone.isCalendar()) {
      row("offset", before_.offset, after_.offset);
      row("UTC", before_.utc, after_.utc);
    }
    row("week", before_.week, after_.week);
    row("day of year", before_.dayOfYear, after_.dayOfYear);
    if (component() != Component::weekOfYear && component() != Component::dayOfYear)
      row(name(), before_.value, after_.value);
    line(fmt::format("  {:12}", "moved by") +
         duration(dd::subtract(e_.after, e_.before), e_.digits));
  }

  void words() {
    std::vector<std::string> sentences;
    if (wallOf(e_.before, e_.zone).insertedSecond) {
      sentences.emplace_back(
          "The datetime lies inside an inserted second: setting starts from 23:59:59 of the same "
          "day, and the result is never inside one.");
    }
    if (const auto change = doubt()) sentences.push_back(doubtful(*change));
    if (finding_.noSuchDate) sentences.push_back(noSuchDate());
    if (finding_.noSuchWeek) sentences.push_back(noSuchWeek());
    if (finding_.carried) sentences.push_back(carried());
    if (finding_.gap) sentences.push_back(gap());
    if (finding_.overlap) sentences.push_back(overlap());
    out_ += '\n';
    if (sentences.empty()) return line("  The result is what was asked for.");
    for (const std::string& sentence : sentences) paragraph(sentence);
  }

  // Of the datetime as it was written.
  std::optional<Transition> doubt() const {
    if (!e_.wall) return std::nullopt;
    return checker_.doubtOf(*e_.wall, secondOf(e_.before));
  }

  std::string doubtful(const Transition& change) const {
    const std::string written = clockText(*e_.wall);
    const int128 second = secondOf(e_.before);
    if (change.isGap()) {
      return fmt::format(
          "The datetime is written as {}, which the clock skips: there it goes from {} straight to "
          "{}. It is read as {}.",
          written, edgeText(change, true), edgeText(change, false),
          clockText(e_.zone.wallTime(second).seconds));
    }
    return fmt::format(
        "The datetime is written as {}, which comes twice: the clock goes from {} back to {}. It "
        "is "
        "read as the {} one, with the offset {}.",
        written, edgeText(change, true), edgeText(change, false),
        second < change.second ? "first" : "second",
        offset(second < change.second ? change.before : change.after));
  }

  std::string noSuchDate() const {
    const Date& date = *finding_.noSuchDate;
    return fmt::format(
        "There is no {} {}: {} has {} days, and the day of the month, which stays {}, carries over "
        "into the month after.",
        date.day, monthName(date), monthName(date), daysOfMonth(date.year, date.month), date.day);
  }

  std::string noSuchWeek() const {
    const IsoWeek& week = *finding_.noSuchWeek;
    return fmt::format(
        "The ISO year {} has {} weeks, and week {}, which is kept, carries over into the year "
        "after.",
        week.year, isoWeeksIn(week.year), week.week);
  }

  std::string carried() const {
    const double v = finding_.carried->asked();
    if (finding_.carried->field().own == Own::isoWeek)
      return fmt::format("iso-week takes 1 to 52 or 53: {} carries over into another year.", v);
    if (component() == Component::dayOfWeek) return carriedDayOfWeek(v);
    if (component() == Component::dayOfMonth && v > 28.0 && v <= 31.0) {
      const Date before = dateOf(before_.day);
      return fmt::format("{} has {} days: {} carries over into the month after.", monthName(before),
                         daysOfMonth(before.year, before.month), v);
    }
    return fmt::format("{} takes {}: {} carries over into the larger units.", name(),
                       usualValues(component()), v);
  }

  // The module wraps, but for values below 1 in plain time; weeks that begin on another day are counted by arithmetic.
  std::string carriedDayOfWeek(double v) const {
    const int first = e_.zone.weeks() ? e_.zone.weeks()->firstDay : 0;
    const bool wraps = first == 0 && (v > 7.0 || e_.zone.isCalendar());
    const auto name = [](int day) { return kWeekdayNames[static_cast<std::size_t>(day % 7)]; };
    return fmt::format("day-of-week takes 1, {}, to 7, {}: {} {}.", name(first), name(first + 6), v,
                       wraps     ? "wraps into the same week"
                       : v > 7.0 ? "counts on into another week"
                                 : "counts back into an earlier week");
  }

  std::string gap() const {
    const Transition& change = *finding_.gap;
    const std::string skipped = fmt::format(
        "Asked for is {} {}, which the clock skips: there it goes from {} straight to {}. ",
        weekdayOfWall(finding_.askedWall), wallText(finding_.askedWall), edgeText(change, true),
        edgeText(change, false));
    const int length = change.after - change.before;
    const int128 shown = e_.zone.wallTime(secondOf(e_.after)).seconds;
    if (shown == change.wallBefore() - 1)
      return skipped + fmt::format("The result is the last second before, {}.", clockText(shown));
    if (shown == change.wallAfter() && shown != finding_.askedWall + length)
      return skipped + fmt::format("The result is the first second after, {}.", clockText(shown));
    if (shown != finding_.askedWall + length)
      return skipped + fmt::format("The result is {}.", clockText(shown));
    return skipped + fmt::format(
                         "Such a time is read by the offset before the gap, {}, and so it lies {} "
                         "later, at {}.",
                         offset(change.before),
                         duration({length * kMillisPerSecond, 0.0}, 9).substr(1), clockText(shown));
  }

  std::string overlap() const {
    const Transition& change = *finding_.overlap;
    if (finding_.isFirst) {
      return fmt::format(
          "{} comes twice: the clock goes from {} back to {}. The result is the first one, with "
          "the "
          "offset {}.",
          clockText(secondOf(e_.after) + change.before), edgeText(change, true),
          edgeText(change, false), offset(change.before));
    }
    std::string text = fmt::format(
        "{} comes twice: the clock goes from {} back to {}. A time that comes twice is read as the "
        "second one, with the offset {}.",
        clockText(secondOf(e_.after) + change.after), edgeText(change, true),
        edgeText(change, false), offset(change.after));
    if (finding_.moved) {
      text += fmt::format(
          " What went in was the first one, {}: the clock shows the same, and yet the instant "
          "moved "
          "by {}.",
          offset(change.before),
          duration({(change.before - change.after) * kMillisPerSecond, 0.0}, 9).substr(1));
    }
    return text;
  }

  static std::string wallText(int128 wall) {
    std::string text;
    writeDatetime(text, formOfDatetimes(), {wall}, "");
    return text;
  }

  // An edge of a change by the clock alone, or with the dates where there are two.
  static std::string edgeText(const Transition& change, bool before) {
    const int128 wall = before ? change.wallBefore() : change.wallAfter();
    const bool isOneDate = floorDiv(change.wallBefore(), 86400).quotient ==
                           floorDiv(change.wallAfter(), 86400).quotient;
    return isOneDate ? clockText(wall) : wallText(wall);
  }

  void paragraph(const std::string& text) { wrapped(text, "  ", Style::warning); }

  // Lines that are broken between words.
  void wrapped(std::string_view text, std::string_view indent, Style style) {
    std::string row(indent);
    while (!text.empty()) {
      const std::size_t end = std::min(text.find(' '), text.size());
      const bool isFirst = row.size() == indent.size();
      if (!isFirst && row.size() + 1 + end > e_.columns) {
        line(paint_(style, row));
        row = indent;
      } else if (!isFirst) {
        row += ' ';
      }
      row += text.substr(0, end);
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    line(paint_(style, row));
  }

  void edges(const Transition& change) {
    out_ += '\n';
    for (const bool before : {true, false}) {
      const int128 second = before ? change.second - 1 : change.second;
      if (e_.columns < kBesideEachOther) {
        line(before ? "  last second before" : "  first second after");
        line("    " + datetime(e_.zone.wallTime(second), ""));
        line(fmt::format("    {}  {}Z", offsetWithName(e_.zone, second), clockText(second)));
        continue;
      }
      line(fmt::format("  {:19} {}  {:12}  {}Z",
                       before ? "last second before" : "first second after",
                       datetime(e_.zone.wallTime(second), ""), offsetWithName(e_.zone, second),
                       clockText(second)));
    }
  }

  void calendar() {
    out_ += '\n';
    for (const std::string& row :
         monthCalendar(before_.day, after_.day, e_.zone, paint_, e_.columns >= kBesideEachOther))
      line("  " + row);
    line("  " + paint_(Style::before, "(before)") + ' ' + paint_(Style::after, "[after]"));
  }

  const Explained& e_;
  const Paint paint_;
  Checker checker_;
  const Finding finding_;
  const Side before_, after_;
  std::string out_;
};

}  // namespace

std::string explain(const Explained& explained, bool colour) {
  return Explanation(explained, colour).text();
}

}  // namespace plx
