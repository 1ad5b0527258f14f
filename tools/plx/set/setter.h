// Sets components of datetimes in text.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "datetime/reading.h"
#include "inspect/check.h"
#include "module/module.h"
#include "set/cell_work.h"
#include "set/task_reader.h"
#include "setting/change.h"
#include "setting/clock_settler.h"

namespace plx {

struct SetterOptions {
  std::vector<Assignment> assignments;  // applied in their order; at least one
  bool together = false;  // assignments of the date are resolved as one, at the first one's turn
  bool clips = false;     // a day that a month lacks becomes its last
  ReadingOptions reading;
  bool check = false;  // report findings: something else came out than was asked for
  // Texts of which each part has its place are read and written by places, which gives the same; tests compare.
  bool byPlaces = true;
};

class Setter : public CellWork {
 public:
  // Module and options outlive the setter. Throws a Failure of Status::unknownName for the zone.
  Setter(Module& module, const SetterOptions& options);

  void work(std::span<const Task> tasks, Batch& batch) override;

  // What a datetime of the last batch was and became, and the settings that made it so. Nothing where the
  // datetime is missing or wrong.
  struct Result {
    Reading reading;
    doubledouble after;
    std::vector<Setting> settings;
  };
  std::optional<Result> resultOf(std::size_t task);

 private:
  // Where a datetime comes from.
  struct Source {
    std::size_t task = 0;
    const Layout* layout = nullptr;  // by which it was read; of null:
    std::size_t reading = 0;         // where that stands in `readings_`
  };
  // The datetimes of a batch that share a zone, in the order of their tasks. Each column has one entry for each of the
  // datetimes.
  struct Group {
    Group(const Zone& zone, const ClockChoice& choice)
        : zone(zone), checker(zone), settler(choice, zone, checker) {}
    void clear();
    // While datetimes are added, their columns have more room than they need; fit() then cuts them.
    void add(const doubledouble& pair, const Source& source) {
      if (added == sources.size()) resize(std::max<std::size_t>(2 * added, 64));
      datetimes.replace(added, pair);
      sources[added++] = source;
      if (source.layout != nullptr) ++byPlaces;
    }
    void fit() { resize(added); }
    void resize(std::size_t size);

    const Zone& zone;
    Datetimes datetimes, before;
    std::vector<Source> sources;
    std::size_t added = 0, byPlaces = 0;                 // of those, the latter have a layout
    std::vector<std::vector<double>> values;             // for each assignment a column
    std::vector<std::vector<ResolvedSetting>> resolved;  // for each part that needs resolving
    Checker checker;
    ClockSettler settler;
  };
  // Indices of assignments that become one call of the module: one, or with `together` all of the date.
  using Part = std::vector<std::size_t>;

  void begin(std::size_t tasks);
  void read(const Task& task, std::size_t at);
  bool hasValues(const Task& task, std::size_t at, const Zone& zone) {
    return areKnown_[zone.isCalendar() ? 1 : 0] || takeValues(task, at, zone);
  }
  bool takeValues(const Task& task, std::size_t at, const Zone& zone);
  bool readValues(const Task& task, std::size_t at, const Zone& zone);
  void put(const Zone& zone, const doubledouble& pair, const Source& source);
  void fillValues(Group& group) const;
  Group& groupOf(const Zone& zone) {
    if (lastGroup_ == nullptr || &lastGroup_->zone != &zone) findGroup(zone);
    return *lastGroup_;
  }
  void findGroup(const Zone& zone);
  void set(Group& group, std::size_t part);
  Component componentOf(const Part& part, const Zone& zone) const;
  bool needsResolving(const Part& part, const Zone& zone) const;
  ResolvedSetting resolvedAt(const Group& group, const Part& part, std::size_t at) const;
  void resolvePart(Group& group, std::size_t part);
  void lookOnTheWay(const Group& group);
  void refuseOtherClock(Group& group);
  void settleClocks(Group& group, std::size_t part, const Datetimes& before);
  void giveUp(Group& group, std::size_t at, Complaint complaint);
  void setRange(Group& group, Component component, std::vector<double>& values, std::size_t begin,
                std::size_t end);
  void check(Group& group);
  std::string doubtOf(const Group& group, std::size_t at) const;
  void settingsOf(const Group& group, std::size_t at, std::vector<Setting>& settings) const;
  void write(const Group& group);
  std::size_t writeByPlaces(const Group& group, std::size_t at, char* to);
  void writeInFull(const Group& group, std::size_t at);
  std::optional<Reading> readAgain(std::size_t task);

  Module& module_;
  const SetterOptions& options_;
  TaskReader reader_;
  const bool keepsDigits_;     // no component changes the digits of a second
  const bool replacesDigits_;  // a component replaces them, whatever they were
  const bool byPlaces_;
  const bool hasValuesForAll_;
  std::vector<Part> parts_;
  bool mayCarryOnTheWay_ = false;
  std::vector<double> told_;  // what the module is told: the values of a part that is resolved
  std::unordered_map<const Zone*, Group> groups_;
  Group* lastGroup_ = nullptr;   // the group used last, mostly the next datetime's, too
  std::span<const Task> tasks_;  // of the batch
  PlacedReading placed_;         // of the task that is being read
  Complaint complaint_;          // of a result that is then written in another way
  std::vector<Reading> readings_;
  std::vector<double> values_;  // of the task that is being read
  // Whether those are the same for all, and known to be right, outside of a calendar and in one.
  std::array<bool, 2> areKnown_{};
  Batch* batch_ = nullptr;
};

}  // namespace plx
