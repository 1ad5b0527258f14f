#include "stream/boundaries.h"

#include <algorithm>

namespace plx {

namespace {

std::size_t countLines(std::string_view bytes) {
  return static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
}

}  // namespace

void Boundaries::scan(std::string_view bytes) {
  while (scanned_ < bytes.size()) {
    const std::size_t quote = quotes_ ? bytes.find('"', scanned_) : std::string_view::npos;
    const std::size_t end = std::min(quote, bytes.size());
    scanStretch(bytes.substr(scanned_, end - scanned_));
    scanned_ = end;
    if (scanned_ == bytes.size()) return;
    inQuotes_ = !inQuotes_;
    ++scanned_;
  }
}

// Without quotes.
void Boundaries::scanStretch(std::string_view bytes) {
  const std::size_t last = bytes.rfind('\n');
  if (last == std::string_view::npos) return;
  const std::size_t count = countLines(bytes);
  if (inQuotes_) {
    openLines_ += count;
    return;
  }
  records_ += count;
  lines_ += openLines_ + count;
  openLines_ = 0;
  boundary_ = scanned_ + last + 1;
}

void Boundaries::restart() {
  scanned_ -= boundary_;
  boundary_ = records_ = lines_ = 0;
}

}  // namespace plx
