// Elements of arrays as the module takes them, and its results as elements again.
//
//   complex128   milliseconds since 1970: the high part, and the low part
//   float64      milliseconds since 1970
//   datetime64   a count of its unit. The module gets the whole milliseconds of it; what is below
//                a millisecond stays here, as no component but those of the second changes it, and
//                is added to the result: so nothing is rounded.
//
// Whole chunks are converted by tight loops that hold for the datetimes people have: near to 1970
// by the measure of doubles, not refused. The loops tell where that is not so; then each element is
// converted by itself, by exact arithmetic that knows every case.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "arith/doubledouble.h"
#include "elements/element_type.h"
#include "messages/message.h"

namespace plx {

// What the new values of an element explain of its result.
struct Slack {
  // A value with a fraction is hardly ever the number that was meant, but the double next to it.
  // So far may the result lie from the one that is held.
  double millis = 0;
  // The datetime or a value is infinite or NaN, and so is the result.
  bool propagates = false;
};

class DatetimeElements {
 public:
  // `keepsParts`: no setting replaces what is below a millisecond. Null for elements that are no
  // datetimes.
  static std::unique_ptr<DatetimeElements> of(const ElementType& type, bool keepsParts);
  virtual ~DatetimeElements() = default;

  // Whether the loops read and write low parts; otherwise those they read are zero.
  virtual bool hasLow() const { return false; }

  // Reads a chunk, `low` only where there are low parts. False where an element has to be read by
  // itself; what is in the blocks then has no meaning.
  virtual bool read(const char* bytes, std::size_t count, double* high, double* low) const = 0;
  virtual std::optional<Complaint> readOne(const char* bytes, doubledouble& datetime) const = 0;
  // The pair nearest to the datetime, with what is finer than a millisecond, which readOne leaves out.
  virtual std::optional<Complaint> readExactly(const char* bytes, doubledouble& datetime) const {
    return readOne(bytes, datetime);
  }

  // What the module made of a chunk: `bytes` and `high` are as they were read.
  struct Results {
    const char* bytes;
    const double* high;
    const double* resultHigh;
    const double* resultLow;
    std::size_t count;
  };
  // False where an element has to be written by itself, as all have to be that were read so.
  virtual bool write(const Results& results, char* out) const = 0;
  virtual std::optional<Complaint> writeOne(const char* bytes, const doubledouble& result,
                                            const Slack& slack, char* out) const = 0;

  // An element and a result, for messages.
  virtual std::string text(const char* bytes) const = 0;
  virtual std::string resultText(const char* bytes, const doubledouble& result) const = 0;
};

// Reads numbers of any type but complex and datetime64 as doubles. Returns the index of the first
// that no double holds exactly; else, the count.
std::size_t readNumbers(const ElementType& type, const char* bytes, std::size_t count,
                        double* numbers);

// A number, for messages.
std::string numberText(const ElementType& type, const char* bytes);

}  // namespace plx
