#include "datetime/zone.h"

#include <unicode/parsepos.h>
#include <unicode/simpletz.h>
#include <unicode/tzfmt.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "base/calendar_limits.h"
#include "datetime/local_zone.h"
#include "messages/icu.h"
#include "unzoned/leap_seconds.h"
#include "zones/system_zones.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedZones =
    "UTC, UTCLeapSeconds, local, an identifier such as Europe/Paris in its own letter case, or an "
    "offset such as UTC+05:30 or -08:00";
constexpr std::string_view kAcceptedKnownZones =
    "zones that plx zones lists; plx rules update takes the system's rules";
constexpr std::string_view kAcceptedRules =
    "a zone by its identifier, which means the rules of that data; or newer data";
constexpr std::string_view kAcceptedInsertedSeconds =
    "23:59:60 of the UTC days that ended with a leap second, the last on 2012-06-30, with --zone "
    "UTCLeapSeconds";

// The range ends within the floored seconds of these bounds.
constexpr auto kLastCalendarSecond = static_cast<std::int64_t>(kMaxCalendarMillis / 1000.0);
constexpr std::int64_t kFirstCalendarSecond = -kLastCalendarSecond - 1;

// Names of zones that are none to ICU compare without regard to letter case.
bool isName(const icu::UnicodeString& text, std::u16string_view name) {
  if (text.length() != static_cast<std::int32_t>(name.size())) return false;
  for (std::int32_t i = 0; i < text.length(); ++i) {
    if (u_foldCase(text[i], U_FOLD_CASE_DEFAULT) !=
        u_foldCase(name[static_cast<std::size_t>(i)], U_FOLD_CASE_DEFAULT))
      return false;
  }
  return true;
}

template <class T>
std::unique_ptr<T> owned(T* object) {
  if (object == nullptr) throw std::bad_alloc();
  return std::unique_ptr<T>(object);
}

// An offset in one of the spellings of UTC+05:30, +05:30, +0530 and Z; null for anything else.
std::unique_ptr<icu::TimeZone> offsetZone(const icu::UnicodeString& id) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::TimeZoneFormat> format(
      icu::TimeZoneFormat::createInstance(icu::Locale("en_US"), status));
  checkICU(status);
  format->setGMTPattern(icu::UnicodeString(u"UTC{0}"), status);
  format->setGMTZeroFormat(icu::UnicodeString(u"UTC"), status);
  checkICU(status);
  icu::ParsePosition position(0);
  std::unique_ptr<icu::TimeZone> zone(
      format->parse(UTZFMT_STYLE_LOCALIZED_GMT_SHORT, id, position, nullptr));
  if (position.getIndex() < id.length()) return nullptr;
  return zone;
}

// Null for a text that names no zone. The module reads the text once more: the tool is a host that
// stands outside of it. A test holds the two against each other for every name that ICU has.
std::unique_ptr<icu::BasicTimeZone> icuZone(const icu::UnicodeString& id) {
  if (isName(id, u"Etc/Unknown")) return nullptr;
  auto zone = owned(icu::TimeZone::createTimeZone(id));
  if (*zone == icu::TimeZone::getUnknown()) zone = offsetZone(id);
  if (!zone) return nullptr;
  auto& rules = dynamic_cast<icu::BasicTimeZone&>(*zone);  // as all zones are that ICU makes
  static_cast<void>(zone.release());
  return std::unique_ptr<icu::BasicTimeZone>(&rules);
}

bool isIdentifier(const icu::UnicodeString& id) {
  icu::UnicodeString canonical;
  UBool isOfData = false;
  UErrorCode status = U_ZERO_ERROR;
  icu::TimeZone::getCanonicalID(id, canonical, isOfData, status);
  checkMemory(status);
  return U_SUCCESS(status) && isOfData && !isName(id, u"Etc/Unknown");
}

std::string offsetSuffix(int offsetSeconds) {
  std::string text;
  if (offsetSeconds % 60 == 0) writeOffset(text, offsetSeconds);
  return text;
}

std::string suffixOf(const icu::TimeZone& zone) {
  icu::UnicodeString id;
  std::string text;
  if (isIdentifier(zone.getID(id))) return id.toUTF8String(text);
  return zone.useDaylightTime() ? text : offsetSuffix(zone.getRawOffset() / 1000);
}

// The offset of a zone that has no other, as +05:30 spells them; 0 for all others, and for that one, which
// has a name. A column may have another one in every row: without calendar and table it is 100 times
// smaller.
int fixedOffset(const icu::TimeZone& zone) {
  const bool isFixed =
      dynamic_cast<const icu::SimpleTimeZone*>(&zone) != nullptr && !zone.useDaylightTime();
  return isFixed && zone.getRawOffset() % 1000 == 0 ? zone.getRawOffset() / 1000 : 0;
}

std::int64_t leapSecond(const std::array<double, kLeapSeconds>& instants, std::size_t i) {
  return static_cast<std::int64_t>(instants[i]) / 1000;
}

// The number of instants at or before a second.
std::size_t leapsUntil(const std::array<double, kLeapSeconds>& instants, int128 second) {
  std::size_t count = kLeapSeconds;
  while (count > 0 && second < leapSecond(instants, count - 1)) --count;
  return count;
}

// From UTC to the leap-second scale. `inserted`: the inserted second that comes after this one is meant.
std::optional<int128> counted(int128 utcSecond, bool inserted) {
  if (!inserted) return utcSecond + leapsUntil(leapInstantsUTC, utcSecond);
  const std::size_t count = leapsUntil(leapInstantsUTC, utcSecond + 1);
  if (count == 0 || utcSecond + 1 != leapSecond(leapInstantsUTC, count - 1)) return std::nullopt;
  return leapSecond(leapInstantsElapsed, count - 1);
}

WallTime utcOfCounted(int128 second) {
  const std::size_t count = leapsUntil(leapInstantsElapsed, second);
  const bool inserted = count > 0 && second == leapSecond(leapInstantsElapsed, count - 1);
  // Second 60 follows the second 59 before it, which one leap second less lies behind.
  return {second - static_cast<int128>(count), inserted, OffsetForm::z, 0};
}

bool isWithin(int128 second, int128 first, int128 last) {
  return first <= second && second <= last;
}

// Whether it is one of those that an update of the rules would take.
bool isZoneOfSystem(std::string_view text) {
  if (text.starts_with("posix/") || text.starts_with("right/")) return false;
  try {
    return zones::SystemZones(zones::systemZonesFolder()).zone(text).has_value();
  } catch (const zones::BadZones&) {
    return false;
  }
}

}  // namespace

bool isZoneIdentifier(std::string_view text) { return isIdentifier(unicodeText(text)); }

Complaint unknownZone() { return {"unknown time zone", kAcceptedZones, Status::unknownName}; }

Zone::Zone(Kind kind, std::string text, int offsetSeconds)
    : kind_(kind), text_(std::move(text)), offsetSeconds_(offsetSeconds) {
  if (kind == Kind::utc || kind == Kind::leapSeconds) suffix_ = "UTC";
  if (kind == Kind::offset) suffix_ = offsetSuffix(offsetSeconds);
}

Zone Zone::named(std::string_view text) {
  Complaint complaint;
  auto zone = find(text, complaint);
  if (!zone) throw Failure{Status::unknownName, describe("--zone", complaint, text)};
  return std::move(*zone);
}

std::optional<Zone> Zone::find(std::string_view text, Complaint& complaint) {
  const icu::UnicodeString id = unicodeText(text);
  if (id.isEmpty()) return Zone(Kind::plain, "");
  if (isName(id, u"UTC")) return Zone(Kind::utc, "UTC");
  if (isName(id, u"local")) return local(complaint);
  if (isName(id, u"UTCLeapSeconds")) return Zone(Kind::leapSeconds, "UTCLeapSeconds");
  auto rules = icuZone(id);
  if (!rules) {
    complaint = unknownZone();
    if (isZoneOfSystem(text)) {
      complaint.what = "a time zone of the system's rules that those in use, " + timeZoneData() +
                       ", do not know";
      complaint.accepted = kAcceptedKnownZones;
    }
    return std::nullopt;
  }
  if (const int offset = fixedOffset(*rules)) return Zone(Kind::offset, std::string(text), offset);
  Zone zone(Kind::calendar, std::string(text));
  zone.suffix_ = suffixOf(*rules);
  zone.offsets_ = std::make_unique<ZoneOffsets>(std::move(rules));
  if (RulesWatch::isOn()) zone.watch_ = std::make_unique<RulesWatch>(std::string(text));
  return zone;
}

std::optional<Zone> Zone::local(Complaint& complaint) {
  const auto text = localZoneText(complaint);
  auto zone = text ? find(*text, complaint) : std::nullopt;
  if (!zone) return std::nullopt;
  std::unique_ptr<icu::BasicTimeZone> rules;
  if (zone->rules() != nullptr) {
    rules = owned(zone->rules()->clone());
  } else {
    rules = owned(new icu::SimpleTimeZone(zone->offsetSeconds_ * 1000, icu::UnicodeString()));
  }
  zone->system_ = std::make_unique<SystemClock>(std::move(rules));
  zone->watch_.reset();  // the clock is compared instead
  return zone;
}

Zone Zone::of(const DatetimeText& datetime) {
  switch (datetime.offset) {
    case OffsetForm::none:
      return Zone(Kind::plain, "");
    case OffsetForm::z:
    case OffsetForm::unknown:
      return Zone(Kind::utc, "UTC");
    case OffsetForm::numeric:
      break;
  }
  std::string text;
  writeOffset(text, datetime.offsetSeconds);
  return Zone(Kind::offset, std::move(text), datetime.offsetSeconds);
}

const icu::BasicTimeZone* Zone::rules() const { return offsets_ ? &offsets_->rules() : nullptr; }

std::string_view Zone::acceptedRange() const {
  return isCalendar() ? kAcceptedCalendarRange : kAcceptedRange;
}

bool Zone::isRightBySystem(const doubledouble& pair, Complaint& complaint) const {
  const auto second = static_cast<std::int64_t>(std::floor(pair.hi / 1000));
  if (system_->agrees(second)) return true;
  complaint = otherClock(second);
  return false;
}

std::optional<std::size_t> Zone::firstWrong(std::span<const double> millis,
                                            Complaint& complaint) const {
  if (watch_) watch_->take(millis);
  if (!system_) return std::nullopt;
  const auto wrong = system_->firstDiffering(millis);
  if (wrong) complaint = otherClock(static_cast<std::int64_t>(std::floor(millis[*wrong] / 1000)));
  return wrong;
}

Complaint Zone::otherClock(std::int64_t second) const {
  const auto difference = system_->differenceAt(second);
  DatetimeText form;
  form.separator = 'T';
  Complaint complaint{"", kAcceptedRules, Status::unknownName};
  complaint.what = "local is " + text_ +
                   ", where the system's clock and the time-zone data in use, " + timeZoneData() +
                   ", differ from ";
  writeDatetime(complaint.what, form, {difference.second, false, OffsetForm::z, 0}, "");
  complaint.what += " on: ";
  writeOffset(complaint.what, difference.system);
  complaint.what += " and ";
  writeOffset(complaint.what, difference.icu);
  return complaint;
}

std::optional<int128> Zone::secondOf(const DatetimeText& datetime, Complaint& complaint) const {
  const int128 wall = int128{datetime.day} * 86400 + datetime.secondOfDay;
  if (datetime.insertedSecond && kind_ != Kind::leapSeconds) {
    complaint = {"there is no second 60", kAcceptedInsertedSeconds};
    return std::nullopt;
  }
  if (!isWithin(wall, -kMaxSeconds, kMaxSeconds)) {
    complaint = {"out of range", kAcceptedRange};
    return std::nullopt;
  }
  std::optional<int128> second = wall - datetime.offsetSeconds;
  if (kind_ == Kind::leapSeconds) {
    second = counted(*second, datetime.insertedSecond);
    if (!second) complaint = {"no leap second was inserted there", kAcceptedInsertedSeconds};
  } else if (isCalendar()) {
    // A day more than the range, and the year still fits the calendar's fields.
    const bool nearby =
        isWithin(*second, kFirstCalendarSecond - 86400, kLastCalendarSecond + 86400);
    if (nearby && datetime.offset == OffsetForm::none) {
      second = kind_ == Kind::offset ? wall - offsetSeconds_
                                     : wall - offsets_->ofWallTime(static_cast<std::int64_t>(wall));
    }
    if (!nearby || !isWithin(*second, kFirstCalendarSecond, kLastCalendarSecond)) {
      complaint = {"out of range", kAcceptedCalendarRange};
      second.reset();
    }
  }
  return second;
}

WallTime Zone::wallTime(int128 second) const {
  switch (kind_) {
    case Kind::plain:
      return {second};
    case Kind::utc:
      return {second, false, OffsetForm::z, 0};
    case Kind::leapSeconds:
      return utcOfCounted(second);
    case Kind::offset:
      return {second + offsetSeconds_, false, OffsetForm::numeric, offsetSeconds_};
    case Kind::calendar:
      break;
  }
  const int offset = offsets_->at(static_cast<std::int64_t>(second));
  return {second + offset, false, OffsetForm::numeric, offset};
}

Stretch Zone::stretchAt(int128 second) const {
  if (!offsets_) return {{}, {}, wallTime(second).offsetSeconds};
  const OffsetStretch found = offsets_->stretchAt(static_cast<std::int64_t>(second));
  const auto seconds = [](double ms) { return static_cast<std::int64_t>(ms / 1000.0); };
  const auto offset = [](double ms) { return static_cast<int>(ms / 1000.0); };
  Stretch stretch{{}, {}, offset(found.offset)};
  if (std::isfinite(found.start))
    stretch.begin = {seconds(found.start), offset(found.before), stretch.offset};
  if (std::isfinite(found.end))
    stretch.end = {seconds(found.end), stretch.offset, offset(found.after)};
  return stretch;
}

}  // namespace plx
