// UTF-8 and UTF-16. What is not well-formed becomes U+FFFD: each lone surrogate, and each maximal
// part of a UTF-8 sequence that cannot go on.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/i18n.h"

namespace host {

std::string toUtf8(const unsigned short* units, std::size_t length);
inline std::string toUtf8(const brel::i18n::ustring& text) {
  return toUtf8(text.data(), text.size());
}
brel::i18n::ustring toUtf16(std::string_view utf8);

// Copies a text into `size` bytes, at least one, and terminates it. Where it does not fit, it is
// cut after the last whole character that does. U+0000 becomes U+FFFD, since it would end the text.
void copyUtf8(char* to, std::size_t size, std::string_view utf8) noexcept;
// The same from UTF-16, also into no bytes at all. How many the whole text takes, without its end.
std::size_t copyUtf8(char* to, std::size_t size, const unsigned short* units,
                     std::size_t length) noexcept;

}  // namespace host
