#include "json/json_fault.h"

#include <algorithm>
#include <vector>

#include "json/json_text.h"

namespace plx {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

class Grammar {
 public:
  explicit Grammar(std::string_view text) : text_(text) {}

  std::optional<JsonFault> fault() {
    while (!fault_) {
      at_ = std::min(text_.find_first_not_of(kSpace, at_), text_.size());
      if (at_ == text_.size()) {
        if (open_.empty() && wanted_ == Wanted::next) break;
        at_ = open_.empty() ? 0 : open_.back();
        return JsonFault{"not JSON, as the line ends within a value", at_};
      }
      step(text_[at_]);
    }
    return fault_;
  }

 private:
  // What may stand at the place.
  enum class Wanted { value, elementOrEnd, key, keyOrEnd, colon, next };

  void step(char c) {
    switch (wanted_) {
      case Wanted::elementOrEnd:
        return c == ']' ? close() : value(c);
      case Wanted::value:
        return value(c);
      case Wanted::keyOrEnd:
        return c == '}' ? close() : key(c);
      case Wanted::key:
        return key(c);
      case Wanted::colon:
        return c == ':' ? pass(Wanted::value) : fail("not JSON, as a colon is missing");
      case Wanted::next:
        return next(c);
    }
  }

  void pass(Wanted wanted) {
    ++at_;
    wanted_ = wanted;
  }

  void close() {
    open_.pop_back();
    pass(Wanted::next);
  }

  void next(char c) {
    if (open_.empty()) return fail("not JSON, as there is more behind its end");
    const bool inObject = text_[open_.back()] == '{';
    if (c == ',') return pass(inObject ? Wanted::key : Wanted::value);
    if (c == (inObject ? '}' : ']')) return close();
    fail(inObject ? "not JSON, as a comma or a closing brace is missing"
                  : "not JSON, as a comma or a closing bracket is missing");
  }

  void key(char c) {
    if (c != '"') return fail("not JSON, as a key in double quotes is missing");
    string(Wanted::colon);
  }

  void value(char c) {
    if (c == '{' || c == '[') {
      open_.push_back(at_);
      return pass(c == '{' ? Wanted::keyOrEnd : Wanted::elementOrEnd);
    }
    if (c == '"') return string(Wanted::next);
    const std::string_view rest = text_.substr(at_);
    const std::string_view word = rest.substr(0, rest.find_first_of(" \t\r\n,:[]{}\""));
    if (word.empty()) return fail("not JSON, as a value is missing");
    if (word != "null" && word != "true" && word != "false" && !isJsonNumber(word))
      return fail(
          "not JSON, as a value is neither in double quotes nor a number, true, false or null");
    at_ += word.size();
    wanted_ = Wanted::next;
  }

  void string(Wanted behind) {
    const std::size_t begin = at_++;
    while (at_ < text_.size() && text_[at_] != '"') {
      const char c = text_[at_];
      if (0 <= c && c < ' ') return fail("not JSON, as a string has a control character");
      if (c != '\\') {
        ++at_;
        continue;
      }
      const bool isHex = text_.substr(at_ + 1, 1) == "u";
      const std::string_view escape = text_.substr(at_, isHex ? 6 : 2);
      if (at_ + escape.size() < text_.size() && !hasJsonEscapes(escape))
        return fail("not JSON, as a string has a wrong escape");
      at_ += escape.size();
    }
    if (at_ < text_.size()) return pass(behind);
    at_ = begin;
    fail("not JSON, as a string is not closed");
  }

  void fail(const char* what) { fault_ = JsonFault{what, at_}; }

  const std::string_view text_;
  std::size_t at_ = 0;
  Wanted wanted_ = Wanted::value;
  std::vector<std::size_t> open_;  // positions of the brackets and braces that are open
  std::optional<JsonFault> fault_;
};

}  // namespace

std::optional<JsonFault> findJsonFault(std::string_view text) { return Grammar(text).fault(); }

}  // namespace plx
