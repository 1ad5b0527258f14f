// Which module the library loads, and what it tells where there is none: each time in a process of its own, since
// what was loaded once stays.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "library/setting/support.h"
#include "plx/plx.h"
#include "support/built.h"
#include "support/cases.h"
#include "tools/support/temporary_folder.h"
#include "tools/support/zone_files.h"

namespace {

namespace fs = std::filesystem;
using testing::ExitedWithCode;
using testing::HasSubstr;

constexpr const char* kModule = "plx_datetime.so";
constexpr const char* kAccepted =
    "; accepted: the path of plx_datetime.so in PLX_MODULE or for plxLoad\n";

template <class Function>
Function* functionOf(void* library, const char* name) {
  return reinterpret_cast<Function*>(::dlsym(library, name));
}

// Loads modules one after the other, null being the one of the environment or beside the library; writes what each
// call tells on standard error, and which module is there in the end.
[[noreturn]] void load(const std::string& path, const std::vector<const char*>& modules) {
  void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", ::dlerror());
    std::exit(2);
  }
  auto* const loadModule = functionOf<decltype(plxLoad)>(library, "plxLoad");
  auto* const versionsOf = functionOf<decltype(plxVersions)>(library, "plxVersions");
  plxError error;
  for (const char* module : modules) {
    const int status = loadModule(module, &error);
    std::fprintf(stderr, "%s\n", told(status, error).c_str());
  }
  plxVersionTexts versions{};
  const bool isLoaded = versionsOf(&versions, &error) == 0;
  std::fprintf(stderr, "%s\n", isLoaded ? versions.module : "none");
  std::exit(0);
}

// Writes the release of the time-zone rules that are in use, as the library's first call tells it.
[[noreturn]] void tellRules() {
  void* const library = ::dlopen(built("libplx.so.1").c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) std::exit(2);
  plxVersionTexts versions{};
  plxError error;
  const int status = functionOf<decltype(plxVersions)>(library, "plxVersions")(&versions, &error);
  std::fprintf(stderr, "%s\n", status == 0 ? versions.rules : error.message);
  std::exit(0);
}

// A copy of the library in a folder of its own.
std::string copyOfLibrary(const TemporaryFolder& folder) {
  fs::copy_file(built("libplx.so.1"), folder.path("libplx.so.1"));
  fs::create_symlink(built("libplx_host.so.1"), folder.path("libplx_host.so.1"));
  return fs::canonical(folder.path("libplx.so.1")).string();
}

std::string notFound(const std::string& what) {
  return "Pelmor:host:ModuleNotFound: " + what + kAccepted;
}

TEST(Load, TheModuleOfTheEnvironmentOrBesideTheLibrary) {
  const std::string library = built("libplx.so.1"), module = built(kModule);
  ::unsetenv("PLX_MODULE");
  EXPECT_EXIT(load(library, {nullptr, nullptr}), ExitedWithCode(0), "\n\n" + module + "\n$");
  ::setenv("PLX_MODULE", "", 1);
  EXPECT_EXIT(load(library, {nullptr}), ExitedWithCode(0), "\n" + module + "\n$") << "as if unset";
  ::setenv("PLX_MODULE", "/none/plx_datetime.so", 1);
  EXPECT_EXIT(load(library, {nullptr}), ExitedWithCode(0),
              HasSubstr("Pelmor:host:ModuleNotFound: "));
  EXPECT_EXIT(load(library, {nullptr}), ExitedWithCode(0), HasSubstr("/none/plx_datetime.so"));
  EXPECT_EXIT(load(library, {nullptr, module.c_str()}), ExitedWithCode(0),
              testing::EndsWith("\n" + module + "\n"))
      << "an attempt that failed prevents none";
  ::unsetenv("PLX_MODULE");
}

TEST(Load, OneModuleForTheProcess) {
  const std::string library = built("libplx.so.1"), module = built(kModule);
  EXPECT_EXIT(load(library, {module.c_str(), module.c_str(), nullptr}), ExitedWithCode(0),
              "^\n\n\n" + module + "\n$");
  const std::string detour = fs::path(built(".")).parent_path() / ".." / "bin" / kModule;
  EXPECT_EXIT(load(library, {nullptr, detour.c_str()}), ExitedWithCode(0), "^\n\n" + module + "\n$")
      << "the same file by another path";
  EXPECT_EXIT(load(library, {nullptr, "/none/plx_datetime.so"}), ExitedWithCode(0),
              "\n" + notFound("another module is loaded already: " + module) + module + "\n$");
}

// Telling which rules there are would otherwise settle that they are ICU's own.
TEST(Load, VersionsAreThoseOfTheRulesThatAreConverted) {
  const TemporaryFolder folder;
  folder.write("tzdata.zi", "# version 2099z\n");
  fs::create_directory(folder.path("Europe"));
  folder.write("Europe/Berlin", zoneFile(3 * 3600, {}));
  const std::string update = "'" + built("plx") + "' rules update --from '" + folder.path("") +
                             "' --to '" + folder.path("data/plx/rules") + "' > /dev/null";
  ::unsetenv("ICU_TIMEZONE_FILES_DIR");
  ::setenv("XDG_DATA_HOME", folder.path("data").c_str(), 1);
  ASSERT_EQ(std::system(update.c_str()), 0);
  EXPECT_EXIT(tellRules(), ExitedWithCode(0), "^2099z\n$");
  ::unsetenv("XDG_DATA_HOME");
  ::setenv("ICU_TIMEZONE_FILES_DIR", "/nowhere", 1);
}

TEST(Load, NoModule) {
  const TemporaryFolder folder;
  const std::string library = copyOfLibrary(folder);
  const fs::path at = fs::path(library).parent_path();
  const std::string beside = at / kModule, within = at / "plx" / kModule;
  EXPECT_EXIT(load(library, {nullptr}), ExitedWithCode(0),
              "^" + notFound("there is no module " + beside + " nor " + within) + "none\n$");
  folder.write(kModule, "no module");
  EXPECT_EXIT(load(library, {nullptr}), ExitedWithCode(0), HasSubstr("Pelmor:host:NotAModule: "));
  // The folder plx comes first.
  fs::create_directory(at / "plx");
  fs::create_symlink(built(kModule), within);
  EXPECT_EXIT(load(library, {nullptr}), ExitedWithCode(0), "^\n" + within + "\n$");
}

// A path that is told with escapes is longer than what the host tells of it; it is cut between characters.
TEST(Load, LongMessagesAreCutBetweenCharacters) {
  Cases cases(2);
  for (const char* start : {"/", "/a"}) {
    std::string path = start + std::string(200, '\x01');
    for (int i = 0; i < 300; ++i) path += "\xC3\xBC";
    EXPECT_EXIT(load(built("libplx.so.1"), {path.c_str()}), ExitedWithCode(0),
                "\xC3\xBC\n" + built(kModule) + "\n$");
    ++cases;
  }
}

}  // namespace
