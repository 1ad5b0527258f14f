#include "stream/boundaries.h"

#include <algorithm>
#include <cstdint>

namespace plx {

namespace {

// In pieces whose counts fit a byte, so that a vector has as many of them as it has bytes.
std::size_t count(std::string_view bytes, char byte) {
  constexpr std::size_t kPiece = 255;
  std::size_t all = 0;
  for (std::size_t begin = 0; begin < bytes.size(); begin += kPiece) {
    std::uint8_t inPiece = 0;
    for (const char c : bytes.substr(begin, kPiece))
      inPiece = static_cast<std::uint8_t>(inPiece + (c == byte ? 1 : 0));
    all += inPiece;
  }
  return all;
}

}  // namespace

void Boundaries::scan(std::string_view bytes) {
  const std::string_view fresh = bytes.substr(scanned_);
  if (quotes_) {
    scanLines(fresh);
  } else if (const std::size_t last = fresh.rfind('\n'); last != std::string_view::npos) {
    lines_ += count(fresh, '\n');
    records_ = lines_;
    boundary_ = scanned_ + last + 1;
  }
  scanned_ = bytes.size();
}

// Most tables have no quotes. Where there are any, there are fewer lines than quotes, as a rule, and counting is faster
// than looking for each.
void Boundaries::scanLines(std::string_view bytes) {
  if (!inQuotes_ && bytes.find('"') == std::string_view::npos) {
    const std::size_t last = bytes.rfind('\n');
    if (last == std::string_view::npos) return;
    const std::size_t lines = count(bytes, '\n');
    records_ += lines;
    lines_ += lines + openLines_;
    openLines_ = 0;
    boundary_ = scanned_ + last + 1;
    return;
  }
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\n', at), bytes.size());
    if (count(bytes.substr(at, end - at), '"') % 2 != 0) inQuotes_ = !inQuotes_;
    at = end + 1;
    if (end == bytes.size()) return;
    ++openLines_;
    if (inQuotes_) continue;
    ++records_;
    lines_ += openLines_;
    openLines_ = 0;
    boundary_ = scanned_ + at;
  }
}

void Boundaries::restart() {
  scanned_ -= boundary_;
  boundary_ = records_ = lines_ = 0;
}

}  // namespace plx
