// What is built stands in one folder, tests included: a test finds it beside itself and is compiled alike for every
// preset, which lets the compiler's cache serve the second one.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

inline std::string built(std::string_view name) {
  return std::filesystem::read_symlink("/proc/self/exe").replace_filename(name);
}
