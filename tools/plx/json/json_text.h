// Strings, numbers and paths of JSON (RFC 8259), as text.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "messages/message.h"

namespace plx {

// Whether a text is a number as JSON has it: no sign but a minus, no leading zeros, digits on both
// sides of a point.
bool isJsonNumber(std::string_view text);

// Whether each backslash between the quotes of a string begins an escape.
bool hasJsonEscapes(std::string_view inQuotes);

// The text that a string means; a lone surrogate becomes U+FFFD.
std::string unescapedJson(std::string_view inQuotes);

// Appends a text as the inside of a quoted string, with escapes where there have to be.
void appendJson(std::string& out, std::string_view text);

// One step on the way to a value: a member of an object, or an element of an array, from 0.
struct JsonStep {
  std::string key;
  std::optional<std::size_t> index;
  bool operator==(const JsonStep&) const = default;
};
using JsonPath = std::vector<JsonStep>;

// A path as jq writes it: .created, .order.due, ."a key", .["a key"], .items[0], or . for the whole value.
// Nothing, and a complaint, for a text that is no path.
std::optional<JsonPath> readJsonPath(std::string_view text, Complaint& complaint);

inline constexpr std::string_view kAcceptedJsonPaths =
    "a path such as .created, .order.due, .\"a key\" or .items[0]";

}  // namespace plx
