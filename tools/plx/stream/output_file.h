// A file that is written as a whole or not at all.
//
// The bytes go to a temporary file in the same folder, which takes the target's place when all are
// there and on the disk. Whatever ends the program before that (an error, a signal that can be
// caught) leaves the old file as it was and no temporary. The input may be the same file.
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace plx {

class OutputFile {
 public:
  // Symbolic links are followed; what they lead to is replaced. Permissions stay, and the owner
  // where that is allowed; a new file gets what the umask leaves. Other hard links keep the old
  // content. What is no regular file (a device, a pipe, /dev/stdout, "-") is written to directly.
  // Throws a Failure of Status::inputOutput where that cannot be, or the file may not be written to.
  explicit OutputFile(const std::string& path);
  // Without a commit, the temporary file goes.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // The path, fit to begin a message.
  const std::string& name() const { return name_; }
  // Where to write.
  int descriptor() const { return descriptor_; }

  // Puts the file in its place. Throws a Failure of Status::inputOutput; the old file then is whole.
  void commit();

 private:
  void openTemporary();
  void discard();
  [[noreturn]] void fail(const char* action);

  std::string name_;                // for messages
  std::optional<struct stat> old_;  // what the target was
  std::string target_;              // the path without links
  std::string temporary_;           // empty where written directly
  int descriptor_ = -1;
};

}  // namespace plx
