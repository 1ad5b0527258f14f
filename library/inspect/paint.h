// Colours on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace plx {

enum class Style { plain, title, changed, before, after, warning };

// The text with the escapes of a style around it; plain text where there is no colour.
class Paint {
 public:
  explicit Paint(bool colour) : colour_(colour) {}

  std::string operator()(Style style, std::string_view text) const {
    if (!colour_ || style == Style::plain || text.empty()) return std::string(text);
    return "\x1B[" + std::string(code(style)) + 'm' + std::string(text) + "\x1B[0m";
  }

 private:
  static std::string_view code(Style style) {
    switch (style) {
      case Style::title:
        return "1";
      case Style::changed:
      case Style::after:
        return "1;32";
      case Style::before:
        return "36";
      case Style::warning:
        return "33";
      case Style::plain:
        break;
    }
    return "0";
  }

  bool colour_;
};

}  // namespace plx
