// A file that is written as a whole or not at all.
//
// The bytes go to a temporary file in the same folder, which takes the target's place when all are
// there and on the disk. Whatever ends the program before that (an error, a signal that can be
// caught) leaves the old file as it was and no temporary. The input may be the same file.
#pragma once

#include <string>

namespace plx {

class OutputFile {
 public:
  // Symbolic links are followed; what they lead to is replaced. Owner, group, mode, access control
  // lists and other extended attributes stay; a new file gets what the umask or its folder's default
  // list leaves. Other hard links keep the old content. What is no regular file (a device, a pipe,
  // /dev/stdout, "-") is written to directly. Throws a Failure of Status::inputOutput where that
  // cannot be, where the file may not be written to, and where it has what cannot be kept.
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
  OutputFile() = default;
  void openTemporary();
  void keepAttributes();
  void discard();
  [[noreturn]] void fail(const char* action);

  std::string name_;       // for messages
  bool replaces_ = false;  // there was a file
  std::string target_;     // the path without links
  std::string temporary_;  // empty where written directly
  int descriptor_ = -1;
};

}  // namespace plx
