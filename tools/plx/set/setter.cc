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

namespace plx {

namespace {

// Stands for a datetime that cannot be set, where its neighbours go on.
constexpr doubledouble kAnyDatetime{0.0, 0.0};
constexpr double kAnyValue = 1;

}  // namespace

void Setter::Group::clear() {
  datetimes.clear();
  before.clear();
  tasks.clear();
  for (auto& column : values) column.clear();
}

Setter::Setter(Module& module, const SetterOptions& options)
    : module_(module),
      options_(options),
      reader_(options.reading),
      keepsDigits_(std::ranges::none_of(options.assignments, [](const Assignment& assignment) {
        return factsOf(assignment.component).takesFractions;
      })) {}

void Setter::work(std::span<const Task> tasks, Batch& batch) {
  batch_ = &batch;
  begin(tasks.size());
  for (std::size_t i = 0; i < tasks.size(); ++i) read(tasks[i], i);
  for (auto& [zone, group] : groups_) {
    if (group.tasks.empty()) continue;
    if (options_.check) group.before = group.datetimes;
    for (std::size_t a = 0; a < options_.assignments.size(); ++a) set(group, a);
    if (options_.check) check(group);
  }
  for (std::size_t i = 0; i < tasks.size(); ++i) write(i);
  std::stable_sort(batch.troubles.begin(), batch.troubles.end(),
                   [](const Trouble& a, const Trouble& b) { return a.task < b.task; });
}

void Setter::begin(std::size_t tasks) {
  batch_->clear(tasks);
  items_.assign(tasks, {});
  if (reader_.trim()) {
    groups_.clear();
    lastGroup_ = nullptr;
  }
  for (auto& [zone, group] : groups_) group.clear();
}

void Setter::read(const Task& task, std::size_t at) {
  Trouble trouble{at, Trouble::Kind::datetime, 0, {}};
  const auto reading = reader_.read(task, trouble);
  if (!reading) return batch_->fail(std::move(trouble));
  if (reading->missing) return;

  values_.clear();
  std::size_t given = 0;
  for (std::size_t a = 0; a < options_.assignments.size(); ++a) {
    const Assignment& assignment = options_.assignments[a];
    std::optional<double> value = assignment.value;
    trouble = {at, Trouble::Kind::value, a, {}};
    if (!value) value = readValue(task.values[given++], assignment.component, trouble.complaint);
    if (!value) return batch_->fail(std::move(trouble));
    auto wrong = reading->zone->isCalendar() ? refusedByCalendar(assignment.component, *value)
                                             : std::nullopt;
    if (wrong) {
      wrong->what += " for " + quoteText(task.text);  // in another zone it may be right
      trouble.complaint = std::move(*wrong);
      return batch_->fail(std::move(trouble));
    }
    values_.push_back(*value);
  }

  Group& group = groupOf(*reading->zone);
  items_[at] = {*reading, &group, group.tasks.size(), &reader_.notationOf(task)};
  group.datetimes.push(reading->pair);
  group.tasks.push_back(at);
  for (std::size_t a = 0; a < values_.size(); ++a) group.values[a].push_back(values_[a]);
}

Setter::Group& Setter::groupOf(const Zone& zone) {
  if (lastGroup_ != nullptr && &lastGroup_->zone == &zone) return *lastGroup_;
  const auto [found, isNew] = groups_.try_emplace(&zone, zone);
  if (isNew) found->second.values.resize(options_.assignments.size());
  return *(lastGroup_ = &found->second);
}

void Setter::set(Group& group, std::size_t assignment) {
  const Component component = options_.assignments[assignment].component;
  std::vector<double>& values = group.values[assignment];
  if (assignment > 0) refuseOtherClock(group);
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!isLast(values[i])) continue;
    const doubledouble now = group.datetimes.at(i);
    // An earlier assignment may have led out of range, which shows in the end.
    const bool inRange = std::fabs(now.hi) <= kMaxMillis;
    values[i] = inRange ? resolve({true, 0}, component, now, group.zone) : kAnyValue;
  }
  const bool settles = !options_.reading.clock.isTheModules() && group.zone.isCalendar();
  const Datetimes before = settles ? group.datetimes : Datetimes();
  setPart(group, assignment, 0, values.size());
  if (settles) settleClocks(group, assignment, before);
}

// Of wall times that come twice or not at all, chooses as the options say.
void Setter::settleClocks(Group& group, std::size_t assignment, const Datetimes& before) {
  constexpr std::size_t kWorthwhile = 512;  // a field of changes costs about as much
  group.settled += group.tasks.size();
  if (!group.changes && group.settled >= kWorthwhile) group.changes.emplace(group.zone);
  const Component component = options_.assignments[assignment].component;
  for (std::size_t i = 0; i < group.tasks.size(); ++i) {
    const doubledouble after = group.datetimes.at(i);
    if (group.changes && !group.changes->mayBeNear(after.hi)) continue;
    if (!(std::fabs(after.hi) <= kMaxCalendarMillis)) continue;  // which is told elsewhere
    if (batch_->outcomes[group.tasks[i]].kind == Outcome::Kind::failed) continue;
    const Settled settled = settle(options_.reading.clock, group.checker, group.zone,
                                   {component, group.values[assignment][i]}, before.at(i), after);
    if (settled.kind == Settled::Kind::refused) {
      giveUp(group, i,
             {Checker::describe(settled.finding),
              settled.finding.overlap ? kAcceptedForFolds : kAcceptedForGaps});
    } else if (settled.kind != Settled::Kind::kept) {
      group.datetimes.replace(i, settled.result);
    }
  }
}

// The result of an earlier assignment, which is written nowhere.
void Setter::refuseOtherClock(Group& group) {
  if (!group.zone.isLocal()) return;
  for (std::size_t i = 0; i < group.tasks.size(); ++i) {
    if (batch_->outcomes[group.tasks[i]].kind == Outcome::Kind::failed) continue;
    Complaint complaint;
    const doubledouble now = group.datetimes.at(i);
    if (!(std::fabs(now.hi) <= kMaxCalendarMillis) || group.zone.isRight(now, complaint)) continue;
    giveUp(group, i, std::move(complaint));
  }
}

void Setter::giveUp(Group& group, std::size_t at, Complaint complaint) {
  batch_->fail({group.tasks[at], Trouble::Kind::datetime, 0, std::move(complaint)});
  group.datetimes.replace(at, kAnyDatetime);
  for (auto& column : group.values) column[at] = kAnyValue;
}

// All at once; where one of them cannot be set, each half on its own, so that a few among many cost
// little.
void Setter::setPart(Group& group, std::size_t assignment, std::size_t begin, std::size_t end) {
  const auto part = [&](std::vector<double>& column) {
    return std::span(column).subspan(begin, end - begin);
  };
  const int selector = factsOf(options_.assignments[assignment].component).selector;
  const auto error = module_.set(part(group.datetimes.hi), part(group.datetimes.lo),
                                 part(group.values[assignment]), selector, group.zone.text());
  if (!error) return;
  if (end - begin > 1) {
    const std::size_t middle = begin + (end - begin) / 2;
    setPart(group, assignment, begin, middle);
    setPart(group, assignment, middle, end);
    return;
  }
  giveUp(group, begin, complaintOf(*error));
}

void Setter::check(Group& group) {
  std::vector<Setting> asked;
  for (std::size_t i = 0; i < group.tasks.size(); ++i) {
    const std::size_t task = group.tasks[i];
    if (batch_->outcomes[task].kind == Outcome::Kind::failed) continue;
    settingsOf(group, i, asked);
    const doubledouble after = group.datetimes.at(i);
    if (!(std::fabs(after.hi) <= kMaxMillis)) continue;  // out of range, which is told elsewhere
    const Finding finding = group.checker.check(group.before.at(i), after, asked);
    std::string text = doubtOf(group, task);
    if (finding.any()) text += (text.empty() ? "" : "; ") + group.checker.describe(finding, after);
    if (text.empty()) continue;
    batch_->troubles.push_back({task, Trouble::Kind::finding, 0, {std::move(text), {}}});
  }
}

void Setter::settingsOf(const Group& group, std::size_t at, std::vector<Setting>& settings) const {
  settings.clear();
  for (std::size_t a = 0; a < options_.assignments.size(); ++a)
    settings.push_back({options_.assignments[a].component, group.values[a][at]});
}

std::optional<Setter::Result> Setter::resultOf(std::size_t task) const {
  const Item& item = items_[task];
  if (item.group == nullptr || batch_->outcomes[task].kind != Outcome::Kind::changed)
    return std::nullopt;
  Result result{item.reading, item.group->datetimes.at(item.index), {}};
  settingsOf(*item.group, item.index, result.settings);
  return result;
}

// What the clock of the zone makes doubtful of the datetime itself.
std::string Setter::doubtOf(const Group& group, std::size_t task) const {
  const Reading& reading = items_[task].reading;
  const auto wall = wallOf(reading);
  if (!wall) return {};
  const auto change = group.checker.doubtOf(*wall, secondOf(reading.pair));
  if (!change) return {};
  if (change->isGap())
    return "the datetime does not exist: " + Checker::describeGap(*wall, *change);
  return fmt::format("the datetime comes twice, {}", Checker::describeOverlap(*change));
}

void Setter::write(std::size_t at) {
  const Item& item = items_[at];
  Outcome& outcome = batch_->outcomes[at];
  if (item.group == nullptr || outcome.kind == Outcome::Kind::failed) return;
  const doubledouble pair = item.group->datetimes.at(item.index);
  Complaint complaint;
  const std::size_t begin = batch_->text.size();
  if (!plx::write(item.reading, pair, *item.notation, batch_->text, complaint))
    return batch_->fail({at, Trouble::Kind::datetime, 0, std::move(complaint)});
  outcome = {Outcome::Kind::changed, begin, batch_->text.size()};
  if (keepsDigits_ && item.reading.text.fraction.size() > 9 &&
      cutsDigits(item.reading, pair, *item.notation))
    batch_->cutDigits = true;
  if (item.group->zone.countsLeapSeconds() && pastLeapTable(pair)) ++batch_->warnings;
}

}  // namespace plx
