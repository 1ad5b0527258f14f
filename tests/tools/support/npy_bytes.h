// .npy files put together by hand, apart from the code that writes them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

// A file whose header is this text, whatever it says.
inline std::string npyFile(std::string_view header, std::string_view data, int version = 1) {
  std::string file = "\x93NUMPY";
  file += static_cast<char>(version);
  file += '\0';
  for (int i = 0; i < (version == 1 ? 2 : 4); ++i)
    file += static_cast<char>(header.size() >> 8 * i & 0xFF);
  file += header;
  file += data;
  return file;
}

// The bytes of numbers, swapped where the type string asks for the other order.
template <class T>
std::string bytesOf(const std::vector<T>& numbers, std::size_t swappedSize = 0) {
  std::string bytes(numbers.size() * sizeof(T), '\0');
  if (!bytes.empty()) std::memcpy(bytes.data(), numbers.data(), bytes.size());
  for (std::size_t i = 0; swappedSize > 0 && i < bytes.size(); i += swappedSize)
    std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                 bytes.begin() + static_cast<std::ptrdiff_t>(i + swappedSize));
  return bytes;
}

// A file of numbers of one dimension, or of the shape that is given as Python writes it. Type
// strings with > get their bytes swapped; a complex number is two of 8 bytes.
template <class T>
std::string npyOf(const std::string& type, const std::vector<T>& numbers, std::string shape = "",
                  bool fortranOrder = false) {
  const std::size_t count =
      type.find("c16") != std::string::npos ? numbers.size() / 2 : numbers.size();
  // Not "(" + ..., at which g++ 12 warns of a copy onto itself that is none.
  if (shape.empty()) shape = std::string("(").append(std::to_string(count)).append(",)");
  const std::string order = fortranOrder ? "True" : "False";
  return npyFile(
      "{'descr': '" + type + "', 'fortran_order': " + order + ", 'shape': " + shape + ", }\n",
      bytesOf(numbers, type[0] == '>' ? sizeof(T) : 0));
}

// What stands behind the header.
template <class T>
std::vector<T> numbersOf(const std::string& file, bool isSwapped = false) {
  const std::size_t start =
      10 + static_cast<unsigned char>(file[8]) + 256u * static_cast<unsigned char>(file[9]);
  std::string bytes = file.substr(start);
  for (std::size_t i = 0; isSwapped && i < bytes.size(); i += sizeof(T))
    std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                 bytes.begin() + static_cast<std::ptrdiff_t>(i + sizeof(T)));
  std::vector<T> numbers(bytes.size() / sizeof(T));
  if (!numbers.empty()) std::memcpy(numbers.data(), bytes.data(), numbers.size() * sizeof(T));
  return numbers;
}
