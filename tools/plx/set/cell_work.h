// What a command does to datetimes in text, a batch at a time: texts in, texts out, and what went
// wrong. Where they come from and where they go is not its concern.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "datetime/notation.h"
#include "messages/message.h"

namespace plx {

// A datetime to work on. The texts stay where they are as long as the batch does.
struct Task {
  std::string_view text;
  std::string_view zone;                     // the name of its own zone, where it has one
  std::span<const std::string_view> values;  // one for each assignment without a value for all
  const Notation* notation = nullptr;        // its own notation; null: the one for all
};

// What was wrong with a task, or worth telling.
struct Trouble {
  enum class Kind {
    datetime,  // the task's text
    zone,      // its zone's name
    value,     // one of its values
    record,    // the task's record, of which nothing can be read
    finding,   // nothing is wrong, but something else came out than was asked for
  };
  std::size_t task;
  Kind kind;
  std::size_t assignment;  // of Kind::value, the assignment that the value is for
  Complaint complaint;
};

struct Outcome {
  enum class Kind {
    kept,     // as it was: there is no datetime
    changed,  // to the text from begin to end
    failed,   // there is a trouble that is no finding
  };
  Kind kind = Kind::kept;
  std::size_t begin = 0, end = 0;  // in Batch::text
};

// What became of the tasks.
struct Batch {
  std::string text;
  std::vector<Outcome> outcomes;  // one for each task
  std::vector<Trouble> troubles;  // in the order of the tasks, at most one failure for each
  std::size_t warnings = 0;       // datetimes after the end of the table of leap seconds
  bool cutDigits = false;         // a datetime had more digits than a pair of doubles holds
  bool carriedOnTheWay = false;   // settings in turn led by way of a date that does not exist

  void fail(Trouble trouble) {
    outcomes[trouble.task].kind = Outcome::Kind::failed;
    troubles.push_back(std::move(trouble));
  }
  void clear(std::size_t tasks) {
    text.clear();
    outcomes.assign(tasks, {});
    troubles.clear();
    warnings = 0;
    cutDigits = false;
    carriedOnTheWay = false;
  }
};

// One for each thread.
class CellWork {
 public:
  virtual ~CellWork() = default;
  virtual void work(std::span<const Task> tasks, Batch& batch) = 0;
};

}  // namespace plx
