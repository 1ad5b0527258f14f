#include "datetime/zones.h"

#include <optional>
#include <utility>

#include "datetime/scanner.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedSuffixes =
    "an identifier such as [America/New_York] in its own letter case, or an offset such as "
    "[+05:30]";

// An offset as a suffix has it: +hh:mm.
std::optional<int> offsetOf(std::string_view text) {
  Scanner scan(text);
  const char sign = scan.oneOf("+-");
  int hours = 0, minutes = 0;
  if (sign == 0 || !scan.twoDigits(hours) || !scan.skip(':') || !scan.twoDigits(minutes) ||
      !scan.atEnd() || hours > 23 || minutes > 59)
    return std::nullopt;
  const int magnitude = hours * 3600 + minutes * 60;
  return sign == '-' ? -magnitude : magnitude;
}

}  // namespace

const Zone* Zones::of(const DatetimeText& datetime, Complaint& complaint) {
  if (!datetime.suffix.zone.empty()) return bySuffix(datetime.suffix.zone, complaint);
  return &byOffset(datetime.offset, datetime.offsetSeconds);
}

const Zone& Zones::byOffset(OffsetForm form, int offsetSeconds) {
  const std::pair key(form, offsetSeconds);
  const auto found = byOffset_.find(key);
  if (found != byOffset_.end()) return found->second;
  DatetimeText datetime;
  datetime.offset = form;
  datetime.offsetSeconds = offsetSeconds;
  Zone& zone = byOffset_.emplace(key, Zone::of(datetime)).first->second;
  zone.setWeeks(weeks_);
  return zone;
}

const Zone* Zones::bySuffix(std::string_view text, Complaint& complaint) {
  const auto found = byName_.find(text);
  if (found != byName_.end()) return &found->second;
  if (const auto offset = offsetOf(text)) return &byOffset(OffsetForm::numeric, *offset);
  if (isZoneIdentifier(text)) {
    if (auto zone = Zone::find(text, complaint)) {
      zone->setWeeks(weeks_);
      return &byName_.emplace(text, std::move(*zone)).first->second;
    }
  }
  complaint = {"unknown time zone [" + std::string(text) + "]", kAcceptedSuffixes};
  return nullptr;
}

const Zone* Zones::named(std::string_view text, Complaint& complaint) {
  auto found = byText_.find(text);
  if (found == byText_.end()) {
    Named named;
    named.zone = Zone::find(text, named.complaint);
    if (named.zone) named.zone->setWeeks(weeks_);
    found = byText_.emplace(text, std::move(named)).first;
  }
  if (found->second.zone) return &*found->second.zone;
  complaint = found->second.complaint;
  return nullptr;
}

bool Zones::trim() {
  if (byOffset_.size() + byName_.size() + byText_.size() <= kMostZones) return false;
  byOffset_.clear();
  byText_.clear();
  byName_.clear();
  return true;
}

}  // namespace plx
