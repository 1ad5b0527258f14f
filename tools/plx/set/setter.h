// Sets one component of the datetimes in lines of text, a batch of lines at a time.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/message.h"
#include "datetime/notation.h"
#include "datetime/reading.h"
#include "datetime/zone.h"
#include "datetime/zones.h"
#include "set/components.h"
#include "set/module.h"
#include "set/values.h"
#include "stream/line_reader.h"

namespace plx {

class Setter {
 public:
  // No zone: each datetime has its own. `exact`: write what reads back to the same pair of doubles.
  Setter(Module& module, const Component& component, Values& values, std::optional<Zone> zone,
         bool exact);

  // Appends the lines to `out` with their datetimes set; empty lines as they are. Where a line is
  // wrong, those before it are appended, and the failure comes back. `source` begins the messages
  // about lines that have numbers. A line's lead is kept in the very first one only.
  std::optional<Failure> set(const std::vector<Line>& lines, std::string_view source,
                             std::string& out);

 private:
  // The datetimes of a batch that share a zone.
  struct Group {
    Datetimes datetimes;
    std::vector<double> values;
    std::vector<std::size_t> items;
  };
  // A line of the batch.
  struct Item {
    Reading reading;
    Group* group = nullptr;  // null for one that is missing
    std::size_t index = 0;   // in the group
  };

  void begin();
  Item read(const Line& line, std::string_view source);
  std::optional<Complaint> complaintAbout(const Zone& zone, double value) const;
  void setGroup(const Zone& zone, Group& group, const std::vector<Line>& lines,
                std::string_view source);
  void stopAt(std::size_t item, Failure failure);

  Module& module_;
  const Component& component_;
  Values& values_;
  const std::optional<Zone> zone_;  // for all datetimes
  Notation notation_;

  bool begun_ = false;  // something has been appended
  std::vector<Item> items_;
  Zones zones_;
  std::map<const Zone*, Group> groups_;
  std::size_t end_ = 0;             // the first item that is wrong, or all
  std::optional<Failure> failure_;  // of that item
};

}  // namespace plx
