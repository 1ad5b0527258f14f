// What a file has beside its content: owner, group, mode, and extended attributes, among which are the
// access control lists.
#pragma once

#include <optional>
#include <string>

namespace plx {

// What another file cannot be given, and why.
struct AttributeLoss {
  std::string what;  // fit for a message: "its owner"
  int error;         // of errno
};

// Makes owner, group, mode and extended attributes of an open file those of the file at a path, and
// takes away what that has not: a list that the folder gave. Nothing where all is so; else the first
// that is not, and whatever came before it is taken over.
//
// security.ima and security.evm are left alone: these are sums over the content and its attributes,
// which the system makes.
std::optional<AttributeLoss> copyAttributes(const std::string& from, int to);

}  // namespace plx
