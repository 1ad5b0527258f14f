// Loading and giving back modules.
#include <dlfcn.h>

#include <atomic>
#include <memory>
#include <new>
#include <string>

#include "error_text.h"
#include "host_error.h"
#include "module_file.h"
#include "module_handles.h"

namespace host {
namespace {

// A program may have opened the host library for itself alone; modules find the host's symbols only
// where everyone does. The handle is kept, so that the host stays as long as the modules do. Two
// threads may do it at once, which does no harm; a static object's own lock would, in a child after
// fork().
void makeOwnSymbolsGlobal() {
  // An address of the host's own: that of an exported name may lie in the program.
  static const char anchor = 0;
  static constinit std::atomic<bool> isDone = false;
  Dl_info self;
  if (isDone.load() || dladdr(&anchor, &self) == 0) return;
  isDone = dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL | RTLD_NODELETE) != nullptr;
}

struct CloseLibrary {
  void operator()(void* library) const { dlclose(library); }
};

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
  // Without a slash, the dynamic linker would look everywhere but in the current directory.
  const std::string location = path.find('/') == std::string::npos ? "./" + path : path;
  std::unique_ptr<void, CloseLibrary> library(
      dlopen(location.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
  LoadedModule module;
  module.library = library.get();
  if (library)
    module.function =
        reinterpret_cast<decltype(module.function)>(dlsym(library.get(), "plxFunction"));
  if (!module.function) {
    write(error, notAModule(path, linkerError()));
    return nullptr;
  }
  paModule* const handle = addHandle(module);
  (void)library.release();  // it is the handle's now
  return handle;
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
  if (void* const library = host::removeHandle(module)) dlclose(library);
}
