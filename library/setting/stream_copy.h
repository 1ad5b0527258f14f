// Copying by non-temporal stores, which bypass the caches: other stores would first read each cache line of
// the results from memory, only to overwrite it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace plx {

// From this many bytes of results on, what has been written is out of the caches before it is read again.
inline constexpr std::size_t kPastCachesBytes = std::size_t{8} << 20;

// To be followed by endStreams() before another thread reads the results.
inline void streamCopy(char* to, const char* from, std::size_t bytes) {
#if defined(__SSE2__)
  const std::size_t head =
      (64 - reinterpret_cast<std::uintptr_t>(to) % 64) % 64;  // whole lines are written at once
  if (bytes < head + 64) {
    std::memcpy(to, from, bytes);
    return;
  }
  std::memcpy(to, from, head);
  std::size_t at = head;
  for (; at + 64 <= bytes; at += 64) {
    for (std::size_t part = 0; part < 64; part += 16) {
      const __m128i some = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + at + part));
      _mm_stream_si128(reinterpret_cast<__m128i*>(to + at + part), some);
    }
  }
  std::memcpy(to + at, from + at, bytes - at);
#else
  std::memcpy(to, from, bytes);
#endif
}

inline void endStreams() {
#if defined(__SSE2__)
  _mm_sfence();
#endif
}

}  // namespace plx
