// The host's own errors, and how they are raised from inside a module's call.
#pragma once

#include <string>

#include "host/exception.h"

namespace host {

// A message of the catalog's part `Pelmor:host`.
class HostMessage : public brel::except::BaseMsgID {
 public:
  HostMessage(std::string name, brel::except::MessageArguments arguments);
};

HostMessage outOfMemory(const std::string& forWhat);
HostMessage invalidArgument(const std::string& function, const std::string& needed);

// Whether the calling thread runs a module.
bool insideCall();

// Reports the error and leaves the module, also where paSetErrorsReturn is on.
[[noreturn]] void raise(const HostMessage& message);

}  // namespace host
