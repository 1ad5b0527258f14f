#include "messages/message.h"

#include <fmt/format.h>
#include <unicode/utf8.h>

#include <cstddef>
#include <cstdint>

namespace plx {

namespace {

constexpr std::size_t kLongestText = 100;

// Control characters, and the format characters that would turn a line around on a terminal.
bool mayShow(UChar32 c) {
  return c >= 0x20 && !(0x7F <= c && c <= 0x9F) && !(0x200E <= c && c <= 0x200F) &&
         !(0x2028 <= c && c <= 0x202E) && !(0x2066 <= c && c <= 0x2069);
}

// The character at `at`, which moves behind it; negative where the bytes are no UTF-8.
UChar32 nextCharacter(std::string_view text, std::size_t& at) {
  UChar32 c;
// The macro narrows within itself.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
  U8_NEXT(text.data(), at, text.size(), c);
#pragma GCC diagnostic pop
  return c;
}

void appendEscaped(std::string& out, std::string_view bytes) {
  if (bytes == "\t") {
    out += "\\t";
  } else if (bytes == "\r") {
    out += "\\r";
  } else if (bytes == "\n") {
    out += "\\n";
  } else {
    for (const char c : bytes) out += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
  }
}

// Escapes characters until all are done or `limit` bytes of the text are; tells how many were.
std::size_t appendEscaped(std::string& out, std::string_view text, std::size_t limit,
                          std::string_view also) {
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t next = at;
    const UChar32 c = nextCharacter(text, next);
    if (next > limit) break;
    const std::string_view bytes = text.substr(at, next - at);
    if (c < 0 || !mayShow(c)) {
      appendEscaped(out, bytes);
    } else {
      if (also.find(bytes) != std::string_view::npos) out += '\\';
      out += bytes;
    }
    at = next;
  }
  return at;
}

}  // namespace

std::string quoteText(std::string_view text) {
  std::string out = "\"";
  const std::size_t shown = appendEscaped(out, text, kLongestText, "\"\\");
  out += '"';
  if (shown < text.size()) out += fmt::format("... ({} bytes)", text.size());
  return out;
}

std::string escapeText(std::string_view text) {
  if (text.empty()) return "\"\"";
  std::string out;
  appendEscaped(out, text, text.size(), {});
  return out;
}

std::string describe(std::string_view where, const Complaint& complaint, std::string_view text) {
  return fmt::format("{}: {}: {}; accepted: {}", where, complaint.what, quoteText(text),
                     complaint.accepted);
}

}  // namespace plx
