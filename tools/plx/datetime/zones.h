// The zones that the datetimes of a run bring along, each made once.
#pragma once

#include <cstddef>
#include <map>
#include <utility>

#include "datetime/datetime_text.h"
#include "datetime/zone.h"

namespace plx {

// One for each thread: a zone keeps what it has looked up.
class Zones {
 public:
  // The zone of a datetime: its offset, UTC for Z, plain where it has none. It stays where it is
  // until trim() drops it.
  const Zone& of(const DatetimeText& datetime);

  // Drops all zones where there are more than kMostZones. Whether it did.
  bool trim();

 private:
  // Zones that data bring along are few. Where they are not, they are made anew.
  static constexpr std::size_t kMostZones = 1000;

  std::map<std::pair<OffsetForm, int>, Zone> byOffset_;
};

}  // namespace plx
