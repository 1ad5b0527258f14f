// The components of a datetime that can be set.
#pragma once

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
  none,  // cannot be set: the datetimes stay as they are
};
