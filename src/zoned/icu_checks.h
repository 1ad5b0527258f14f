// The checks around everything that passes between the module and ICU.
#pragma once

#include <unicode/utypes.h>

#include <new>

// The largest magnitude of a time that ICU is given or that is taken from it: 2^52 ms, some
// 142,700 years. Within it every whole millisecond is a double.
inline constexpr double kMaxCalendarMillis = 0x1p52;  // 4503599627370496

// Raises ICUError with the context, which names the call, and ICU's name of the status. Success and
// warnings, which are negative, pass.
void checkICUStatus(UErrorCode status, const char* context);

// Raises RangeError unless |ms| <= kMaxCalendarMillis; NaN and infinities do not pass.
void checkICURange(double ms);

// An object that ICU made. Null means that there was no memory for it: throws std::bad_alloc.
template <class T>
T* checkICUMemory(T* object) {
  if (object == nullptr) throw std::bad_alloc();
  return object;
}
