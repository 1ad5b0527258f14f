// Text with the colours of a terminal as HTML.
#pragma once

#include <string>
#include <string_view>

namespace plx {

// A <div class="plx"> with a style of its own: the lines as they stand, in a fixed width, and what Paint
// emphasises in spans of the classes title, changed, before and warning.
std::string htmlOf(std::string_view coloured);

}  // namespace plx
