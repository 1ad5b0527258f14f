#include "host_error.h"

#include <utility>

#include "running_call.h"

namespace host {

HostMessage::HostMessage(std::string name, brel::except::MessageArguments arguments)
    : BaseMsgID("Pelmor:host", std::move(name), std::move(arguments)) {}

HostMessage outOfMemory(const std::string& forWhat) {
  return HostMessage("OutOfMemory", {forWhat});
}

HostMessage invalidArgument(const std::string& function, const std::string& needed) {
  return HostMessage("InvalidArgument", {function, needed});
}

bool insideCall() { return RunningCall::current() != nullptr; }

void raise(const HostMessage& message) {
  const brel::except::Exception<HostMessage, std::exception, void> error(message);
  do_legacy_pa_error(error);
  throw error;
}

}  // namespace host
