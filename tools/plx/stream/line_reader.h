// The lines of a file or a pipe, as they come.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "messages/message.h"
#include "stream/chunk.h"
#include "stream/chunk_reader.h"
#include "stream/source.h"

namespace plx {

// A line in a buffer; lead + text + ending are its bytes.
struct Line {
  std::string_view lead;  // a byte-order mark at the start of the file
  std::string_view text;
  std::string_view ending;  // LF or CRLF; a LF also where the last line has none
  std::size_t number;       // from 1; 0 for a text that comes from no file
};

// The longest text of a line, in bytes, where no other limit is given.
inline constexpr std::size_t kLongestLine = std::size_t{1} << 20;
// What a line has beside its text at most: a byte-order mark and a line end.
inline constexpr std::size_t kAroundLine = 5;

class LineReader {
 public:
  // Standard input for "-". Throws a Failure of Status::inputOutput where nothing can be opened.
  explicit LineReader(const std::string& path);

  // Waits for a whole line, and gives all lines that are there by then, valid until the next
  // call. False at the end. Throws a Failure where reading fails or a line exceeds kLongestLine,
  // after the lines before it have been given.
  bool read(std::vector<Line>& lines);

  // The path, fit to begin a message.
  const std::string& name() const { return source_.name(); }

 private:
  Source source_;
  ChunkReader reader_;
  Chunk chunk_;
};

// A line of a chunk at `begin`, up to its line end or to the end of the chunk.
Line lineAt(const Chunk& chunk, std::size_t begin, std::size_t number);

// A line of more bytes than a line may have.
Failure lineTooLong(std::string_view name, const Line& line, std::size_t longest);

// "name:line:1", where the 1 is the line's first character, or "argument" for line 0.
std::string location(std::string_view name, std::size_t line);

}  // namespace plx
