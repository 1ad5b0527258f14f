#include "stream/line_reader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/message.h"

namespace plx {

namespace {

// As much as a pipe holds: waiting for more would only delay what is there.
constexpr std::size_t kChunk = std::size_t{1} << 16;

// How long the line is in the end is not known where it is refused.
constexpr std::size_t kShownOfLongLine = 60;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view endingOf(std::string_view line) {
  if (line.ends_with("\r\n")) return line.substr(line.size() - 2);
  if (line.ends_with('\n')) return line.substr(line.size() - 1);
  return line.substr(line.size());
}

}  // namespace

LineReader::LineReader(const std::string& path)
    : descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      name_(path.empty() ? "\"\"" : escapeText(path)),
      buffer_(2 * kChunk) {
  if (descriptor_ >= 0) return;
  throw Failure{Status::inputOutput,
                fmt::format("{}: cannot open: {}", name_, std::strerror(errno))};
}

LineReader::~LineReader() {
  if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
}

bool LineReader::read(std::vector<Line>& lines) {
  lines.clear();
  for (;;) {
    takeLines(lines);
    if (!lines.empty()) return true;
    if (atEnd_) return false;
    makeRoom();
    receive();
  }
}

// Whole lines, and at the end of the file what stands behind the last line end.
void LineReader::takeLines(std::vector<Line>& lines) {
  while (begin_ < end_) {
    const auto* lineEnd =
        static_cast<const char*>(std::memchr(buffer_.data() + searched_, '\n', end_ - searched_));
    searched_ = end_;
    const std::size_t next =
        lineEnd != nullptr ? static_cast<std::size_t>(lineEnd - buffer_.data()) + 1 : end_;
    const std::string_view bytes(buffer_.data() + begin_, next - begin_);
    const std::string_view ending = endingOf(bytes);
    if (bytes.size() - ending.size() > kLongestLine) {
      searched_ = begin_;  // it is found again
      if (!lines.empty()) return;
      throw Failure{Status::badData,
                    describe(location(name_, number_ + 1),
                             {"the line is too long, it begins", "lines of up to 1048576 bytes"},
                             bytes.substr(0, kShownOfLongLine))};
    }
    if (lineEnd == nullptr && !atEnd_) return;
    std::string_view text = bytes.substr(0, bytes.size() - ending.size());
    const bool marked = number_ == 0 && text.starts_with(kByteOrderMark);
    const std::string_view lead = text.substr(0, marked ? kByteOrderMark.size() : 0);
    text.remove_prefix(lead.size());
    // What is written is whole lines, or those of the next file would go on in this one.
    lines.push_back({lead, text, lineEnd ? ending : std::string_view("\n"), ++number_});
    begin_ = searched_ = next;
  }
}

// Space for one more chunk behind what is there.
void LineReader::makeRoom() {
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
            buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
  end_ -= begin_;
  searched_ -= begin_;
  begin_ = 0;
  if (buffer_.size() - end_ < kChunk) buffer_.resize(2 * buffer_.size());
}

void LineReader::receive() {
  for (;;) {
    const ssize_t count = ::read(descriptor_, buffer_.data() + end_, buffer_.size() - end_);
    if (count >= 0) {
      atEnd_ = count == 0;
      end_ += static_cast<std::size_t>(count);
      return;
    }
    if (errno != EINTR) {
      throw Failure{Status::inputOutput,
                    fmt::format("{}: cannot read: {}", name_, std::strerror(errno))};
    }
  }
}

std::string location(std::string_view name, std::size_t line) {
  return line == 0 ? "argument" : fmt::format("{}:{}", name, line);
}

}  // namespace plx
