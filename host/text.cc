// The text of character arrays.
#include "array.h"
#include "host/pa_text.h"
#include "utf.h"

const unsigned short* get_pachar_ptr_and_len(const paArray* array, std::size_t& length) {
  length = array && array->units ? array->elementCount : 0;
  return length > 0 ? array->units.get() : nullptr;
}

const uint16_t* paGetCharData(const paArray* array) {
  std::size_t length = 0;
  return get_pachar_ptr_and_len(array, length);
}

size_t paGetUTF8(const paArray* array, char* to, size_t size) {
  std::size_t length = 0;
  const unsigned short* units = get_pachar_ptr_and_len(array, length);
  return host::copyUtf8(to, size, units, length);
}

std::string paArray2String(const paArray* array) {
  std::size_t length = 0;
  const unsigned short* units = get_pachar_ptr_and_len(array, length);
  return host::toUtf8(units, length);
}
