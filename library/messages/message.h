// What goes wrong, and how it is told: one line on standard error and an exit status.
#pragma once

#include <string>
#include <string_view>

namespace plx {

enum class Status : int {
  done = 0,
  badData = 1,      // a text that is no datetime, a value that is none, a result out of range
  usage = 2,        // options and arguments that make no sense
  unknownName = 3,  // an unknown component or time zone
  inputOutput = 4,  // reading, writing or loading the module failed
};

// Ends the run. The message is one line without "plx: " before it; empty where nobody is left to
// read one.
struct Failure {
  Status status;
  std::string message;
};

// What is wrong with a text, and what would be right.
struct Complaint {
  std::string what;
  std::string_view accepted;  // of static storage
  Status status = Status::badData;
  std::string_view identifier =
      {};                // one of identifiers.h, where callers of the library may read it
  bool endsRun = false;  // whatever is asked to become of a wrong text
};

// A text in double quotes, fit for one line of a terminal: control characters and bytes that are no
// UTF-8 are escaped, and a text longer than 100 bytes is cut. quoteText("a\tb") is "a\tb" with a
// backslash and a t.
std::string quoteText(std::string_view text);

// The same for a file name that begins a message, without the quotes, but around an empty one, and never cut.
std::string escapeText(std::string_view text);

// "where: what is wrong: "text"; accepted: what is accepted".
std::string describe(std::string_view where, const Complaint& complaint, std::string_view text);

}  // namespace plx
