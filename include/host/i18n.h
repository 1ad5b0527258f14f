// The host's internationalisation services: UTF-16 text, its comparison, the global locale and the
// ASCII converter.
#pragma once

#if __cplusplus < 201703L
#error "this header needs C++17 or later (-std=c++17)"
#endif

#include <cstddef>
#include <string>

#include "host/interface.h"

namespace brel::i18n {

// UTF-16 code units, as character arrays hold them; nothing is promised about surrogates being
// paired.
using ustring = std::basic_string<unsigned short>;

// The type of case_insensitive.
struct case_insensitive_t {};
// What `compare` is asked for: texts that differ only in the case of letters are equal.
inline constexpr case_insensitive_t case_insensitive{};

// Comparison of texts.
class PA_API lcctype {
 public:
  // Negative, zero or positive as the first text sorts before, with or after the second by code
  // units, letters compared by Unicode's simple case folding. The same in every locale. Throws
  // nothing.
  static int compare(const unsigned short* a, std::size_t aLength, const unsigned short* b,
                     std::size_t bLength, case_insensitive_t);
};

// How a locale's name is to be written. Modules ask for 2, an identifier as ICU takes it ("en_US").
enum class LocaleNameFormat : int { icu = 2 };

// The locale that modules ask for.
class PA_API RwLocale {
 public:
  // The locale of the process; see paSetLocale. Safe from any thread.
  static RwLocale& global();
  // Never empty, at most 100 bytes. `name(LocaleNameFormat::icu)` is "en_US" where nothing is set.
  std::string name(LocaleNameFormat format) const;

 private:
  RwLocale() = default;
};

// Converts ASCII text: one code unit per byte, of the same value. A byte above 127 becomes U+FFFD.
class PA_API codecvt_ascii_to_ustring {
 public:
  // The code units of `length` bytes.
  ustring operator()(const char* text, std::size_t length) const;
};

// To be called inside a catch block around a character operation: raises the exception that is
// being handled as `Pelmor:host:CharacterError`. Memory that ran out stays std::bad_alloc. Returns
// only where paSetErrorsReturn is on.
PA_API void dispatch_char_exception();

}  // namespace brel::i18n
