// Time zones as the module knows them, and the wall clocks of those zones.
//
//   text          the module then works on     a datetime is written with
//   (empty)       plain calendar time          no offset
//   UTC           UTC                          Z
//   UTCLeapSeconds  UTC that counts leap seconds  Z
//   Europe/Paris, UTC+05:30, +05:30 ...  a calendar in that zone  +hh:mm or +hh:mm:ss
//   local         the zone that the system's clock shows, by its identifier or offset
//
// Seconds count from 1970-01-01T00:00:00 on the time scale that the module works on: with inserted
// seconds on the leap-second scale, without them on all others.
#pragma once

#include <unicode/basictz.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "datetime/datetime_text.h"
#include "datetime/exact.h"
#include "datetime/rules_in_use.h"
#include "datetime/system_clock.h"
#include "datetime/zone_offsets.h"
#include "messages/message.h"

namespace plx {

// Whether a text is an identifier of the time zone data, in its own letter case.
bool isZoneIdentifier(std::string_view text);

// A change of the clock.
//
//   gap      the clock goes forward: wall times are skipped
//   overlap  it goes back: wall times are shown twice
struct Transition {
  int128 second;      // the first one with the new offset
  int before, after;  // offsets, in seconds east of UTC

  bool isGap() const { return after > before; }
  // What the clock would show at the change without it, and what it shows.
  int128 wallBefore() const { return second + before; }
  int128 wallAfter() const { return second + after; }
};

// From one change to the next.
struct Stretch {
  std::optional<Transition> begin, end;  // none where the stretch is endless
  int offset;                            // in seconds east of UTC
};

// How weeks of the year and days of the week are counted where it is not left to the module, whose rule for
// weeks depends on the zone: from that day, Sunday being 0, with 1 January in week 1 of its year, and so 31
// December in week 53 or 54.
struct Weeks {
  int firstDay = 0;
};

// For one thread at a time: a zone keeps what it has looked up.
class Zone {
 public:
  // The zone of a text, read as the module reads it with the locale en_US; but `local` is the zone of
  // local_zone.h, whose rules the system's clock has to agree with. Throws a Failure of
  // Status::unknownName.
  static Zone named(std::string_view text);
  // The same; nothing, and a complaint, for a text that is none.
  static std::optional<Zone> find(std::string_view text, Complaint& complaint);
  // The zone that a datetime's offset tells: UTC for Z and for an unknown one, plain where there is
  // none.
  static Zone of(const DatetimeText& datetime);

  // What the module is told.
  const std::string& text() const { return text_; }
  // The zone in an RFC 9557 suffix: an identifier, or an offset of whole minutes. Empty for plain
  // time and for a zone that has neither.
  const std::string& suffix() const { return suffix_; }
  // The module goes through a calendar, which holds less than the arithmetic does.
  bool isCalendar() const { return kind_ == Kind::offset || kind_ == Kind::calendar; }
  // Inserted seconds count.
  bool countsLeapSeconds() const { return kind_ == Kind::leapSeconds; }
  // The changes of the zone's offset; null where it never changes.
  const icu::BasicTimeZone* rules() const;
  // For messages: the range of datetimes here.
  std::string_view acceptedRange() const;

  // The second that a datetime stands in: its own instant where it has an offset, else wall time
  // here. Wall times that a change of the clock skips or repeats are read as the module's calendar
  // reads them: by the offset before a gap, and as the later of two. Nothing, and a complaint, for
  // times outside the range (whose last second is taken whole) and for seconds 60 that were not
  // inserted.
  std::optional<int128> secondOf(const DatetimeText& datetime, Complaint& complaint) const;

  // The same of a plain time, which is in every range. Not where leap seconds count.
  std::int64_t secondOf(const PlainTime& time) const {
    std::int64_t offset = time.offsetSeconds;
    if (time.offset == OffsetForm::none && isCalendar())
      offset = kind_ == Kind::offset ? offsetSeconds_ : offsets_->ofWallTime(time.wall);
    return time.wall - offset;
  }

  // Whether a pair of milliseconds, within the range, may be worked on here: in the local zone, only
  // where ICU's rules and the system's clock agree. Else a complaint of Status::unknownName, which
  // tells where they differ.
  bool isRight(const doubledouble& pair, Complaint& complaint) const {
    if (watch_) watch_->take(pair.hi);
    return !system_ || isRightBySystem(pair, complaint);
  }
  // The first of which that is not so, likewise; those out of range are passed over.
  std::optional<std::size_t> firstWrong(std::span<const double> millis, Complaint& complaint) const;
  bool isLocal() const { return system_ != nullptr; }

  // Nothing: as the module counts.
  const std::optional<Weeks>& weeks() const { return weeks_; }
  void setWeeks(const std::optional<Weeks>& weeks) { weeks_ = weeks; }

  // What the clock shows at a second; for a calendar, within its range.
  WallTime wallTime(int128 second) const;
  // The same of a second within 2^52 ms of 1970, whatever year that is. Not where leap seconds count.
  PlainTime plainTime(std::int64_t second) const {
    if (!isCalendar()) return {second, kind_ == Kind::utc ? OffsetForm::z : OffsetForm::none, 0};
    const int offset = kind_ == Kind::offset ? offsetSeconds_ : offsets_->at(second);
    return {second + offset, OffsetForm::numeric, offset};
  }

  // The stretch of time around a second in which the offset stays the same. A line that has no other
  // offset is one stretch.
  Stretch stretchAt(int128 second) const;

 private:
  enum class Kind { plain, utc, leapSeconds, offset, calendar };

  Zone(Kind kind, std::string text, int offsetSeconds = 0);

  static std::optional<Zone> local(Complaint& complaint);
  bool isRightBySystem(const doubledouble& pair, Complaint& complaint) const;
  Complaint otherClock(std::int64_t second) const;

  Kind kind_;
  std::optional<Weeks> weeks_;
  std::string text_, suffix_;
  int offsetSeconds_;                     // of Kind::offset
  std::unique_ptr<ZoneOffsets> offsets_;  // of Kind::calendar
  std::unique_ptr<SystemClock> system_;   // of the local zone
  std::unique_ptr<RulesWatch> watch_;  // of an identifier, where the system's rules may be others
};

// The range of datetimes in a calendar; elsewhere it is kAcceptedRange.
inline constexpr std::string_view kAcceptedCalendarRange =
    "in a time zone, from -140744-08-10T07:30:29.504Z to +144683-05-23T16:29:30.496Z";

// What is told of a text that names no zone.
Complaint unknownZone();

}  // namespace plx
