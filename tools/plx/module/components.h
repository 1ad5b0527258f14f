// The components that can be set: the tool's own list, held equal to the module's by a test.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace plx {

struct Component {
  std::string_view name;
  int selector;                      // by which the module knows it
  int otherSelector;                 // a second one of the same meaning; 0 where there is none
  bool whole;                        // takes whole numbers only
  std::string_view unit;             // of the values, and where they carry
  std::string_view example, result;  // the arguments of a command, and what it prints
};

inline constexpr std::array<Component, 11> kComponents = {{
    {"year", 3, 0, true, "any year; year 0 exists", "set year 2015 2016-02-29T08:30",
     "2015-03-01T08:30:00"},
    {"quarter", 6, 0, true, "1 to 4", "set quarter 2 2014-11-20", "2014-04-20"},
    {"month", 7, 0, true, "1 to 12", "set month 13 2014-05-10T08:30", "2015-01-10T08:30:00"},
    {"week-of-year", 9, 0, true, "1 to 54, from Sunday", "set week-of-year 1 2014-05-10",
     "2014-01-04"},
    {"day", 11, 12, true, "1 to 31", "set day 0 2014-03-15", "2014-02-28"},
    {"day-of-year", 13, 0, true, "1 to 366", "set day-of-year 60 2016-12-24", "2016-02-29"},
    {"day-of-week", 14, 0, true, "1 Sunday to 7 Saturday", "set day-of-week 2 2014-05-10",
     "2014-05-05"},
    {"hour", 18, 0, true, "0 to 23", "set hour 2 2014-03-09T12:50 --zone America/New_York",
     "2014-03-09T03:50:00-04:00"},
    {"minute", 19, 0, true, "0 to 59", "set minute -15 2014-05-10T08:30", "2014-05-10T07:45:00"},
    {"second", 20, 0, false, "0 to 59.999..., fractions too",
     "set second 30.1 2014-05-10T08:30:15Z", "2014-05-10T08:30:30.1Z"},
    {"time-of-day", 21, 0, false, "seconds since midnight", "set time-of-day 3600.5 2014-05-10",
     "2014-05-10T01:00:00.5"},
}};

// By name or selector; throws a Failure of Status::unknownName that lists the names.
const Component& findComponent(std::string_view text);

// The table that `plx components` prints.
std::string componentTable();

// An example for each component, as help texts end.
std::string componentExamples();

}  // namespace plx
