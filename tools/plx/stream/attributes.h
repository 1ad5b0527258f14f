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

// Copies owner, group, mode and extended attributes of the file at `from` to the open file `to`, and
// removes attributes that `from` lacks, such as an access control list that the folder gave. Nothing where
// all could be copied; else the first that could not, with those before it copied.
//
// security.ima and security.evm are left alone: these are sums over the content and its attributes,
// which the system makes.
std::optional<AttributeLoss> copyAttributes(const std::string& from, int to);

}  // namespace plx
