#include "block_pool.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <mutex>
#include <type_traits>

namespace host {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepsBlocks = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
constexpr bool kKeepsBlocks = false;
#else
constexpr bool kKeepsBlocks = true;
#endif
#else
constexpr bool kKeepsBlocks = true;
#endif

// The blocks that are kept, the oldest first.
class Pool {
 public:
  // A block of at least `bytes`, but at most a quarter more, that little is wasted: the smallest
  // one. Without data where there is none.
  RawBlock take(std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    std::size_t best = count_;
    for (std::size_t i = 0; i < count_; ++i) {
      const bool fits = blocks_[i].bytes >= bytes && blocks_[i].bytes - bytes <= bytes / 4;
      if (fits && (best == count_ || blocks_[i].bytes < blocks_[best].bytes)) best = i;
    }
    return best < count_ ? remove(best) : RawBlock{};
  }

  // Keeps a block. Returns one that has to go for it, or one without data; `isKept` is false until
  // there is room: then call again.
  RawBlock keep(RawBlock block, bool& isKept) {
    const std::lock_guard lock(mutex_);
    isKept = count_ < blocks_.size() && bytes_ + block.bytes <= kMostKeptBytes;
    if (!isKept) return remove(0);
    blocks_[count_++] = block;
    bytes_ += block.bytes;
    return {};
  }

  // The oldest block, or one without data.
  RawBlock takeOldest() {
    const std::lock_guard lock(mutex_);
    return count_ > 0 ? remove(0) : RawBlock{};
  }

  std::size_t bytes() {
    const std::lock_guard lock(mutex_);
    return bytes_;
  }

 private:
  RawBlock remove(std::size_t i) {
    const RawBlock block = blocks_[i];
    std::copy(blocks_.begin() + i + 1, blocks_.begin() + count_, blocks_.begin() + i);
    --count_;
    bytes_ -= block.bytes;
    return block;
  }

  std::mutex mutex_;
  std::array<RawBlock, 16> blocks_{};
  std::size_t count_ = 0;
  std::size_t bytes_ = 0;
};

// Without constructor and destructor at run time: arrays may be made before, and destroyed after,
// everything else.
constinit Pool pool;
static_assert(std::is_trivially_destructible_v<Pool>);

}  // namespace

RawBlock takeBlock(std::size_t bytes) {
  // The size has to be a multiple of the alignment, and not zero.
  bytes = std::max(bytes, std::size_t{1});
  bytes = (bytes + kBlockAlignment - 1) / kBlockAlignment * kBlockAlignment;
  if (bytes >= kLeastKeptBytes) {
    if (const RawBlock kept = pool.take(bytes); kept.data) return kept;
  }
  for (;;) {
    if (void* data = std::aligned_alloc(kBlockAlignment, bytes)) return {data, bytes};
    // Memory is short: what is kept goes first.
    const RawBlock oldest = pool.takeOldest();
    if (!oldest.data) return {};
    std::free(oldest.data);
  }
}

void giveBackBlock(RawBlock block) {
  if (!kKeepsBlocks || block.bytes < kLeastKeptBytes || block.bytes > kMostKeptBytes) {
    std::free(block.data);
    return;
  }
  for (bool isKept = false; !isKept;) std::free(pool.keep(block, isKept).data);
}

std::size_t keptBytes() { return pool.bytes(); }

}  // namespace host
