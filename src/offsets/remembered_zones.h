// The offsets of zones that calls have met, for the calls that follow.
//
// What a text means as a zone depends on ICU's data and, where it spells an offset, on the locale. So
// the key of remembered offsets is the text, the locale and the life of ICU (icu/life.h) that they were
// read in.
//
// Lock-free: no thread ever waits. A slot counts the calls that use its zone; to put another zone in, a call
// takes a slot that no call uses. A slot that is being taken or filled is passed by: its zone then counts as
// not remembered. So a child of fork() does not depend on what other threads of its parent were doing at that
// moment. At worst a slot stays as it was: never filled, or never taken again.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "offsets/zone_offsets.h"

// What a zone is remembered by. The text belongs to the caller.
struct ZoneKey {
  std::span<const std::uint16_t> text;
  std::string locale;
  std::uint64_t icuLife;
};

class RememberedZones {
 public:
  // 64 zones with at most 128 KiB of tables each are at most 8 MiB. The tables of a zone of ICU's data have
  // up to 97 KiB.
  static constexpr std::size_t kMostZones = 64;
  static constexpr std::size_t kMostBytesOfAZone = std::size_t{128} << 10;
  // Longer texts and names of locales are not remembered. ICU's longest identifier has 32 units.
  static constexpr std::size_t kLongestText = 64;
  static constexpr std::size_t kLongestLocale = 100;

 private:
  struct Remembered {
    std::vector<std::uint16_t> text;
    std::string locale;
    std::uint64_t icuLife;
    std::optional<ZoneOffsets> offsets;

    bool isOf(const ZoneKey& key) const;
  };

  class alignas(64) Slot {
   public:
    constexpr Slot() = default;

    // Whether the slot's zone, of that key, is the caller's to use until it leaves.
    bool enter(const ZoneKey& key);
    void leave() const { state_.fetch_sub(1, std::memory_order_release); }

    // Whether nobody used the slot, so that it is the caller's alone until it gives it back.
    bool take();
    // Whoever has taken the slot replaces what it holds, by nothing or a zone, ...
    void replace(std::unique_ptr<const Remembered> zone) {
      delete zone_;
      zone_ = zone.release();
    }
    // ... and gives it back, or goes on as one who uses it.
    void giveBack() { state_.fetch_sub(kTaken, std::memory_order_release); }
    void giveBackAndStay() { state_.fetch_sub(kTaken - 1, std::memory_order_release); }

    const Remembered* zone() const { return zone_; }
    bool isInUse() const { return state_.load(std::memory_order_relaxed) != 0; }

   private:
    static constexpr std::uint32_t kTaken = 1U << 31;

    mutable std::atomic<std::uint32_t> state_ =
        0;  // calls that use the zone; kTaken and more: taken
    // Owned. Nothing frees it when the process ends, when other threads may still use it.
    const Remembered* zone_ = nullptr;
  };

 public:
  // A zone that is not forgotten as long as this object lives.
  class InUse {
   public:
    InUse() = default;
    InUse(InUse&& other) noexcept
        : zone_(other.zone_),
          slot_(std::exchange(other.slot_, nullptr)),
          own_(std::move(other.own_)) {}
    InUse& operator=(InUse&&) = delete;
    ~InUse() {
      if (slot_) slot_->leave();
    }

    explicit operator bool() const { return zone_ != nullptr; }

    // Null where it is remembered that the zone has no table, or one that is too large to be kept.
    const ZoneOffsets* offsets() const {
      return zone_ && zone_->offsets ? &*zone_->offsets : nullptr;
    }

   private:
    friend RememberedZones;
    explicit InUse(const Slot& slot) : zone_(slot.zone()), slot_(&slot) {}
    explicit InUse(std::unique_ptr<const Remembered> own)
        : zone_(own.get()), own_(std::move(own)) {}

    const Remembered* zone_ = nullptr;
    const Slot* slot_ = nullptr;
    std::unique_ptr<const Remembered> own_;  // where there was no slot
  };

  constexpr RememberedZones() = default;
  RememberedZones(const RememberedZones&) = delete;
  RememberedZones& operator=(const RememberedZones&) = delete;

  // Empty where the zone is not remembered.
  InUse find(const ZoneKey& key);

  // Notes that a zone was met, and returns whether it is among the last ones noted, as many as there are slots.
  // Of more zones in turn each would be forgotten before it comes again, and its table would have been made for
  // nothing. A hint only: two zones may have the same hash.
  bool meet(const ZoneKey& key);

  // Remembers the table of a zone, or that it has none, in place of the zone that was last used longest
  // ago; of a table that is too large, no more than that. Throws std::bad_alloc, with nothing changed.
  InUse remember(const ZoneKey& key, std::optional<OffsetTable> table);

  // Forgets all zones but those in use, and which ones were met.
  void forget();

 private:
  using Numbers = std::array<std::atomic<std::uint64_t>, kMostZones>;

  // The number of a slot that is the caller's alone then; kMostZones where all are in use.
  std::size_t takeLeastUsed();
  InUse keep(std::unique_ptr<const Remembered> zone, std::uint64_t hash);
  void fill(std::size_t i, std::unique_ptr<const Remembered> zone, std::uint64_t hash,
            std::uint64_t time);

  // Of each slot, what is asked before it is entered. Only hints: another zone may be there by then.
  Numbers hashes_{};    // of the keys
  Numbers lastUsed_{};  // 0: empty
  std::array<Slot, kMostZones> slots_;
  std::atomic<std::uint64_t> now_ = 0;    // how many zones were remembered so far, as a clock
  Numbers met_{};                         // the hashes noted last, the oldest of which is replaced
  std::atomic<std::uint64_t> notes_ = 0;  // so far
};

// Those of the process. Forgotten when the module is unloaded.
RememberedZones& rememberedZones();
