#include "offsets/offset_table.h"

#include <unicode/basictz.h>
#include <unicode/simpletz.h>
#include <unicode/tzrule.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <typeinfo>
#include <utility>

#include "arith/civil.h"
#include "arith/doubledouble.h"
#include "base/calendar_limits.h"
#include "base/found_once.h"
#include "icu/memory.h"
#include "offsets/listed_transitions.h"

namespace {

constexpr double kDaysPerCycle = 146097.0;
constexpr double kCycle = kDaysPerCycle * kMillisPerDay;  // 400 years
constexpr int kYearsPerCycle = 400;
static_assert(static_cast<int>(kDaysPerCycle) % 7 == 0);

// What is asked of a zone's rules: offsets of less than a day and, from the first year of yearly rules on,
// no transition within two days of a new year.
constexpr double kLargestOffset = kMillisPerDay;
constexpr double kQuiet = 2.0 * kMillisPerDay;

const std::type_info& classOf(const icu::TimeZone& zone) { return typeid(zone); }

// ICU does not publish the class of the zones that it makes from its data; Etc/UTC, which all data have,
// shows it.
const std::type_info& classOfDataZones() {
  const std::unique_ptr<icu::TimeZone> zone(
      checkICUMemory(icu::TimeZone::createTimeZone("Etc/UTC")));
  return classOf(*zone);
}

bool isFixed(const icu::TimeZone& zone) {
  return classOf(zone) == typeid(icu::SimpleTimeZone) && !zone.useDaylightTime();
}

bool isFromData(const icu::TimeZone& zone) {
  static constinit FoundOnce<const std::type_info> known;
  const std::type_info& dataZones = *known.get([] { return &classOfDataZones(); });
  return dataZones != typeid(icu::SimpleTimeZone) && classOf(zone) == dataZones;
}

// Whether ICU has refused something. Throws std::bad_alloc where that was for lack of memory.
bool isRefused(UErrorCode status) {
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  return U_FAILURE(status);
}

double offsetOf(const icu::TimeZoneRule& rule) {
  return static_cast<double>(rule.getRawOffset()) + rule.getDSTSavings();
}

bool isWholeSeconds(double ms) {
  return std::floor(ms / kMillisPerSecond) * kMillisPerSecond == ms;
}

bool fits(double offset) { return std::fabs(offset) < kLargestOffset && isWholeSeconds(offset); }

double firstOfJanuary(int year) { return ymd2days(year, 1.0, 1.0) * kMillisPerDay; }

// One of a pair of yearly rules. Its instants are asked of ICU once for each of the fourteen kinds
// of years.
class YearlyRule {
 public:
  YearlyRule(const icu::AnnualTimeZoneRule& rule, const icu::AnnualTimeZoneRule& before)
      : rule_(&rule), before_(&before), offset_(offsetOf(rule)) {
    sinceNewYear_.fill(kNone);
  }

  double offset() const { return offset_; }

  // `kind`: weekday of 1 January, and 7 more in a leap year. kNone where the rule has no instant in the
  // year, or one that is no whole second.
  double sinceNewYear(int year, std::size_t kind, double newYear) {
    double& since = sinceNewYear_[kind];
    UDate instant;
    if (since == kNone &&
        rule_->getStartInYear(year, before_->getRawOffset(), before_->getDSTSavings(), instant) &&
        isWholeSeconds(instant)) {
      since = instant - newYear;
    }
    return since;
  }

  static constexpr double kNone = -HUGE_VAL;

 private:
  const icu::AnnualTimeZoneRule* rule_;
  const icu::AnnualTimeZoneRule* before_;
  double offset_;
  std::array<double, 14> sinceNewYear_;
};

// Standard time and saving above it in turn, for ever.
bool isPair(const std::vector<const icu::AnnualTimeZoneRule*>& rules) {
  if (rules.size() != 2) return false;
  const icu::AnnualTimeZoneRule &a = *rules[0], &b = *rules[1];
  const auto [less, more] = std::minmax({a.getDSTSavings(), b.getDSTSavings()});
  return less == 0 && more > 0 && a.getRawOffset() == b.getRawOffset() &&
         a.getStartYear() == b.getStartYear() && a.getStartYear() >= 1970 &&
         a.getEndYear() == icu::AnnualTimeZoneRule::MAX_YEAR &&
         b.getEndYear() == icu::AnnualTimeZoneRule::MAX_YEAR;
}

// The days of a month of ICU's, from 0 on; the next one behind December is January.
double daysOfMonthFromZero(int month) {
  constexpr double kCommonYear = 2001.0;  // in which February is shortest
  return daysOfMonth(kCommonYear, month + 1.0);
}

// Whether the date lies in its month in years of every kind. Days of the week counted from the end
// of the month are the last ones.
bool staysInMonth(const icu::DateTimeRule& date) {
  const int day = date.getRuleDayOfMonth(), week = date.getRuleWeekInMonth();
  const double days = daysOfMonthFromZero(date.getRuleMonth());
  switch (date.getDateRuleType()) {
    case icu::DateTimeRule::DOM:
      return day <= days;
    case icu::DateTimeRule::DOW:
      return week == -1 || (1 <= week && week <= 4);
    case icu::DateTimeRule::DOW_GEQ_DOM:
      return day + 6 <= days;
    case icu::DateTimeRule::DOW_LEQ_DOM:
      return 7 <= day && day <= days;
  }
  return false;
}

// Whether ICU's offsets change at the instants that ICU gives for a yearly rule, in every kind of
// year: the instants come from the date, and the offsets are found month by month.
//
// An instant is held against a rule in the fields of standard time, which are then moved to the
// clock that the rule is read off, `ahead` milliseconds further. A month other than the rule's is
// before it or after it. In the month of the rule its day is worked out; for the last weekday of a month
// ICU does so with the length of the month that standard time shows. So the date has to stay in its
// month. And a clock that is behind standard time still shows the last day of the rule's month while
// standard time shows the next one: the next month must not be longer than the rule's, and the change
// must come before standard time enters it.
bool isAlikeByMonths(const icu::DateTimeRule& date, double ahead) {
  if (!staysInMonth(date)) return false;
  const bool isLastWeekday =
      date.getDateRuleType() == icu::DateTimeRule::DOW && date.getRuleWeekInMonth() == -1;
  if (!isLastWeekday || ahead >= 0.0) return true;
  const int month = date.getRuleMonth();
  return daysOfMonthFromZero(month + 1) <= daysOfMonthFromZero(month) &&
         date.getRuleMillisInDay() - ahead <= kMillisPerDay;
}

// How far the clock that a rule is read off is ahead of standard time. Saving begins while the wall
// clock shows standard time.
double aheadOfStandard(const icu::AnnualTimeZoneRule& rule, double savingBefore) {
  switch (rule.getRule()->getTimeRuleType()) {
    case icu::DateTimeRule::WALL_TIME:
      return savingBefore;
    case icu::DateTimeRule::UTC_TIME:
      return -rule.getRawOffset();
    default:
      return 0.0;
  }
}

// Each rule is to have a month of its own: ICU orders the two by their months.
bool areAlikeByMonths(const icu::AnnualTimeZoneRule& a, const icu::AnnualTimeZoneRule& b) {
  return a.getRule()->getRuleMonth() != b.getRule()->getRuleMonth() &&
         isAlikeByMonths(*a.getRule(), aheadOfStandard(a, b.getDSTSavings())) &&
         isAlikeByMonths(*b.getRule(), aheadOfStandard(b, a.getDSTSavings()));
}

}  // namespace

struct OffsetTable::Rules {
  const icu::BasicTimeZone& zone;
  const icu::InitialTimeZoneRule* initial = nullptr;
  std::vector<const icu::TimeArrayTimeZoneRule*> past;
  std::vector<const icu::AnnualTimeZoneRule*> yearly;
  std::optional<std::vector<double>> listed;  // past transitions in the order of ICU's data

  explicit Rules(const icu::BasicTimeZone& z) : zone(z) {}

  // False where there is a rule of another kind.
  bool read() {
    UErrorCode status = U_ZERO_ERROR;
    int32_t count = zone.countTransitionRules(status);
    if (isRefused(status)) return false;
    std::vector<const icu::TimeZoneRule*> all(static_cast<std::size_t>(count));
    zone.getTimeZoneRules(initial, all.data(), count, status);
    if (isRefused(status) || initial == nullptr) return false;
    all.resize(static_cast<std::size_t>(count));
    for (const icu::TimeZoneRule* rule : all) {
      if (!fits(offsetOf(*rule))) return false;
      if (const auto* times = dynamic_cast<const icu::TimeArrayTimeZoneRule*>(rule)) {
        if (times->getTimeType() != icu::DateTimeRule::UTC_TIME) return false;
        past.push_back(times);
      } else if (const auto* annual = dynamic_cast<const icu::AnnualTimeZoneRule*>(rule)) {
        yearly.push_back(annual);
      } else {
        return false;
      }
    }
    return fits(offsetOf(*initial)) && readList();
  }

  // False where the transitions that ICU goes by are out of order. A zone that ICU's data do not have
  // has no list: its transitions are held against ICU's offsets one by one.
  bool readList() {
    if (past.empty() && yearly.empty()) return true;
    listed = listedTransitions(zone);
    return !listed || std::adjacent_find(listed->begin(), listed->end(), std::greater_equal<>()) ==
                          listed->end();
  }

  // Whether a transition counts, from one offset to another: where the data list it, after those before it.
  // `place`, 0 at first, is that of the next one in the list.
  bool confirms(double instant, double from, double to, std::size_t& place) const {
    if (!listed) return hasOffset(instant, to);
    if (!passes(instant, from, place)) return false;
    return place < listed->size() && (*listed)[place++] == instant;
  }

  // Whether listed transitions up to an instant that no rule has change no offset. Where ICU has no memory for
  // the transitions of a rule, the rule has none, and ICU does not report it.
  bool passes(double until, double offset, std::size_t& place) const {
    while (listed && place < listed->size() && (*listed)[place] < until) {
      if (!hasOffset((*listed)[place++], offset)) return false;
    }
    return true;
  }

  bool hasOffset(double instant, double offset) const {
    int32_t raw = 0, saving = 0;
    UErrorCode status = U_ZERO_ERROR;
    zone.getOffset(instant, false, raw, saving, status);
    return U_SUCCESS(status) && static_cast<double>(raw) + saving == offset;
  }
};

bool OffsetTable::isForClassOf(const icu::TimeZone& zone) {
  return isFixed(zone) || isFromData(zone);
}

std::optional<OffsetTable> OffsetTable::of(const icu::TimeZone& zone) {
  if (!isForClassOf(zone)) return std::nullopt;
  Rules rules(dynamic_cast<const icu::BasicTimeZone&>(zone));
  OffsetTable table;
  if (!rules.read() || !table.addPast(rules) || !table.addYearly(rules)) return std::nullopt;
  table.addEnds();
  return table;
}

bool OffsetTable::isOneOffsetOf(const icu::TimeZone& zone) const {
  constexpr std::size_t kStretches = 3;  // the only one and two at its end
  if (instants().stretches != kStretches || cycleEnd_ != HUGE_VAL) return false;
  const Rules rules(dynamic_cast<const icu::BasicTimeZone&>(zone));
  UErrorCode status = U_ZERO_ERROR;
  return rules.zone.countTransitionRules(status) == 0 && U_SUCCESS(status) &&
         rules.hasOffset(0.0, offsets_.front());
}

// The times of each rule stand in order; the earliest of their next ones comes next.
bool OffsetTable::addPast(const Rules& rules) {
  struct Times {
    const icu::TimeArrayTimeZoneRule* rule;
    double offset;
    int32_t taken;
    double next;
  };
  const auto advance = [](Times& times) {
    if (!times.rule->getStartTimeAt(times.taken++, times.next)) times.next = HUGE_VAL;
  };
  std::vector<Times> all;
  for (const auto* rule : rules.past) {
    all.push_back({rule, offsetOf(*rule), 0, 0.0});
    advance(all.back());
  }
  constexpr std::size_t kYearly = 2 * (kYearsPerCycle + 1), kEnds = 4;
  const std::size_t room =
      (rules.listed ? rules.listed->size() : 0) + (rules.yearly.empty() ? 0 : kYearly) + kEnds;
  instants_.reserve(room);
  offsets_.reserve(room);
  instants_.push_back(-HUGE_VAL);
  offsets_.push_back(offsetOf(*rules.initial));
  std::size_t place = 0;
  while (!all.empty()) {
    Times& earliest = *std::min_element(
        all.begin(), all.end(), [](const Times& a, const Times& b) { return a.next < b.next; });
    if (earliest.next == HUGE_VAL) break;
    if (!isWholeSeconds(earliest.next) || !(instants_.back() < earliest.next)) return false;
    if (!rules.confirms(earliest.next, offsets_.back(), earliest.offset, place)) return false;
    add(earliest.next, earliest.offset);
    advance(earliest);
  }
  return rules.passes(HUGE_VAL, offsets_.back(), place);
}

bool OffsetTable::addYearly(const Rules& rules) {
  if (rules.yearly.empty()) return rules.hasOffset(kMaxCalendarMillis, offsets_.back());
  if (!isPair(rules.yearly)) return false;
  if (!areAlikeByMonths(*rules.yearly[0], *rules.yearly[1])) return false;

  const int start = rules.yearly[0]->getStartYear();
  double newYear = firstOfJanuary(start);
  if (!rules.hasOffset(newYear, offsets_.back())) return false;
  if (instants_.back() > newYear - kQuiet) return false;
  // Also of transitions that the rules leave out because they come after the first year of yearly
  // rules: on the wall clock they may come before it.
  if (rules.listed && !rules.listed->empty() && rules.listed->back() > newYear - kQuiet)
    return false;

  YearlyRule first(*rules.yearly[0], *rules.yearly[1]);
  YearlyRule second(*rules.yearly[1], *rules.yearly[0]);
  for (int year = start; year <= start + kYearsPerCycle; ++year) {
    const double nextNewYear = firstOfJanuary(year + 1);
    const double length = nextNewYear - newYear;
    const bool isLeap = length > 365.0 * kMillisPerDay;
    const auto weekday = (static_cast<std::uint32_t>(newYear / kMillisPerDay) + 4) % 7;
    const std::size_t kind = weekday + (isLeap ? 7 : 0);
    double one = first.sinceNewYear(year, kind, newYear);
    double other = second.sinceNewYear(year, kind, newYear);
    if (one > other) {
      std::swap(one, other);
      std::swap(first, second);
    }
    if (!(kQuiet <= one && one < other && other <= length - kQuiet)) return false;
    add(newYear + one, first.offset());
    add(newYear + other, second.offset());
    cycleEnd_ = newYear = nextNewYear;
  }
  return true;
}

// A transition that changes only how the offset is made up of standard time and saving is left out.
void OffsetTable::add(double instant, double offset) {
  if (offset == offsets_.back()) return;
  instants_.push_back(instant);
  offsets_.push_back(offset);
}

// Wall times of the transitions, and the ends.
//
// Where the clock is set back right after another change, a later transition can come earlier on
// the clock. The later one counts; those that it overtakes never do.
void OffsetTable::addEnds() {
  walls_.resize(instants_.size());
  double earliest = HUGE_VAL;
  for (std::size_t i = instants_.size(); i-- > 0;) {
    earliest = std::min(earliest, instants_[i] + offsets_[i]);
    walls_[i] = earliest;
  }
  for (int end = 0; end < 3; ++end) {
    instants_.push_back(cycleEnd_);
    walls_.push_back(cycleEnd_);
  }
  for (int end = 0; end < 2; ++end) offsets_.push_back(offsets_.back());
}

std::size_t stretchIndex(const OffsetLine& line, double t) {
  const double* next = std::upper_bound(line.starts, line.starts + line.stretches, t);
  return static_cast<std::size_t>(next - line.starts) - 1;
}

namespace {

// By how much times from the end of the table on are looked up earlier: whole cycles. A quotient below
// 1024 of numbers below 2^54 is off by less than 2^-44, and two different whole times are at least
// one part in kCycle apart in it: the floor is exact.
double wholeCycles(const OffsetLine& line, double t) {
  static_assert(kCycle < 0x1p44 && 0x1p53 / kCycle < 1023.0);
  return t >= line.cycleEnd ? (std::floor((t - line.cycleEnd) / kCycle) + 1.0) * kCycle : 0.0;
}

}  // namespace

double offsetAt(const OffsetLine& line, double t) {
  return line.offsets[stretchIndex(line, t - wholeCycles(line, t))];
}

OffsetStretch stretchAt(const OffsetLine& line, double t) {
  const double cycles = wholeCycles(line, t);
  const std::size_t i = stretchIndex(line, t - cycles);
  OffsetStretch stretch{line.starts[i] + cycles, line.starts[i + 1] + cycles,
                        line.offsets[i == 0 ? 0 : i - 1], line.offsets[i], line.offsets[i + 1]};
  // The last stretch goes on after the table as it does after the first year of 401.
  if (line.starts[i + 1] == line.cycleEnd && line.cycleEnd != HUGE_VAL) {
    const std::size_t first = stretchIndex(line, line.cycleEnd - kCycle);
    stretch.end = line.starts[first + 1] + kCycle + cycles;
    stretch.after = line.offsets[first + 1];
  }
  return stretch;
}
