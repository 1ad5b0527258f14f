#include "json/json_text.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "datetime/scanner.h"

namespace plx {

namespace {

constexpr std::string_view kEscapes = "\"\\/bfnrt";
constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";

// The number of four hexadecimal digits; nothing for another text.
std::optional<std::uint32_t> hexOf(std::string_view digits) {
  std::uint32_t number = 0;
  if (digits.size() < 4) return std::nullopt;
  const auto result = std::from_chars(digits.data(), digits.data() + 4, number, 16);
  return result.ptr == digits.data() + 4 ? std::optional(number) : std::nullopt;
}

void appendUTF8(std::string& out, std::uint32_t character) {
  const auto byte = [&](std::uint32_t bits) { out += static_cast<char>(bits); };
  const auto more = [&](int shift) { byte(0x80 | (character >> shift & 0x3F)); };
  if (character < 0x80) return byte(character);
  if (character < 0x800) {
    byte(0xC0 | character >> 6);
  } else if (character < 0x10000) {
    byte(0xE0 | character >> 12);
    more(6);
  } else {
    byte(0xF0 | character >> 18);
    more(12);
    more(6);
  }
  more(0);
}

bool isIn(std::uint32_t number, std::uint32_t first, std::uint32_t last) {
  return first <= number && number <= last;
}

// The character of the escape after its \u; `size` is set to the number of bytes that it takes there.
std::uint32_t characterAt(std::string_view text, std::size_t& size) {
  constexpr std::uint32_t kReplacement = 0xFFFD;
  const std::uint32_t first = hexOf(text).value_or(kReplacement);
  size = 4;
  if (!isIn(first, 0xD800, 0xDFFF)) return first;
  if (isIn(first, 0xD800, 0xDBFF) && text.substr(4, 2) == "\\u") {
    const std::uint32_t second = hexOf(text.substr(6)).value_or(0);
    if (isIn(second, 0xDC00, 0xDFFF)) {
      size = 10;
      return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
    }
  }
  return kReplacement;
}

// A key in quotes, with escapes.
std::optional<std::string> quotedKey(Scanner& scan) {
  const std::string_view rest = scan.rest();
  std::size_t end = 1;
  while (end < rest.size() && rest[end] != '"') end += rest[end] == '\\' ? 2 : 1;
  if (end >= rest.size() || !hasJsonEscapes(rest.substr(1, end - 1))) return std::nullopt;
  scan = Scanner(rest.substr(end + 1));
  return unescapedJson(rest.substr(1, end - 1));
}

// The step within brackets, up to the closing one.
std::optional<JsonStep> stepInBrackets(Scanner& scan) {
  JsonStep step;
  if (scan.next() == '"') {
    auto key = quotedKey(scan);
    if (!key) return std::nullopt;
    step.key = std::move(*key);
  } else {
    const std::string_view digits = scan.digits();
    std::size_t index = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), index);
    if (digits.empty() || result.ec != std::errc()) return std::nullopt;
    step.index = index;
  }
  return scan.skip(']') ? std::optional(std::move(step)) : std::nullopt;
}

// The step after a point, up to the next point or bracket.
std::optional<JsonStep> stepBehindPoint(Scanner& scan) {
  if (scan.next() == '"') {
    auto key = quotedKey(scan);
    return key ? std::optional(JsonStep{std::move(*key), {}}) : std::nullopt;
  }
  const std::string_view rest = scan.rest();
  const std::string_view key = rest.substr(0, rest.find_first_of(".[]\""));
  scan = Scanner(rest.substr(key.size()));
  return key.empty() ? std::nullopt : std::optional(JsonStep{std::string(key), {}});
}

}  // namespace

bool isJsonNumber(std::string_view text) {
  Scanner scan(text);
  scan.skip('-');
  const std::string_view whole = scan.digits();
  if (whole.empty() || (whole.size() > 1 && whole[0] == '0')) return false;
  if (scan.skip('.') && scan.digits().empty()) return false;
  if (scan.oneOf("eE") != 0) {
    scan.oneOf("+-");
    if (scan.digits().empty()) return false;
  }
  return scan.atEnd();
}

bool hasJsonEscapes(std::string_view inQuotes) {
  for (std::size_t at = inQuotes.find('\\'); at != std::string_view::npos;
       at = inQuotes.find('\\', at)) {
    if (at + 1 == inQuotes.size()) return false;
    const char kind = inQuotes[at + 1];
    at += 2;
    if (kind == 'u' ? !hexOf(inQuotes.substr(at)) : kEscapes.find(kind) == std::string_view::npos)
      return false;
  }
  return true;
}

std::string unescapedJson(std::string_view inQuotes) {
  std::string text;
  for (std::size_t at = 0; at < inQuotes.size(); ++at) {
    if (inQuotes[at] != '\\' || at + 1 == inQuotes.size()) {
      text += inQuotes[at];
    } else if (const char kind = inQuotes[++at]; kind == 'u') {
      std::size_t size = 0;
      appendUTF8(text, characterAt(inQuotes.substr(at + 1), size));
      at += size;
    } else if (const std::size_t which = kEscapes.find(kind); which != std::string_view::npos) {
      text += kMeanings[which];
    }
  }
  return text;
}

void appendJson(std::string& out, std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '/' || (c != '"' && c != '\\' && byte >= 0x20)) {
      out += c;
    } else if (const std::size_t which = kMeanings.find(c); which != std::string_view::npos) {
      out += '\\';
      out += kEscapes[which];
    } else {
      out += "\\u00";
      out += kDigits[byte >> 4];
      out += kDigits[byte & 15];
    }
  }
}

std::optional<JsonPath> readJsonPath(std::string_view text, Complaint& complaint) {
  complaint = {"not a path to a value of JSON", kAcceptedJsonPaths};
  JsonPath path;
  Scanner scan(text);
  if (!scan.skip('.')) return std::nullopt;
  // The first point, and only that, may be followed by a bracket or by nothing.
  bool behindPoint = !scan.atEnd() && scan.next() != '[';
  while (behindPoint || !scan.atEnd()) {
    auto step = behindPoint      ? stepBehindPoint(scan)
                : scan.skip('[') ? stepInBrackets(scan)
                                 : std::nullopt;
    if (!step) return std::nullopt;
    path.push_back(std::move(*step));
    behindPoint = scan.skip('.');
  }
  complaint = {};
  return path;
}

}  // namespace plx
