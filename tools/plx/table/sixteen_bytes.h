// Looks for two bytes among sixteen at once.
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

  // A bit for each of the first sixteen bytes, or of as many as there are, that is one of both; the lowest for the first.
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

}  // namespace plx
