// Texts compared without regard to the case of their letters, those of ASCII alone.
#pragma once

#include <algorithm>
#include <string_view>

namespace plx {

constexpr char lowerCase(char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

constexpr bool areEqualInAnyCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, lowerCase, lowerCase);
}

constexpr bool endsInAnyCase(std::string_view text, std::string_view ending) {
  return text.size() >= ending.size() &&
         areEqualInAnyCase(text.substr(text.size() - ending.size()), ending);
}

}  // namespace plx
