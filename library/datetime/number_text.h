// Numbers that stand for datetimes: counts of a unit since 1970-01-01T00:00:00, and the pair of
// doubles itself.
//
//   count  [+|-]digits[.digits], with digits on one side of the point at least and no exponent,
//          which a program writes that has dropped digits
//   pair   HI,LO: two doubles in milliseconds, in any spelling of a decimal number
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "arith/doubledouble.h"
#include "datetime/exact.h"
#include "datetime/notation.h"
#include "messages/message.h"

namespace plx {

// Seconds, milliseconds, microseconds or nanoseconds.
bool isCount(Form form);

// By how many digits the unit of a count is shorter than a second: 3 for milliseconds.
std::size_t digitsOfUnit(Form form);

struct CountText {
  doubledouble pair;
  int128 second;              // floored
  std::string_view fraction;  // the digits behind the point as they stand
};

// Reads a count of such a unit. Nothing, and a complaint, for a text that is none and for one that
// lies more than 2^52 days from 1970.
std::optional<CountText> readCount(std::string_view text, Form form, Complaint& complaint);

// Appends a count without a plus and without zeros behind its last digit.
void writeCount(std::string& out, Form form, const DecimalSeconds& decimal);

// What a text is that should be a decimal number: digits with a sign, a point and an exponent, as in
// -0.5 or 1e3, and nothing else, not the letters of inf and nan either.
enum class DecimalText {
  number,    // of which the nearest double is told
  tooLarge,  // beyond all doubles
  tooSmall,  // not 0, but with no double between that and it
  none,
};
DecimalText readDecimal(std::string_view text, double& number);

// Reads a pair of finite doubles, normalised. Nothing, and a complaint, for a text that is none.
std::optional<doubledouble> readPair(std::string_view text, Complaint& complaint);

// Whether the high part of a pair is missing, whatever stands for the low part: "NaN,0", ",".
bool isMissingPair(std::string_view text);

// Appends the shortest decimal numbers that read as the two doubles.
void writePair(std::string& out, const doubledouble& pair);

// Whether a text stands for no datetime: an empty one, and NaN, NaT or NA in any letter case.
bool isMissing(std::string_view text);

}  // namespace plx
