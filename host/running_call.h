// The calls that a thread is in: a module may call a host function that calls a module.
#pragma once

#include <optional>
#include <utility>

#include "error_text.h"
#include "host/pa_array.h"

namespace host {

// One call, running for as long as this object lives.
class RunningCall {
 public:
  // `lent`: null, or a borrowed array into whose blocks the first array of its size and complexity goes
  // that the module makes.
  explicit RunningCall(const paArray* lent = nullptr);
  ~RunningCall();
  RunningCall(const RunningCall&) = delete;
  RunningCall& operator=(const RunningCall&) = delete;

  // The innermost call of this thread; null outside any.
  static RunningCall* current();

  // The last error that was reported is the one that counts.
  void record(ErrorText error) { error_ = std::move(error); }
  // That array, once.
  const paArray* takeLent() { return std::exchange(lent_, nullptr); }
  const paArray* lent() const { return lent_; }
  std::optional<ErrorText> takeError() { return std::exchange(error_, std::nullopt); }

 private:
  RunningCall* outer_;
  const paArray* lent_;
  std::optional<ErrorText> error_;
};

// Leaves a module whose error has been recorded. Of no type that a module would catch by name, a
// std::exception least of all.
struct LeaveModule {};

}  // namespace host
