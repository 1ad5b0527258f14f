// Elements of arrays as the module takes them, and its results as elements again.
//
//   complex128   milliseconds since 1970: the high part, and the low part
//   float64      milliseconds since 1970
//   datetime64   a count of its unit. The module gets its whole milliseconds; the parts below a
//                millisecond stay here, since only second and time of day change them, and are
//                added to the result: so nothing is rounded.
//
// Whole chunks are converted by a fast path: tight loops for the datetimes that people have, which
// lie near to 1970 by the measure of doubles and are not refused. A loop tells where one does not;
// then each element is converted alone, by exact arithmetic for every case.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "arith/doubledouble.h"
#include "elements/element_type.h"
#include "messages/message.h"

namespace plx {

// How far a result may differ from what its element can hold, by the new values that made it.
struct Slack {
  // A value with a fraction is hardly ever the number that was meant, but the double nearest to it.
  // So the result may be off by this much, and is rounded to what the element can hold.
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

  // Whether read() gives low parts and write() takes them; otherwise the low parts of what is read are zero.
  virtual bool hasLow() const { return false; }

  // Reads a chunk, `low` only where there are low parts. False where an element has to be read alone,
  // by readOne(); what is in the arrays then has no meaning.
  virtual bool read(const char* bytes, std::size_t count, double* high, double* low) const = 0;
  virtual std::optional<Complaint> readOne(const char* bytes, doubledouble& datetime) const = 0;
  // The pair nearest to the datetime, parts of a millisecond included, which readOne() leaves out.
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
  // False where an element has to be written alone, by writeOne(), as all that were read alone have to be.
  virtual bool write(const Results& results, char* out) const = 0;
  virtual std::optional<Complaint> writeOne(const char* bytes, const doubledouble& result,
                                            const Slack& slack, char* out) const = 0;

  // An element and a result, for messages.
  virtual std::string text(const char* bytes) const = 0;
  virtual std::string resultText(const char* bytes, const doubledouble& result) const = 0;
};

// Reads numbers of any type but complex and datetime64 as doubles. Returns the index of the first
// that no double holds exactly, or the count.
std::size_t readNumbers(const ElementType& type, const char* bytes, std::size_t count,
                        double* numbers);

// A number, for messages.
std::string numberText(const ElementType& type, const char* bytes);

}  // namespace plx
