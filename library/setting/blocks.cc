#include "setting/blocks.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace plx {

namespace {

// The blocks of an array, taken in their order by any number of threads.
class Blocks {
 public:
  Blocks(std::size_t all, std::size_t block) : all_(all), block_(block) {}

  // False where no block is left, or a thread has stopped.
  bool take(std::size_t& start, std::size_t& count) {
    if (isStopped_.load(std::memory_order_relaxed)) return false;
    start = next_.fetch_add(block_, std::memory_order_relaxed);
    if (start >= all_) return false;
    count = std::min(block_, all_ - start);
    return true;
  }
  void finish(std::size_t count) { done_.fetch_add(count, std::memory_order_relaxed); }
  std::size_t done() const { return done_.load(std::memory_order_relaxed); }
  void note(unsigned bits) { notes_.fetch_or(bits, std::memory_order_relaxed); }
  unsigned notes() const { return notes_.load(std::memory_order_relaxed); }

  // Of several stops the first in the order of elements counts: blocks before it were taken earlier, and
  // are worked on to their end.
  void stop(Stop stop) {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    if (!stop_ || placeOf(stop) < placeOf(*stop_)) stop_ = std::move(stop);
  }
  // An exception counts before any stop.
  void stop(CutShort cut) {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    if (!cut_ || cut.done < cut_->done) cut_ = std::move(cut);
  }
  std::optional<Stop> result() {
    if (!cut_) return std::move(stop_);
    if (stop_) cut_->done = std::min(cut_->done, placeOf(*stop_));
    throw CutShort(*cut_);
  }

 private:
  static std::size_t placeOf(const Stop& stop) {
    return stop.index != PLX_NO_INDEX ? stop.index : stop.done;
  }

  const std::size_t all_, block_;
  std::atomic<std::size_t> next_{0}, done_{0};
  std::atomic<unsigned> notes_{0};
  std::atomic<bool> isStopped_{false};
  std::mutex mutex_;
  std::optional<Stop> stop_;
  std::optional<CutShort> cut_;
};

// Whether the caller wants to go on.
bool goesOn(const plxOptions& options, std::size_t done, std::size_t all) {
  return options.progress == nullptr || options.progress(options.context, done, all) == 0;
}

}  // namespace

std::optional<Stop> runBlocks(std::size_t all, std::size_t block, const plxOptions& options,
                              const std::function<std::unique_ptr<BlockWorker>()>& makeWorker,
                              unsigned& notes) {
  const std::size_t most = std::min<std::size_t>(options.threads, all / block);
  if (most <= 1 && (all <= block || options.progress == nullptr)) {
    std::size_t start = 0;
    try {
      const auto worker = makeWorker();
      std::optional<Stop> stop;
      do {
        const std::size_t count = std::min(block, all - start);
        stop = worker->work(start, count);
        start += count;
      } while (!stop && start < all);
      notes = worker->notes();
      return stop;
    } catch (...) {
      throw CutShort{std::current_exception(), start};
    }
  }

  Blocks blocks(all, block);
  // Works on a block that is taken, and on others.
  const auto workFrom = [&](std::size_t start, std::size_t count, bool tells) {
    try {
      const auto worker = makeWorker();
      do {
        if (auto stop = worker->work(start, count)) return blocks.stop(std::move(*stop));
        blocks.finish(count);
        blocks.note(worker->notes());
        if (!tells || goesOn(options, blocks.done(), all)) continue;
        return blocks.stop(
            {wrong({"stopped", {}, Status::badData, id::kStopped}), PLX_NO_INDEX, start + count});
      } while (blocks.take(start, count));
    } catch (...) {
      blocks.stop(CutShort{std::current_exception(), start});
    }
  };
  const auto work = [&] {
    std::size_t start = 0, count = 0;
    if (blocks.take(start, count)) workFrom(start, count, false);
  };
  // Taken before there are others, who might else leave no block to tell the progress after.
  std::size_t start = 0, count = 0;
  blocks.take(start, count);
  std::vector<std::thread> threads;
  threads.reserve(most);
  try {
    while (threads.size() + 1 < most) threads.emplace_back(work);
  } catch (const std::exception&) {
    // As many threads as the system and the memory allow.
  }
  workFrom(start, count, true);
  for (std::thread& thread : threads) thread.join();
  notes = blocks.notes();
  return blocks.result();
}

}  // namespace plx
