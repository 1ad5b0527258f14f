// A folder of its own for a test, gone when the test is.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "plx-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
      throw std::runtime_error(name + ": " + std::strerror(errno));
    folder_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string path(const std::string& name) const { return (folder_ / name).string(); }

  std::string write(const std::string& name, std::string_view bytes) const {
    std::ofstream file(path(name), std::ios::binary);
    file << bytes;
    file.close();
    if (!file) throw std::runtime_error(path(name) + ": cannot write: " + std::strerror(errno));
    return path(name);
  }
  std::string read(const std::string& name) const {
    std::ostringstream bytes;
    bytes << std::ifstream(path(name), std::ios::binary).rdbuf();
    return bytes.str();
  }

 private:
  std::filesystem::path folder_;
};
