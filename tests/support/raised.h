// What the module's code raises when it is called outside a module call, under a host whose error
// call comes back, so that the module itself throws.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/embed.h"
#include "host/exception.h"

struct Raised {
  std::string identifier;
  std::vector<std::string> arguments;  // every argument of the module's is a narrow text
};

// Throws where an argument is of another kind.
inline std::vector<std::string> narrow(const brel::except::MessageArguments& arguments) {
  std::vector<std::string> texts;
  for (const auto& argument : arguments) texts.push_back(boost::get<std::string>(argument));
  return texts;
}

// The keyed error that leaves `run`, if any. It is caught as a host catches it, by the host's
// interface.
template <class Run>
std::optional<Raised> raisedBy(Run run) {
  paSetErrorsReturn(true);
  std::optional<Raised> raised;
  try {
    run();
  } catch (const brel::except::IMsgIDException& error) {
    raised = Raised{error.GetID(), narrow(error.GetBaseMsgIDObj().arguments())};
  }
  paSetErrorsReturn(false);
  return raised;
}
