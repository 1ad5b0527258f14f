#include "stream/line_reader.h"

#include <fmt/format.h>

#include <utility>

namespace plx {

namespace {

// Characters that a message shows of a line that is too long: it is refused before its end is known.
constexpr std::size_t kShownOfLongLine = 60;

std::string_view endingOf(std::string_view line) {
  if (line.ends_with("\r\n")) return line.substr(line.size() - 2);
  if (line.ends_with('\n')) return line.substr(line.size() - 1);
  return line.substr(line.size());
}

}  // namespace

// So a line that is too long is the first of its chunk, and those before it have been given.
static_assert(kLongestLine >= kFileChunk);

LineReader::LineReader(const std::string& path)
    : source_(path), reader_(source_, false, kLongestLine + kAroundLine) {}

bool LineReader::read(std::vector<Line>& lines) {
  lines.clear();
  if (!reader_.read(chunk_)) return false;
  std::size_t number = chunk_.line;
  for (std::size_t at = 0; at < chunk_.size;) {
    const Line line = lineAt(chunk_, at, number++);
    if (line.text.size() > kLongestLine) throw lineTooLong(name(), line, kLongestLine);
    at += line.lead.size() + line.text.size() + line.ending.size();
    lines.push_back(line);
    // Only whole lines are written: else the next file's first line would be appended to this file's last.
    if (line.ending.empty()) lines.back().ending = "\n";
  }
  return true;
}

Line lineAt(const Chunk& chunk, std::size_t begin, std::size_t number) {
  std::string_view text = chunk.bytes().substr(begin);
  if (const std::size_t end = text.find('\n'); end != std::string_view::npos)
    text = text.substr(0, end + 1);
  const std::string_view lead = text.substr(0, begin == 0 ? byteOrderMark(chunk) : 0);
  const std::string_view ending = endingOf(text);
  text.remove_prefix(lead.size());
  text.remove_suffix(ending.size());
  return {lead, text, ending, number};
}

Failure lineTooLong(std::string_view name, const Line& line, std::size_t longest) {
  const std::string accepted =
      fmt::format("lines of up to {} bytes, or a larger --longest", longest);
  return {Status::badData,
          describe(location(name, line.number), {"the line is too long, it begins", accepted},
                   line.text.substr(0, kShownOfLongLine))};
}

std::string location(std::string_view name, std::size_t line) {
  return line == 0 ? "argument" : fmt::format("{}:{}:1", name, line);
}

}  // namespace plx
