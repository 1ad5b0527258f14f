// One datetime's text, there and back: from a field to the pair of doubles that the module takes,
// and from a pair to the field again, in the form it came in or in another.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "arith/doubledouble.h"
#include "datetime/datetime_text.h"
#include "datetime/format.h"
#include "datetime/notation.h"
#include "datetime/zone.h"
#include "datetime/zones.h"
#include "messages/message.h"

namespace plx {

// What a text says. It points into the text, which has to stay as long as the reading is written.
struct Reading {
  bool missing = false;            // there is no datetime: it has no zone and no pair
  std::string_view field;          // the whole text
  DatetimeText text;               // in which form it came; of a number, form and fraction
  const Format* format = nullptr;  // of the notation, which it came in
  FormatSpelling spelling;
  const Zone* zone = nullptr;  // where it is to be worked on
  // Whose wall time the text is: that zone, or the one in its brackets. Null for an instant.
  const Zone* clock = nullptr;
  doubledouble pair{0.0, 0.0};
  // Whether digits may stay that no pair holds; not where those of the second are replaced.
  bool keepsDigits = true;
};

// Reads a text in a zone for all datetimes or, where that is null, in the zone it brings along,
// which `zones` then keeps; a number without either is plain time. Nothing, and a complaint, for a
// text that is no datetime of the form that is expected, for one that is out of range and for one
// that contradicts itself. Of several formats all are tried: a text that two of them read differently
// has a complaint that ends the run.
std::optional<Reading> read(std::string_view text, const Notation& notation, const Zone* zoneForAll,
                            Zones& zones, Complaint& complaint);

// Appends a pair as the datetime that was read would be written; a missing one as it stood. False,
// and a complaint, for a pair that is out of range and for what the form cannot say; `out` is then
// as it was.
//
// Seconds are rounded to nine digits, or to as many as came in where that is more. Digits that came in and
// that no pair of doubles holds stay where the fraction of the second does; else they are cut. With
// `notation.exact`, the text reads as the same pair in the same zone, in the fewest digits that do;
// a pair that is not normalised counts as the normalised one of equal value.
// `notation.digits` cuts what would be written toward earlier time.
bool write(const Reading& reading, const doubledouble& pair, const Notation& notation,
           std::string& out, Complaint& complaint);

// Whether `write` cuts digits that came in, as no pair of doubles holds them.
bool cutsDigits(const Reading& reading, const doubledouble& pair, const Notation& notation);

}  // namespace plx
