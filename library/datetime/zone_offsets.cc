#include "datetime/zone_offsets.h"

#include <unicode/tzrule.h>
#include <unicode/tztrans.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "messages/icu.h"

namespace plx {

namespace {

constexpr double kMillisOfSecond = 1000.0;

double offsetOf(const icu::TimeZoneRule& rule) {
  return static_cast<double>(rule.getRawOffset()) + rule.getDSTSavings();
}

// The edges of a stretch as ICU walks along them; those that leave the offset as it is are passed over.
OffsetStretch stretchByICU(const icu::BasicTimeZone& rules, double ms, double offset) {
  OffsetStretch stretch{-HUGE_VAL, HUGE_VAL, offset, offset, offset};
  icu::TimeZoneTransition change;
  UBool isInclusive = true;
  for (double from = ms; rules.getPreviousTransition(from, isInclusive, change);) {
    from = stretch.start = change.getTime();
    stretch.before = offsetOf(*change.getFrom());
    if (stretch.before != offset) break;
    stretch.start = -HUGE_VAL;
    isInclusive = false;
  }
  for (double from = ms; rules.getNextTransition(from, false, change);) {
    from = stretch.end = change.getTime();
    stretch.after = offsetOf(*change.getTo());
    if (stretch.after != offset) break;
    stretch.end = HUGE_VAL;
  }
  return stretch;
}

}  // namespace

void ZoneOffsets::Stretches::find(const OffsetLine& line, std::int64_t second, Stretch& stretch) {
  const double ms = static_cast<double>(second) * kMillisOfSecond;
  const std::int64_t days = second >> kBits, first = days << kBits;
  stretch.days = static_cast<std::int32_t>(days);
  if (!(ms < line.cycleEnd)) {
    stretch.begin = static_cast<std::int32_t>(second - first);
    stretch.end = stretch.begin + 1;
    stretch.offset = static_cast<std::int32_t>(offsetAt(line, ms) / kMillisOfSecond);
    return;
  }
  // The first second at an edge or behind it, among those of the same days.
  const auto firstFrom = [&](double edge) {
    const double inDays = std::ceil(edge / kMillisOfSecond) - static_cast<double>(first);
    return static_cast<std::int32_t>(std::clamp(inDays, 0.0, static_cast<double>(kSeconds)));
  };
  const std::size_t index = stretchIndex(line, ms);
  stretch.begin = firstFrom(line.starts[index]);
  stretch.end = firstFrom(line.starts[index + 1]);
  stretch.offset = static_cast<std::int32_t>(line.offsets[index] / kMillisOfSecond);
}

ZoneOffsets::ZoneOffsets(std::unique_ptr<icu::BasicTimeZone> rules) : rules_(std::move(rules)) {}

bool ZoneOffsets::tryTable() {
  // As many as one datetime needs that is read, set and written.
  constexpr int kQuestionsBefore = 4;
  if (questions_ < kQuestionsBefore) {
    ++questions_;
    return false;
  }
  table_ = OffsetTable::of(*rules_);
  isTableTried_ = true;
  if (table_) {
    instants_.makeRoom();
    walls_.makeRoom();
  }
  return table_.has_value();
}

int ZoneOffsets::ask(std::int64_t second) const {
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  rules_->getOffset(static_cast<double>(second) * kMillisOfSecond, false, raw, saving, status);
  checkICU(status);
  return (raw + saving) / 1000;  // zones differ from UTC by whole seconds
}

int ZoneOffsets::askOfWallTime(std::int64_t wallSecond) const {
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  rules_->getOffsetFromLocal(static_cast<double>(wallSecond) * kMillisOfSecond,
                             UCAL_TZ_LOCAL_FORMER, UCAL_TZ_LOCAL_LATTER, raw, saving, status);
  checkICU(status);
  return (raw + saving) / 1000;
}

OffsetStretch ZoneOffsets::stretchAt(std::int64_t second) {
  const double ms = static_cast<double>(second) * kMillisOfSecond;
  return hasTable() ? ::stretchAt(table_->instants(), ms)
                    : stretchByICU(*rules_, ms, ask(second) * kMillisOfSecond);
}

}  // namespace plx
