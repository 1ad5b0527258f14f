// A regular expression of Perl's kind.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace plx {

// A part of a text.
struct Span {
  std::size_t begin = 0, end = 0;
};

// One for each thread.
class Pattern {
 public:
  // Throws a Failure of Status::usage for a text that is no regular expression.
  explicit Pattern(const std::string& text);
  ~Pattern();
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  // What its first group matches in a text, or without groups all of it, at the first place where it
  // matches; nothing where it does not. Throws a Failure of Status::badData where that takes too many
  // steps to tell.
  std::optional<Span> find(std::string_view text) const;

 private:
  struct Compiled;
  std::unique_ptr<Compiled> compiled_;
};

}  // namespace plx
