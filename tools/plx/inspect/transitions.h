// The stretches of time in which a zone's offset from UTC stays the same, and what lies between.
//
//   gap      the clock goes forward at the end of a stretch: wall times are skipped
//   overlap  it goes back: wall times are shown twice
#pragma once

#include <map>
#include <optional>

#include "datetime/exact.h"
#include "datetime/zone.h"

namespace plx {

// A change of the clock. Seconds as in datetime/zone.h.
struct Transition {
  int128 second;      // the first one with the new offset
  int before, after;  // offsets, in seconds east of UTC

  bool isGap() const { return after > before; }
  // What the clock would show at the change without it, and what it shows.
  int128 wallBefore() const { return second + before; }
  int128 wallAfter() const { return second + after; }
};

// From one transition to the next.
struct Stretch {
  std::optional<Transition> begin, end;  // none where the stretch is endless
  int offset;                            // in seconds east of UTC
};

class Transitions {
 public:
  // The zone must outlive this object.
  explicit Transitions(const Zone& zone) : zone_(zone) {}

  // The stretch that a second lies in, valid until the next call. Lines without a calendar have a
  // single one, of offset 0. A stretch that was asked for before is found without asking ICU.
  const Stretch& at(int128 second);

 private:
  Stretch stretchAt(int128 second) const;

  const Zone& zone_;
  std::map<int128, Stretch> known_;  // by their first seconds
};

}  // namespace plx
