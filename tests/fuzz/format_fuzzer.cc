// A format of any letters, and a text in it: the format is refused with a reason, or reads its own example. A text
// that is read is written again as it stood, and what is written of it moved is read as the same pair.

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "datetime/format.h"
#include "datetime/reading.h"
#include "fuzz/input.h"
#include "messages/letters.h"

namespace {

bool isTold(const plx::Complaint& complaint) {
  return !complaint.what.empty() && !complaint.accepted.empty();
}

// Of a count, zeros and a plus before it and more digits than are written; of a zone's name, times that its
// clock skips.
bool keepsItsSpelling(const plx::Format& format, const plx::Reading& reading) {
  return !format.isCount() && reading.text.suffix.zone.empty() && reading.text.fraction.size() <= 9;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static plx::Zones zones;
  zones.trim();
  Input in(data, size);
  const std::optional<int> year = in.oneIn(4) ? std::optional(1970 + in.byte()) : std::nullopt;
  const auto seconds = static_cast<double>(in.bits<std::int16_t>());
  const std::size_t length = in.byte();
  const std::string rest = in.rest();
  const std::string text = rest.substr(0, std::min(length, rest.size()));
  const std::string datetime = rest.substr(text.size());

  plx::Complaint complaint;
  const bool mayWrite = plx::Format::forWriting(text, complaint).has_value();
  require(mayWrite || isTold(complaint), "a format is refused for a reason:", text);
  auto compiled = plx::Format::forReading(text, year, complaint);
  if (!compiled) {
    require(isTold(complaint), "a format is refused for a reason:", text);
    return 0;
  }
  require(mayWrite, "what is read can be written:", text);
  const plx::Format& format = *compiled;
  plx::FormatReading example;
  require(format.read(format.example(), example),
          "the example is in the format:", text + " as " + format.example());
  for (std::size_t i = 0; i < plx::Format::kFronts && i < format.example().size(); ++i)
    require(format.mayHave(i, format.example()[i]), "what a datetime begins with is known:", text);

  plx::Notation notation;
  notation.formats = {std::make_shared<const plx::Format>(format)};
  const auto reading = plx::read(datetime, notation, nullptr, zones, complaint);
  if (!reading) {
    require(isTold(complaint), "a text is refused for a reason:", datetime);
    return 0;
  }
  if (reading->missing) return 0;
  std::string written;
  const bool isWritten = plx::write(*reading, reading->pair, notation, written, complaint);
  if (keepsItsSpelling(format, *reading)) {
    require(isWritten && plx::areEqualInAnyCase(written, datetime),
            "a text stays as it was:", text + ": " + datetime + " as " + written);
  }

  const doubledouble moved = two_sum(reading->pair.hi + seconds * 1000.0, reading->pair.lo);
  notation.exact = true;
  written = "before ";
  if (!plx::write(*reading, moved, notation, written, complaint)) {
    require(isTold(complaint), "a datetime is refused for a reason:", datetime);
    require(written == "before ", "nothing is left of what is refused:", written);
    return 0;
  }
  written.erase(0, 7);
  if (!reading->text.suffix.zone.empty())
    return 0;  // a time that comes twice is read as the later one
  const auto again = plx::read(written, notation, nullptr, zones, complaint);
  require(again.has_value(), "what is written is read:", text + ": " + written);
  require(again->pair.hi == moved.hi && again->pair.lo == moved.lo,
          "as the same pair:", text + ": " + datetime + " as " + written);
  return 0;
}
