// Takes chunks through workers, on as many threads as asked for, and writes the results in order.
//
// Each thread takes the next chunk and turns it into text. Whose turn it is writes, and with it what lies behind in
// order; others lay theirs aside and go on with the next chunk, so that no thread waits for one that the system has
// stopped for a while. There are never more than two chunks in memory for each thread, and a single thread is a plain
// loop.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/message.h"
#include "stream/chunk.h"

namespace plx {

// The most messages about single datetimes that a run shows; more are only counted.
inline constexpr std::size_t kMostMessages = 20;

// What becomes of a chunk.
struct Piece {
  // What is to be written: the text, or bytes that the worker keeps until its next chunk.
  std::string_view bytes() const { return kept.empty() ? text : kept; }

  std::string text;
  std::string_view kept;
  std::vector<std::string>
      messages;                  // about single datetimes, in their order; at most kMostMessages
  std::size_t errors = 0;        // datetimes that were wrong and passed over
  std::size_t findings = 0;      // datetimes that came out otherwise than asked
  std::size_t warnings = 0;      // datetimes behind the end of the table of leap seconds
  std::size_t records = 0;       // records of the chunk
  std::size_t wrongRecords = 0;  // in which nothing could be read
  std::vector<std::size_t> present;  // in how many records each column is, where one may be absent
  bool cutDigits = false;            // a datetime had more digits than a pair of doubles holds
  bool carriedOnTheWay = false;      // settings in turn led by way of a date that does not exist

  void clear() {
    text.clear();
    kept = {};
    messages.clear();
    errors = findings = warnings = records = wrongRecords = 0;
    present.clear();
    cutDigits = false;
    carriedOnTheWay = false;
  }
};

// Turns chunks into text, or into elements. Each thread has its own.
class Worker {
 public:
  virtual ~Worker() = default;
  // Appends what becomes of a chunk to an empty piece. A failure (returned or thrown) ends the run
  // after the piece has been written.
  virtual std::optional<Failure> run(const Chunk& chunk, Piece& piece) = 0;
};

class Pipeline {
 public:
  // Called in the thread that the worker is for, when it has its first chunk.
  using MakeWorker = std::function<std::unique_ptr<Worker>()>;
  // Writes the piece of a chunk. Called in the order of the chunks, never twice at once.
  using Write = std::function<void(const Chunk& chunk, const Piece& piece)>;

  // jobs: threads, the calling one among them; at least 1. Workers are kept from run to run.
  Pipeline(std::size_t jobs, MakeWorker makeWorker);
  ~Pipeline();

  // Runs all chunks. Throws the first failure in the order of the chunks, after all text
  // before it has been written; a failure of writing at once.
  void run(Chunks& chunks, const Write& write);

 private:
  struct Task;    // a chunk and what becomes of it
  struct Thread;  // what a thread keeps
  class Run;

  MakeWorker makeWorker_;
  std::vector<Thread> threads_;
  std::vector<std::unique_ptr<Task>> spare_;  // as many as threads, for what is laid aside
};

}  // namespace plx
