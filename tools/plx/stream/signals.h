// Signals that end the program, and what is cleaned up before.
#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace plx {

// From here on SIGHUP, SIGINT, SIGQUIT, SIGTERM and SIGXCPU remove the temporary files and clear the
// progress line, if there are any, and then end the program as they would have; those that were
// ignored stay so. Writing to a closed pipe or beyond a limit becomes an error of the call instead of
// a signal.
void handleSignals();

// Holds those signals back in this thread while it lives.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t before_;
};

// Marks a file to be removed when a signal comes, and takes the mark back. Called with signals held.
void removeOnSignal(const std::string& path);
void keepOnSignal(const std::string& path);

// Marks memory into which a file is mapped, and takes the mark back, while no other thread reads it. To read it
// where the file has become shorter then ends the program as an error with that message does, the temporary files
// removed, instead of by SIGBUS without a word.
void tellOnShortFile(const char* mapped, std::size_t bytes, const std::string& message);
void forgetShortFile(const char* mapped);

// Clears the line of a terminal's cursor.
inline constexpr char kClearLine[] = "\r\x1b[K";

// The terminal whose line a signal clears; -1 for none.
void clearOnSignal(int descriptor);

}  // namespace plx
