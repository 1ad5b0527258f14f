#include "set/npy_setter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "base/calendar_limits.h"
#include "datetime/zone.h"
#include "elements/elements.h"
#include "inspect/leap_table.h"
#include "inspect/named.h"
#include "npy/positions.h"
#include "setting/refusals.h"
#include "setting/value.h"

namespace plx {

namespace {

// Few enough for all blocks of a chunk to stay in the second cache.
constexpr std::size_t kChunk = std::size_t{1} << 13;

constexpr std::string_view kAcceptedShapes = "a single value, or the shape of the datetimes";
constexpr std::string_view kAcceptedArrays =
    "datetimes of complex128, float64 or datetime64 with a unit";
constexpr std::string_view kAcceptedValues = "values of float64, float32 and integers";
constexpr std::string_view kAcceptedWhole =
    "whole numbers; only second and time-of-day take fractions";

Failure failureAt(const std::string& where, const Complaint& complaint, std::string_view text) {
  return {Status::badData, describe(where, complaint, text)};
}

// The new values of one setting.
class NewValues {
 public:
  NewValues(const NpySetting& setting, const NpyHeader& datetimes, bool isCalendar)
      : component_(setting.component), isCalendar_(isCalendar) {
    if (setting.file.empty()) {
      array_ = hostNumber(setting.value);
      isLast_ = isLast(setting.value);
      check("VALUE", setting.value, fmt::format("{}", setting.value));
      return;
    }
    file_ = std::make_unique<NpyFile>(setting.file);
    const ElementType& type = file_->header().type;
    if (type.kind == ElementType::Kind::complexFloat || type.kind == ElementType::Kind::datetime64)
      throw failureAt(file_->name(), {"the elements are no numbers", kAcceptedValues},
                      typeName(type));
    if (file_->header().count == 1) {
      array_ = hostColumn(1, paREAL);
      readRun(file_->elements(0), 0, 1, paGetRealData(array_.get()));
      file_.reset();
      return;
    }
    if (file_->header().shape != datetimes.shape)
      throw failureAt(file_->name(), {"the shape is not that of the datetimes", kAcceptedShapes},
                      shapeText(file_->header().shape));
    if (!isSameOrder(file_->header(), datetimes))
      positions_.emplace(datetimes.shape, datetimes.fortranOrder);
  }

  // The values of the next `count` datetimes, in their order; one for all where they are the same.
  const paArray* next(std::uint64_t start, std::size_t count, const paArray* datetimes,
                      const Zone& zone) {
    if (isLast_) return lastOf(datetimes, count, zone);
    if (!file_) return array_.get();
    if (count != size_) array_ = hostColumn(size_ = count, paREAL);
    double* numbers = paGetRealData(array_.get());
    if (positions_) {
      const char* const elements = file_->elements(0);  // asked for once: it looks at the file
      for (std::size_t i = 0; i < count; ++i, positions_->advance())
        readRun(elements, positions_->other(), 1, numbers + i);
    } else {
      readRun(file_->elements(0), start, count, numbers);
      file_->release(start + count);
    }
    return array_.get();
  }

  double at(std::size_t i) const {
    return paGetRealData(array_.get())[paIsScalar(array_.get()) ? 0 : i];
  }

 private:
  const paArray* lastOf(const paArray* datetimes, std::size_t count, const Zone& zone) {
    array_ = hostColumn(count, paREAL);
    const double* high = paGetRealData(datetimes);
    const double* low = paIsComplex(datetimes) ? paGetImagData(datetimes) : nullptr;
    for (std::size_t i = 0; i < count; ++i) {
      const doubledouble datetime{high[i], low == nullptr ? 0.0 : low[i]};
      // What is out of range or no datetime is told, or stays, with any value.
      const bool isDatetime =
          std::fabs(high[i]) <= (zone.isCalendar() ? kMaxCalendarMillis : kMaxMillis);
      paGetRealData(array_.get())[i] =
          isDatetime ? resolve({true, 0}, component_, datetime, zone) : 1.0;
    }
    return array_.get();
  }

  // Of the file's elements, `count` from `start` on.
  void readRun(const char* elements, std::uint64_t start, std::size_t count, double* numbers) {
    const ElementType& type = file_->header().type;
    const char* bytes = elements + start * type.bytes;
    const std::size_t read = readNumbers(type, bytes, count, numbers);
    for (std::size_t i = 0; i < read; ++i) {
      if (isFine(numbers[i])) continue;
      check(where(start + i), numbers[i], numberText(type, bytes + i * type.bytes));
    }
    if (read < count) {
      throw failureAt(
          where(start + read),
          {"the value is too large for a double to hold exactly", "numbers within 2^53"},
          numberText(type, bytes + read * type.bytes));
    }
  }

  // What almost all values are, so that no more has to be asked.
  bool isFine(double number) const {
    constexpr double kSmall = 2'000'000;
    return std::fabs(number) <= kSmall &&
           (takesFractions() || static_cast<double>(static_cast<std::int32_t>(number)) == number);
  }

  void check(const std::string& where, double number, std::string_view text) const {
    if (!std::isfinite(number)) return;
    if (!takesFractions() && std::floor(number) != number)
      throw failureAt(where, {"not a whole number", kAcceptedWhole}, text);
    if (!isCalendar_) return;
    if (const auto wrong = refusedByCalendar(component_, number))
      throw failureAt(where, *wrong, text);
  }

  std::string where(std::uint64_t position) const {
    return elementText(file_->name(), file_->header(), position);
  }

  bool takesFractions() const { return factsOf(component_).takesFractions; }

  Component component_;
  const bool isCalendar_;
  std::unique_ptr<NpyFile> file_;                 // null for one value
  std::optional<TransposedPositions> positions_;  // where the file has another order
  HostArray array_;
  std::size_t size_ = 0;
  bool isLast_ = false;  // of each datetime its own
};

class NpySetter {
 public:
  NpySetter(Module& module, NpyFile& file, const std::vector<NpySetting>& settings,
            const Zone& zone)
      : module_(module), file_(file), zone_(zone), zoneText_(hostText(zone.text())) {
    bool keepsParts = true;
    for (const NpySetting& setting : settings) {
      // The components that take fractions replace what is below a second.
      keepsParts = keepsParts && !factsOf(setting.component).takesFractions;
      settings_.push_back({NewValues(setting, file.header(), zone.isCalendar()),
                           hostNumber(factsOf(setting.component).selector)});
    }
    elements_ = DatetimeElements::of(file.header().type, keepsParts);
    if (!elements_)
      throw failureAt(file.name(), {"the elements are no datetimes", kAcceptedArrays},
                      typeName(file.header().type));
  }

  // Whether there are results past the table of leap seconds.
  bool run(const WriteBytes& write) {
    write(npyHeaderText(file_.header()));
    std::vector<char> out(kChunk * file_.header().type.bytes);
    const std::uint64_t count = file_.header().count;
    for (start_ = 0; start_ < count; start_ += count_) {
      const auto now = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, count - start_));
      setChunk(now, out.data());
      write({out.data(), now * file_.header().type.bytes});
      file_.release(start_);
    }
    return pastTable_;
  }

 private:
  struct Setting {
    NewValues values;
    HostArray selector;
  };

  void setChunk(std::size_t count, char* out) {
    makeRoom(count);
    bytes_ = file_.elements(start_);
    double* high = paGetRealData(datetimes_.get());
    if (elements_->read(bytes_, count, high, paGetImagData(datetimes_.get()))) {
      const HostArray result = apply(datetimes_.get());
      if (elements_->write(
              {bytes_, high, paGetRealData(result.get()), paGetImagData(result.get()), count}, out))
        return;
      return writeEach(datetimes_.get(), result.get(), out);
    }
    const HostArray datetimes = readEach();
    writeEach(datetimes.get(), apply(datetimes.get()).get(), out);
  }

  void makeRoom(std::size_t count) {
    if (count == count_) return;
    count_ = count;
    datetimes_ = hostColumn(count, elements_->hasLow() ? paCOMPLEX : paREAL);
  }

  HostArray readEach() const {
    HostArray datetimes = hostColumn(count_, paCOMPLEX);
    for (std::size_t i = 0; i < count_; ++i) {
      doubledouble datetime{};
      if (const auto wrong = elements_->readOne(element(i), datetime))
        throw failureAt(where(i), *wrong, elements_->text(element(i)));
      paGetRealData(datetimes.get())[i] = datetime.hi;
      paGetImagData(datetimes.get())[i] = datetime.lo;
    }
    return datetimes;
  }

  HostArray apply(const paArray* datetimes) {
    HostArray result;
    refuseOtherClock(datetimes);
    for (Setting& setting : settings_) {
      const paArray* values = setting.values.next(start_, count_, datetimes, zone_);
      HostArray next;
      const auto error =
          module_.set(datetimes, values, setting.selector.get(), zoneText_.get(), next);
      if (error) throw refusal(setting, datetimes, *error);
      result = std::move(next);
      datetimes = result.get();
      refuseOtherClock(datetimes);
    }
    if (zone_.countsLeapSeconds() && !pastTable_) pastTable_ = isAnyPastTable(result.get());
    return result;
  }

  void refuseOtherClock(const paArray* datetimes) const {
    Complaint complaint;
    const auto wrong = zone_.firstWrong({paGetRealData(datetimes), count_}, complaint);
    if (!wrong) return;
    throw Failure{complaint.status,
                  describe(where(*wrong), complaint, elements_->text(element(*wrong)))};
  }

  bool isAnyPastTable(const paArray* result) const {
    const double* high = paGetRealData(result);
    const double* low = paGetImagData(result);
    for (std::size_t i = 0; i < count_; ++i)
      if (pastLeapTable({high[i], low[i]})) return true;
    return false;
  }

  void writeEach(const paArray* datetimes, const paArray* result, char* out) const {
    const std::size_t bytes = file_.header().type.bytes;
    for (std::size_t i = 0; i < count_; ++i) {
      const doubledouble pair{paGetRealData(result)[i], paGetImagData(result)[i]};
      const Slack slack = slackOf(paGetRealData(datetimes)[i], i);
      if (const auto wrong = elements_->writeOne(element(i), pair, slack, out + i * bytes))
        throw failureAt(where(i), *wrong, elements_->resultText(element(i), pair));
    }
  }

  // The double next to the number that was meant is off by 2^-53 of it at most, and so is its
  // product with the milliseconds of a second.
  Slack slackOf(double high, std::size_t i) const {
    Slack slack{0, !std::isfinite(high)};
    for (const Setting& setting : settings_) {
      const double value = setting.values.at(i);
      slack.propagates = slack.propagates || !std::isfinite(value);
      if (std::floor(value) == value || !std::isfinite(value)) continue;
      slack.millis = std::max(slack.millis, std::fabs(value) * (1000 * 0x1p-52));
    }
    return slack;
  }

  // The module stops at the first element that it refuses, but does not tell which one that is.
  Failure refusal(const Setting& setting, const paArray* datetimes, paError error) const {
    std::size_t good = 0, bad = count_;  // so many are set; so many are not
    while (good + 1 < bad) {
      const std::size_t middle = good + (bad - good) / 2;
      const auto refused = setFirst(setting, datetimes, middle);
      if (refused) error = *refused;
      (refused ? bad : good) = middle;
    }
    const std::size_t i = bad - 1;
    return failureAt(where(i), complaintOf(error), elements_->text(element(i)));
  }

  std::optional<paError> setFirst(const Setting& setting, const paArray* datetimes,
                                  std::size_t count) const {
    const bool isComplex = paIsComplex(datetimes);
    const HostArray some = hostColumn(count, isComplex ? paCOMPLEX : paREAL);
    std::copy_n(paGetRealData(datetimes), count, paGetRealData(some.get()));
    if (isComplex) std::copy_n(paGetImagData(datetimes), count, paGetImagData(some.get()));
    const HostArray values = hostColumn(count, paREAL);
    for (std::size_t i = 0; i < count; ++i) paGetRealData(values.get())[i] = setting.values.at(i);
    HostArray ignored;
    return module_.set(some.get(), values.get(), setting.selector.get(), zoneText_.get(), ignored);
  }

  const char* element(std::size_t i) const { return bytes_ + i * file_.header().type.bytes; }
  std::string where(std::size_t i) const {
    return elementText(file_.name(), file_.header(), start_ + i);
  }

  Module& module_;
  NpyFile& file_;
  const Zone& zone_;
  const HostArray zoneText_;
  std::vector<Setting> settings_;
  std::unique_ptr<DatetimeElements> elements_;

  // The chunk that is being set.
  std::uint64_t start_ = 0;
  std::size_t count_ = 0;
  const char* bytes_ = nullptr;
  HostArray datetimes_;
  bool pastTable_ = false;
};

}  // namespace

bool setNpy(Module& module, NpyFile& datetimes, const std::vector<NpySetting>& settings,
            const Zone& zone, const WriteBytes& write) {
  return NpySetter(module, datetimes, settings, zone).run(write);
}

}  // namespace plx
