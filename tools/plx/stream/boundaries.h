// Where records end in bytes that come in pieces of any size.
//
// A LF ends a record if the quotes before it, counted from the start, are even in number. That holds
// for every table in which each field has an even number of quotes, which is what the splitting of
// tables demands: so a boundary is right wherever nothing before it is wrong.
#pragma once

#include <cstddef>
#include <string_view>

namespace plx {

class Boundaries {
 public:
  // quotes: a LF between two quotes ends no record.
  explicit Boundaries(bool quotes) : quotes_(quotes) {}

  // `bytes` are all bytes since the last restart; scans those that it has not seen.
  void scan(std::string_view bytes);
  // Forgets the bytes before the last boundary, which then is at 0.
  void restart();

  std::size_t boundary() const { return boundary_; }  // behind the last LF that ends a record
  std::size_t records() const { return records_; }    // up to there
  std::size_t lines() const { return lines_; }

 private:
  void scanLines(std::string_view bytes);

  const bool quotes_;
  bool inQuotes_ = false;
  std::size_t scanned_ = 0, boundary_ = 0, records_ = 0, lines_ = 0;
  std::size_t openLines_ = 0;  // line ends behind the boundary
};

}  // namespace plx
