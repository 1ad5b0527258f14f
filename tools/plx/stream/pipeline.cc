#include "stream/pipeline.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#include "stream/signals.h"

namespace plx {

struct Pipeline::Thread {
  std::unique_ptr<Worker> worker;
  Chunk chunk;
  Piece piece;
};

// One run over all chunks, as its threads share it.
class Pipeline::Run {
 public:
  Run(Chunks& chunks, const MakeWorker& makeWorker, const Write& write)
      : chunks_(chunks), makeWorker_(makeWorker), write_(write) {}

  // What each thread does: one chunk after the other, to the end or the first failure.
  void work(Thread& thread);
  void rethrowFailure() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  bool take(Chunk& chunk, std::size_t& number, std::exception_ptr& failure);
  std::exception_ptr process(Thread& thread) const;
  bool put(const Thread* thread, std::size_t number, std::exception_ptr failure);

  Chunks& chunks_;
  const MakeWorker& makeWorker_;
  const Write& write_;

  std::mutex reading_;
  std::size_t taken_ = 0;
  bool ended_ = false;  // nothing more is read

  std::mutex writing_;
  std::condition_variable turn_;
  std::size_t written_ = 0;
  bool stopped_ = false;  // nothing more is written
  std::exception_ptr failure_;
};

void Pipeline::Run::work(Thread& thread) {
  for (;;) {
    std::size_t number = 0;
    std::exception_ptr failure;
    if (!take(thread.chunk, number, failure)) return;
    const bool isChunk = !failure;
    thread.piece.clear();
    if (isChunk) failure = process(thread);
    if (!put(isChunk ? &thread : nullptr, number, failure)) return;
  }
}

// The next chunk and its number, or why it cannot be read, which then has its turn like a chunk.
bool Pipeline::Run::take(Chunk& chunk, std::size_t& number, std::exception_ptr& failure) {
  const std::lock_guard lock(reading_);
  if (ended_) return false;
  try {
    ended_ = !chunks_.read(chunk);
    if (ended_) return false;
  } catch (...) {
    ended_ = true;
    failure = std::current_exception();
  }
  number = taken_++;
  return true;
}

std::exception_ptr Pipeline::Run::process(Thread& thread) const {
  try {
    if (!thread.worker) thread.worker = makeWorker_();
    const auto failure = thread.worker->run(thread.chunk, thread.piece);
    return failure ? std::make_exception_ptr(*failure) : nullptr;
  } catch (...) {
    return std::current_exception();
  }
}

// Writes what a thread has made of its chunk, if there was one. False where the work ends.
bool Pipeline::Run::put(const Thread* thread, std::size_t number, std::exception_ptr failure) {
  std::unique_lock lock(writing_);
  turn_.wait(lock, [&] { return number == written_ || stopped_; });
  if (stopped_) return false;
  try {
    if (thread != nullptr) write_(thread->chunk, thread->piece);
  } catch (...) {
    failure = std::current_exception();
  }
  ++written_;
  if (failure) {
    failure_ = failure;
    stopped_ = true;
    chunks_.wakeUp();  // a thread that waits for input would never end
  }
  turn_.notify_all();
  return !stopped_;
}

Pipeline::Pipeline(std::size_t jobs, MakeWorker makeWorker)
    : makeWorker_(std::move(makeWorker)), threads_(std::max<std::size_t>(jobs, 1)) {}

Pipeline::~Pipeline() = default;

void Pipeline::run(Chunks& chunks, const Write& write) {
  Run run(chunks, makeWorker_, write);
  std::vector<std::jthread> others;  // joined before the run goes, whatever happens
  if (threads_.size() > 1) {
    chunks.allowWakeUp();
    const SignalsHeld held;  // the others inherit it, so that this thread gets all signals
    try {
      for (std::size_t i = 1; i < threads_.size(); ++i)
        others.emplace_back([&run, &thread = threads_[i]] { run.work(thread); });
    } catch (const std::system_error&) {
      // The system has no more threads to give; those that there are do the work.
    } catch (const std::bad_alloc&) {
      // Nor memory for one.
    }
  }
  run.work(threads_[0]);
  others.clear();
  run.rethrowFailure();
}

}  // namespace plx
