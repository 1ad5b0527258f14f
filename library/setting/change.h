// Settings whose new value depends on the old one, or whose field is no component of the module: each becomes
// one call of the module.
//
//   change    asks for                                            the module is told
//   to        the new value                                       the same
//   by        a difference: month+=1, day-=7, second+=0.5         the old value plus the difference; for days
//                                                                 and weeks, the day of the month
//   down, up, nearest                                             the time of day
//             a multiple of hour, minute or second within the next larger unit, smaller units being 0: 08:44:59
//             by minute=down:15 is 08:30. `nearest` takes the later one where the time is half way between two
//
// With `clips`, a day that the month of the result lacks becomes the last of that month: 31 January plus a
// month is 28 February. Otherwise the day carries, as with every value.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "arith/doubledouble.h"
#include "datetime/zone.h"
#include "inspect/calendar_field.h"
#include "inspect/check.h"
#include "messages/message.h"

namespace plx {

enum class Change : std::uint8_t { to, by, down, up, nearest };

// One setting.
struct Assignment {
  Component component;
  std::optional<double> value = std::nullopt;  // for all datetimes; nothing where each has its own
  Own own = Own::none;
  Change change = Change::to;
  bool isNegated = false;  // of Change::by: the difference is taken away

  CalendarField field() const { return {component, own}; }
  bool isMultiple() const { return change != Change::to && change != Change::by; }
  // Whether the field is of the date; else it is of the clock.
  bool isOfDate() const { return factsOf(component).isOfDate; }
};

// Reads the value of a setting whose field is known: for Change::to what readValue reads, dates and times,
// for Change::by a difference. A prefix, as in "down:15", makes the assignment's change one to a multiple.
// Nothing, and a complaint, for other texts.
// Names of days count from `firstDay`, on which weeks begin, Sunday being 0.
std::optional<double> readValueOf(Assignment& assignment, std::string_view text, int firstDay,
                                  Complaint& complaint);

// Whether a setting is of year, quarter or month, and so keeps the day of the month if the month has it.
inline bool isOfMonths(const Assignment& assignment) {
  return assignment.own == Own::none &&
         (assignment.component == Component::year || assignment.component == Component::quarter ||
          assignment.component == Component::month);
}

// Whether a setting is more than a call of the module with the value as it is.
bool isChange(const Assignment& assignment, const Zone& zone, bool clips);

// A setting resolved to what the module is told: one component and its value.
struct ResolvedSetting {
  Setting setting;
  doubledouble rest{};  // milliseconds that are added to the module's result
};

// For a datetime within the range; `value` is the assignment's, or the datetime's own.
ResolvedSetting resolvedOf(const Assignment& assignment, double value, const doubledouble& datetime,
                           const Zone& zone, bool clips);
// The component that it is resolved to: the same for all datetimes of a zone.
Component resolvedComponent(const Assignment& assignment, const Zone& zone, bool clips);

// Settings of the date that are resolved as one, whatever their order: first year, quarter and month, with
// the day within the month that they lead to, then weeks, days of the week and numbers of days. The setting
// is of the day of the month. `values` are those of the assignments.
ResolvedSetting togetherOf(std::span<const Assignment> assignments, std::span<const double> values,
                           const doubledouble& datetime, const Zone& zone, bool clips);
// Two settings that cannot be resolved as one, such as the day of the year and the month. Nothing where all can.
struct Apart {
  CalendarField a, b;
};
std::optional<Apart> areApart(std::span<const Assignment> assignments);

// What settings lead to one after the other, by the same arithmetic.
struct InTurn {
  double day;
  // One of them kept a day of the month, or an ISO week, that does not exist, and another one goes on from there.
  bool carriesOnTheWay = false;
};
InTurn inTurn(std::span<const Assignment> assignments, std::span<const double> values, double day,
              const Zone& zone);

}  // namespace plx
