#include "setting/explain.h"

#include <fmt/format.h>

#include <cmath>
#include <optional>

#include "base/calendar_limits.h"
#include "inspect/explain.h"
#include "inspect/named.h"
#include "setting/datetime_places.h"
#include "setting/zone_of.h"

namespace plx {

namespace {

constexpr std::size_t kShape[] = {1};

DatetimeArray pairIn(doubledouble& pair) {
  DatetimeArray array;
  array.type.kind = ElementType::Kind::floatingPoint;
  array.type.bytes = 8;
  array.isPair = true;
  array.elements = {&pair.hi, 8, 1, kShape, nullptr};
  array.low = {&pair.lo, 8, 1, kShape, nullptr};
  array.count = 1;
  return array;
}

// What stopped `one`, a job of a pair, told as for the datetime in the caller's own type.
Wrong wrongOf(SetJob one, const DatetimeArray& datetime, Stop stop) {
  double room[2] = {};  // for a result of any type
  one.datetimes = one.results = datetime;
  one.results.elements = {&room[0], datetime.type.bytes, 1, kShape, nullptr};
  if (datetime.isPair) one.results.low = {&room[1], datetime.type.bytes, 1, kShape, nullptr};
  unsigned notes = 0;
  if (auto same = run(one, notes)) stop = std::move(*same);
  return std::move(stop.wrong);
}

}  // namespace

std::string explain(const SetJob& job, std::string_view asked, bool colour) {
  doubledouble before{}, after{};
  const DatetimePlaces places(job.datetimes);
  if (auto wrong = places.read(0, before)) throw std::move(*wrong);
  const Zone zone = zoneOf(job.isLocal ? "local" : job.zoneText);
  const double most = zone.isCalendar() ? kMaxCalendarMillis : kMaxMillis;
  if (std::isnan(before.hi))
    throw wrong({"the datetime is a missing one, NaT or NaN", zone.acceptedRange(), Status::badData,
                 id::kOutOfRange});
  if (!(std::fabs(before.hi) <= most))
    throw wrong({"the datetime is out of range", zone.acceptedRange(), Status::badData,
                 zone.isCalendar() ? id::kRangeError : id::kOutOfRange},
                places.text(0));
  SetJob one = job;
  one.options = {};
  one.options.fold = job.options.fold;
  one.options.gap = job.options.gap;
  one.datetimes = pairIn(before);
  one.results = pairIn(after);
  NewValues& values = one.settings.front();
  if (values.areLast) {
    values.forAll = resolve({true, 0}, values.component, before, zone);
    values.areLast = false;
  } else if (!values.forAll) {
    double number = 0;
    if (readNumbers(values.type, values.elements.at(0), 1, &number) == 1) values.forAll = number;
  }
  unsigned notes = 0;
  if (auto stop = run(one, notes)) throw wrongOf(one, job.datetimes, std::move(*stop));
  const double value = values.forAll.value_or(std::nan(""));
  if (!std::isfinite(value) || !(std::fabs(after.hi) <= most)) {
    throw wrong({"the value or the result is out of range", zone.acceptedRange(), Status::badData,
                 id::kOutOfRange},
                fmt::format("{}", value), true);
  }
  const Setting setting{values.component, value};
  return explain({zone, setting, std::string(asked), before, after}, colour);
}

}  // namespace plx
