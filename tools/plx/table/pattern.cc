#include "table/pattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <fmt/format.h>
#include <pcre2.h>

#include <array>
#include <cstdint>
#include <new>

#include "messages/message.h"

namespace plx {

struct Pattern::Compiled {
  ~Compiled() {
    pcre2_match_data_free(data);
    pcre2_code_free(code);
  }
  pcre2_code* code = nullptr;
  pcre2_match_data* data = nullptr;
};

// Bytes, not characters: a log may have any.
Pattern::Pattern(const std::string& text) : compiled_(std::make_unique<Compiled>()) {
  int error = 0;
  PCRE2_SIZE at = 0;
  compiled_->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0, &error,
                                  &at, nullptr);
  if (compiled_->code == nullptr) {
    std::array<PCRE2_UCHAR, 256> words{};
    pcre2_get_error_message(error, words.data(), words.size());
    const std::string what = fmt::format("not a regular expression at character {}: {}", at + 1,
                                         reinterpret_cast<const char*>(words.data()));
    throw Failure{
        Status::usage,
        describe("--match", {what, "one of Perl's kind, such as 'started=(\\S+)'"}, text)};
  }
  // Where the machine cannot have it compiled further, it is interpreted.
  pcre2_jit_compile(compiled_->code, PCRE2_JIT_COMPLETE);
  compiled_->data = pcre2_match_data_create_from_pattern(compiled_->code, nullptr);
  if (compiled_->data == nullptr) throw std::bad_alloc();
}

Pattern::~Pattern() = default;

std::optional<Span> Pattern::find(std::string_view text) const {
  const int groups = pcre2_match(compiled_->code, reinterpret_cast<PCRE2_SPTR>(text.data()),
                                 text.size(), 0, 0, compiled_->data, nullptr);
  if (groups == PCRE2_ERROR_NOMATCH) return std::nullopt;
  if (groups < 1)
    throw Failure{Status::badData, describe("--match",
                                            {"the expression takes too many steps for this line",
                                             "one with fewer repetitions within repetitions"},
                                            text)};
  const PCRE2_SIZE* const places = pcre2_get_ovector_pointer(compiled_->data);
  const std::size_t first = pcre2_get_ovector_count(compiled_->data) > 1 ? 2 : 0;
  if (first >= 2 * static_cast<std::size_t>(groups) || places[first] == PCRE2_UNSET)
    return std::nullopt;
  return Span{places[first], places[first + 1]};
}

}  // namespace plx
