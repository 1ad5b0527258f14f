#include "block_pool.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "large_memory.h"

namespace host {
namespace {

// Which memory a block is of follows from its size alone.
bool isLarge(std::size_t bytes) { return kKeepsBlocks && bytes >= kLeastKeptBytes; }

RawBlock allocate(std::size_t bytes) {
  return {isLarge(bytes) ? mapLargeMemory(bytes) : std::aligned_alloc(kBlockAlignment, bytes),
          bytes};
}

void release(const RawBlock& block) {
  if (!block.data) return;
  if (isLarge(block.bytes))
    unmapLargeMemory(block.data, block.bytes);
  else
    std::free(block.data);
}

// Which of 64 slots have a block: a bit for each. Changed by whoever has the slot to itself.
using Occupied = std::atomic<std::uint64_t>;

// Room for one block that is kept. Whoever changes the size to kBusy has the slot to itself until
// it stores another size. A child after fork() whose parent's threads were at it finds a slot that
// is busy for ever, and goes on with the others.
class Slot {
 public:
  std::size_t bytes() const {
    const std::size_t bytes = bytes_.load();
    return bytes == kBusy ? 0 : bytes;
  }
  // Zero where the block is lent to the system.
  std::size_t notLentBytes() const { return isLent_.load(std::memory_order_relaxed) ? 0 : bytes(); }
  // When the block came, by a clock that counts blocks.
  std::uint64_t arrival() const { return arrival_.load(std::memory_order_relaxed); }

  // False where the slot is not free.
  bool put(const RawBlock& block, bool isLent, std::uint64_t now, Occupied& occupied,
           std::uint64_t bit) {
    if (!changeToBusy(0)) return false;
    occupied |= bit;
    data_ = block.data;
    isLent_.store(isLent, std::memory_order_relaxed);
    arrival_.store(now, std::memory_order_relaxed);
    bytes_.store(block.bytes);
    return true;
  }

  // The block of that size; without data where the slot no longer has one.
  RawBlock take(std::size_t bytes, Occupied& occupied, std::uint64_t bit) {
    if (!changeToBusy(bytes)) return {};
    occupied &= ~bit;
    const RawBlock block{data_, bytes};
    bytes_.store(0);
    return block;
  }

 private:
  static constexpr std::size_t kBusy = 1;  // sizes are multiples of the alignment
  bool changeToBusy(std::size_t from) { return bytes_.compare_exchange_strong(from, kBusy); }

  std::atomic<std::size_t> bytes_ = 0;  // 0: free
  std::atomic<bool> isLent_ = false;
  std::atomic<std::uint64_t> arrival_ = 0;
  void* data_ = nullptr;
};

class Pool {
 public:
  // A block of at least `bytes`, but at most a quarter more, that little is wasted: the smallest
  // one. Without data where there is none.
  RawBlock take(std::size_t bytes) {
    for (;;) {
      std::size_t best = kSlots, least = bytes + bytes / 4 + 1;
      forEachKept([&](std::size_t i) {
        const std::size_t kept = slots_[i].bytes();
        if (kept < bytes || kept >= least) return;
        best = i;
        least = kept;
      });
      if (best == kSlots) return {};
      if (const RawBlock block = takeFrom(best, least); block.data) return block;
    }
  }

  // The oldest block; without data where there is none.
  RawBlock takeOldest() {
    for (;;) {
      std::size_t oldest = kSlots, bytes = 0;
      forEachKept([&](std::size_t i) {
        const std::size_t kept = slots_[i].bytes();
        const bool isYounger = oldest != kSlots && slots_[oldest].arrival() <= slots_[i].arrival();
        if (kept == 0 || isYounger) return;
        oldest = i;
        bytes = kept;
      });
      if (oldest == kSlots) return {};
      if (const RawBlock block = takeFrom(oldest, bytes); block.data) return block;
    }
  }

  // Keeps a block, for which older ones go. The bound holds as soon as every thread that is here
  // has left: the last one to put its block sees those of all others.
  //
  // The block is lent before others see it, since whoever takes it writes to it at once. Only what
  // is not lent counts: otherwise one large block would have every later one lent as well, which
  // costs a small block several times what it saves.
  void keep(const RawBlock& block) {
    const bool isLent = notLentBytes() + block.bytes > kNotLentBytes;
    if (isLent) lendLargeMemory(block.data, block.bytes);
    while (!put(block, isLent)) {
      const RawBlock oldest = takeOldest();
      if (!oldest.data) return release(block);  // other threads are at all slots
      release(oldest);
    }
    while (bytes() > mostKeptBytes()) release(takeOldest());
  }

  std::size_t bytes() const {
    std::size_t sum = 0;
    forEachKept([&](std::size_t i) { sum += slots_[i].bytes(); });
    return sum;
  }

  std::size_t notLentBytes() const {
    std::size_t sum = 0;
    forEachKept([&](std::size_t i) { sum += slots_[i].notLentBytes(); });
    return sum;
  }

 private:
  // So many that programs with many arrays alive find them again.
  static constexpr std::size_t kSlots = 256, kBits = 64;

  static constexpr std::uint64_t bitOf(std::size_t i) { return std::uint64_t{1} << i % kBits; }

  static std::size_t firstOf(std::uint64_t bits, std::size_t word) {
    return word * kBits + static_cast<std::size_t>(std::countr_zero(bits));
  }

  // Programs with few blocks do not pay for the slots that they do not use.
  template <class Visit>
  void forEachKept(const Visit& visit) const {
    for (std::size_t word = 0; word < occupied_.size(); ++word) {
      for (std::uint64_t kept = occupied_[word].load(); kept != 0; kept &= kept - 1)
        visit(firstOf(kept, word));
    }
  }

  RawBlock takeFrom(std::size_t i, std::size_t bytes) {
    return slots_[i].take(bytes, occupied_[i / kBits], bitOf(i));
  }

  bool put(const RawBlock& block, bool isLent) {
    const std::uint64_t now = clock_.fetch_add(1, std::memory_order_relaxed);
    for (std::size_t word = 0; word < occupied_.size(); ++word) {
      for (std::uint64_t free = ~occupied_[word].load(); free != 0; free &= free - 1) {
        const std::size_t i = firstOf(free, word);
        if (slots_[i].put(block, isLent, now, occupied_[word], bitOf(i))) return true;
      }
    }
    return false;
  }

  std::array<Slot, kSlots> slots_;
  std::array<Occupied, kSlots / kBits> occupied_{};
  std::atomic<std::uint64_t> clock_ = 0;
};

// Without constructor and destructor at run time: arrays may be made before, and destroyed after,
// everything else.
constinit Pool pool;
static_assert(std::is_trivially_destructible_v<Pool>);

std::size_t roundUp(std::size_t bytes, std::size_t unit) {
  return (bytes + unit - 1) / unit * unit;
}

}  // namespace

std::size_t mostKeptBytes() {
  static constinit std::atomic<std::size_t> known = 0;  // the same whichever thread asks first
  std::size_t bytes = known.load(std::memory_order_relaxed);
  if (bytes == 0) {
    const long pages = sysconf(_SC_PHYS_PAGES), pageBytes = sysconf(_SC_PAGESIZE);
    const bool areKnown = pages > 0 && pageBytes > 0;
    bytes =
        areKnown ? static_cast<std::size_t>(pages) / 8 * static_cast<std::size_t>(pageBytes) : 0;
    bytes = std::max(bytes, kNotLentBytes);
    known.store(bytes, std::memory_order_relaxed);
  }
  return bytes;
}

RawBlock takeBlock(std::size_t bytes) {
  // The size has to be a multiple of the alignment, and not zero.
  bytes = roundUp(std::max(bytes, std::size_t{1}), kBlockAlignment);
  if (isLarge(bytes)) {
    bytes = roundUp(bytes, kPageBytes);
    if (const RawBlock kept = pool.take(bytes); kept.data) return kept;
  }
  for (;;) {
    if (const RawBlock block = allocate(bytes); block.data) return block;
    // Memory is short: what is kept goes first.
    const RawBlock oldest = pool.takeOldest();
    if (!oldest.data) return {};
    release(oldest);
  }
}

void giveBackBlock(RawBlock block) {
  if (block.data && isLarge(block.bytes) && block.bytes <= mostKeptBytes())
    pool.keep(block);
  else
    release(block);
}

std::size_t keptBytes() { return pool.bytes(); }

std::size_t notLentBytes() { return pool.notLentBytes(); }

std::size_t releaseKeptBlocks() {
  std::size_t released = 0;
  for (RawBlock block = pool.takeOldest(); block.data; block = pool.takeOldest()) {
    released += block.bytes;
    release(block);
  }
  return released;
}

}  // namespace host
