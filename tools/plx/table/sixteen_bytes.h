// Looks at sixteen bytes at once: bits for them, the lowest one for the first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace plx {

inline constexpr std::size_t kSixteen = 16;

class EitherOf {
 public:
  EitherOf(char a, char b) : a_(a), b_(b) {}

  // Of the first sixteen bytes, or of as many as there are, those that are one of both.
  std::uint32_t among(std::string_view text) const {
#ifdef __SSE2__
    if (text.size() >= kSixteen) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data()));
      const __m128i found = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(a_)),
                                         _mm_cmpeq_epi8(bytes, _mm_set1_epi8(b_)));
      return static_cast<std::uint32_t>(_mm_movemask_epi8(found));
    }
#endif
    std::uint32_t found = 0;
    for (std::size_t i = 0; i < kSixteen && i < text.size(); ++i)
      found |= std::uint32_t{text[i] == a_ || text[i] == b_} << i;
    return found;
  }

 private:
  const char a_, b_;
};

// What a datetime in a line may begin with, and behind what none begins, as that is part of a longer number or name.
struct WordBytes {
  std::uint32_t words, joins;
};

constexpr bool isLetterOrDigit(char c) {
  return ('0' <= c && c <= '9') || ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z');
}
constexpr bool joinsWords(char c) {
  return isLetterOrDigit(c) || c == '_' || c == '-' || c == '+' || c == '.' || c == '/' ||
         static_cast<unsigned char>(c) >= 0x80;
}

// Of sixteen bytes.
inline WordBytes wordBytesAmong(const char* text) {
#ifdef __SSE2__
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const auto all = [](int c) { return _mm_set1_epi8(static_cast<char>(c)); };
  // A sum that makes the first one the least of all signed bytes.
  const auto range = [&](__m128i x, int first, int last) {
    return _mm_cmplt_epi8(_mm_add_epi8(x, all(0x80 - first)), all(0x80 + last - first + 1));
  };
  const __m128i words =
      _mm_or_si128(range(_mm_or_si128(bytes, all(0x20)), 'a', 'z'), range(bytes, '0', '9'));
  const __m128i marks = _mm_andnot_si128(_mm_cmpeq_epi8(bytes, all(',')), range(bytes, '+', '/'));
  const __m128i joins = _mm_or_si128(_mm_or_si128(words, marks),
                                     _mm_or_si128(_mm_cmpeq_epi8(bytes, all('_')), bytes));
  return {static_cast<std::uint32_t>(_mm_movemask_epi8(words)),
          static_cast<std::uint32_t>(_mm_movemask_epi8(joins))};
#else
  WordBytes found{};
  for (std::size_t i = 0; i < kSixteen; ++i) {
    found.words |= std::uint32_t{isLetterOrDigit(text[i])} << i;
    found.joins |= std::uint32_t{joinsWords(text[i])} << i;
  }
  return found;
#endif
}

}  // namespace plx
