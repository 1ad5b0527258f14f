#include "set/setter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "base/calendar_limits.h"
#include "inspect/leap_table.h"
#include "inspect/named.h"
#include "inspect/wall.h"
#include "setting/refusals.h"
#include "setting/value.h"

namespace plx {

namespace {

// Stands for a datetime that cannot be set, where its neighbours go on.
constexpr doubledouble kAnyDatetime{0.0, 0.0};
constexpr double kAnyValue = 1;

}  // namespace

void Setter::Group::clear() {
  datetimes.clear();
  before.clear();
  sources.clear();
  added = byPlaces = 0;
  for (auto& column : values) column.clear();
}

void Setter::Group::resize(std::size_t size) {
  datetimes.hi.resize(size);
  datetimes.lo.resize(size);
  sources.resize(size);
}

Setter::Setter(Module& module, const SetterOptions& options)
    : module_(module),
      options_(options),
      reader_(options.reading),
      keepsDigits_(std::ranges::none_of(options.assignments,
                                        [](const Assignment& assignment) {
                                          return factsOf(assignment.component).takesFractions ||
                                                 assignment.isMultiple();
                                        })),
      replacesDigits_(std::ranges::any_of(options.assignments,
                                          [](const Assignment& assignment) {
                                            return assignment.isMultiple() ||
                                                   (factsOf(assignment.component).takesFractions &&
                                                    assignment.change == Change::to);
                                          })),
      byPlaces_(options.byPlaces && !options.check),
      hasValuesForAll_(std::ranges::all_of(
          options.assignments, [](const Assignment& a) { return a.value.has_value(); })) {
  const auto& assignments = options.assignments;
  std::optional<std::size_t> ofDate;
  bool mayCarry = false;
  for (std::size_t a = 0; a < assignments.size(); ++a) {
    const bool isOfDate = assignments[a].isOfDate();
    if (options.together && isOfDate && ofDate) {
      parts_[*ofDate].push_back(a);
    } else {
      if (isOfDate) ofDate = parts_.size();
      parts_.push_back({a});
    }
    // A day or an ISO week that is kept may carry, and another setting of the date goes on from there.
    const bool goesOn = isOfDate && assignments[a].own != Own::date;
    mayCarryOnTheWay_ = mayCarryOnTheWay_ || (mayCarry && goesOn);
    mayCarry = mayCarry || isOfMonths(assignments[a]) || assignments[a].own == Own::isoYear;
  }
  mayCarryOnTheWay_ = mayCarryOnTheWay_ && !options.together && !options.clips;
}

// Puts a datetime and its values among those of its zone.
[[gnu::always_inline]] inline void Setter::put(const Zone& zone, const doubledouble& pair,
                                               const Source& source) {
  Group& group = groupOf(zone);
  group.add(pair, source);
  if (hasValuesForAll_) return;
  for (std::size_t a = 0; a < values_.size(); ++a) group.values[a].push_back(values_[a]);
}

void Setter::work(std::span<const Task> tasks, Batch& batch) {
  batch_ = &batch;
  tasks_ = tasks;
  begin(tasks.size());
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    if (byPlaces_ && reader_.readByPlaces(tasks[i], placed_)) {
      if (hasValues(tasks[i], i, *placed_.zone))
        put(*placed_.zone, placed_.pair, {i, placed_.layout, 0});
    } else {
      read(tasks[i], i);
    }
  }
  for (auto& [zone, group] : groups_) {
    group.fit();
    if (group.sources.empty()) continue;
    if (hasValuesForAll_) fillValues(group);
    if (options_.check) group.before = group.datetimes;
    if (mayCarryOnTheWay_ && !batch.carriedOnTheWay) lookOnTheWay(group);
    for (std::size_t part = 0; part < parts_.size(); ++part) set(group, part);
    if (options_.check) check(group);
  }
  for (const auto& [zone, group] : groups_) write(group);
  std::stable_sort(batch.troubles.begin(), batch.troubles.end(),
                   [](const Trouble& a, const Trouble& b) { return a.task < b.task; });
}

void Setter::begin(std::size_t tasks) {
  batch_->clear(tasks);
  readings_.clear();
  if (reader_.trim()) {
    groups_.clear();
    lastGroup_ = nullptr;
  }
  for (auto& [zone, group] : groups_) group.clear();
}

void Setter::read(const Task& task, std::size_t at) {
  Trouble trouble{at, Trouble::Kind::datetime, 0, {}};
  auto reading = reader_.read(task, trouble);
  if (!reading) return batch_->fail(std::move(trouble));
  if (reading->missing || !hasValues(task, at, *reading->zone)) return;
  if (replacesDigits_) reading->keepsDigits = false;
  put(*reading->zone, reading->pair, {at, nullptr, readings_.size()});
  readings_.push_back(*reading);
}

// The values for a task; false where one of them was wrong, which then is told.
bool Setter::takeValues(const Task& task, std::size_t at, const Zone& zone) {
  const bool areRight = readValues(task, at, zone);
  areKnown_[zone.isCalendar() ? 1 : 0] = areRight && hasValuesForAll_;
  if (!areRight) areKnown_ = {};  // some of them are gone
  return areRight;
}

bool Setter::readValues(const Task& task, std::size_t at, const Zone& zone) {
  values_.clear();
  std::size_t given = 0;
  for (std::size_t a = 0; a < options_.assignments.size(); ++a) {
    const Assignment& assignment = options_.assignments[a];
    std::optional<double> value = assignment.value;
    Complaint complaint;
    if (!value) {
      Assignment own = assignment;
      value = readValueOf(own, task.values[given++], options_.reading.weeks.firstDay, complaint);
    }
    const bool isValue = assignment.own != Own::date && assignment.change == Change::to;
    if (value && isValue && zone.isCalendar()) {
      if (auto wrong = refusedByCalendar(assignment.component, *value)) {
        complaint = std::move(*wrong);
        complaint.what += " for " + quoteText(task.text);  // in another zone it may be right
        value.reset();
      }
    }
    if (!value) {
      batch_->fail({at, Trouble::Kind::value, a, std::move(complaint)});
      return false;
    }
    values_.push_back(*value);
  }
  return true;
}

void Setter::fillValues(Group& group) const {
  for (std::size_t a = 0; a < group.values.size(); ++a)
    group.values[a].assign(group.sources.size(), *options_.assignments[a].value);
}

void Setter::findGroup(const Zone& zone) {
  const auto [found, isNew] = groups_.try_emplace(&zone, zone, options_.reading.clock);
  if (isNew) {
    found->second.values.resize(options_.assignments.size());
    found->second.resolved.resize(parts_.size());
  }
  lastGroup_ = &found->second;
}

// What a part sets, in the zone.
Component Setter::componentOf(const Part& part, const Zone& zone) const {
  if (part.size() > 1) return Component::dayOfMonth;
  return resolvedComponent(options_.assignments[part.front()], zone, options_.clips);
}

// Whether the module cannot be given the part's values as they are.
bool Setter::needsResolving(const Part& part, const Zone& zone) const {
  const Assignment& first = options_.assignments[part.front()];
  return part.size() > 1 || isChange(first, zone, options_.clips);
}

ResolvedSetting Setter::resolvedAt(const Group& group, const Part& part, std::size_t at) const {
  const doubledouble now = group.datetimes.at(at);
  const double value = group.values[part.front()][at];
  const Assignment& first = options_.assignments[part.front()];
  if (part.size() == 1) return resolvedOf(first, value, now, group.zone, options_.clips);
  std::vector<Assignment> assignments;
  std::vector<double> values;
  for (const std::size_t a : part) {
    assignments.push_back(options_.assignments[a]);
    values.push_back(group.values[a][at]);
  }
  return togetherOf(assignments, values, now, group.zone, options_.clips);
}

void Setter::resolvePart(Group& group, std::size_t part) {
  const Component component = componentOf(parts_[part], group.zone);
  const double most = group.zone.isCalendar() ? kMaxCalendarMillis : kMaxMillis;
  std::vector<ResolvedSetting>& resolved = group.resolved[part];
  resolved.assign(group.sources.size(), {{component, kAnyValue}});
  for (std::size_t i = 0; i < resolved.size(); ++i) {
    // An earlier setting may have led out of range, which shows in the end.
    if (!(std::fabs(group.datetimes.at(i).hi) <= most)) continue;
    if (batch_->outcomes[group.sources[i].task].kind == Outcome::Kind::failed) continue;
    resolved[i] = resolvedAt(group, parts_[part], i);
    const double value = resolved[i].setting.value;
    std::optional<Complaint> wrong;
    if (!std::isfinite(value)) {
      wrong = Complaint{"the result is out of range", group.zone.acceptedRange()};
    } else if (group.zone.isCalendar()) {
      wrong = refusedByCalendar(component, value);
    }
    if (!wrong) continue;
    resolved[i] = {{component, kAnyValue}};
    giveUp(group, i, std::move(*wrong));
  }
  told_.clear();
  for (const ResolvedSetting& one : resolved) told_.push_back(one.setting.value);
}

void Setter::set(Group& group, std::size_t part) {
  const std::size_t first = parts_[part].front();
  if (part > 0) refuseOtherClock(group);
  const bool isResolved = needsResolving(parts_[part], group.zone);
  if (isResolved) resolvePart(group, part);
  std::vector<double>& values = isResolved ? told_ : group.values[first];
  for (std::size_t i = 0; i < values.size() && !isResolved; ++i) {
    if (!isLast(values[i])) continue;
    const doubledouble now = group.datetimes.at(i);
    const bool inRange = std::fabs(now.hi) <= kMaxMillis;
    values[i] = inRange ? resolve({true, 0}, options_.assignments[first].component, now, group.zone)
                        : kAnyValue;
  }
  const bool settles = group.settler.isNeeded();
  const Datetimes before = settles ? group.datetimes : Datetimes();
  setRange(group, componentOf(parts_[part], group.zone), values, 0, values.size());
  for (std::size_t i = 0; i < values.size() && isResolved; ++i) {
    const doubledouble& rest = group.resolved[part][i].rest;
    if (rest.hi != 0.0) group.datetimes.replace(i, dd::add(group.datetimes.at(i), rest));
  }
  if (settles) settleClocks(group, part, before);
}

// Notes whether settings in turn carry on the way, and so lead to another day than settings resolved as one.
void Setter::lookOnTheWay(const Group& group) {
  std::vector<Assignment> assignments;
  std::vector<double> values;
  for (const Assignment& assignment : options_.assignments)
    if (assignment.isOfDate()) assignments.push_back(assignment);
  if (areApart(assignments)) return;
  for (std::size_t i = 0; i < group.sources.size(); ++i) {
    const doubledouble before = group.datetimes.at(i);
    const double day = wallOf(before, group.zone).day;
    values.clear();
    for (std::size_t a = 0; a < options_.assignments.size(); ++a)
      if (options_.assignments[a].isOfDate()) values.push_back(group.values[a][i]);
    const InTurn result = inTurn(assignments, values, day, group.zone);
    if (!result.carriesOnTheWay) continue;
    const Setting together = togetherOf(assignments, values, before, group.zone, false).setting;
    if (day + together.value - dateOf(day).day == result.day) continue;
    batch_->carriedOnTheWay = true;
    return;
  }
}

// Settles wall times that come twice or not at all, as the options say. Where there are options, none is read by places.
void Setter::settleClocks(Group& group, std::size_t part, const Datetimes& before) {
  const bool isResolved = needsResolving(parts_[part], group.zone);
  const std::size_t first = parts_[part].front();
  group.settler.forEachNear(group.datetimes.hi, [&](std::size_t i) {
    if (batch_->outcomes[group.sources[i].task].kind == Outcome::Kind::failed) return true;
    const Setting setting =
        isResolved ? group.resolved[part][i].setting
                   : Setting{options_.assignments[first].component, group.values[first][i]};
    const Settled settled = group.settler.settle(setting, before.at(i), group.datetimes.at(i));
    if (settled.kind == Settled::Kind::refused) {
      giveUp(group, i,
             {Checker::describe(settled.finding),
              settled.finding.overlap ? kAcceptedForFolds : kAcceptedForGaps});
    } else if (settled.kind != Settled::Kind::kept) {
      group.datetimes.replace(i, settled.result);
      if (settled.kind == Settled::Kind::edge)
        readings_[group.sources[i].reading].keepsDigits = false;
    }
    return true;
  });
}

// Refuses an earlier part's results where ICU's rules and the system's clock differ; write() sees only the last ones.
void Setter::refuseOtherClock(Group& group) {
  if (!group.zone.isLocal()) return;
  for (std::size_t i = 0; i < group.sources.size(); ++i) {
    if (batch_->outcomes[group.sources[i].task].kind == Outcome::Kind::failed) continue;
    Complaint complaint;
    const doubledouble now = group.datetimes.at(i);
    if (!(std::fabs(now.hi) <= kMaxCalendarMillis) || group.zone.isRight(now, complaint)) continue;
    giveUp(group, i, std::move(complaint));
  }
}

void Setter::giveUp(Group& group, std::size_t at, Complaint complaint) {
  batch_->fail({group.sources[at].task, Trouble::Kind::datetime, 0, std::move(complaint)});
  group.datetimes.replace(at, kAnyDatetime);
  for (auto& column : group.values) column[at] = kAnyValue;
}

// Sets all at once; where one cannot be set, each half on its own: by bisection, a few among many cost
// little.
void Setter::setRange(Group& group, Component component, std::vector<double>& values,
                      std::size_t begin, std::size_t end) {
  const auto range = [&](std::vector<double>& column) {
    return std::span(column).subspan(begin, end - begin);
  };
  const auto error = module_.set(range(group.datetimes.hi), range(group.datetimes.lo),
                                 range(values), factsOf(component).selector, group.zone.text());
  if (!error) return;
  if (end - begin > 1) {
    const std::size_t middle = begin + (end - begin) / 2;
    setRange(group, component, values, begin, middle);
    setRange(group, component, values, middle, end);
    return;
  }
  giveUp(group, begin, complaintOf(*error));
}

void Setter::check(Group& group) {
  std::vector<Setting> asked;
  for (std::size_t i = 0; i < group.sources.size(); ++i) {
    const std::size_t task = group.sources[i].task;
    if (batch_->outcomes[task].kind == Outcome::Kind::failed) continue;
    settingsOf(group, i, asked);
    const doubledouble after = group.datetimes.at(i);
    if (!(std::fabs(after.hi) <= kMaxMillis)) continue;  // out of range, which is told elsewhere
    const Finding finding = group.checker.check(group.before.at(i), after, asked);
    std::string text = doubtOf(group, i);
    if (finding.any()) text += (text.empty() ? "" : "; ") + group.checker.describe(finding, after);
    if (text.empty()) continue;
    batch_->troubles.push_back({task, Trouble::Kind::finding, 0, {std::move(text), {}}});
  }
}

void Setter::settingsOf(const Group& group, std::size_t at, std::vector<Setting>& settings) const {
  settings.clear();
  for (std::size_t part = 0; part < parts_.size(); ++part) {
    const std::size_t first = parts_[part].front();
    if (!needsResolving(parts_[part], group.zone)) {
      settings.push_back({options_.assignments[first].component, group.values[first][at]});
      continue;
    }
    settings.push_back(group.resolved[part][at].setting);
    if (parts_[part].size() == 1) continue;
    for (const std::size_t a : parts_[part]) {
      const Assignment& assignment = options_.assignments[a];
      const double value = group.values[a][at];
      if (assignment.change != Change::to || isLast(value)) continue;
      Setting claim{Component::none, 0};
      claim.claim = assignment.field();
      claim.claimed = value;
      settings.push_back(claim);
    }
  }
}

std::optional<Setter::Result> Setter::resultOf(std::size_t task) {
  if (batch_->outcomes[task].kind != Outcome::Kind::changed) return std::nullopt;
  for (const auto& [zone, group] : groups_) {
    const auto found = std::ranges::lower_bound(group.sources, task, {}, &Source::task);
    if (found == group.sources.end() || found->task != task) continue;
    const auto at = static_cast<std::size_t>(found - group.sources.begin());
    Result result{found->layout != nullptr ? readAgain(task).value() : readings_[found->reading],
                  group.datetimes.at(at),
                  {}};
    settingsOf(group, at, result.settings);
    return result;
  }
  return std::nullopt;
}

// Whether the datetime itself is in a gap or an overlap of its zone's clock; empty where it is in none.
std::string Setter::doubtOf(const Group& group, std::size_t at) const {
  const Reading& reading = readings_[group.sources[at].reading];
  const auto wall = wallOf(reading);
  if (!wall) return {};
  const int128 second = secondOf(reading.pair);
  const auto change = reading.clock == &group.zone ? group.checker.doubtOf(*wall, second)
                                                   : Checker(*reading.clock).doubtOf(*wall, second);
  if (!change) return {};
  if (change->isGap())
    return "the datetime does not exist: " + Checker::describeGap(*wall, *change);
  return fmt::format("the datetime comes twice, {}", Checker::describeOverlap(*change));
}

// What a task says that was read by places, in full.
std::optional<Reading> Setter::readAgain(std::size_t task) {
  Trouble trouble{task, Trouble::Kind::datetime, 0, {}};
  return reader_.read(tasks_[task], trouble);
}

// Puts the results of those that were read by places one behind the other; others are appended behind the room for
// those.
void Setter::write(const Group& group) {
  std::string& text = batch_->text;
  std::size_t end = text.size();
  const std::size_t room = end + group.byPlaces * Layout::kMostWritten;
  text.resize(room);
  for (std::size_t i = 0; i < group.sources.size(); ++i) {
    Outcome& outcome = batch_->outcomes[group.sources[i].task];
    if (outcome.kind == Outcome::Kind::failed) continue;
    const std::size_t size = writeByPlaces(group, i, text.data() + end);
    if (size == 0) {
      writeInFull(group, i);
    } else {
      outcome = {Outcome::Kind::changed, end, end + size};
      end += size;
    }
  }
  if (text.size() == room) text.resize(end);
}

// The size of what is written: whole seconds of which the text has a place for each part; else 0.
inline std::size_t Setter::writeByPlaces(const Group& group, std::size_t at, char* to) {
  const Source& source = group.sources[at];
  if (source.layout == nullptr) return 0;
  const doubledouble pair = group.datetimes.at(at);
  constexpr double kMost = 0x1p52;
  if (pair.lo != 0.0 || !(std::fabs(pair.hi) < kMost)) return 0;
  const auto millis = static_cast<std::int64_t>(pair.hi);
  const std::int64_t second = millis / 1000;
  if (static_cast<double>(second * 1000) != pair.hi) return 0;
  if (!group.zone.isRight(pair, complaint_)) return 0;
  return source.layout->write(to, tasks_[source.task].text, group.zone.plainTime(second));
}

void Setter::writeInFull(const Group& group, std::size_t at) {
  const Source& source = group.sources[at];
  std::optional<Reading> again;
  if (source.layout != nullptr) again = readAgain(source.task);
  const Reading& reading = again ? *again : readings_[source.reading];
  const Notation& notation = reader_.notationOf(tasks_[source.task]);
  const doubledouble pair = group.datetimes.at(at);
  const std::size_t begin = batch_->text.size();
  Complaint complaint;
  if (!plx::write(reading, pair, notation, batch_->text, complaint))
    return batch_->fail({source.task, Trouble::Kind::datetime, 0, std::move(complaint)});
  batch_->outcomes[source.task] = {Outcome::Kind::changed, begin, batch_->text.size()};
  if (keepsDigits_ && reading.text.fraction.size() > 9 && cutsDigits(reading, pair, notation))
    batch_->cutDigits = true;
  if (group.zone.countsLeapSeconds() && pastLeapTable(pair)) ++batch_->warnings;
}

}  // namespace plx
