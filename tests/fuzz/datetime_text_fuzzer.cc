// One datetime's text of any form, in a zone or in its own, to any form: it is refused with a reason, or
// the exact text that is written for it reads as the same pair of doubles.

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "datetime/reading.h"
#include "fuzz/input.h"

namespace {

constexpr std::array<std::string_view, 11> kForms = {
    "", "iso", "ordinal", "week", "rfc3339", "rfc9557", "s", "ms", "us", "ns", "pair"};

constexpr std::array<const char*, 12> kZones = {"",
                                                "UTC",
                                                "UTCLeapSeconds",
                                                "America/New_York",
                                                "America/Havana",
                                                "Asia/Gaza",
                                                "UTC+5:30:15",
                                                "Pacific/Apia",
                                                "Etc/UTC",
                                                "Europe/Dublin",
                                                "-08:00",
                                                "Africa/Casablanca"};

const plx::Zone& zoneOf(std::size_t i) {
  static std::map<std::size_t, plx::Zone> zones;
  const auto found = zones.find(i);
  if (found != zones.end()) return found->second;
  return zones.emplace(i, plx::Zone::named(kZones[i])).first->second;
}

bool isSamePair(const doubledouble& a, const doubledouble& b) {
  return a.hi == b.hi && a.lo == b.lo;
}

bool isTold(const plx::Complaint& complaint) {
  return !complaint.what.empty() && !complaint.accepted.empty();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static plx::Zones zones;
  zones.trim();
  Input in(data, size);
  plx::Notation notation;
  notation.from = plx::formNamed(kForms[in.below(kForms.size())]).value_or(plx::Form::recognised);
  notation.to = plx::formNamed(kForms[in.below(kForms.size())]);
  const plx::Zone* const zone = in.oneIn(2) ? &zoneOf(in.below(kZones.size())) : nullptr;
  const std::uint8_t digits = in.byte();
  const std::string text = in.rest();

  plx::Complaint complaint;
  const auto reading = plx::read(text, notation, zone, zones, complaint);
  if (!reading) {
    require(isTold(complaint), "a text is refused for a reason:", text);
    return 0;
  }
  require(reading->missing || reading->zone != nullptr, "a datetime has a zone:", text);

  std::string out = "before ";
  notation.digits = digits;
  if (!plx::write(*reading, reading->pair, notation, out, complaint)) {
    require(isTold(complaint), "a datetime is refused for a reason:", text);
    require(out == "before ", "nothing is left of what is refused:", out);
  }

  notation.digits.reset();
  notation.exact = true;
  std::string written;
  if (!plx::write(*reading, reading->pair, notation, written, complaint)) return 0;
  plx::Notation back = notation;
  if (notation.to) back.from = *notation.to;
  const auto again = plx::read(written, back, zone, zones, complaint);
  if (reading->missing) {
    require(written == text, "a missing datetime stays as it was:", text);
    return 0;
  }
  require(again.has_value(), "what is written is read:", text + " as " + written);
  require(isSamePair(again->pair, reading->pair),
          "the exact text is the same pair:", text + " as " + written);
  return 0;
}
