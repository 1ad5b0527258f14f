// Loading and giving back modules.
#include <dlfcn.h>

#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "error_text.h"
#include "host_error.h"
#include "module_file.h"
#include "module_handle.h"

namespace host {
namespace {

// A program may have opened the host library for itself alone; modules find the host's symbols only
// where everyone does. The handle is kept, so that the host stays as long as the modules do.
void makeOwnSymbolsGlobal() {
  // An address of the host's own: that of an exported name may lie in the program.
  static const char anchor = 0;
  static const bool once [[maybe_unused]] = [] {
    Dl_info self;
    return dladdr(&anchor, &self) != 0 &&
           dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL | RTLD_NODELETE) != nullptr;
  }();
}

// The handles that are not given back. Without a constructor at run time, as modules may be loaded
// before everything else.
constinit std::mutex handlesMutex;
constinit paModule* handles = nullptr;

void enlist(paModule* module) {
  const std::lock_guard lock(handlesMutex);
  module->next = handles;
  handles = module;
}

// False where it is not in the list: given back already, or never a handle. Only its address is
// looked at.
bool strikeOut(const paModule* module) {
  const std::lock_guard lock(handlesMutex);
  for (paModule** place = &handles; *place; place = &(*place)->next) {
    if (*place != module) continue;
    *place = module->next;
    return true;
  }
  return false;
}

HostMessage notAModule(const std::string& path, const std::string& problem) {
  return HostMessage("NotAModule", {path, problem});
}

// The dynamic linker's account of its last failure on this thread.
std::string linkerError() {
  const char* text = dlerror();
  return text ? text : "the dynamic linker gives no reason";
}

// Null where the module cannot be loaded, with `error` filled.
paModule* load(const std::string& path, paError* error) {
  std::string unreadable;
  const ModuleFile file = readModuleFile(path, unreadable);
  if (!unreadable.empty()) {
    write(error, HostMessage("ModuleNotFound", {path, unreadable}));
    return nullptr;
  }
  const std::string ownVersion = std::to_string(PA_INTERFACE_VERSION);
  for (const std::string& version : file.interfaceVersions) {
    if (version == ownVersion) continue;
    write(error, HostMessage("WrongInterface", {path, version, ownVersion}));
    return nullptr;
  }
  if (!file.problem.empty()) {
    write(error, notAModule(path, file.problem));
    return nullptr;
  }
  makeOwnSymbolsGlobal();
  auto module = std::make_unique<paModule>();
  // Without a slash, the dynamic linker would look everywhere but in the current directory.
  const std::string location = path.find('/') == std::string::npos ? "./" + path : path;
  module->library = dlopen(location.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!module->library) {
    write(error, notAModule(path, linkerError()));
    return nullptr;
  }
  module->function =
      reinterpret_cast<decltype(module->function)>(dlsym(module->library, "plxFunction"));
  if (!module->function) {
    write(error, notAModule(path, linkerError()));
    dlclose(module->library);
    return nullptr;
  }
  enlist(module.get());
  return module.release();
}

}  // namespace
}  // namespace host

paModule* paLoadModule(const char* path, paError* error) {
  host::clear(error);
  try {
    if (path) return host::load(path, error);
    host::write(error, host::invalidArgument(__func__, "a path that is not null"));
  } catch (const std::bad_alloc&) {
    host::writeOutOfMemory(error);
  } catch (...) {
    host::writeUnreadable(error);
  }
  return nullptr;
}

void paUnloadModule(paModule* module) {
  if (!host::strikeOut(module)) return;
  dlclose(module->library);
  delete module;
}
