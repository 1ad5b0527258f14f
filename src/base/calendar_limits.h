// What a calendar in a time zone takes.
#pragma once

// The largest magnitude of a time that ICU is given or that is taken from it: 2^52 ms, some
// 142,700 years. Within it every whole millisecond is a double.
inline constexpr double kMaxCalendarMillis = 0x1p52;  // 4503599627370496

// The largest new value that the calendar takes, a number of 32 bits; and the largest time of day, in
// seconds, whose milliseconds are one.
inline constexpr double kLargest32Bits = 2147483647.0;
inline constexpr double kLargestSeconds = 2147483.0;
