#include "set/setter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "datetime/exact.h"

namespace plx {

namespace {

constexpr double kMaxCalendarMillis = 0x1p52;
constexpr double kMinInt = -2147483648, kMaxInt = 2147483647;
// The module counts a time of day in a zone in milliseconds of 32 bits, which wrap.
constexpr double kMaxTimeOfDay = 2147483;

// Offsets that data bring along are few. Where they are not, the zones are made anew.
constexpr std::size_t kMostGroups = 1000;

std::string_view acceptedRange(const Zone& zone) {
  return zone.isCalendar() ? kAcceptedCalendarRange : kAcceptedRange;
}

// Whether a pair and its floored second can be set and written. Those of a calendar are bounded to
// the millisecond. Elsewhere only whole seconds tell exactly: at 2^52 days, the
// high part alone moves in steps of most of a day.
bool isInRange(const Zone& zone, const doubledouble& pair, int128 second) {
  if (zone.isCalendar()) return std::fabs(dd::collapse(dd::Floor(pair))) <= kMaxCalendarMillis;
  return -kMaxSeconds <= second && second <= kMaxSeconds;
}

// The pair of a datetime in a zone; nothing, and a complaint, where it is out of range there.
std::optional<doubledouble> pairIn(const Zone& zone, const DatetimeText& datetime,
                                   Complaint& complaint) {
  const auto second = zone.secondOf(datetime, complaint);
  if (!second) return std::nullopt;
  const doubledouble pair = pairOf(*second, datetime.fraction);
  if (isInRange(zone, pair, *second)) return pair;
  complaint = {"out of range", acceptedRange(zone)};
  return std::nullopt;
}

// What the module's error means for a datetime and a value that have been checked before.
Complaint complaintOf(const paError& error) {
  if (std::string_view(error.identifier) == "Pelmor:datetime:RangeError")
    return {"the value or the result is out of range", kAcceptedCalendarRange};
  return {escapeText(error.message), kAcceptedDatetimes};
}

Failure failureAt(std::string_view source, const Line& line, const Complaint& complaint) {
  return {Status::badData, describe(location(source, line.number), complaint, line.text)};
}

}  // namespace

Setter::Setter(Module& module, const Component& component, Values& values, std::optional<Zone> zone,
               bool exact)
    : module_(module),
      component_(component),
      values_(values),
      hasZone_(zone.has_value()),
      exact_(exact) {
  if (zone) groups_.emplace(std::pair(OffsetForm::none, 0), Group{std::move(*zone), {}, {}, {}});
}

std::optional<Failure> Setter::set(const std::vector<Line>& lines, std::string_view source,
                                   std::string& out) {
  begin();
  end_ = lines.size();
  try {
    for (const Line& line : lines) items_.push_back(read(line, source));
  } catch (Failure& failure) {
    stopAt(items_.size(), std::move(failure));
  }
  for (auto& [key, group] : groups_) setGroup(group, lines, source);

  for (std::size_t i = 0; i < end_; ++i) {
    const Group* group = items_[i].group;
    const std::size_t start = out.size();
    if (!begun_) out += lines[i].lead;  // in the middle it would belong to a datetime
    if (group != nullptr && !write(items_[i], out)) {
      out.resize(start);
      stopAt(i, failureAt(source, lines[i],
                          {"the result is out of range", acceptedRange(group->zone)}));
    } else {
      out += lines[i].ending;
      begun_ = true;
    }
  }
  return failure_;
}

void Setter::begin() {
  items_.clear();
  failure_.reset();
  if (!hasZone_ && groups_.size() > kMostGroups) groups_.clear();
  for (auto& [key, group] : groups_) {
    group.datetimes.clear();
    group.values.clear();
    group.items.clear();
  }
}

// Of all failures of a batch, the one of its first line counts.
void Setter::stopAt(std::size_t item, Failure failure) {
  if (item >= end_ && failure_) return;
  end_ = item;
  failure_ = std::move(failure);
}

Setter::Item Setter::read(const Line& line, std::string_view source) {
  Item item;
  if (line.text.empty()) {
    values_.skipEmptyLine();
    return item;
  }
  Complaint complaint;
  const auto datetime = readDatetime(line.text, complaint);
  if (!datetime) throw failureAt(source, line, complaint);
  Group& group = groupOf(*datetime);
  const auto pair = pairIn(group.zone, *datetime, complaint);
  if (!pair) throw failureAt(source, line, complaint);
  const auto value = values_.next(complaint);
  if (!value) throw failureAt(source, line, complaint);
  if (auto wrong = complaintAbout(group.zone, *value)) {
    // In another zone it may be right, and lines of a file have their own.
    wrong->what += fmt::format(" for {} ({})", quoteText(line.text), location(source, line.number));
    throw values_.failure(*wrong);
  }

  item = {*datetime, &group, group.items.size()};
  group.datetimes.push(*pair);
  group.values.push_back(*value);
  group.items.push_back(items_.size());
  return item;
}

Setter::Group& Setter::groupOf(const DatetimeText& datetime) {
  const std::pair key = hasZone_ ? std::pair(OffsetForm::none, 0)
                                 : std::pair(datetime.offset, datetime.offsetSeconds);
  auto found = groups_.find(key);
  if (found == groups_.end())
    found = groups_.emplace(key, Group{Zone::of(datetime), {}, {}, {}}).first;
  return found->second;
}

// What a calendar cannot take, though the component can.
std::optional<Complaint> Setter::complaintAbout(const Zone& zone, double value) const {
  if (!zone.isCalendar()) return std::nullopt;
  if (component_.name == "time-of-day" && std::fabs(value) > kMaxTimeOfDay) {
    return Complaint{"the time of day is out of range",
                     "in a time zone, seconds from -2147483 to 2147483"};
  }
  if (component_.whole && (value < kMinInt || value > kMaxInt)) {
    return Complaint{"the value is out of range",
                     "in a time zone, numbers from -2147483648 to 2147483647"};
  }
  return std::nullopt;
}

void Setter::setGroup(Group& group, const std::vector<Line>& lines, std::string_view source) {
  if (group.items.empty()) return;
  const int selector = component_.selector;
  if (!module_.set(group.datetimes, group.values, selector, group.zone.text())) return;
  // One of them cannot be set: the first that fails alone.
  for (std::size_t i = 0; i < group.items.size(); ++i) {
    Datetimes one;
    one.push(group.datetimes.at(i));
    if (const auto error = module_.set(one, {group.values[i]}, selector, group.zone.text())) {
      const std::size_t item = group.items[i];
      return stopAt(item, failureAt(source, lines[item], complaintOf(*error)));
    }
    group.datetimes.replace(i, one.at(0));
  }
}

// False for a result that is out of range.
bool Setter::write(const Item& item, std::string& out) const {
  const Zone& zone = item.group->zone;
  const doubledouble pair = item.group->datetimes.at(item.index);
  if (!(std::fabs(pair.hi) <= kMaxMillis)) return false;  // no decimal for these, nor for NaN
  const DecimalSeconds decimal =
      exact_ ? shortest(pair) : rounded(pair, std::max<std::size_t>(9, item.text.fraction.size()));
  if (!isInRange(zone, pair, decimal.seconds)) return false;
  writeDatetime(out, item.text, zone.wallTime(decimal.seconds), decimal.fraction);
  return true;
}

}  // namespace plx
