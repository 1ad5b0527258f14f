// Runs the program plx as a person would: arguments, standard input from a file, both outputs kept.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "support/built.h"
#include "temporary_folder.h"

struct PlxResult {
  int status;  // -1 where a signal ended the program
  std::string out, err;
  long peakKilobytes;

  friend bool operator==(const PlxResult& a, const PlxResult& b) {
    return a.status == b.status && a.out == b.out && a.err == b.err;
  }
  friend std::ostream& operator<<(std::ostream& stream, const PlxResult& r) {
    return stream << "status " << r.status << "\nout: " << r.out << "\nerr: " << r.err;
  }
};

// A process that is running plx. Descriptors of -1 are closed in it.
class PlxProcess {
 public:
  PlxProcess(const std::vector<std::string>& arguments, int in, int out, int err,
             const std::string& folder = ".", const std::string& program = built("plx")) {
    std::vector<char*> argv = {const_cast<char*>("plx")};
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    id_ = ::fork();
    if (id_ != 0) return;
    ::signal(SIGPIPE, SIG_DFL);  // an ignored one would be inherited
    const int from[] = {in, out, err};
    for (int to = 0; to < 3; ++to) {
      if (from[to] < 0) {
        ::close(to);
      } else {
        ::dup2(from[to], to);
      }
    }
    if (::chdir(folder.c_str()) != 0) ::_exit(126);
    ::execv(program.c_str(), argv.data());
    ::_exit(127);
  }
  // Waits for the end.
  PlxResult wait() {
    int status = 0;
    struct rusage usage = {};
    ::wait4(id_, &status, 0, &usage);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, "", "", usage.ru_maxrss};
  }

 private:
  pid_t id_;
};

// In `folder`, which the names of files among the arguments begin at.
inline PlxResult runPlxIn(const std::string& folder, const std::vector<std::string>& arguments,
                          std::string_view input = "", const std::string& program = built("plx")) {
  const TemporaryFolder files;
  const int in = ::open(files.write("in", input).c_str(), O_RDONLY | O_CLOEXEC);
  const int out = ::open(files.write("out", "").c_str(), O_WRONLY | O_CLOEXEC);
  const int err = ::open(files.write("err", "").c_str(), O_WRONLY | O_CLOEXEC);
  PlxResult result = PlxProcess(arguments, in, out, err, folder, program).wait();
  for (const int descriptor : {in, out, err}) ::close(descriptor);
  result.out = files.read("out");
  result.err = files.read("err");
  return result;
}

inline PlxResult runPlx(const std::vector<std::string>& arguments, std::string_view input = "") {
  return runPlxIn(".", arguments, input);
}

// Seconds to wait for what has to come. A machine that has other work may leave a program without a processor for long;
// only a test that fails waits so.
inline constexpr int kPatience = 120;

// Whether something comes, or the end.
inline bool waitFor(int descriptor) {
  struct pollfd polled = {descriptor, POLLIN, 0};
  return ::poll(&polled, 1, kPatience * 1000) == 1;
}

// What comes, up to a line end.
inline std::string readLine(int descriptor) {
  std::string line;
  char c = 0;
  while (waitFor(descriptor) && ::read(descriptor, &c, 1) == 1) {
    line += c;
    if (c == '\n') break;
  }
  return line;
}

// The words of a command line without quotes.
inline std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> result;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    if (end > 0) result.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return result;
}
