#include "datetime/reading.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "datetime/exact.h"

namespace plx {

namespace {

constexpr double kMaxCalendarMillis = 0x1p52;

// Whether a pair and its floored second can be set and written. Those of a calendar are bounded to
// the millisecond. Elsewhere only whole seconds tell exactly: at 2^52 days, the
// high part alone moves in steps of most of a day.
bool isInRange(const Zone& zone, const doubledouble& pair, int128 second) {
  if (zone.isCalendar()) return std::fabs(dd::collapse(dd::Floor(pair))) <= kMaxCalendarMillis;
  return -kMaxSeconds <= second && second <= kMaxSeconds;
}

}  // namespace

std::optional<Reading> read(std::string_view text, const Notation&, const Zone* zoneForAll,
                            Zones& zones, Complaint& complaint) {
  const auto datetime = readDatetime(text, complaint);
  if (!datetime) return std::nullopt;
  const Zone& zone = zoneForAll != nullptr ? *zoneForAll : zones.of(*datetime);
  const auto second = zone.secondOf(*datetime, complaint);
  if (!second) return std::nullopt;
  const doubledouble pair = pairOf(*second, datetime->fraction);
  if (isInRange(zone, pair, *second)) return Reading{false, *datetime, &zone, pair};
  complaint = {"out of range", zone.acceptedRange()};
  return std::nullopt;
}

bool write(const Reading& reading, const doubledouble& pair, const Notation& notation,
           std::string& out, Complaint& complaint) {
  const Zone& zone = *reading.zone;
  complaint = {"the result is out of range", zone.acceptedRange()};
  if (!(std::fabs(pair.hi) <= kMaxMillis)) return false;  // no decimal for these, nor for NaN
  const DecimalSeconds decimal =
      notation.exact ? shortest(pair)
                     : rounded(pair, std::max<std::size_t>(9, reading.text.fraction.size()));
  if (!isInRange(zone, pair, decimal.seconds)) return false;
  writeDatetime(out, reading.text, zone.wallTime(decimal.seconds), decimal.fraction);
  complaint = {};
  return true;
}

}  // namespace plx
