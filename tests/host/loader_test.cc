// Loading modules, and refusing what is none before anything of it runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "host/support.h"
#include "support/built.h"
#include "support/cases.h"
#include "support/lines_of.h"
#include "support/proc_files.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct Refusal {
  std::string identifier, message;
};

Refusal refusalOf(const char* path) {
  paError error = {"unset", "unset"};
  const ModulePtr module(paLoadModule(path, &error));
  EXPECT_FALSE(module) << (path ? path : "null");
  EXPECT_EQ(paLoadModule(path, nullptr), nullptr) << "the details are optional";
  return {error.identifier, error.message};
}

// A folder of its own, gone at the end.
class Loader : public testing::Test {
 protected:
  Loader() {
    std::string name = (fs::temp_directory_path() / "plx_loader_XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("mkdtemp");
    folder_ = name;
  }
  ~Loader() override { fs::remove_all(folder_); }

  std::string write(const std::string& name, const std::string& bytes) const {
    const std::string path = folder_ / name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }

  fs::path folder_;
};

std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST_F(Loader, LoadsAModuleAndGivesItBack) {
  paError error = {"unset", "unset"};
  const ModulePtr module(paLoadModule(built("host_actions_module.so").c_str(), &error));
  ASSERT_TRUE(module);
  EXPECT_STREQ(error.identifier, "");
  EXPECT_STREQ(error.message, "");
  const ModulePtr again(paLoadModule(built("host_actions_module.so").c_str(), nullptr));
  EXPECT_TRUE(again);
  EXPECT_NE(again, module) << "a handle for each load";
  paUnloadModule(nullptr);
}

// The second time it may not close what others have loaded, nor be freed again.
TEST_F(Loader, GivingBackTwiceIsIgnored) {
  const ModulePtr other = loadModule(built("host_actions_module.so"));
  paModule* const module = paLoadModule(built("host_actions_module.so").c_str(), nullptr);
  ASSERT_NE(module, nullptr);
  paUnloadModule(module);
  paUnloadModule(module);
  int noHandle = 0;
  paUnloadModule(reinterpret_cast<paModule*>(&noHandle));
  EXPECT_EQ(call(other.get(), scalar(Action::countArguments)).result, 0);
  EXPECT_TRUE(loadModule(built("host_actions_module.so")));
}

// An error and no fault, also where other modules were loaded since, and for what never was a handle.
TEST_F(Loader, AHandleThatWasGivenBackIsRefused) {
  constexpr int kLoads = 200;
  Cases cases(2 * kLoads + 6);
  std::vector<paModule*> given;
  const auto isRefused = [&](paModule* module) {
    const Outcome outcome = call(module, scalar(Action::countArguments));
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.identifier(), "Pelmor:host:InvalidArgument");
    EXPECT_THAT(outcome.message(), HasSubstr("loaded and not given back"));
    EXPECT_FALSE(outcome.output);
    ++cases;
  };
  for (int i = 0; i < kLoads; ++i) {
    paModule* const module = paLoadModule(built("host_actions_module.so").c_str(), nullptr);
    EXPECT_THAT(given, testing::Not(testing::Contains(module))) << "a handle comes once";
    EXPECT_EQ(call(module, scalar(Action::countArguments)).result, 0);
    paUnloadModule(module);
    isRefused(module);
    given.push_back(module);
  }
  const ModulePtr alive = loadModule(built("host_actions_module.so"));
  for (paModule* const module : given) {
    isRefused(module);
    paUnloadModule(module);
  }
  EXPECT_EQ(call(alive.get(), scalar(Action::countArguments)).result, 0)
      << "not given back by them";
  const ArrayPtr array = scalar(0.0);
  for (const auto bits : {std::uintptr_t{0}, std::uintptr_t{1}, std::uintptr_t{3}, UINTPTR_MAX,
                          UINTPTR_MAX - 1, reinterpret_cast<std::uintptr_t>(array.get())})
    isRefused(reinterpret_cast<paModule*>(bits));
}

// In any order and from the middle of many, each twice; the others still work.
TEST_F(Loader, ManyHandlesAtOnce) {
  Cases cases(300);
  std::vector<paModule*> modules(300);
  for (paModule*& module : modules)
    module = paLoadModule(built("host_actions_module.so").c_str(), nullptr);
  std::shuffle(modules.begin(), modules.end(), std::mt19937(1));
  while (!modules.empty()) {
    EXPECT_EQ(call(modules.back(), scalar(Action::countArguments)).result, 0);
    paUnloadModule(modules.front());
    paUnloadModule(modules.front());
    modules.erase(modules.begin());
    ++cases;
  }
}

TEST_F(Loader, AModuleStaysMappedWhenItIsGivenBack) {
  if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
  const auto mapped = [] {
    return bytesOf("/proc/self/maps").find("host_actions_module") != std::string::npos;
  };
  loadModule(built("host_actions_module.so")).reset();
  EXPECT_TRUE(mapped()) << "its exceptions and caches may be in use";
}

TEST_F(Loader, APathWithoutASlashIsInTheCurrentDirectory) {
  const fs::path before = fs::current_path();
  fs::current_path(fs::path(built("host_actions_module.so")).parent_path());
  EXPECT_TRUE(loadModule(fs::path(built("host_actions_module.so")).filename()));
  fs::current_path(folder_);
  EXPECT_EQ(refusalOf("libc.so.6").identifier, "Pelmor:host:ModuleNotFound")
      << "not looked for where libraries are";
  fs::current_path(before);
}

TEST_F(Loader, FilesThatAreNotThere) {
  const std::string missing = folder_ / "missing.so";
  const Refusal refusal = refusalOf(missing.c_str());
  EXPECT_EQ(refusal.identifier, "Pelmor:host:ModuleNotFound");
  EXPECT_THAT(refusal.message, HasSubstr(missing));
  EXPECT_THAT(refusal.message, HasSubstr("No such file"));
  EXPECT_EQ(refusalOf("").identifier, "Pelmor:host:ModuleNotFound");
  EXPECT_EQ(refusalOf(folder_.c_str()).identifier, "Pelmor:host:ModuleNotFound") << "a folder";
  const std::string pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(refusalOf(pipe.c_str()).identifier, "Pelmor:host:ModuleNotFound")
      << "a pipe would be waited for";
  EXPECT_EQ(refusalOf(nullptr).identifier, "Pelmor:host:InvalidArgument");
}

TEST_F(Loader, FilesThatAreNoLibraries) {
  const struct {
    const char* name;
    std::string bytes;
  } rows[] = {
      {"empty.so", ""},
      {"text.so", "This is no library.\n"},
      {"magic.so",
       "\x7F"
       "ELF"},
      {"short.so", bytesOf(built("host_actions_module.so")).substr(0, 63)},
      {"zeros.so", std::string(100000, '\0')},
  };
  for (const auto& row : rows) {
    const std::string path = write(row.name, row.bytes);
    const Refusal refusal = refusalOf(path.c_str());
    EXPECT_EQ(refusal.identifier, "Pelmor:host:NotAModule") << row.name;
    EXPECT_THAT(refusal.message, HasSubstr(path));
  }
}

TEST_F(Loader, AFileCutShortAnywhereIsRefused) {
  const std::string whole = bytesOf(built("host_actions_module.so"));
  Cases cases(40);
  for (std::size_t part = 0; part < 40; ++part) {
    const std::string path =
        write("cut" + std::to_string(part) + ".so", whole.substr(0, whole.size() * part / 40));
    EXPECT_EQ(refusalOf(path.c_str()).identifier, "Pelmor:host:NotAModule") << part << " of 40";
    fs::remove(path);
    ++cases;
  }
}

// The tables at the end of a file may be whole although a part that is to be mapped is not.
TEST_F(Loader, ASegmentPastTheEndIsRefused) {
  std::string bytes = bytesOf(built("host_actions_module.so"));
  ElfW(Ehdr) header;
  std::memcpy(&header, bytes.data(), sizeof header);
  Cases cases(2);
  for (unsigned i = 0; i < header.e_phnum; ++i) {
    const std::size_t at = header.e_phoff + i * sizeof(ElfW(Phdr));
    ElfW(Phdr) segment;
    std::memcpy(&segment, &bytes[at], sizeof segment);
    if (segment.p_type != PT_LOAD) continue;
    std::string longer = bytes;
    segment.p_filesz = segment.p_memsz = bytes.size() - segment.p_offset + 1;
    std::memcpy(&longer[at], &segment, sizeof segment);
    const Refusal refusal = refusalOf(write("longer.so", longer).c_str());
    EXPECT_EQ(refusal.identifier, "Pelmor:host:NotAModule");
    EXPECT_THAT(refusal.message, HasSubstr("damaged or cut short")) << "segment " << i;
    ++cases;
  }
}

// Headers of random bytes: nothing may be read past the file. The module they belong to could not
// be bound even where the damage does no harm.
TEST_F(Loader, DamagedHeadersAreRefused) {
  constexpr unsigned kSeed = 20140510;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  std::mt19937 random(kSeed);
  const std::string whole = bytesOf(built("host_other_version_module.so"));
  Cases cases(2000);
  for (int round = 0; round < 2000; ++round) {
    std::string bytes = whole;
    // The places and sizes of the program and the section headers.
    for (const std::size_t at : {32 + random() % 16, 54 + random() % 10, random() % bytes.size()})
      bytes[at] = static_cast<char>(random());
    const std::string path = write("damaged.so", bytes);
    const std::string identifier = refusalOf(path.c_str()).identifier;
    EXPECT_TRUE(identifier == "Pelmor:host:NotAModule" ||
                identifier == "Pelmor:host:WrongInterface")
        << round << ": " << identifier;
    ++cases;
  }
}

TEST_F(Loader, ALibraryWithoutTheEntryPointIsRefusedUnrun) {
  const Refusal refusal = refusalOf(built("host_no_entry_module.so").c_str());
  EXPECT_EQ(refusal.identifier, "Pelmor:host:NotAModule");
  EXPECT_THAT(refusal.message, HasSubstr("does not export plxFunction"));
  EXPECT_EQ(std::getenv("PLX_TEST_NO_ENTRY_RAN"), nullptr) << "nothing of it ran";
}

TEST_F(Loader, AnotherVersionIsRefusedUnrunAndNamed) {
  const Refusal refusal = refusalOf(built("host_other_version_module.so").c_str());
  EXPECT_EQ(refusal.identifier, "Pelmor:host:WrongInterface");
  EXPECT_THAT(refusal.message, HasSubstr("version 2 "));
  EXPECT_THAT(refusal.message, HasSubstr("version 1."));
  EXPECT_THAT(refusal.message, HasSubstr(built("host_other_version_module.so")));
  EXPECT_EQ(std::getenv("PLX_TEST_OTHER_VERSION_RAN"), nullptr) << "nothing of it ran";
}

// Otherwise a module of any version would pass.
TEST(Interface, TheReferenceToTheVersionOutlivesTheLinkersCollection) {
  int references = 0;
  for (const auto& line :
       linesOf("nm -D --undefined-only '" + built("host_collected_module.so") + "'"))
    references += line.ends_with(" paHostInterface_1");
  EXPECT_EQ(references, 1);
}

TEST_F(Loader, AnUnmetNeedIsRefusedUnrunAndNamed) {
  const Refusal refusal = refusalOf(built("host_unmet_need_module.so").c_str());
  EXPECT_EQ(refusal.identifier, "Pelmor:host:NotAModule");
  EXPECT_THAT(refusal.message, HasSubstr("plxNowhereFunction"));
  EXPECT_EQ(std::getenv("PLX_TEST_UNMET_NEED_RAN"), nullptr) << "bound at once or not at all";
}

TEST_F(Loader, TheHostItselfIsNoModule) {
  const Refusal refusal = refusalOf(built("libplx_host.so").c_str());
  EXPECT_EQ(refusal.identifier, "Pelmor:host:NotAModule");
}

TEST_F(Loader, LongTextsAreCutOnAWholeCharacter) {
  // Each length of the path's start moves the cut by a byte, through the three of each character.
  Cases cases(6);
  for (std::size_t shift = 0; shift < 6; ++shift) {
    std::string path(shift, 'x');
    for (int i = 0; i < 600; ++i) path += "\xE2\x82\xAC";
    const Refusal refusal = refusalOf(path.c_str());
    EXPECT_EQ(refusal.identifier, "Pelmor:host:ModuleNotFound");
    EXPECT_LE(refusal.message.size(), 1023u);
    EXPECT_GE(refusal.message.size(), 1021u);
    EXPECT_EQ(refusal.message.substr(refusal.message.size() - 3), "\xE2\x82\xAC") << shift;
    ++cases;
  }
}

}  // namespace
