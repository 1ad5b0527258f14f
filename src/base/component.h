// The components of a datetime that can be set, and what is known of each: the one list of them, for
// the module and for programs beside it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

enum class Component {
  year,
  quarter,
  month,
  weekOfYear,
  dayOfMonth,
  dayOfYear,
  dayOfWeek,
  hour,
  minute,
  second,
  timeOfDay,
  none,  // any other field of a datetime: setting it changes nothing
};

struct ComponentFacts {
  Component component;
  std::string_view name;
  std::uint8_t selector;       // by which callers of the module choose it
  std::uint8_t otherSelector;  // a second one of the same meaning; 0 where there is none
  std::uint8_t field;          // ICU's calendar field; of the quarter, a number of our own
  bool isOfDate;               // setting it moves the day; otherwise the clock
  bool takesFractions;         // new values are seconds with a fraction; otherwise whole numbers
  // The largest magnitude of a new value from which a time in range can come in a time zone;
  // infinity where it can from every value of 32 bits. Beyond the largest one ICU's 32-bit day number
  // wraps, and a wrong but plausible time would come back: year 11759222 gives year 1.
  double largestInZone;
  std::string_view unit;  // of new values, and where they carry
};

// In the order of the enum.
inline constexpr auto kFactsOfAll = [] {
  constexpr double kAny = std::numeric_limits<double>::infinity();
  constexpr std::uint8_t kNoField = 255;
  using enum Component;
  return std::array<ComponentFacts, 12>{{
      {year, "year", 3, 0, 19, true, false, 1e6, "any year; year 0 exists"},
      {quarter, "quarter", 6, 0, 23, true, false, 4e6, "1 to 4"},
      {month, "month", 7, 0, 2, true, false, 12e6, "1 to 12"},
      {weekOfYear, "week-of-year", 9, 0, 3, true, false, 1e8, "1 to 54, from Sunday"},
      {dayOfMonth, "day", 11, 12, 5, true, false, 5e8, "1 to 31"},
      {dayOfYear, "day-of-year", 13, 0, 6, true, false, 5e8, "1 to 366"},
      {dayOfWeek, "day-of-week", 14, 0, 7, true, false, kAny, "1 Sunday to 7 Saturday"},
      {hour, "hour", 18, 0, 11, false, false, kAny, "0 to 23"},
      {minute, "minute", 19, 0, 12, false, false, kAny, "0 to 59"},
      {second, "second", 20, 0, 13, false, true, kAny, "0 to 59.999..., fractions too"},
      {timeOfDay, "time-of-day", 21, 0, 21, false, true, kAny, "seconds since midnight"},
      {none, "", 0, 0, kNoField, true, false, kAny, ""},
  }};
}();

// The facts of the components that can be set.
inline constexpr std::span<const ComponentFacts, 11> kComponentFacts(kFactsOfAll.data(), 11);

inline constexpr auto kComponents = [] {
  std::array<Component, kComponentFacts.size()> components{};
  for (std::size_t i = 0; i < components.size(); ++i) components[i] = kComponentFacts[i].component;
  return components;
}();

constexpr const ComponentFacts& factsOf(Component component) {
  return kFactsOfAll[static_cast<std::size_t>(component)];
}

static_assert(
    [] {
      for (const ComponentFacts& facts : kFactsOfAll) {
        if (&factsOf(facts.component) != &facts) return false;
      }
      return kComponentFacts.back().component == Component::timeOfDay;
    }(),
    "each row stands where its component looks for it");
