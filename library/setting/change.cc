#include "setting/change.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "datetime/datetime_text.h"
#include "datetime/number_text.h"
#include "inspect/component_value.h"
#include "inspect/named.h"
#include "inspect/wall.h"
#include "messages/letters.h"
#include "setting/value.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedDates = "a date such as 2024-02-29";
constexpr std::string_view kAcceptedTimes =
    "a time such as 09:30 or 09:30:15.5; seconds since midnight are time-of-day";
constexpr std::string_view kAcceptedMultiples =
    "hour, minute, second and time-of-day, as in minute=down:15";
constexpr std::string_view kAcceptedStep =
    "a whole number from 1 to the length of the next larger unit";
constexpr std::string_view kAcceptedDifferences =
    "whole numbers, of second and time-of-day fractions too; as in month+=1";

double monthsOf(Component component) {
  return component == Component::year ? 12.0 : component == Component::quarter ? 3.0 : 1.0;
}

// A date as the settings of year, quarter, month and day of one run make it.
struct Parts {
  Date date;  // its month may be any number; its day is the one that is kept or asked for
  bool isDayKept = true;
};

void setMonths(Parts& parts, const Assignment& assignment, double value) {
  const bool isBy = assignment.change == Change::by;
  Date& date = parts.date;
  switch (assignment.component) {
    case Component::year:
      date.year = isBy ? date.year + value : value;
      break;
    case Component::quarter:
      if (isLast(value)) value = 4.0;
      date.month = isBy ? date.month + 3.0 * value : 3.0 * value - 2.0;
      break;
    default:
      if (isLast(value)) value = 12.0;
      date.month = isBy ? date.month + value : value;
      break;
  }
}

// The day number of the parts; where the month lacks the day, `lost` is the date that does not exist.
double dayOf(Parts parts, bool clips, std::optional<Date>& lost) {
  const double days = daysOfMonth(parts.date.year, parts.date.month);
  const double first = ymd2days(parts.date.year, parts.date.month, 1.0);
  if (parts.date.day > days && parts.isDayKept && clips) {
    parts.date.day = days;
  } else if (parts.date.day > days && parts.date.day <= 31.0) {
    const Date month = dateOf(first);
    lost = Date{month.year, month.month, parts.date.day};
  }
  return first + parts.date.day - 1.0;
}

double isoYearFrom(double day, double year, bool clips, std::optional<IsoWeek>& lost) {
  double week = isoWeekOf(day).week;
  const double weekday = floorRemainder(day + 3.0, 7.0);
  if (week > isoWeeksIn(year)) {
    if (clips) {
      week = isoWeeksIn(year);
    } else {
      lost = IsoWeek{year, week};
    }
  }
  return firstMondayOf(year) + 7.0 * (week - 1.0) + weekday;
}

struct Lost {
  std::optional<Date> date;
  std::optional<IsoWeek> week;
};

// The day that one setting of the date leads to, by calendar arithmetic, without the clock's gaps.
double movedDay(const Assignment& assignment, double value, double day, const Zone& zone,
                bool clips, Lost& lost) {
  const bool isBy = assignment.change == Change::by;
  switch (assignment.own) {
    case Own::date:
      return value;
    case Own::isoYear:
      return isoYearFrom(day, isBy ? isoWeekOf(day).year + value : value, clips, lost.week);
    case Own::isoWeek: {
      if (isBy) return day + 7.0 * value;
      const IsoWeek now = isoWeekOf(day);
      return day + 7.0 * ((isLast(value) ? isoWeeksIn(now.year) : value) - now.week);
    }
    case Own::none:
    case Own::time:
      break;
  }
  const Component component = assignment.component;
  if (isOfMonths(assignment)) {
    Parts parts{dateOf(day)};
    setMonths(parts, assignment, value);
    return dayOf(parts, clips, lost.date);
  }
  if (isBy) return day + (component == Component::weekOfYear ? 7.0 * value : value);
  if (isLast(value)) value = lastOf(component, day, zone);
  switch (component) {
    case Component::dayOfMonth:
      return day - dateOf(day).day + value;
    case Component::dayOfYear:
      return ymd2days(dateOf(day).year, 1.0, value);
    case Component::weekOfYear:
      return day + 7.0 * (value - weekOf(day, zone));
    default:
      return day + value - shownValue(Component::dayOfWeek, day, 0.0, zone);
  }
}

// What leads to `day` by setting the day of the month, whatever field was asked for.
ResolvedSetting throughDay(const Wall& wall, double day, const Lost& lost) {
  Setting setting{Component::dayOfMonth, dateOf(wall.day).day + (day - wall.day)};
  setting.mayCarry = true;
  setting.noSuchDate = lost.date;
  setting.noSuchWeek = lost.week;
  return {setting};
}

// The unit of a component of the clock, and the next larger unit, in milliseconds.
struct Units {
  double unit, larger;
};
Units unitsOf(Component component) {
  switch (component) {
    case Component::hour:
      return {kMillisPerHour, kMillisPerDay};
    case Component::minute:
      return {kMillisPerMinute, kMillisPerHour};
    case Component::second:
      return {kMillisPerSecond, kMillisPerMinute};
    default:
      return {kMillisPerSecond, kMillisPerDay};
  }
}

// The multiple of `count` units since the larger unit began, or the end of the larger unit.
double multipleNear(const doubledouble& msOfDay, Change change, const Units& units, double count) {
  const double start = floorDouble(dd::collapse(dd::Floor(msOfDay)) / units.larger) * units.larger;
  const doubledouble inside = dd::subtract(msOfDay, start);
  const double step = count * units.unit;
  const double below = floorDouble(dd::collapse(dd::Floor(inside)) / step) * step;
  const double above = std::min(below + step, units.larger);
  const double behind = dd::collapse(dd::subtract(inside, below));
  const double ahead = dd::collapse(dd::subtract(inside, above));
  const bool isUp =
      change == Change::up ? behind > 0.0 : change == Change::nearest && behind >= -ahead;
  return start + (isUp ? above : below);
}

ResolvedSetting resolvedOnClock(const Assignment& assignment, double value, const Wall& wall,
                                const Zone& zone) {
  const Component component = assignment.component;
  ResolvedSetting resolved{{component, value}};
  resolved.setting.mayCarry = true;
  if (assignment.change != Change::by) {
    resolved.setting.component = Component::timeOfDay;
    resolved.setting.value =
        multipleNear(wall.msOfDay, assignment.change, unitsOf(component), value) / kMillisPerSecond;
    return resolved;
  }
  const double second = secondOfDay(wall);
  const double shown = shownValue(component, wall.day, second, zone);
  if (!factsOf(component).takesFractions) {
    resolved.setting.value = shown + value;
    return resolved;
  }
  // The module sets whole seconds; fractions, old and new, are added to its result (resolved.rest).
  const double whole = floorDouble(value);
  resolved.rest = dd::add(dd::subtract(wall.msOfDay, second * kMillisPerSecond),
                          two_prod(value - whole, kMillisPerSecond));
  const bool carries = resolved.rest.hi >= kMillisPerSecond;
  if (carries) resolved.rest = dd::subtract(resolved.rest, kMillisPerSecond);
  resolved.setting.value = shown + whole + (carries ? 1.0 : 0.0);
  return resolved;
}

// The order in which settings of the date are resolved as one: each counts within the unit that earlier ones lead to.
int rankOf(const Assignment& assignment) {
  if (assignment.own == Own::date) return 0;
  if (assignment.own == Own::isoYear) return 6;
  if (assignment.own == Own::isoWeek) return 7;
  const bool isBy = assignment.change == Change::by;
  switch (assignment.component) {
    case Component::year:
      return isBy ? 2 : 1;
    case Component::quarter:
    case Component::month:
      return isBy ? 4 : 3;
    case Component::dayOfMonth:
    case Component::dayOfYear:
      return isBy ? 10 : 5;
    case Component::weekOfYear:
      return isBy ? 10 : 8;
    default:
      return isBy ? 10 : 9;
  }
}

bool isChangeByPrefix(Assignment& assignment, std::string_view& text) {
  constexpr struct {
    std::string_view prefix;
    Change change;
  } kRows[] = {{"down:", Change::down}, {"up:", Change::up}, {"nearest:", Change::nearest}};
  for (const auto& row : kRows) {
    if (!text.starts_with(row.prefix)) continue;
    assignment.change = row.change;
    text.remove_prefix(row.prefix.size());
    return true;
  }
  return false;
}

std::optional<double> readMultiple(const Assignment& assignment, std::string_view text,
                                   Complaint& complaint) {
  if (assignment.isOfDate() || assignment.own == Own::time) {
    complaint = {"only parts of the time of day go to multiples", kAcceptedMultiples};
    return std::nullopt;
  }
  double number = 0;
  const Units units = unitsOf(assignment.component);
  const bool isNumber = readDecimal(text, number) == DecimalText::number;
  if (isNumber && std::floor(number) == number && number >= 1.0 &&
      number * units.unit <= units.larger)
    return number;
  complaint = {"no multiples of this", kAcceptedStep};
  return std::nullopt;
}

std::optional<double> readDay(std::string_view text, Complaint& complaint) {
  DatetimeText datetime;
  if (readDatetime(text, Form::recognised, datetime, complaint) && datetime.separator == 0 &&
      datetime.offset == OffsetForm::none)
    return static_cast<double>(datetime.day);
  complaint = {complaint.what.empty() ? "not a date" : complaint.what, kAcceptedDates};
  return std::nullopt;
}

// hh:mm, hh:mm:ss or hh:mm:ss.digits, in seconds since midnight.
std::optional<double> readTime(std::string_view text, Complaint& complaint) {
  const std::string whole = "1970-01-01T" + std::string(text);
  DatetimeText datetime;  // points into `whole`
  const bool isShaped = text.size() >= 5 && text[2] == ':';
  if (isShaped && readDatetime(whole, Form::calendar, datetime, complaint) && datetime.day == 0 &&
      datetime.offset == OffsetForm::none && !datetime.insertedSecond &&
      datetime.suffix.zone.empty()) {
    double fraction = 0;
    if (!datetime.fraction.empty())
      readDecimal(fmt::format("{}.{}", datetime.secondOfDay, datetime.fraction), fraction);
    return datetime.fraction.empty() ? datetime.secondOfDay : fraction;
  }
  complaint = {"not a time of day", kAcceptedTimes};
  return std::nullopt;
}

std::optional<double> readIso(std::string_view text, Own own, Complaint& complaint) {
  double number = 0;
  if (own == Own::isoWeek && areEqualInAnyCase(text, "last")) return kLast;
  if (readDecimal(text, number) == DecimalText::number && std::floor(number) == number)
    return number;
  complaint = {"not a whole number",
               own == Own::isoWeek ? "a number such as 53, last" : "a year such as 2024"};
  return std::nullopt;
}

}  // namespace

std::optional<double> readValueOf(Assignment& assignment, std::string_view text, int firstDay,
                                  Complaint& complaint) {
  if (isChangeByPrefix(assignment, text)) return readMultiple(assignment, text, complaint);
  if (assignment.change == Change::by) {
    double number = 0;
    if (assignment.own == Own::date || assignment.own == Own::time) {
      complaint = {"a date and a time have no numbers to add to", "day+=1, hour+=1 and the like"};
      return std::nullopt;
    }
    const bool isNumber = readDecimal(text, number) == DecimalText::number;
    if (isNumber && (factsOf(assignment.component).takesFractions || std::floor(number) == number))
      return assignment.isNegated ? -number : number;
    complaint = {"no difference", kAcceptedDifferences};
    return std::nullopt;
  }
  switch (assignment.own) {
    case Own::date:
      return readDay(text, complaint);
    case Own::time:
      return readTime(text, complaint);
    case Own::isoYear:
    case Own::isoWeek:
      return readIso(text, assignment.own, complaint);
    case Own::none:
      break;
  }
  if (assignment.component == Component::dayOfWeek && firstDay != 0) {
    const auto name = named(Component::dayOfWeek, text);
    if (name && !name->isLast) return floorRemainder(name->number - 1.0 - firstDay, 7.0) + 1.0;
  }
  return readValue(text, assignment.component, complaint);
}

bool isChange(const Assignment& assignment, const Zone& zone, bool clips) {
  if (assignment.change != Change::to) return true;
  if (assignment.own != Own::none) return assignment.own != Own::time;
  if (clips && isOfMonths(assignment)) return true;
  if (!zone.weeks()) return false;
  const bool startsElsewhere = zone.weeks()->firstDay != 0;
  if (assignment.component == Component::dayOfWeek) return startsElsewhere;
  return assignment.component == Component::weekOfYear && (zone.isCalendar() || startsElsewhere);
}

Component resolvedComponent(const Assignment& assignment, const Zone& zone, bool clips) {
  if (!isChange(assignment, zone, clips)) return assignment.component;
  if (!assignment.isOfDate())
    return assignment.change == Change::by ? assignment.component : Component::timeOfDay;
  if (isOfMonths(assignment) && !clips)
    return assignment.component == Component::year ? Component::year : Component::month;
  return Component::dayOfMonth;
}

ResolvedSetting resolvedOf(const Assignment& assignment, double value, const doubledouble& datetime,
                           const Zone& zone, bool clips) {
  if (!isChange(assignment, zone, clips)) {
    if (isLast(value)) value = resolve({true, 0}, assignment.component, datetime, zone);
    return {{assignment.component, value}};
  }
  const Wall wall = wallOf(datetime, zone);
  if (!assignment.isOfDate()) return resolvedOnClock(assignment, value, wall, zone);
  const Component component = resolvedComponent(assignment, zone, clips);
  if (component != Component::dayOfMonth) {
    const Date date = dateOf(wall.day);
    Setting setting{component, component == Component::year
                                   ? date.year + value
                                   : date.month + monthsOf(assignment.component) * value};
    setting.mayCarry = true;
    return {setting};
  }
  if (isLast(value))
    value = assignment.own == Own::isoWeek ? isoWeeksIn(isoWeekOf(wall.day).year)
                                           : lastOf(assignment.component, wall.day, zone);
  Lost lost;
  const double day = movedDay(assignment, value, wall.day, zone, clips, lost);
  ResolvedSetting resolved = throughDay(wall, day, lost);
  if (assignment.change != Change::to) return resolved;
  resolved.setting.claim = assignment.field();
  resolved.setting.claimed = value;
  return resolved;
}

ResolvedSetting togetherOf(std::span<const Assignment> assignments, std::span<const double> values,
                           const doubledouble& datetime, const Zone& zone, bool clips) {
  std::vector<std::size_t> order(assignments.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return rankOf(assignments[i]); });
  const Wall wall = wallOf(datetime, zone);
  double day = wall.day;
  Lost lost;
  // Year, quarter, month and day of the month, before anything carries.
  Parts parts{dateOf(day)};
  bool isParts = false;
  const auto settle = [&] {
    if (isParts) day = dayOf(parts, clips, lost.date);
    isParts = false;
  };
  for (const std::size_t i : order) {
    const Assignment& assignment = assignments[i];
    const bool isDay = assignment.own == Own::none && assignment.change == Change::to &&
                       assignment.component == Component::dayOfMonth;
    if (isDay || isOfMonths(assignment)) {
      if (!isParts) parts = {dateOf(day)};
      isParts = true;
      if (isDay) {
        const double days = daysOfMonth(parts.date.year, parts.date.month);
        parts.date.day = isLast(values[i]) ? days : values[i];
        parts.isDayKept = false;
      } else {
        setMonths(parts, assignment, values[i]);
      }
      continue;
    }
    settle();
    const bool isTo = assignment.change == Change::to;
    // The day of the year replaces month and day, so it does not matter whether these made a date.
    if (isTo && assignment.component == Component::dayOfYear) lost.date.reset();
    const bool isWeekSet = std::ranges::any_of(assignments, [](const Assignment& other) {
      return other.own == Own::isoWeek && other.change == Change::to;
    });
    const bool clipsWeek = assignment.own == Own::isoYear && isWeekSet;
    day = movedDay(assignment, values[i], day, zone, clips || clipsWeek, lost);
  }
  settle();
  return throughDay(wall, day, lost);
}

std::optional<Apart> areApart(std::span<const Assignment> assignments) {
  for (std::size_t i = 0; i < assignments.size(); ++i) {
    for (std::size_t k = i + 1; k < assignments.size(); ++k) {
      const Assignment &a = assignments[i], &b = assignments[k];
      if (a.change == Change::by || b.change == Change::by) continue;
      const bool isSame = a.field() == b.field();
      const auto are = [&](auto isOne, auto isOther) {
        return (isOne(a) && isOther(b)) || (isOne(b) && isOther(a));
      };
      const auto is = [](Component component) {
        return [component](const Assignment& x) {
          return x.own == Own::none && x.component == component;
        };
      };
      const auto isIso = [](const Assignment& x) {
        return x.own == Own::isoYear || x.own == Own::isoWeek;
      };
      const auto isDate = [](const Assignment& x) { return x.own == Own::date; };
      const auto isInDate = [](const Assignment& x) {  // what a date sets, too
        return x.own == Own::none && x.component != Component::dayOfWeek;
      };
      const bool isApart = isSame || are(is(Component::dayOfYear), is(Component::dayOfMonth)) ||
                           are(is(Component::dayOfYear), is(Component::month)) ||
                           are(is(Component::dayOfYear), is(Component::quarter)) ||
                           are(is(Component::quarter), is(Component::month)) ||
                           are(is(Component::weekOfYear), is(Component::dayOfMonth)) ||
                           are(is(Component::weekOfYear), is(Component::dayOfYear)) ||
                           are(is(Component::weekOfYear), isIso) || are(isDate, isInDate) ||
                           are(isIso, isDate) || are(isIso, isInDate);
      if (isApart) return Apart{a.field(), b.field()};
    }
  }
  return std::nullopt;
}

InTurn inTurn(std::span<const Assignment> assignments, std::span<const double> values, double day,
              const Zone& zone) {
  InTurn result{day};
  bool carries = false;  // the setting before
  for (std::size_t i = 0; i < assignments.size(); ++i) {
    // A date replaces all before it.
    result.carriesOnTheWay = assignments[i].own != Own::date && (result.carriesOnTheWay || carries);
    Lost lost;
    result.day = movedDay(assignments[i], values[i], result.day, zone, false, lost);
    carries = lost.date || lost.week;
  }
  return result;
}

}  // namespace plx
