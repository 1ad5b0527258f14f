// A file that is written as a whole or not at all.
//
// The bytes go to a temporary file in the same folder, which replaces the target once all bytes are on
// the disk. Whatever ends the program before that (an error, a signal that can be caught) leaves the
// old file as it was, and no temporary file. The input may be the same file. Of several
// files, all may be prepared before the first is committed.
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace plx {

// Of a file that is changed in place.
struct InPlace {
  std::optional<std::string> backupSuffix;  // behind the name that the old file keeps
};

class OutputFile {
 public:
  // Symbolic links are followed; what they lead to is replaced. Owner, group, mode, access control
  // lists and other extended attributes stay; a new file gets what the umask or its folder's default
  // list leaves. Other hard links keep the old content. What is no regular file (a device, a pipe,
  // /dev/stdout, "-") is written to directly. Throws a Failure of Status::inputOutput where neither
  // is possible, where the file may not be written to, and where an attribute cannot be kept.
  explicit OutputFile(const std::string& path);
  // The same for a regular file that exists and is the input itself. Its backup is a hard link to the old
  // file, so with all attributes; a Failure, too, where something else has that name. To be constructed
  // before the input is read: prepare and commit throw a Failure where others have written to the input
  // since then, so that nothing written is lost.
  OutputFile(const std::string& path, const InPlace& inPlace);
  // Removes the temporary file where there was no commit.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // The path, fit to begin a message.
  const std::string& name() const { return name_; }
  // Where to write.
  int descriptor() const { return descriptor_; }

  // To be called when all bytes are written: waits until they are on the disk and closes the file, with
  // the attributes of the old one. Throws a Failure of Status::inputOutput.
  void prepare();
  // Prepares the file where that has not been done, and puts it in its place. Throws a Failure of
  // Status::inputOutput; the old file is whole then.
  void commit();

 private:
  OutputFile() = default;
  void begin(const std::string& path);
  void openTemporary();
  void keepAttributes();
  void refuseChangedInput() const;
  std::string backupPath() const;
  bool hasBackup() const;
  void keepBackup();
  [[noreturn]] void failBackup(int error) const;
  void discard();
  [[noreturn]] void fail(const char* action);

  std::string name_;       // for messages
  bool replaces_ = false;  // there was a file
  std::optional<InPlace> inPlace_;
  struct stat old_ = {};   // the file that is changed in place, before it is read
  std::string target_;     // the path without links
  std::string temporary_;  // empty where written directly
  int descriptor_ = -1;
};

}  // namespace plx
