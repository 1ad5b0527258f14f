#include "inspect/html.h"

#include <array>
#include <cstddef>
#include <utility>

namespace plx {

namespace {

constexpr std::string_view kHead =
    "<div class=\"plx\"><style>"
    ".plx pre{line-height:1.25}"
    ".plx .title{font-weight:bold}"
    ".plx .changed{font-weight:bold;color:#0a7d28}"
    ".plx .before{color:#0b7285}"
    ".plx .warning{color:#9a6700}"
    "</style><pre>";

// The escapes that Paint writes.
constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kEscapes = {{
    {"\x1B[1;32m", "<span class=\"changed\">"},
    {"\x1B[1m", "<span class=\"title\">"},
    {"\x1B[36m", "<span class=\"before\">"},
    {"\x1B[33m", "<span class=\"warning\">"},
    {"\x1B[0m", "</span>"},
}};

}  // namespace

std::string htmlOf(std::string_view coloured) {
  std::string html(kHead);
  for (std::size_t at = 0; at < coloured.size();) {
    const char c = coloured[at];
    std::size_t length = 1;
    if (c == '&') {
      html += "&amp;";
    } else if (c == '<') {
      html += "&lt;";
    } else if (c == '>') {
      html += "&gt;";
    } else if (c != '\x1B') {
      html += c;
    } else {
      for (const auto& [escape, tag] : kEscapes) {
        if (!coloured.substr(at).starts_with(escape)) continue;
        html += tag;
        length = escape.size();
        break;
      }
    }
    at += length;
  }
  return html += "</pre></div>\n";
}

}  // namespace plx
