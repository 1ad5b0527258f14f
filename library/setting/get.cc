#include "setting/get.h"

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "base/calendar_limits.h"
#include "elements/bytes.h"
#include "inspect/component_value.h"
#include "inspect/leap_table.h"
#include "inspect/wall.h"
#include "setting/datetime_places.h"
#include "setting/zone_of.h"

namespace plx {

namespace {

constexpr std::size_t kReadBlock = std::size_t{1} << 12;

class Getter : public BlockWorker {
 public:
  explicit Getter(const GetJob& job) : job_(job), places_(job.datetimes), zone_(zoneOf(job.zone)) {}

  std::optional<Stop> work(std::size_t start, std::size_t count) override {
    const bool areRead = readTogether(start, count);
    for (std::size_t i = start; i < start + count; ++i) {
      if (job_.options.where != nullptr && *job_.where.at(i) == 0) continue;
      doubledouble datetime{};
      if (areRead) {
        datetime = {high_[i - start], low_[i - start]};
      } else if (auto wrong = places_.read(i, datetime)) {
        return Stop{std::move(*wrong), i};
      }
      double number = std::numeric_limits<double>::quiet_NaN();
      if (std::isfinite(datetime.hi)) {
        if (auto wrong = faultOf(datetime, i)) return Stop{std::move(*wrong), i};
        number = componentValue(job_.component, datetime, zone_);
        if (zone_.countsLeapSeconds() && pastLeapTable(datetime)) notes_ |= plxPAST_LEAP_TABLE;
      }
      char* out = job_.numbers.at(i);
      job_.isSwapped ? store<true>(out, number) : store<false>(out, number);
    }
    return std::nullopt;
  }

  unsigned notes() const override { return notes_; }

 private:
  std::optional<Wrong> faultOf(const doubledouble& datetime, std::size_t i) const {
    const double most = zone_.isCalendar() ? kMaxCalendarMillis : kMaxMillis;
    if (!(std::fabs(datetime.hi + datetime.lo) <= most)) {
      return wrong({"the datetime is out of range", zone_.acceptedRange(), Status::badData,
                    zone_.isCalendar() ? id::kRangeError : id::kOutOfRange},
                   places_.text(i));
    }
    Complaint complaint;
    if (zone_.isRight(datetime, complaint)) return std::nullopt;
    complaint.identifier = id::kOtherClock;
    return wrong(complaint, places_.text(i));
  }

  bool readTogether(std::size_t start, std::size_t count) {
    // Parts of a millisecond belong to the components with fractions alone.
    const bool hasParts = job_.datetimes.type.unit > TimeUnit::ms;
    if (hasParts && factsOf(job_.component).takesFractions) return false;
    high_.resize(count);
    low_.resize(count);
    return places_.readMillis(start, count, high_.data(), low_.data());
  }

  const GetJob& job_;
  DatetimePlaces places_;
  const Zone zone_;
  std::vector<double> high_, low_;
  unsigned notes_ = 0;
};

class Converter : public BlockWorker {
 public:
  explicit Converter(const ConvertJob& job) : job_(job), from_(job.datetimes), to_(job.results) {}

  std::optional<Stop> work(std::size_t start, std::size_t count) override {
    for (std::size_t i = start; i < start + count; ++i) {
      if (job_.options.where != nullptr && *job_.where.at(i) == 0) continue;
      doubledouble datetime{};
      if (auto wrong = from_.read(i, datetime)) return Stop{std::move(*wrong), i};
      if (auto wrong = to_.write(i, datetime)) return Stop{std::move(*wrong), i};
    }
    return std::nullopt;
  }

 private:
  const ConvertJob& job_;
  const DatetimePlaces from_, to_;
};

}  // namespace

double componentValue(Component component, const doubledouble& pair, const Zone& zone) {
  const Wall wall = wallOf(pair, zone);
  const double second = secondOfDay(wall);
  const double whole = shownValue(component, wall.day, second, zone);
  if (!factsOf(component).takesFractions) return whole;
  const doubledouble start = two_prod(second - whole, kMillisPerSecond);
  const doubledouble millis =
      dd::add(dd::subtract(wall.msOfDay, dd::collapse(start)), wall.insertedSecond ? 1000.0 : 0.0);
  return dd::collapse(dd::divide(millis, kMillisPerSecond));
}

std::optional<Stop> run(const GetJob& job, unsigned& notes) {
  return runBlocks(
      job.datetimes.count, kReadBlock, job.options, [&] { return std::make_unique<Getter>(job); },
      notes);
}

std::optional<Stop> run(const ConvertJob& job) {
  unsigned notes = 0;
  return runBlocks(
      job.datetimes.count, kReadBlock, job.options,
      [&] { return std::make_unique<Converter>(job); }, notes);
}

}  // namespace plx
