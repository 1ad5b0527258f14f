#include "setter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "exact.h"

namespace plx {

namespace {

constexpr double kMaxCalendarMillis = 0x1p52;
constexpr double kMaxInt = 2147483647;
// The module counts a time of day in a zone in milliseconds of 32 bits, which wrap.
constexpr double kMaxTimeOfDay = 2147483;

// Offsets that data bring along are few. Where they are not, the zones are made anew.
constexpr std::size_t kMostGroups = 1000;

// The pair of a datetime in a zone; nothing, and a complaint, where it is out of range there.
std::optional<doubledouble> pairIn(const Zone& zone, const DatetimeText& datetime,
                                   Complaint& complaint) {
  const auto second = zone.secondOf(datetime, complaint);
  if (!second) return std::nullopt;
  const doubledouble pair = pairOf(*second, datetime.fraction);
  const bool calendar = zone.isCalendar();
  if (std::fabs(dd::collapse(dd::Floor(pair))) <= (calendar ? kMaxCalendarMillis : kMaxMillis))
    return pair;
  complaint = {"out of range", calendar ? kAcceptedCalendarRange : kAcceptedRange};
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
    Complaint complaint;
    const std::size_t start = out.size();
    out += lines[i].lead;
    if (items_[i].group != nullptr && !write(items_[i], out, complaint)) {
      out.resize(start);
      stopAt(i, failureAt(source, lines[i], complaint));
    } else {
      out += lines[i].ending;
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
  const double value = values_.next();
  checkValue(group.zone, value);

  item = {*datetime, &group, group.items.size()};
  group.datetimes.push(*pair);
  group.values.push_back(value);
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
void Setter::checkValue(const Zone& zone, double value) const {
  if (!zone.isCalendar()) return;
  if (component_.name == "time-of-day" && std::fabs(value) > kMaxTimeOfDay) {
    throw values_.failure(
        {"the time of day is out of range", "in a time zone, seconds from -2147483 to 2147483"});
  }
  if (component_.whole && std::fabs(value) > kMaxInt) {
    throw values_.failure(
        {"the value is out of range", "in a time zone, numbers from -2147483647 to 2147483647"});
  }
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

// False, and a complaint, for a result that is out of range.
bool Setter::write(const Item& item, std::string& out, Complaint& complaint) const {
  const Zone& zone = item.group->zone;
  const doubledouble pair = item.group->datetimes.at(item.index);
  const bool calendar = zone.isCalendar();
  if (!(std::fabs(pair.hi) <= (calendar ? kMaxCalendarMillis : kMaxMillis))) {  // NaN too
    complaint = {"the result is out of range", calendar ? kAcceptedCalendarRange : kAcceptedRange};
    return false;
  }
  const DecimalSeconds decimal =
      exact_ ? shortest(pair) : rounded(pair, std::max<std::size_t>(9, item.text.fraction.size()));
  writeDatetime(out, item.text, zone.wallTime(decimal.seconds), decimal.fraction);
  return true;
}

}  // namespace plx
