// The text of character arrays.
#pragma once

#if !defined(__cplusplus) || __cplusplus < 201103L
#error "this header needs C++11 or later (-std=c++11); pa_array.h has the same for C"
#endif

#include <cstddef>
#include <string>

#include "host/interface.h"

// The code units of a character array and, in `length`, their number; no terminator follows them.
// Null and 0 for an empty array and for one that holds no characters. Valid as long as the array
// lives.
PA_API const unsigned short* get_pachar_ptr_and_len(const paArray* array, std::size_t& length);

// The text as UTF-8; a surrogate without its partner becomes U+FFFD. Throws std::bad_alloc.
PA_API std::string paArray2String(const paArray* array);
