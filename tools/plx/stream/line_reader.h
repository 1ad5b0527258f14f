// The lines of a file or a pipe, as they come.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace plx {

// A line in the reader's buffer; lead + text + ending are its bytes.
struct Line {
  std::string_view lead;  // a byte-order mark at the start of the file
  std::string_view text;
  std::string_view ending;  // LF or CRLF; a LF also where the last line has none
  std::size_t number;       // from 1; 0 for a text that comes from no file
};

inline constexpr std::size_t kLongestLine = std::size_t{1} << 20;

class LineReader {
 public:
  // Standard input for "-". Throws a Failure of Status::inputOutput where nothing can be opened.
  explicit LineReader(const std::string& path);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  // Waits until there is a whole line, and gives all that are there by then, valid until the next
  // call. False at the end. Throws a Failure where reading fails or a line exceeds kLongestLine,
  // after the lines before it have been given.
  bool read(std::vector<Line>& lines);

  // The path, fit to begin a message.
  const std::string& name() const { return name_; }

 private:
  void takeLines(std::vector<Line>& lines);
  void makeRoom();
  void receive();

  int descriptor_;
  std::string name_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0, end_ = 0;  // what has been received and not given yet
  std::size_t searched_ = 0;         // behind begin_, and free of line ends up to here
  std::size_t number_ = 0;
  bool atEnd_ = false;
};

// "name:line", or "argument" for line 0.
std::string location(std::string_view name, std::size_t line);

}  // namespace plx
