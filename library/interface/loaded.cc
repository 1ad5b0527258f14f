#include "interface/loaded.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

#include "plx/plx.h"
#include "setting/wrong.h"

namespace plx {

namespace {

// Never destroyed: another thread may be in a call while the process ends.
std::atomic<const Module*> loaded{nullptr};
std::mutex loading;

Wrong notFound(std::string what) {
  return wrong({std::move(what), "the path of plx_datetime.so in PLX_MODULE or for plxLoad",
                Status::inputOutput, "host:ModuleNotFound"});
}

// Found from where the library stands, so that an installation can be moved as a whole.
std::string moduleBesideLibrary() {
  namespace fs = std::filesystem;
  Dl_info here;
  if (::dladdr(reinterpret_cast<const void*>(&plxSet), &here) == 0 || here.dli_fname == nullptr)
    throw notFound("the library does not know where it stands");
  std::error_code error;
  fs::path library = fs::canonical(here.dli_fname, error);
  if (error) library = fs::absolute(here.dli_fname).lexically_normal();
  const fs::path folder = library.parent_path();
  for (const fs::path& path : {folder / "plx" / PLX_MODULE_FILE, folder / PLX_MODULE_FILE})
    if (fs::exists(path, error)) return path.string();
  throw notFound("there is no module " + (folder / PLX_MODULE_FILE).string() + " nor " +
                 (folder / "plx" / PLX_MODULE_FILE).string());
}

std::string modulePath(const char* asked) {
  if (asked != nullptr) return asked;
  const char* given = std::getenv("PLX_MODULE");
  return given != nullptr && *given != '\0' ? given : moduleBesideLibrary();
}

}  // namespace

void load(const char* asked) {
  const std::lock_guard lock(loading);
  if (const Module* module = loaded.load()) {
    std::error_code error;
    if (asked == nullptr || module->path() == asked ||
        std::filesystem::equivalent(module->path(), asked, error))
      return;
    throw notFound("another module is loaded already: " + module->path());
  }
  paError error;
  paModule* handle = paLoadModule(modulePath(asked).c_str(), &error);
  if (handle == nullptr) throw Wrong{error.identifier, escapeText(error.message)};
  paUnloadModule(handle);
  paSetLocale("en_US", nullptr);
  // Other rules stay in use where these cannot be; plxVersions tells which.
  paUseZoneRules(nullptr, nullptr);
  loaded.store(new Module(modulePath(asked)));
}

const Module& loadedModule() {
  if (loaded.load(std::memory_order_acquire) == nullptr) load(nullptr);
  return *loaded.load(std::memory_order_acquire);
}

}  // namespace plx
