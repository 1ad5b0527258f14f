// What stands between the tool and ICU: its strings, and its ways of failing.
#pragma once

#include <unicode/unistr.h>
#include <unicode/utypes.h>

#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include "messages/message.h"

namespace plx {

// A text as ICU's string. Throws std::bad_alloc: a string that ICU has no memory for is empty, and an
// empty text means something else.
inline icu::UnicodeString unicodeText(std::string_view utf8) {
  auto text = icu::UnicodeString::fromUTF8(
      icu::StringPiece(utf8.data(), static_cast<std::int32_t>(utf8.size())));
  if (text.isBogus()) throw std::bad_alloc();
  return text;
}

// Throws std::bad_alloc where ICU lacked memory.
inline void checkMemory(UErrorCode status) {
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
}

// Where ICU failed, throws std::bad_alloc or, as for data that cannot be read, a Failure of
// Status::inputOutput.
inline void checkICU(UErrorCode status) {
  checkMemory(status);
  if (U_FAILURE(status))
    throw Failure{Status::inputOutput, std::string("ICU failed: ") + u_errorName(status)};
}

}  // namespace plx
