// What a file says of itself before anything of it is loaded. Loading runs a library's
// constructors, so whether it is a module of this interface has to be read from its bytes.
#pragma once

#include <string>
#include <vector>

namespace host {

struct ModuleFile {
  std::string problem;  // empty for a shared library of this machine that exports plxFunction
  // The versions of the interface that its parts refer to.
  std::vector<std::string> interfaceVersions;
};

// Reads the dynamic symbols of a regular file. `unreadable` is not empty where the file itself
// cannot be read, and says why.
ModuleFile readModuleFile(const std::string& path, std::string& unreadable);

}  // namespace host
