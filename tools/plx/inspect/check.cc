#include "inspect/check.h"

#include <fmt/format.h>

#include <cstddef>

#include "arith/civil.h"
#include "datetime/datetime_text.h"
#include "inspect/component_value.h"
#include "inspect/part.h"
#include "messages/calendar_names.h"

namespace plx {

namespace {

// A wall time in whole seconds, on which settings act as the module has them act: in a zone as the
// calendar does, before it looks for the instant.
struct Asked {
  double day;
  double second;  // of the day
};

double floorRemainder(double a, double b) { return a - floorDouble(a / b) * b; }

double dayInWeek(double day, double v, const Zone& zone) {
  if (zone.isCalendar()) return day - weekdayOf(day) + floorRemainder(v - 1.0, 7.0);
  // Below 1, arithmetic goes to earlier weeks: the remainder has the sign of v - 1.
  const double remainder = v < 1.0 ? -floorRemainder(1.0 - v, 7.0) : floorRemainder(v - 1.0, 7.0);
  return day - weekdayOf(day) + remainder;
}

double newDay(Part part, double day, double v, const Zone& zone) {
  const Date date = dateOf(day);
  switch (part) {
    case Part::year:
      return ymd2days(v, date.month, date.day);
    case Part::quarter:
      return ymd2days(date.year, 3.0 * v - 2.0, date.day);
    case Part::month:
      return ymd2days(date.year, v, date.day);
    case Part::weekOfYear:
      return day + (v - weekOf(day, zone)) * 7.0;
    case Part::day:
      return day + (v - date.day);
    case Part::dayOfYear:
      return ymd2days(date.year, 1.0, v);
    default:  // Part::dayOfWeek
      return dayInWeek(day, v, zone);
  }
}

double newSecond(Part part, double second, double v) {
  switch (part) {
    case Part::hour:
      return 3600.0 * v + floorRemainder(second, 3600.0);
    case Part::minute:
      return second - floorRemainder(second, 3600.0) + 60.0 * v + floorRemainder(second, 60.0);
    case Part::second:
      return second - floorRemainder(second, 60.0) + floorDouble(v);
    default:  // Part::timeOfDay
      return floorDouble(v);
  }
}

bool isOfClock(Part part) {
  return part == Part::hour || part == Part::minute || part == Part::second ||
         part == Part::timeOfDay;
}

void set(Asked& asked, Part part, double v, const Zone& zone) {
  if (!isOfClock(part)) {
    asked.day = newDay(part, asked.day, v, zone);
    return;
  }
  const double second = newSecond(part, asked.second, v);
  const double days = floorDouble(second / 86400.0);
  asked = {asked.day + days, second - days * 86400.0};
}

// The date whose month has fewer days than were kept, where a step went from one day of a month to
// another.
std::optional<Date> lostDate(Part part, double before, double after, double v) {
  if (part != Part::year && part != Part::quarter && part != Part::month) return std::nullopt;
  const Date was = dateOf(before), is = dateOf(after);
  if (was.day == is.day) return std::nullopt;
  if (part == Part::year) return Date{v, was.month, was.day};
  // The result lies in the month after.
  const Date first = dateOf(after - is.day);
  return Date{first.year, first.month, was.day};
}

double flooredValue(const Setting& setting) { return floorDouble(setting.value); }

bool isSetAgain(std::span<const Setting> later, const Setting& setting) {
  for (const Setting& s : later)
    if (s.component == setting.component) return true;
  return false;
}

bool isAnother(const Setting& setting, const Asked& asked, const Zone& zone) {
  return shownValue(*setting.component, asked.day, asked.second, zone) != flooredValue(setting);
}

std::optional<Setting> firstAnother(std::span<const Setting> settings, const Asked& asked,
                                    const Zone& zone) {
  for (std::size_t i = 0; i < settings.size(); ++i) {
    if (isSetAgain(settings.subspan(i + 1), settings[i])) continue;
    if (isAnother(settings[i], asked, zone)) return settings[i];
  }
  return std::nullopt;
}

bool isSkipped(int128 wall, const std::optional<Transition>& change) {
  return change && change->isGap() && change->wallBefore() <= wall && wall < change->wallAfter();
}

std::string clock(int128 wall) {
  const auto second = static_cast<int>(floorDiv(wall, 86400).remainder);
  return fmt::format("{:02}:{:02}:{:02}", second / 3600, second / 60 % 60, second % 60);
}

std::string date(int128 wall) {
  std::string text;
  writeDatetime(text, {}, {floorDiv(wall, 86400).quotient * 86400}, "");
  return text;
}

// "from 02:00:00 to 03:00:00", with the dates where they differ.
std::string edges(const Transition& change) {
  const int128 from = change.wallBefore(), to = change.wallAfter();
  if (date(from) == date(to)) return "from " + clock(from) + " to " + clock(to);
  return fmt::format("from {} {} to {} {}", date(from), clock(from), date(to), clock(to));
}

std::string datetime(const doubledouble& pair, const Zone& zone) {
  DatetimeText form;
  form.separator = 'T';
  const DecimalSeconds decimal = rounded(pair, 9);
  std::string text;
  writeDatetime(text, form, zone.wallTime(decimal.seconds), decimal.fraction);
  return text;
}

}  // namespace

// The clock at a pair, with its offset from the stretches that are known.
Wall Checker::wall(const doubledouble& pair) {
  return zone_.isCalendar() ? wallOf(pair, transitions_.at(secondOf(pair)).offset)
                            : wallOf(pair, zone_);
}

Finding Checker::check(const doubledouble& before, const doubledouble& after,
                       std::span<const Setting> settings) {
  Finding finding;
  const Wall was = wall(before);
  Asked asked{was.day, secondOfDay(was)};
  std::optional<Setting> carried;  // by its own value: what others become of it is a consequence
  for (const Setting& setting : settings) {
    const Part part = partOf(*setting.component);
    const double day = asked.day;
    set(asked, part, setting.value, zone_);
    if (!carried && isAnother(setting, asked, zone_)) carried = setting;
    if (auto lost = lostDate(part, day, asked.day, setting.value)) finding.noSuchDate = lost;
    // A day that is set afterwards takes the place of the one that was kept.
    if (part == Part::day || part == Part::dayOfYear) finding.noSuchDate.reset();
  }
  finding.askedWall = static_cast<int128>(asked.day) * 86400 + static_cast<int128>(asked.second);
  finding.carried = firstAnother(settings, asked, zone_);
  if (finding.carried && carried && isAnother(*carried, asked, zone_)) finding.carried = carried;
  // That the month is another one follows from the date that does not exist.
  if (finding.carried && finding.noSuchDate && partOf(*finding.carried->component) == Part::month &&
      finding.carried->value == finding.noSuchDate->month)
    finding.carried.reset();
  if (!zone_.isCalendar()) return finding;

  const int128 second = secondOf(after);
  const Stretch& stretch = transitions_.at(second);
  const int128 shown = second + stretch.offset;
  finding.shifted = shown != finding.askedWall;
  for (const auto& change : {stretch.begin, stretch.end})
    if (finding.shifted && isSkipped(finding.askedWall, change)) finding.gap = change;
  if (stretch.begin && !stretch.begin->isGap() && shown < stretch.begin->wallBefore()) {
    finding.overlap = stretch.begin;
    const int128 secondBefore = secondOf(before);
    finding.moved =
        secondBefore < stretch.begin->second && secondBefore + stretch.begin->before == shown;
  }
  return finding;
}

std::string Checker::describe(const Finding& finding, const doubledouble& after) const {
  std::string text;
  const auto tell = [&](const std::string& what) { text += (text.empty() ? "" : "; ") + what; };
  if (finding.noSuchDate) {
    const Date& d = *finding.noSuchDate;
    tell(fmt::format("there is no {} {} {}", d.day,
                     kMonthNames[static_cast<std::size_t>(d.month - 1.0)], d.year));
  }
  if (finding.carried) {
    tell(fmt::format("{} {} carried over", finding.carried->component->name,
                     finding.carried->value));
  }
  if (finding.gap) {
    tell(fmt::format("{} is skipped on {}, when the clock goes {}", clock(finding.askedWall),
                     date(finding.askedWall), edges(*finding.gap)));
  } else if (finding.shifted) {
    tell("one of the settings led to a time that a change of the clock skips");
  }
  if (finding.overlap) {
    tell(fmt::format("this time comes twice, as the clock goes back {}, and {} second",
                     edges(*finding.overlap),
                     finding.moved ? "moved from the first to the" : "is the"));
  }
  return text.empty() ? text : text + ": " + datetime(after, zone_);
}

}  // namespace plx
