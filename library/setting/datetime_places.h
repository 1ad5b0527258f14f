// Reads and writes datetimes in the caller's memory as exact pairs, for what does not go through the module.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arith/doubledouble.h"
#include "elements/elements.h"
#include "setting/datetime_array.h"
#include "setting/wrong.h"

namespace plx {

// A pair of arrays' elements, for messages.
std::string pairText(const doubledouble& pair);

class DatetimePlaces {
 public:
  // The array outlives the places.
  explicit DatetimePlaces(const DatetimeArray& array);

  // The pair nearest to the datetime at a position, parts of a millisecond included.
  std::optional<Wrong> read(std::size_t position, doubledouble& datetime) const;
  // The fast path for many, which rounds counts of units below a millisecond down to whole milliseconds.
  // False where the datetimes have to be read one by one; what is in the arrays then has no meaning.
  bool readMillis(std::size_t start, std::size_t count, double* high, double* low);
  std::optional<Wrong> write(std::size_t position, const doubledouble& datetime) const;
  // The datetime at a position, for messages.
  std::string text(std::size_t position) const;

 private:
  const DatetimeArray& array_;
  std::unique_ptr<DatetimeElements> elements_;  // null for pairs
  std::vector<char> room_;
};

}  // namespace plx
