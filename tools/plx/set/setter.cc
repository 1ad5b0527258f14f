#include "set/setter.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

namespace plx {

namespace {

constexpr double kMinInt = -2147483648, kMaxInt = 2147483647;
// The module counts a time of day in a zone in milliseconds of 32 bits, which wrap.
constexpr double kMaxTimeOfDay = 2147483;

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
    : module_(module), component_(component), values_(values), zone_(std::move(zone)) {
  notation_.exact = exact;
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
  for (auto& [zone, group] : groups_) setGroup(*zone, group, lines, source);

  for (std::size_t i = 0; i < end_; ++i) {
    const Item& item = items_[i];
    Complaint complaint;
    const std::size_t start = out.size();
    if (!begun_) out += lines[i].lead;  // in the middle it would belong to a datetime
    const doubledouble pair =
        item.group != nullptr ? item.group->datetimes.at(item.index) : doubledouble{0.0, 0.0};
    if (!write(item.reading, pair, notation_, out, complaint)) {
      out.resize(start);
      stopAt(i, failureAt(source, lines[i], complaint));
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
  if (zones_.trim()) groups_.clear();
  for (auto& [zone, group] : groups_) {
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
    item.reading.missing = true;
    return item;
  }
  Complaint complaint;
  const auto reading =
      plx::read(line.text, notation_, zone_ ? &*zone_ : nullptr, zones_, complaint);
  if (!reading) throw failureAt(source, line, complaint);
  const auto value = values_.next(complaint);
  if (!value) throw failureAt(source, line, complaint);
  item.reading = *reading;
  if (reading->missing) return item;
  if (auto wrong = complaintAbout(*reading->zone, *value)) {
    // In another zone it may be right, and lines of a file have their own.
    wrong->what += fmt::format(" for {} ({})", quoteText(line.text), location(source, line.number));
    throw values_.failure(*wrong);
  }

  Group& group = groups_[reading->zone];
  item = {*reading, &group, group.items.size()};
  group.datetimes.push(reading->pair);
  group.values.push_back(*value);
  group.items.push_back(items_.size());
  return item;
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

void Setter::setGroup(const Zone& zone, Group& group, const std::vector<Line>& lines,
                      std::string_view source) {
  if (group.items.empty()) return;
  const int selector = component_.selector;
  if (!module_.set(group.datetimes, group.values, selector, zone.text())) return;
  // One of them cannot be set: the first that fails alone.
  for (std::size_t i = 0; i < group.items.size(); ++i) {
    Datetimes one;
    one.push(group.datetimes.at(i));
    if (const auto error = module_.set(one, {group.values[i]}, selector, zone.text())) {
      const std::size_t item = group.items[i];
      return stopAt(item, failureAt(source, lines[item], complaintOf(*error)));
    }
    group.datetimes.replace(i, one.at(0));
  }
}

}  // namespace plx
