#include "zones/icu_zone.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>

namespace zones {

namespace {

constexpr std::int64_t kDay = 86400;
constexpr int kFirstYear = 1800;

std::int64_t startOfYear(std::int64_t year) { return dayNumber(year, 1, 1) * kDay; }

std::int64_t yearOf(std::int64_t second) {
  return yearOfDay(second / kDay - (second % kDay < 0 ? 1 : 0));
}

// ------------------------------------------------------------------------------------ The yearly rule

using Date = std::array<int, 5>;

// A date of ICU's form in a year, as a second of the wall clock; only what icuDate() makes.
std::int64_t wallSecondIn(const Date& date, std::int64_t year) {
  const auto [month, day, weekday, second, mode] = date;
  std::int64_t number = dayNumber(year, month + 1, day > 0 ? day : daysOfMonth(year, month + 1));
  const auto past = [&](int wanted) { return ((number + 4 - (wanted - 1)) % 7 + 7) % 7; };
  if (day < 0) {
    number -= past(weekday);
  } else if (weekday < 0) {
    number += (7 - past(-weekday)) % 7;
  }
  return number * kDay + second;
}

// Times before midnight or beyond 24:00 move to the day that they fall on. It stays within the month here; ICU's
// list of a zone's changes and its offsets may differ where it does not. 24:00 stays, since ICU has it and the day
// behind the last Thursday of a month may be the next month's.
std::optional<Date> icuDate(const YearlyDate& date) {
  int shift = date.second / static_cast<int>(kDay), second = date.second % static_cast<int>(kDay);
  if (second < 0) --shift, second += static_cast<int>(kDay);
  if (second == 0 && shift > 0) --shift, second = static_cast<int>(kDay);
  const int length = daysOfMonth(2001, date.month == 0 ? 1 : date.month);
  switch (date.kind) {
    case YearlyDate::Kind::weekday: {
      const int weekday = ((date.weekday + shift) % 7 + 7) % 7 + 1;
      if (shift == 0 && date.week == 5) return Date{date.month - 1, -1, weekday, second, 0};
      if (date.week == 5 && date.month == 2) return std::nullopt;  // it moves with leap years
      const int day = (date.week == 5 ? length - 6 : 7 * date.week - 6) + shift;
      if (day < 1 || day + 6 > length) return std::nullopt;
      return Date{date.month - 1, day, -weekday, second, 0};
    }
    case YearlyDate::Kind::dayNotLeap:
    case YearlyDate::Kind::dayFromZero:
      break;
  }
  // Of a year without 29 February. Where that matters, the comparison below finds out.
  const int dayOfYear =
      (date.kind == YearlyDate::Kind::dayNotLeap ? date.day - 1 : date.day) + shift;
  const std::int64_t number = dayNumber(2001, 1, 1) + dayOfYear;
  if (yearOfDay(number) != 2001) return std::nullopt;
  int month = 1;
  while (month < 12 && dayNumber(2001, month + 1, 1) <= number) ++month;
  return Date{month - 1, static_cast<int>(number - dayNumber(2001, month, 1)) + 1, 0, second, 0};
}

// Nothing where ICU's form has none for it, or another meaning in a year of the 400 after which the calendar
// repeats.
std::optional<IcuZone::Final> finalOf(const YearlyRule& rule) {
  const bool isForward = rule.saving->offset > rule.standard;
  const YearlyDate& up = isForward ? rule.saving->begin : rule.saving->end;
  const YearlyDate& down = isForward ? rule.saving->end : rule.saving->begin;
  const auto begin = icuDate(up), end = icuDate(down);
  if (!begin || !end) return std::nullopt;
  for (std::int64_t year = 2000; year < 2400; ++year) {
    if (wallSecondIn(*begin, year) != up.wallSecondIn(year) ||
        wallSecondIn(*end, year) != down.wallSecondIn(year))
      return std::nullopt;
  }
  // ICU takes a year to have one of each, within itself.
  if ((*begin)[0] == (*end)[0]) return std::nullopt;
  IcuZone::Final final{{}, std::min(rule.standard, rule.saving->offset), kFirstYear};
  std::copy(begin->begin(), begin->end(), final.rule.begin());
  std::copy(end->begin(), end->end(), final.rule.begin() + 5);
  final.rule.back() = std::max(rule.standard, rule.saving->offset) - final.raw;
  return final;
}

// -------------------------------------------------------------------------------- The list of changes

struct Listed {
  std::int64_t second;
  ZoneFile::Type type;
};

ZoneFile::Type typeOf(const YearlyRule& rule, int offset) {
  return {offset, rule.saving && offset == rule.saving->offset && offset != rule.standard};
}

// Of a rule that holds since long before the first year, its changes from the year before that on.
void listOffsetChanges(const YearlyRule& rule, std::int64_t from, std::int64_t until,
                       std::vector<Listed>& all) {
  if (from < startOfYear(kFirstYear - 1)) {
    from = startOfYear(kFirstYear - 1);
    all.push_back({from, typeOf(rule, rule.offsetAt(from))});
    ++from;
  }
  while (const auto change = rule.nextOffsetChange(from)) {
    if (change->second >= until) break;
    all.push_back({change->second, typeOf(rule, change->offset)});
    from = change->second + 1;
  }
}

// How many of the file's changes, from the front, are not those of its rule.
std::size_t countBeforeRule(const ZoneFile& file) {
  std::size_t count = file.changes.size();
  // Each is the change after the one before it.
  while (count > 1) {
    const ZoneFile::Change& last = file.changes[count - 1];
    const auto change = file.rule->nextOffsetChange(file.changes[count - 2].second + 1);
    if (!change || change->second != last.second || change->offset != file.types[last.type].offset)
      break;
    --count;
  }
  return count;
}

// All changes behind those that are listed, up to kLastListedYear.
void listToTheEnd(const YearlyRule& rule, std::vector<Listed>& all) {
  const std::int64_t from = all.empty() ? startOfYear(kFirstYear) : all.back().second + 1;
  listOffsetChanges(rule, from, startOfYear(kLastListedYear + 1), all);
}

// The file's changes, and the rule's behind them, up to the year in which ICU's final rule takes over; where there
// is none, up to kLastListedYear.
std::vector<Listed> listOf(const ZoneFile& file, std::optional<IcuZone::Final>& final) {
  std::vector<Listed> all;
  for (const ZoneFile::Change& change : file.changes)
    all.push_back({change.second, file.types[change.type]});
  if (!file.rule || !file.rule->hasChanges()) return all;
  final = finalOf(*file.rule);
  if (!final) {
    listToTheEnd(*file.rule, all);
    return all;
  }
  std::int64_t year = kFirstYear + 1;
  if (all.empty()) {
    // ICU lists no changes at all where the rule's are the first ones.
    listOffsetChanges(*file.rule, startOfYear(kFirstYear), startOfYear(year), all);
    if (all.empty()) {
      // Saving begins at the second at which it ends, and so holds all year.
      const std::int64_t begin = startOfYear(kFirstYear);
      final.reset();
      all.push_back({begin, typeOf(*file.rule, file.rule->offsetAt(begin))});
      listToTheEnd(*file.rule, all);
      return all;
    }
  } else {
    all.resize(countBeforeRule(file));
    const std::int64_t last = all.back().second;
    year = std::max<std::int64_t>(yearOf(last) + 1, kFirstYear);
    listOffsetChanges(*file.rule, last + 1, startOfYear(year), all);
  }
  // A change may take the clocks where the rule does not have them until its next change. A rule with a change as the year
  // begins never agrees with the list before it, and ICU has no year to let it take over in.
  for (int years = 0; file.rule->offsetAt(startOfYear(year)) != all.back().type.offset; ++years) {
    if (years == 3) {
      final.reset();
      listToTheEnd(*file.rule, all);
      return all;
    }
    listOffsetChanges(*file.rule, all.back().second + 1, startOfYear(++year), all);
  }
  if (year > std::numeric_limits<std::int16_t>::max())
    throw BadZones("has a change beyond the year 32767");
  final->year = static_cast<int>(year);
  return all;
}

// ------------------------------------------------------------------------------------ Raw and saving

// The offset that saving is added to: that of standard time before it, else after it.
int standardNear(const std::vector<Listed>& all, const ZoneFile::Type& first, std::size_t at) {
  const int offset = all[at].type.offset;
  for (std::size_t i = at; i-- > 0;) {
    if (!all[i].type.isSaving) return all[i].type.offset;
  }
  if (!first.isSaving) return first.offset;
  for (std::size_t i = at + 1; i < all.size(); ++i) {
    if (!all[i].type.isSaving) return all[i].type.offset;
  }
  return offset;
}

// Their offsets are the list's. Saving that is less than standard time is ICU's raw offset, and standard time
// behind it has saving.
std::vector<IcuZone::Type> splitTypes(const std::vector<Listed>& all, const ZoneFile::Type& first) {
  std::vector<IcuZone::Type> split;
  bool isAfterLess = false;
  int less = 0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const auto [offset, isSaving] = all[i].type;
    const int standard = isSaving ? standardNear(all, first, i) : offset;
    if (isSaving && offset < standard) {
      split.push_back({offset, 0});
      isAfterLess = true, less = offset;
      continue;
    }
    if (!isSaving && isAfterLess && offset > less) {
      split.push_back({less, offset - less});
    } else {
      split.push_back({standard, offset - standard});
    }
    isAfterLess = false;
  }
  return split;
}

}  // namespace

IcuZone icuZoneOf(const ZoneFile& file) {
  IcuZone zone;
  const std::vector<Listed> all = listOf(file, zone.final);
  ZoneFile::Type first = file.types.front();
  // Without changes, a rule says all.
  if (file.changes.empty() && file.rule)
    first = typeOf(*file.rule, file.rule->offsetAt(startOfYear(kFirstYear)));
  const std::vector<IcuZone::Type> split = splitTypes(all, first);

  zone.types.push_back({first.offset, 0});
  IcuZone::Type before = zone.types.front();
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (split[i] == before) continue;  // another abbreviation
    before = split[i];
    const auto known = std::find(zone.types.begin(), zone.types.end(), before);
    const auto index = static_cast<std::size_t>(known - zone.types.begin());
    if (index > 255) throw BadZones("has more than 256 kinds of local time");
    if (known == zone.types.end()) zone.types.push_back(before);
    zone.changes.push_back({all[i].second, static_cast<std::uint8_t>(index)});
  }
  if (zone.changes.size() > 32767) throw BadZones("has more than 32767 changes");
  return zone;
}

}  // namespace zones
