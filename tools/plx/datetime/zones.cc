#include "datetime/zones.h"

namespace plx {

const Zone& Zones::of(const DatetimeText& datetime) {
  const std::pair key(datetime.offset, datetime.offsetSeconds);
  auto found = byOffset_.find(key);
  if (found == byOffset_.end()) found = byOffset_.emplace(key, Zone::of(datetime)).first;
  return found->second;
}

bool Zones::trim() {
  if (byOffset_.size() <= kMostZones) return false;
  byOffset_.clear();
  return true;
}

}  // namespace plx
