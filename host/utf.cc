#include "utf.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace host {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;

// Writes a character, at most U8_MAX_LENGTH bytes, and returns how many there are.
std::size_t encodeUtf8(UChar32 character, std::uint8_t* to) {
  const auto c = static_cast<std::uint32_t>(character);
  std::size_t length = 0;
  U8_APPEND_UNSAFE(to, length, c);
  return length;
}

UChar32 nextUtf8(std::string_view text, std::size_t& at) {
  UChar32 c;
  const std::size_t length = text.size();
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  U8_NEXT_OR_FFFD(bytes, at, length, c);
  return c;
}

}  // namespace

std::string toUtf8(const unsigned short* units, std::size_t length) {
  std::string utf8;
  utf8.reserve(length);
  for (std::size_t at = 0; at < length;) {
    UChar32 c;
    U16_NEXT_OR_FFFD(units, at, length, c);
    std::uint8_t bytes[U8_MAX_LENGTH];
    utf8.append(reinterpret_cast<const char*>(bytes), encodeUtf8(c, bytes));
  }
  return utf8;
}

brel::i18n::ustring toUtf16(std::string_view utf8) {
  brel::i18n::ustring units;
  units.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();) {
    const UChar32 c = nextUtf8(utf8, at);
    if (U_IS_BMP(c)) {
      units += static_cast<unsigned short>(c);
    } else {
      units += U16_LEAD(c);
      units += U16_TRAIL(c);
    }
  }
  return units;
}

void copyUtf8(char* to, std::size_t size, std::string_view utf8) noexcept {
  std::size_t written = 0;
  for (std::size_t at = 0; at < utf8.size();) {
    const UChar32 c = nextUtf8(utf8, at);
    std::uint8_t bytes[U8_MAX_LENGTH];
    const std::size_t length = encodeUtf8(c == 0 ? kReplacement : c, bytes);
    if (length >= size - written) break;
    for (std::size_t i = 0; i < length; ++i) to[written++] = static_cast<char>(bytes[i]);
  }
  to[written] = '\0';
}

std::size_t copyUtf8(char* to, std::size_t size, const unsigned short* units,
                     std::size_t length) noexcept {
  std::size_t whole = 0, written = 0;
  for (std::size_t at = 0; at < length;) {
    UChar32 c;
    U16_NEXT_OR_FFFD(units, at, length, c);
    std::uint8_t bytes[U8_MAX_LENGTH];
    const std::size_t count = encodeUtf8(c == 0 ? kReplacement : c, bytes);
    const bool fits = whole == written && whole + count < size;  // as did all before it
    if (fits) written = static_cast<std::size_t>(std::copy_n(bytes, count, to + written) - to);
    whole += count;
  }
  if (size > 0) to[written] = '\0';
  return whole;
}

}  // namespace host
