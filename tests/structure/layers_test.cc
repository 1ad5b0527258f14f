// Who may include whom, and what the module's code may not do: read from the sources.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "support/cases.h"

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = PLX_SOURCE_DIR;

struct Layer {
  const char* files;    // what it holds for; the first layer that matches a path counts
  const char* allowed;  // what its files may include, beside the standard library
  const char* alsoAllowed = "";
};

// What is known of numbers, components and zones' offsets; the module and programs beside it share it.
constexpr const char* kKnowledge =
    "arith/.*|base/(calendar_limits|component|wall_setting)\\.h|offsets/.*|"
    "unzoned/(components|leap_seconds)\\.h";

// Standard headers have no slash in their names; those of the system are named where they may be
// used.
const Layer kLayers[] = {
    {"include/host/.*", "host/.*|boost/.*"},
    {"include/plx/.*", "host/components\\.h"},
    // The module, from the foundations up.
    {"src/arith/.*", "arith/.*"},
    // What is known of components is plain numbers; ICU and the host meet it in files of their own.
    {"src/base/field_codes\\.h", "base/.*|unicode/ucal\\.h"},
    {"src/base/(raise|elements_of)\\.h", "base/.*|host/.*"},
    {"src/base/.*", "arith/.*|base/.*"},
    {"src/dispatch/.*", "dispatch/.*|hwy/.*"},
    {"src/icu/.*", "base/(calendar_limits|raise)\\.h|icu/.*|host/.*|unicode/.*|boost/.*"},
    // Programs beside the module use it too: it knows no host, and raises nothing.
    {"src/offsets/.*",
     "arith/.*|base/(calendar_limits|found_once)\\.h|icu/memory\\.h|offsets/.*|unicode/.*"},
    {"src/unzoned/(components|leap_seconds)\\..*",
     "arith/.*|unzoned/(components|leap_seconds)\\.h"},
    {"src/unzoned/set_field_utc\\..*", "base/.*|unzoned/.*|host/.*|unicode/ucal\\.h"},
    {"src/unzoned/.*",
     "arith/.*|base/(component|elements|found_once)\\.h|dispatch/.*|unzoned/.*|hwy/.*"},
    // Of its neighbour it has the vectors, not what is done with them.
    {"src/zoned/.*",
     "arith/.*|base/.*|dispatch/.*|icu/.*|offsets/.*|zoned/.*|host/.*|unicode/.*|"
     "unzoned/(lane_constants|lane_pairs-inl|lane_components-inl)\\.h"},
    {"src/timezone/.*",
     "base/raise\\.h|icu/.*|offsets/remembered_zones\\.h|timezone/.*|host/.*|unicode/.*|boost/.*"},
    {"src/entry/default_float_environment\\.h", ""},
    {"src/entry/plx_function\\.cc",
     "entry/(arguments|default_float_environment)\\.h|icu/.*|timezone/(time_zone|zone_key)\\.h|"
     "unzoned/set_field_utc\\.h|zoned/(calendar|set_field)\\.h|host/module\\.h"},
    {"src/entry/.*", "base/.*|entry/.*|host/.*"},
    {"library/zones/(rules_file|yearly_rule)\\..*", "zones/(rules_file|yearly_rule)\\.h"},
    {"library/zones/.*", "zones/.*|unicode/.*|sys/.*"},
    // The host. Of library/ it knows the file of converted rules alone, which it checks and hands to ICU.
    {"host/.*", "host/.*|zones/rules_file\\.h|unicode/.*|boost/.*|sys/(mman|stat)\\.h|[a-z_]+\\.h"},
    // libplx: messages; datetimes; elements, and what looks at datetimes; the module, and setting through
    // it; the functions. Of the module it has what is known without a host (kKnowledge), and nothing
    // else.
    {"library/messages/.*", "messages/.*|unicode/.*|fmt/.*"},
    // A zone's file tells when it was changed.
    {"library/datetime/rules_in_use\\..*",
     "messages/.*|datetime/.*|zones/.*|unicode/.*|fmt/.*|sys/stat\\.h", kKnowledge},
    {"library/datetime/.*",
     "(messages|datetime)/.*|zones/.*|unicode/.*|fmt/.*|boost/multiprecision/.*", kKnowledge},
    {"library/elements/.*", "(messages|datetime|elements)/.*|fmt/.*", kKnowledge},
    {"library/inspect/.*", "(messages|datetime|inspect)/.*|zones/.*|unicode/.*|fmt/.*", kKnowledge},
    {"library/module/.*", "(messages|module)/.*|host/.*|unicode/.*|fmt/.*", kKnowledge},
    {"library/setting/.*",
     "(messages|datetime|elements|inspect|module|setting)/.*|host/.*|plx/plx\\.h|fmt/.*",
     kKnowledge},
    {"library/interface/.*",
     "(messages|datetime|elements|inspect|module|setting|interface)/.*|host/.*|plx/plx\\.h|fmt/.*",
     kKnowledge},
    // Of the command line: streams; then tables and arrays; what sets them; the commands.
    {"tools/plx/stream/.*", "(messages|stream)/.*|fmt/.*|sys/.*"},
    {"tools/plx/json/.*", "(messages|datetime|json)/.*|fmt/.*|simdjson\\.h"},
    {"tools/plx/(table|npy)/.*",
     "(messages|datetime|elements|stream|json|table|npy)/.*|fmt/.*|sys/.*|pcre2\\.h", kKnowledge},
    {"tools/plx/set/.*",
     "(messages|datetime|elements|inspect|module|setting|stream|json|table|npy|set)/.*|host/"
     ".*|unicode/"
     ".*|fmt/.*",
     kKnowledge},
    {"tools/plx/(main\\.cc|command/.*)",
     "(messages|datetime|elements|inspect|module|setting|stream|json|table|npy|set|command)/"
     ".*|zones/"
     ".*|host/.*|"
     "unicode/.*|CLI/.*|fmt/.*|sys/.*",
     kKnowledge},
};

bool isSource(const fs::path& path) {
  return path.extension() == ".h" || path.extension() == ".cc" || path.extension() == ".c";
}

std::vector<fs::path> sourcesBelow(const char* folder) {
  std::vector<fs::path> all;
  for (const auto& entry : fs::recursive_directory_iterator(kRoot / folder)) {
    if (entry.is_regular_file() && isSource(entry.path())) all.push_back(entry.path());
  }
  return all;
}

std::vector<std::string> linesOf(const fs::path& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

std::string allowedFor(const std::string& path) {
  for (const Layer& layer : kLayers) {
    if (std::regex_match(path, std::regex(layer.files)))
      return std::string(layer.allowed) + '|' + layer.alsoAllowed;
  }
  ADD_FAILURE() << path << " belongs to no layer: name its layer here";
  return "";
}

TEST(Layers, IncludesStayWithinThem) {
  Cases cases(100);
  const std::regex include(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"].*)");
  for (const char* folder : {"include", "src", "host", "library", "tools"}) {
    for (const fs::path& path : sourcesBelow(folder)) {
      const std::string name = fs::relative(path, kRoot).generic_string();
      const std::regex allowed(allowedFor(name));
      for (const std::string& line : linesOf(path)) {
        std::smatch match;
        if (!std::regex_match(line, match, include)) continue;
        const std::string header = match[2];
        const bool isStandard = match[1] == "<" && header.find('/') == std::string::npos;
        if (!isStandard) {
          EXPECT_TRUE(std::regex_match(header, allowed)) << name << " may not include " << header;
        }
        ++cases;
      }
    }
  }
}

// The module prints nothing, reads no environment, starts no thread and catches nothing but what
// the host's comparison of names may throw, and a lack of memory for what it would remember; it throws
// in raise(), and where ICU has no memory.
TEST(Layers, WhatTheModuleDoesNotDo) {
  Cases cases(1000);
  const std::regex forbidden(
      R"(.*\b(printf|puts|cout|cerr|getenv|setlocale|thread|async|catch|throw)\b.*)");
  const std::regex allowed(
      R"(.*(\bthrow error;|\bthrow std::bad_alloc\(\);|catch \(\.\.\.\) \{|catch \(const std::bad_alloc&\) \{|<boost/thread/once\.hpp>).*)");
  int catches = 0, throws = 0;
  for (const fs::path& path : sourcesBelow("src")) {
    const std::string name = fs::relative(path, kRoot).generic_string();
    for (std::string line : linesOf(path)) {
      ++cases;
      line = line.substr(0, line.find("//"));
      if (!std::regex_match(line, std::regex(forbidden))) continue;
      EXPECT_TRUE(std::regex_match(line, allowed)) << name << ": " << line;
      catches += line.find("catch (") != std::string::npos;
      throws += line.find("throw error;") != std::string::npos;
    }
  }
  EXPECT_EQ(catches, 3);
  EXPECT_EQ(throws, 1);
}

// What depends on rounding says so in its flags: no file of the build turns value-changing options
// on.
TEST(Layers, NoValueChangingOptions) {
  Cases cases(5);
  for (const auto& entry : fs::recursive_directory_iterator(kRoot)) {
    const std::string name = fs::relative(entry.path(), kRoot).generic_string();
    if (name.rfind("build", 0) == 0 || name.rfind(".git", 0) == 0) continue;
    if (entry.path().filename() != "CMakeLists.txt" && entry.path().extension() != ".cmake" &&
        entry.path().filename() != "CMakePresets.json") {
      continue;
    }
    ++cases;
    for (const std::string& line : linesOf(entry.path())) {
      for (const char* option : {"-ffast-math", "-Ofast", "-funsafe-math", "-fassociative-math",
                                 "-freciprocal-math", "-ffinite-math", "-mfpmath"}) {
        EXPECT_EQ(line.find(option), std::string::npos) << name << ": " << line;
      }
    }
  }
}

}  // namespace
