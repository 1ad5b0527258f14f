// The text of a character array as ICU's string.
#pragma once

#include <unicode/unistr.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

#include "host/pa_text.h"

// Whether the text can be an ICU string at all, whose lengths are 32-bit.
inline bool fitsICUText(const paArray* text) {
  return paGetNumberOfElements(text) <=
         static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
}

// A copy of the text as it stands. The text fits; throws std::bad_alloc.
inline icu::UnicodeString icuText(const paArray* text) {
  std::size_t length = 0;
  const unsigned short* units = get_pachar_ptr_and_len(text, length);
  icu::UnicodeString copy(units, static_cast<std::int32_t>(length));
  if (copy.isBogus()) throw std::bad_alloc();
  return copy;
}
