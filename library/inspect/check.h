// What became of a setting: whether the datetime that came out has the value that was asked for.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "arith/doubledouble.h"
#include "base/component.h"
#include "datetime/exact.h"
#include "datetime/zone.h"
#include "inspect/calendar_field.h"
#include "inspect/wall.h"

namespace plx {

// A component and the number it was set to, `last` and other names resolved. For what was told by the old
// value, or of a field without a component of its own, that is what the module was told.
struct Setting {
  Component component;
  double value;
  // Into larger units, as was asked for: month+=1 in December.
  bool mayCarry = false;
  // The field that was asked for and its value, where the module has no component for it, or several settings
  // became one: Component::none then sets nothing and has a claim.
  CalendarField claim = {};
  double claimed = 0;
  // What the setting was not kept from: the day that the month lacks, the week that the ISO year lacks.
  std::optional<Date> noSuchDate = std::nullopt;
  std::optional<IsoWeek> noSuchWeek = std::nullopt;

  bool hasClaim() const { return claim != CalendarField{}; }
  CalendarField field() const { return hasClaim() ? claim : CalendarField{component, Own::none}; }
  double asked() const { return hasClaim() ? claimed : value; }
};

struct Finding {
  // A component is not what it was set to, as with month 13 or day 31 in April: the value carried
  // into larger units. Of several such, the first whose own value did.
  std::optional<Setting> carried;
  // A date that does not exist, though every component was set to a usual value: 29 February in a
  // common year, or the 31st of a short month.
  std::optional<Date> noSuchDate;
  // A week that its ISO year does not have: week 53, as the year was set.
  std::optional<IsoWeek> noSuchWeek;
  // The wall time that was asked for is skipped by a change of the clock, and the result is
  // another. Without a transition that happened on the way, in an earlier one of several settings.
  bool shifted = false;
  std::optional<Transition> gap;
  // The result is one of two instants that show the same wall time, the second if not the first.
  std::optional<Transition> overlap;
  bool isFirst = false;
  // It is the second, and the datetime was the first before: nothing but the instant has moved.
  bool moved = false;

  // What was asked for, by arithmetic on what the clock showed before: seconds since
  // 1970-01-01T00:00:00 on that clock. Differs from the result's clock where it was shifted.
  int128 askedWall = 0;

  // An overlap alone counts, too: which of the two was meant is not known.
  bool any() const { return carried || noSuchDate || noSuchWeek || shifted || overlap; }
};

class Checker {
 public:
  // The zone must outlive this object.
  explicit Checker(const Zone& zone) : zone_(zone) {}

  // The pairs before and after the settings, which were applied in their order, each through the
  // module. Both are finite and, in a calendar, within its range.
  Finding check(const doubledouble& before, const doubledouble& after,
                std::span<const Setting> settings);

  // For messages, one line: "there is no 31 April 2014: 2014-05-01T08:30:00". Empty where nothing
  // was found.
  std::string describe(const Finding& finding, const doubledouble& after) const;
  // The same without the result.
  static std::string describe(const Finding& finding);

  // The change of the clock that makes a wall time doubtful that was read as a second: a gap with it
  // inside, or an overlap that shows it twice.
  std::optional<Transition> doubtOf(int128 wall, int128 second) const;

  // "02:30:00 is skipped on 2014-03-09, when the clock goes from 02:00:00 to 03:00:00".
  static std::string describeGap(int128 wall, const Transition& change);
  // "as the clock goes back from 02:00:00 to 01:00:00".
  static std::string describeOverlap(const Transition& change);

 private:
  const Zone& zone_;
};

}  // namespace plx
