#include "offsets/remembered_zones.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace {

// Multiplies, and folds the upper half of the product into the lower one.
std::uint64_t mixed(std::uint64_t hash, std::uint64_t x) {
  const std::uint64_t product = (hash ^ x) * 0x9E3779B97F4A7C15U;
  return product ^ product >> 32;
}

// With so many bytes, eight at once.
std::uint64_t mixed(std::uint64_t hash, const void* data, std::size_t count) {
  const auto* bytes = static_cast<const char*>(data);
  for (std::size_t from = 0; from < count; from += 8) {
    std::uint64_t x = 0;
    std::memcpy(&x, bytes + from, std::min<std::size_t>(8, count - from));
    hash = mixed(hash, x);
  }
  return hash;
}

// Never 0.
std::uint64_t hashOf(const ZoneKey& key) {
  std::uint64_t hash = mixed(key.text.size(), key.icuLife);
  hash = mixed(hash, key.text.data(), key.text.size_bytes());
  hash = mixed(hash, key.locale.data(), key.locale.size());
  return hash | 1;
}

}  // namespace

bool RememberedZones::Remembered::isOf(const ZoneKey& key) const {
  return icuLife == key.icuLife && locale == key.locale && std::ranges::equal(text, key.text);
}

bool RememberedZones::Slot::enter(const ZoneKey& key) {
  // Acquires what whoever filled the slot released.
  const bool isTaken = state_.fetch_add(1, std::memory_order_acquire) >= kTaken;
  if (!isTaken && zone_ != nullptr && zone_->isOf(key)) return true;
  leave();
  return false;
}

bool RememberedZones::Slot::take() {
  std::uint32_t nobody = 0;
  // Acquires what those who used the zone released: it may be freed.
  return state_.compare_exchange_strong(nobody, kTaken, std::memory_order_acquire,
                                        std::memory_order_relaxed);
}

RememberedZones::InUse RememberedZones::find(const ZoneKey& key) {
  const std::uint64_t hash = hashOf(key);
  for (std::size_t i = 0; i < kMostZones; ++i) {
    if (hashes_[i].load(std::memory_order_relaxed) != hash || !slots_[i].enter(key)) continue;
    const std::uint64_t now = now_.load(std::memory_order_relaxed);
    // Written only where it differs: threads in calls shall not take its cache line from each other.
    if (lastUsed_[i].load(std::memory_order_relaxed) != now) {
      lastUsed_[i].store(now, std::memory_order_relaxed);
    }
    return InUse(slots_[i]);
  }
  return {};
}

bool RememberedZones::meet(const ZoneKey& key) {
  const std::uint64_t hash = hashOf(key);
  for (const auto& note : met_) {
    if (note.load(std::memory_order_relaxed) == hash) return true;
  }
  const std::size_t i = notes_.fetch_add(1, std::memory_order_relaxed) % met_.size();
  met_[i].store(hash, std::memory_order_relaxed);
  return false;
}

std::size_t RememberedZones::takeLeastUsed() {
  // A slot may be in use by the time it is to be taken. The next best one will do, and if that goes on, none.
  for (int attempt = 0; attempt < 4; ++attempt) {
    std::size_t least = kMostZones;
    std::uint64_t earliest = std::numeric_limits<std::uint64_t>::max();
    for (std::size_t i = 0; i < kMostZones; ++i) {
      const std::uint64_t time = lastUsed_[i].load(std::memory_order_relaxed);
      if (time >= earliest || slots_[i].isInUse()) continue;
      least = i;
      earliest = time;
    }
    if (least == kMostZones || slots_[least].take()) return least;
  }
  return kMostZones;
}

void RememberedZones::fill(std::size_t i, std::unique_ptr<const Remembered> zone,
                           std::uint64_t hash, std::uint64_t time) {
  slots_[i].replace(std::move(zone));
  hashes_[i].store(hash, std::memory_order_relaxed);
  lastUsed_[i].store(time, std::memory_order_relaxed);
}

RememberedZones::InUse RememberedZones::keep(std::unique_ptr<const Remembered> zone,
                                             std::uint64_t hash) {
  const std::size_t i = takeLeastUsed();
  if (i == kMostZones) return InUse(std::move(zone));
  fill(i, std::move(zone), hash, now_.fetch_add(1, std::memory_order_relaxed) + 1);
  slots_[i].giveBackAndStay();
  return InUse(slots_[i]);
}

RememberedZones::InUse RememberedZones::remember(const ZoneKey& key,
                                                 std::optional<OffsetTable> table) {
  const auto zoneOfKey = [&] {
    return std::unique_ptr<Remembered>(
        new Remembered{{key.text.begin(), key.text.end()}, key.locale, key.icuLife, std::nullopt});
  };
  const std::uint64_t hash = hashOf(key);
  auto zone = zoneOfKey();
  if (table) zone->offsets.emplace(std::move(*table));
  if (!zone->offsets || zone->offsets->bytes() <= kMostBytesOfAZone) {
    return keep(std::move(zone), hash);
  }
  keep(zoneOfKey(), hash);
  return InUse(std::move(zone));
}

void RememberedZones::forget() {
  for (auto& note : met_) note.store(0, std::memory_order_relaxed);
  for (std::size_t i = 0; i < kMostZones; ++i) {
    if (!slots_[i].take()) continue;
    fill(i, nullptr, 0, 0);
    slots_[i].giveBack();
  }
}
