#include "json/json_reader.h"

#include <fmt/format.h>
#include <simdjson.h>

#include <cstdint>
#include <new>
#include <utility>

#include "json/json_fault.h"

namespace plx {

namespace {

namespace ondemand = simdjson::ondemand;

// The deepest nesting: more than any data have, and little enough for the stack of a thread.
constexpr int kDeepest = 500;

constexpr char kNotJson[] = "not JSON";
constexpr std::string_view kAcceptedJson =
    "one value of JSON in each line, in UTF-8, as jq -c writes them";
constexpr std::string_view kAcceptedValues = "strings, numbers and null";

// The paths as a tree: a node for each key or index that one of them takes.
struct Node {
  std::string path;                   // up to there
  JsonStep step;                      // that leads there
  std::vector<std::size_t> children;  // of the nodes
  std::optional<std::size_t> value;   // the path that ends there
  std::uint64_t seen = 0;             // the last text that had the key
};

std::string_view withoutSpace(std::string_view token) {
  return token.substr(0, token.find_last_not_of(" \t\r\n") + 1);
}

const char* nameOf(ondemand::json_type type) {
  switch (type) {
    case ondemand::json_type::object:
      return "an object";
    case ondemand::json_type::array:
      return "an array";
    case ondemand::json_type::string:
      return "a string";
    case ondemand::json_type::number:
      return "a number";
    case ondemand::json_type::boolean:
      return "true or false";
    default:
      return "null";
  }
}

}  // namespace

struct JsonReader::Walk {
  explicit Walk(const std::vector<JsonPath>& paths) : count(paths.size()) {
    nodes.emplace_back();
    for (std::size_t i = 0; i < paths.size(); ++i) add(paths[i], i);
  }

  void add(const JsonPath& path, std::size_t value) {
    std::size_t at = 0;
    for (const JsonStep& step : path) {
      std::size_t next = 0;
      for (const std::size_t child : nodes[at].children)
        if (nodes[child].step == step) next = child;
      if (next == 0) {
        next = nodes.size();
        const std::string name = step.index ? fmt::format("[{}]", *step.index) : "." + step.key;
        nodes.push_back({nodes[at].path + name, step, {}, {}, 0});
        nodes[at].children.push_back(next);
      }
      at = next;
    }
    nodes[at].value = value;
  }

  bool read(std::string_view text);
  bool document(ondemand::document& document, std::string_view text);
  bool value(ondemand::value value, const Node* node, int depth);
  bool object(ondemand::object object, const Node* node, int depth);
  bool array(ondemand::array array, const Node* node, int depth);
  bool scalar(ondemand::json_type type, std::string_view token, const Node* node);
  bool fits(ondemand::json_type type, const char* at, const Node* node);
  bool member(std::string_view key, const char* at, const Node*& node);
  const Node* element(std::size_t index, const Node* node) const;

  bool fail(std::string what, const char* at, std::string_view accepted = kAcceptedJson) {
    const bool within = base <= at && at <= base + size;
    error = {{std::move(what), accepted}, within ? static_cast<std::size_t>(at - base) : 0};
    return false;
  }
  bool fail(simdjson::error_code code, const char* at = nullptr) {
    if (code == simdjson::MEMALLOC) throw std::bad_alloc();
    return fail(code == simdjson::UTF8_ERROR ? "not JSON, as it is not UTF-8" : kNotJson, at);
  }

  const std::size_t count;
  std::vector<Node> nodes;
  ondemand::parser parser;
  std::vector<JsonValue>* values = nullptr;
  JsonError error;
  const char* base = nullptr;
  std::size_t size = 0;
  std::uint64_t texts = 0;
};

std::size_t JsonReader::padding() { return simdjson::SIMDJSON_PADDING; }

JsonReader::JsonReader(const std::vector<JsonPath>& paths) : walk_(std::make_unique<Walk>(paths)) {}

JsonReader::~JsonReader() = default;

std::optional<JsonError> JsonReader::read(std::string_view text, std::vector<JsonValue>& values) {
  values.assign(walk_->count, {});
  walk_->values = &values;
  if (walk_->read(text)) return std::nullopt;
  // A value of the wrong type is reported only where the whole text is JSON: a fault of grammar says more.
  if (const auto fault = findJsonFault(text))
    return JsonError{{fault->what, kAcceptedJson}, fault->at};
  return std::move(walk_->error);
}

bool JsonReader::Walk::read(std::string_view text) {
  base = text.data();
  size = text.size();
  ++texts;
  ondemand::document parsed;
  const auto code = parser.iterate(text.data(), text.size(), text.size() + padding()).get(parsed);
  return code == simdjson::SUCCESS ? document(parsed, text) : fail(code);
}

bool JsonReader::Walk::document(ondemand::document& document, std::string_view text) {
  ondemand::json_type type;
  if (const auto code = document.type().get(type)) return fail(code);
  if (type == ondemand::json_type::object || type == ondemand::json_type::array) {
    ondemand::value whole;
    if (const auto code = document.get_value().get(whole)) return fail(code);
    if (!value(whole, &nodes[0], 0)) return false;
    // At the end of the text there is no current location; where there is one, something follows the value.
    const char* at = nullptr;
    if (document.current_location().get(at) == simdjson::SUCCESS) return fail(kNotJson, at);
    return true;
  }
  std::string_view token;
  if (const auto code = document.raw_json_token().get(token)) return fail(code);
  if (token.data() + token.size() != text.data() + text.size())
    return fail(kNotJson, token.data() + token.size());
  return scalar(type, token, &nodes[0]);
}

bool JsonReader::Walk::value(ondemand::value value, const Node* node, int depth) {
  ondemand::json_type type;
  const std::string_view token = value.raw_json_token();
  // After the last token the iterator has one more position, which is outside the text.
  if (token.data() >= base + size) return fail(kNotJson, base);
  if (const auto code = value.type().get(type)) return fail(code, token.data());
  if (depth > kDeepest) return fail("nested too deeply", token.data(), "up to 500 levels");
  if (type == ondemand::json_type::object) {
    ondemand::object members;
    if (!fits(type, token.data(), node)) return false;
    if (const auto code = value.get_object().get(members)) return fail(code, token.data());
    return object(members, node, depth);
  }
  if (type == ondemand::json_type::array) {
    ondemand::array elements;
    if (!fits(type, token.data(), node)) return false;
    if (const auto code = value.get_array().get(elements)) return fail(code, token.data());
    return array(elements, node, depth);
  }
  if (!scalar(type, token, node)) return false;
  // A string has to be taken from the iterator, which otherwise skips `"a":1` as if it were one value.
  ondemand::raw_json_string taken;
  if (type == ondemand::json_type::string) {
    if (const auto code = value.get_raw_json_string().get(taken)) return fail(code, token.data());
  }
  return true;
}

bool JsonReader::Walk::object(ondemand::object object, const Node* node, int depth) {
  for (auto result : object) {
    ondemand::field field;
    if (const auto code = std::move(result).get(field)) return fail(code);
    const char* const key = field.key().raw();
    const char* end = key;
    while (*end != '"') end += *end == '\\' ? 2 : 1;
    const Node* next = node;
    const std::string_view raw(key, static_cast<std::size_t>(end - key));
    if (!hasJsonEscapes(raw)) return fail(kNotJson, key);
    if (node != nullptr && !member(raw, key, next)) return false;
    if (!value(field.value(), next, depth + 1)) return false;
  }
  return true;
}

bool JsonReader::Walk::array(ondemand::array array, const Node* node, int depth) {
  std::size_t index = 0;
  for (auto result : array) {
    ondemand::value next;
    if (const auto code = result.get(next)) return fail(code);
    if (!value(next, node == nullptr ? nullptr : element(index, node), depth + 1)) return false;
    ++index;
  }
  return true;
}

bool JsonReader::Walk::scalar(ondemand::json_type type, std::string_view token, const Node* node) {
  token = withoutSpace(token);
  const auto begin = static_cast<std::size_t>(token.data() - base);
  JsonValue found{JsonValue::Kind::null, begin, begin + token.size(), false};
  bool good = true;
  if (type == ondemand::json_type::string) {
    const std::string_view text = token.substr(1, token.size() - 2);
    found = {JsonValue::Kind::string, begin + 1, begin + 1 + text.size(),
             text.find('\\') != std::string_view::npos};
    good = token.size() >= 2 && token.back() == '"' && (!found.escaped || hasJsonEscapes(text));
  } else if (type == ondemand::json_type::number) {
    found.kind = JsonValue::Kind::number;
    good = isJsonNumber(token);
  } else {
    good = token == "null" || token == "true" || token == "false";
  }
  if (!good) return fail(kNotJson, token.data());
  if (node == nullptr || !fits(type, token.data(), node)) return node == nullptr;
  if (node->value) (*values)[*node->value] = found;
  return true;
}

// Whether a value of that type can stand there: at the end of a path, and on the way.
bool JsonReader::Walk::fits(ondemand::json_type type, const char* at, const Node* node) {
  if (node == nullptr || type == ondemand::json_type::null) return true;
  const auto isNot = [&](const char* wanted, std::string_view accepted) {
    const std::string name = node->path.empty() ? "the value" : escapeText(node->path);
    return fail(fmt::format("{} is {}, not {}", name, nameOf(type), wanted), at, accepted);
  };
  const bool isText = type == ondemand::json_type::string || type == ondemand::json_type::number;
  if (node->value && !isText) return isNot("a string or a number", kAcceptedValues);
  for (const std::size_t child : node->children) {
    const bool isElement = nodes[child].step.index.has_value();
    if (type != (isElement ? ondemand::json_type::array : ondemand::json_type::object))
      return isNot(isElement ? "an array" : "an object",
                   "values that have what the path goes through, or null");
  }
  return true;
}

// The node that a member leads to, or null.
bool JsonReader::Walk::member(std::string_view key, const char* at, const Node*& node) {
  const Node* const parent = std::exchange(node, nullptr);
  const bool escaped = key.find('\\') != std::string_view::npos;
  const std::string plain = escaped ? unescapedJson(key) : std::string();
  for (const std::size_t child : parent->children) {
    Node& candidate = nodes[child];
    if (candidate.step.key != (escaped ? std::string_view(plain) : key)) continue;
    if (candidate.seen == texts)
      return fail("the key is there twice, and readers differ about which counts", at,
                  "each key once");
    candidate.seen = texts;
    node = &candidate;
  }
  return true;
}

const Node* JsonReader::Walk::element(std::size_t index, const Node* node) const {
  for (const std::size_t child : node->children) {
    if (nodes[child].step.index == index) return &nodes[child];
  }
  return nullptr;
}

}  // namespace plx
