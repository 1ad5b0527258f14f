// What was perhaps meant by a name that is none.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace plx {

// How many letters have to be changed, left out, put in or, where they are neighbours, exchanged to make
// one text of the other; in any letter case. More than `most` is told as `most` + 1.
std::size_t lettersApart(std::string_view a, std::string_view b, std::size_t most);

// So many letters may a name differ in and be near to a text: one in a short text, of which two would be half.
std::size_t mostLettersApart(std::string_view text);

// " (did you mean month?)", with the name that is nearest to the text, where one is near: a letter or two
// apart, by the length of the text. Empty otherwise.
std::string didYouMean(std::string_view text, std::span<const std::string_view> names);

}  // namespace plx
