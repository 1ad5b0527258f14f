// What the module's code raises when it is called outside a module call.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "host/embed.h"
#include "host/exception.h"

struct Raised {
  std::string identifier;
  std::vector<std::string> arguments;  // every argument of the module's is a narrow text

  bool operator==(const Raised&) const = default;
};

// Throws where an argument is of another kind.
inline std::vector<std::string> narrow(const brel::except::MessageArguments& arguments) {
  std::vector<std::string> texts;
  for (const auto& argument : arguments) texts.push_back(boost::get<std::string>(argument));
  return texts;
}

// The keyed error that leaves `run`, if any. It is caught as a host catches it, by the host's
// interface; and it is the same whether the host's error call comes back, so that the module itself
// throws, or leaves by unwinding.
template <class Run>
std::optional<Raised> raisedBy(Run run) {
  std::optional<Raised> raised[2];
  for (const bool returns : {false, true}) {
    paSetErrorsReturn(returns);
    try {
      run();
    } catch (const brel::except::IMsgIDException& error) {
      raised[returns] = Raised{error.GetID(), narrow(error.GetBaseMsgIDObj().arguments())};
    }
  }
  paSetErrorsReturn(false);
  EXPECT_TRUE(raised[0] == raised[1]) << "the two kinds of host differ";
  return raised[0];
}
