#include "stream/pipeline.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "stream/signals.h"

namespace plx {

struct Pipeline::Task {
  std::size_t number = 0;  // of the chunk, from 0
  Chunk chunk;
  Piece piece;
  std::exception_ptr failure;  // in place of a chunk, or behind what became of it
  bool isChunk = false;
};

struct Pipeline::Thread {
  std::unique_ptr<Worker> worker;
  std::unique_ptr<Task> task;
};

// One run over all chunks, as its threads share it.
class Pipeline::Run {
 public:
  Run(Chunks& chunks, const MakeWorker& makeWorker, const Write& write,
      std::vector<std::unique_ptr<Task>>& spare)
      : chunks_(chunks),
        makeWorker_(makeWorker),
        write_(write),
        spare_(spare),
        asideOf_(spare.size()) {}
  ~Run() {
    for (auto& task : asideOf_)
      if (task) spare_.push_back(std::move(task));
  }

  // What each thread does: one chunk after the other, to the end or the first failure.
  void work(Thread& thread);
  void rethrowFailure() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  bool take(Task& task);
  void process(Thread& thread) const;
  bool put(Thread& thread);
  void writeInTurn(std::unique_lock<std::mutex>& lock, Task& task);
  std::unique_ptr<Task>& asideAt(std::size_t number) { return asideOf_[number % asideOf_.size()]; }

  Chunks& chunks_;
  const MakeWorker& makeWorker_;
  const Write& write_;

  std::mutex reading_;
  std::size_t taken_ = 0;
  bool ended_ = false;  // nothing more is read

  std::mutex writing_;  // of what follows
  std::condition_variable turn_;
  std::size_t written_ = 0;
  bool stopped_ = false;  // nothing more is written
  std::exception_ptr failure_;
  // Tasks that are done before their turn, by their numbers; those between `written_` and as many more have a place.
  std::vector<std::unique_ptr<Task>>& spare_;
  std::vector<std::unique_ptr<Task>> asideOf_;
};

void Pipeline::Run::work(Thread& thread) {
  while (take(*thread.task)) {
    if (thread.task->isChunk) process(thread);
    if (!put(thread)) return;
  }
}

// The next chunk and its number, or why it cannot be read, which then has its turn like a chunk.
bool Pipeline::Run::take(Task& task) {
  const std::lock_guard lock(reading_);
  if (ended_) return false;
  task.piece.clear();
  task.failure = nullptr;
  task.isChunk = true;
  try {
    ended_ = !chunks_.read(task.chunk);
    if (ended_) return false;
  } catch (...) {
    ended_ = true;
    task.failure = std::current_exception();
    task.isChunk = false;
  }
  task.number = taken_++;
  return true;
}

void Pipeline::Run::process(Thread& thread) const {
  Task& task = *thread.task;
  try {
    if (!thread.worker) thread.worker = makeWorker_();
    const auto failure = thread.worker->run(task.chunk, task.piece);
    if (failure) task.failure = std::make_exception_ptr(*failure);
  } catch (...) {
    task.failure = std::current_exception();
  }
}

// Writes what a thread has made of its chunk, if there was one, and what lies behind it, or lays it aside for the one
// whose turn comes before. False where the work ends.
bool Pipeline::Run::put(Thread& thread) {
  std::unique_lock lock(writing_);
  const std::size_t number = thread.task->number;
  const bool isKept =
      !thread.task->piece.kept.empty();  // by the worker, whose next chunk it would not outlive
  turn_.wait(lock, [&] {
    const bool hasPlace = !isKept && number < written_ + asideOf_.size();
    return number == written_ || hasPlace || stopped_;
  });
  if (stopped_) return false;
  if (number != written_) {
    asideAt(number) = std::exchange(thread.task, std::move(spare_.back()));
    spare_.pop_back();
    return true;
  }
  writeInTurn(lock, *thread.task);
  while (!stopped_ && !asideOf_.empty() && asideAt(written_)) {
    std::unique_ptr<Task> next = std::move(asideAt(written_));
    writeInTurn(lock, *next);
    spare_.push_back(std::move(next));
  }
  return !stopped_;
}

// Nobody else has the turn until `written_` goes on: others may lay theirs aside meanwhile.
void Pipeline::Run::writeInTurn(std::unique_lock<std::mutex>& lock, Task& task) {
  lock.unlock();
  std::exception_ptr failure = task.failure;
  try {
    if (task.isChunk) write_(task.chunk, task.piece);
  } catch (...) {
    failure = std::current_exception();
  }
  lock.lock();
  ++written_;
  if (failure) {
    failure_ = failure;
    stopped_ = true;
    chunks_.wakeUp();  // a thread that waits for input would never end
  }
  turn_.notify_all();
}

Pipeline::Pipeline(std::size_t jobs, MakeWorker makeWorker)
    : makeWorker_(std::move(makeWorker)), threads_(std::max<std::size_t>(jobs, 1)) {
  for (Thread& thread : threads_) thread.task = std::make_unique<Task>();
  if (threads_.size() == 1) return;
  for (std::size_t i = 0; i < threads_.size(); ++i) spare_.push_back(std::make_unique<Task>());
}

Pipeline::~Pipeline() = default;

void Pipeline::run(Chunks& chunks, const Write& write) {
  Run run(chunks, makeWorker_, write, spare_);
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
