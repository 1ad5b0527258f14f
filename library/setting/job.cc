#include "setting/job.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>

#include "setting/block_setter.h"

namespace plx {

namespace {

// Few enough for all blocks to stay in the second cache.
constexpr std::size_t kBlock = std::size_t{1} << 13;
// A call in a time zone costs more before its first element.
constexpr std::size_t kZonedBlock = std::size_t{1} << 16;

// The blocks of a job, taken in their order by any number of threads.
class Blocks {
 public:
  Blocks(std::size_t count, std::size_t block) : count_(count), block_(block) {}

  // False where none is left, or somebody has stopped.
  bool take(std::size_t& start, std::size_t& count) {
    if (isStopped_.load(std::memory_order_relaxed)) return false;
    start = next_.fetch_add(block_, std::memory_order_relaxed);
    if (start >= count_) return false;
    count = std::min(block_, count_ - start);
    return true;
  }
  void finish(std::size_t count) { done_.fetch_add(count, std::memory_order_relaxed); }
  std::size_t done() const { return done_.load(std::memory_order_relaxed); }

  // The first in the order of elements is the one that counts: all blocks before it were taken before.
  void stop(Stop stop) {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    const auto place = [](const Stop& s) { return s.index != PLX_NO_INDEX ? s.index : s.done; };
    if (!stop_ || place(stop) < place(*stop_)) stop_ = std::move(stop);
  }
  // What no element is about, from a thread that may be any.
  void stop(std::exception_ptr exception) {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    if (!exception_) exception_ = exception;
  }
  std::optional<Stop> result() {
    if (exception_) std::rethrow_exception(exception_);
    return std::move(stop_);
  }

 private:
  const std::size_t count_, block_;
  std::atomic<std::size_t> next_{0}, done_{0};
  std::atomic<bool> isStopped_{false};
  std::mutex mutex_;
  std::optional<Stop> stop_;
  std::exception_ptr exception_;
};

void work(const SetJob& job, Blocks& blocks, std::atomic<unsigned>& notes, bool tells) {
  try {
    BlockSetter setter(job);
    std::size_t start = 0, count = 0;
    while (blocks.take(start, count)) {
      if (auto stop = setter.set(start, count)) return blocks.stop(std::move(*stop));
      blocks.finish(count);
      notes |= setter.notes();
      if (!tells || job.options.progress == nullptr) continue;
      if (job.options.progress(job.options.context, blocks.done(), job.datetimes.count) == 0)
        continue;
      return blocks.stop(
          {wrong({"stopped", {}, Status::badData, id::kStopped}), PLX_NO_INDEX, start + count, 0});
    }
  } catch (...) {
    blocks.stop(std::current_exception());
  }
}

}  // namespace

std::optional<Stop> run(const SetJob& job, unsigned& notes) {
  const std::size_t all = job.datetimes.count;
  if (all == 0) {
    // The zone is looked at all the same.
    return BlockSetter(job).set(0, 0);
  }
  const std::size_t block = job.hasZone ? kZonedBlock : kBlock;
  Blocks blocks(all, block);
  std::atomic<unsigned> found{0};
  std::vector<std::thread> threads;
  const std::size_t most = std::min<std::size_t>(job.options.threads, (all - 1) / block + 1);
  if (most > 1) threads.reserve(most - 1);
  try {
    while (threads.size() + 1 < most)
      threads.emplace_back(work, std::cref(job), std::ref(blocks), std::ref(found), false);
  } catch (const std::system_error&) {
    // As many as the system lets work.
  }
  work(job, blocks, found, true);
  for (std::thread& thread : threads) thread.join();
  notes = found;
  return blocks.result();
}

}  // namespace plx
