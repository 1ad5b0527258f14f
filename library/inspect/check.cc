#include "inspect/check.h"

#include <fmt/format.h>

#include <cstddef>

#include "datetime/datetime_text.h"
#include "inspect/component_value.h"
#include "messages/calendar_names.h"
#include "unzoned/components.h"

namespace plx {

namespace {

// A wall time in whole seconds, on which settings act as the module has them act: in a zone as the
// calendar does, before it looks for the instant.
using Asked = WallClock<1>;

Asked with(Component component, const Asked& asked, double v, const Zone& zone) {
  // Arithmetic without a calendar has other weeks.
  if (!zone.isCalendar() && component == Component::weekOfYear)
    return {setWeekOfYear({asked.day, {}}, v).days, asked.time};
  if (!zone.isCalendar() && component == Component::dayOfWeek)
    return {setDayOfWeek({asked.day, {}}, v).days, asked.time};
  const Asked set = wallClockWith<1>(component, asked, floorDouble(v));
  const double days = floorDivide(set.time, 86400.0);
  return {set.day + days, set.time - days * 86400.0};
}

// The date whose month has fewer days than were kept, where a step went from one day of a month to
// another.
std::optional<Date> lostDate(Component component, double before, double after, double v) {
  if (component != Component::year && component != Component::quarter &&
      component != Component::month)
    return std::nullopt;
  const Date was = dateOf(before), is = dateOf(after);
  if (was.day == is.day) return std::nullopt;
  if (component == Component::year) return Date{v, was.month, was.day};
  // The result lies in the month after.
  const Date first = dateOf(after - is.day);
  return Date{first.year, first.month, was.day};
}

// Whether a later setting was meant to change what an earlier one set.
bool isSetAgain(std::span<const Setting> later, const Setting& setting) {
  for (const Setting& s : later) {
    const bool isRelative = s.mayCarry && !s.hasClaim();
    const bool isOfDate = factsOf(s.component).isOfDate;
    if (isRelative && (factsOf(setting.field().component).isOfDate || !isOfDate)) return true;
    if (s.field() == setting.field() || s.claim.own == Own::date) return true;
  }
  return false;
}

bool isAnother(const Setting& setting, const Asked& asked, const Zone& zone) {
  if (setting.mayCarry && !setting.hasClaim()) return false;
  return shownValue(setting.field(), asked.day, asked.time, zone) != floorDouble(setting.asked());
}

std::optional<Setting> firstAnother(std::span<const Setting> settings, const Asked& asked,
                                    const Zone& zone) {
  for (std::size_t i = 0; i < settings.size(); ++i) {
    if (isSetAgain(settings.subspan(i + 1), settings[i])) continue;
    if (isAnother(settings[i], asked, zone)) return settings[i];
  }
  return std::nullopt;
}

// That month or day is another one follows from the date that does not exist.
bool followsFrom(const Finding& finding, const Setting& carried) {
  if (finding.noSuchDate && carried.field() == CalendarField{Component::month, Own::none})
    return carried.asked() == finding.noSuchDate->month;
  if (finding.noSuchDate && carried.field() == CalendarField{Component::dayOfMonth, Own::none})
    return carried.asked() == finding.noSuchDate->day;
  return finding.noSuchWeek && carried.field().own == Own::isoYear;
}

bool isSkipped(int128 wall, const std::optional<Transition>& change) {
  return change && change->isGap() && change->wallBefore() <= wall && wall < change->wallAfter();
}

bool isSecondOfTwo(const Stretch& stretch, int128 shown) {
  return stretch.begin && !stretch.begin->isGap() && shown < stretch.begin->wallBefore();
}

bool isFirstOfTwo(const Stretch& stretch, int128 shown) {
  return stretch.end && !stretch.end->isGap() && shown >= stretch.end->wallAfter();
}

std::string date(int128 wall) {
  std::string text;
  writeDatetime(text, {}, {floorDiv(wall, 86400).quotient * 86400}, "");
  return text;
}

// "from 02:00:00 to 03:00:00", with the dates where they differ.
std::string edges(const Transition& change) {
  const int128 from = change.wallBefore(), to = change.wallAfter();
  if (date(from) == date(to)) return "from " + clockText(from) + " to " + clockText(to);
  return fmt::format("from {} {} to {} {}", date(from), clockText(from), date(to), clockText(to));
}

std::string datetime(const doubledouble& pair, const Zone& zone) {
  DatetimeText form;
  form.separator = 'T';
  const DecimalSeconds decimal = shortest(pair);
  std::string text;
  writeDatetime(text, form, zone.wallTime(decimal.seconds), decimal.fraction);
  return text;
}

}  // namespace

Finding Checker::check(const doubledouble& before, const doubledouble& after,
                       std::span<const Setting> settings) {
  Finding finding;
  const Wall was = wallOf(before, zone_);
  Asked asked{was.day, secondOfDay(was)};
  std::optional<Setting> carried;  // by its own value: what others become of it is a consequence
  for (const Setting& setting : settings) {
    const Component component = setting.component;
    const double day = asked.day;
    asked = with(component, asked, setting.value, zone_);
    if (!carried && isAnother(setting, asked, zone_)) carried = setting;
    if (auto lost = lostDate(component, day, asked.day, setting.value)) finding.noSuchDate = lost;
    // A day that is set afterwards takes the place of the one that was kept.
    if (component == Component::dayOfMonth || component == Component::dayOfYear)
      finding.noSuchDate.reset();
    if (setting.noSuchDate) finding.noSuchDate = setting.noSuchDate;
    if (setting.noSuchWeek) finding.noSuchWeek = setting.noSuchWeek;
  }
  finding.askedWall = static_cast<int128>(asked.day) * 86400 + static_cast<int128>(asked.time);
  finding.carried = firstAnother(settings, asked, zone_);
  if (finding.carried && carried && isAnother(*carried, asked, zone_)) finding.carried = carried;
  if (finding.carried && followsFrom(finding, *finding.carried)) finding.carried.reset();
  if (!zone_.isCalendar()) return finding;

  const int128 second = secondOf(after);
  const Stretch stretch = zone_.stretchAt(second);
  const int128 shown = second + stretch.offset;
  finding.shifted = shown != finding.askedWall;
  for (const auto& change : {stretch.begin, stretch.end})
    if (finding.shifted && isSkipped(finding.askedWall, change)) finding.gap = change;
  if (isSecondOfTwo(stretch, shown)) {
    finding.overlap = stretch.begin;
    const int128 secondBefore = secondOf(before);
    finding.moved =
        secondBefore < stretch.begin->second && secondBefore + stretch.begin->before == shown;
  } else if (isFirstOfTwo(stretch, shown)) {
    finding.overlap = stretch.end;
    finding.isFirst = true;
  }
  return finding;
}

std::optional<Transition> Checker::doubtOf(int128 wall, int128 second) const {
  if (!zone_.isCalendar()) return std::nullopt;
  const Stretch stretch = zone_.stretchAt(second);
  for (const auto& change : {stretch.begin, stretch.end})
    if (second + stretch.offset != wall && isSkipped(wall, change)) return change;
  if (isSecondOfTwo(stretch, wall)) return stretch.begin;
  return isFirstOfTwo(stretch, wall) ? stretch.end : std::nullopt;
}

std::string Checker::describeGap(int128 wall, const Transition& change) {
  return fmt::format("{} is skipped on {}, when the clock goes {}", clockText(wall), date(wall),
                     edges(change));
}

std::string Checker::describeOverlap(const Transition& change) {
  return "as the clock goes back " + edges(change);
}

std::string Checker::describe(const Finding& finding, const doubledouble& after) const {
  const std::string text = describe(finding);
  return text.empty() ? text : text + ": " + datetime(after, zone_);
}

std::string Checker::describe(const Finding& finding) {
  std::string text;
  const auto tell = [&](const std::string& what) { text += (text.empty() ? "" : "; ") + what; };
  if (finding.noSuchDate) {
    const Date& d = *finding.noSuchDate;
    tell(fmt::format("there is no {} {} {}", d.day,
                     kMonthNames[static_cast<std::size_t>(d.month - 1.0)], d.year));
  }
  if (finding.noSuchWeek) {
    tell(fmt::format("there is no ISO week {} in {}", finding.noSuchWeek->week,
                     finding.noSuchWeek->year));
  }
  if (finding.carried) {
    const CalendarField field = finding.carried->field();
    const double asked = finding.carried->asked();
    std::string date;
    if (field.own == Own::date) writeDatetime(date, {}, {static_cast<int128>(asked) * 86400}, "");
    tell(date.empty() ? fmt::format("{} {} carried over", field.name(), asked)
                      : fmt::format("{} {} carried over", field.name(), date));
  }
  if (finding.gap) {
    tell(describeGap(finding.askedWall, *finding.gap));
  } else if (finding.shifted) {
    tell("one of the settings led to a time that a change of the clock skips");
  }
  if (finding.overlap) {
    tell(fmt::format("this time comes twice, {}, and {}", describeOverlap(*finding.overlap),
                     finding.isFirst ? "is the first"
                     : finding.moved ? "moved from the first to the second"
                                     : "is the second"));
  }
  return text;
}

}  // namespace plx
