// The calls that a thread is in: a module may call a host function that calls a module.
#pragma once

#include <optional>
#include <utility>

#include "error_text.h"

namespace host {

// One call, running for as long as this object lives.
class RunningCall {
 public:
  RunningCall();
  ~RunningCall();
  RunningCall(const RunningCall&) = delete;
  RunningCall& operator=(const RunningCall&) = delete;

  // The innermost call of this thread; null outside any.
  static RunningCall* current();

  // The last error that was reported is the one that counts.
  void record(ErrorText error) { error_ = std::move(error); }
  std::optional<ErrorText> takeError() { return std::exchange(error_, std::nullopt); }

 private:
  RunningCall* outer_;
  std::optional<ErrorText> error_;
};

// Leaves a module whose error has been recorded. Of no type that a module would catch by name, a
// std::exception least of all.
struct LeaveModule {};

}  // namespace host
