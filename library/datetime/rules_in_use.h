// The time-zone rules that ICU goes by here, and whether data are worked on for which the system's are others.
//
// The system's rules are the compiled files of its zones (/usr/share/zoneinfo, or TZDIR). They are newer than ICU's own
// from the first upgrade of tzdata on; `plx rules update` converts them, and the program then uses what it wrote.
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string>

namespace plx {

struct RulesInUse {
  std::string release;    // such as 2022e
  std::string where;      // fit for a message: "ICU's own", or where they are read
  std::string converted;  // the folder that they were converted from; empty for others
};
RulesInUse rulesInUse();

// Remembers the instants that are worked on in one zone of the time-zone data, for otherRules(). For one thread at a
// time; hands over what it knows when it goes.
class RulesWatch {
 public:
  // From here on zones are watched, whatever rules are in use.
  static void begin();
  static bool isOn();

  explicit RulesWatch(std::string zone) : zone_(std::move(zone)) {}
  ~RulesWatch();
  RulesWatch(const RulesWatch&) = delete;
  RulesWatch& operator=(const RulesWatch&) = delete;

  // In milliseconds since 1970; NaN and what no calendar holds are passed over in the end.
  void take(double millis) {
    least_ = millis < least_ ? millis : least_;
    most_ = millis > most_ ? millis : most_;
  }
  // The same of many. Where the two never differ, which is found out once, nothing is remembered.
  void take(std::span<const double> millis);

 private:
  std::string zone_;
  std::optional<bool> differs_;  // at any time
  double least_ = std::numeric_limits<double>::infinity();
  double most_ = -std::numeric_limits<double>::infinity();
};

// Of all zones watched so far: what there is to say about those whose rules in use and the system's differ between the
// first and the last instant; in one line, empty for none. Zones that are gone count.
std::string otherRules();

}  // namespace plx
