#include "set/npy_setter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>

#include "datetime/zone.h"
#include "elements/elements.h"
#include "messages/identifiers.h"
#include "npy/positions.h"
#include "setting/block_setter.h"
#include "setting/refusals.h"
#include "setting/value.h"
#include "stream/pipeline.h"

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

// The elements of a file, mapped where they are not changed.
char* mapped(const NpyFile& file) { return const_cast<char*>(file.elements(0)); }

// The elements of a file of values, in the order in which a file of datetimes of the same shape has its own.
Strided inOrderOf(const NpyHeader& datetimes, const NpyFile& values) {
  const NpyHeader& header = values.header();
  std::vector<std::size_t> shape(header.shape.begin(), header.shape.end());
  std::vector<std::ptrdiff_t> strides(shape.size());
  std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(header.type.bytes);
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const std::size_t d = header.fortranOrder ? i : shape.size() - 1 - i;
    strides[d] = stride;
    stride *= static_cast<std::ptrdiff_t>(shape[d]);
  }
  if (datetimes.fortranOrder) {
    std::reverse(shape.begin(), shape.end());
    std::reverse(strides.begin(), strides.end());
  }
  return {mapped(values), header.type.bytes, shape.size(), shape.data(), strides.data()};
}

// The new values of one setting.
class SettingValues {
 public:
  SettingValues(const NpySetting& setting, const NpyHeader& datetimes, bool isCalendar) {
    values_.component = setting.component;
    if (setting.file.empty()) {
      values_.areLast = isLast(setting.value);
      if (!values_.areLast) values_.forAll = setting.value;
      check(setting.value, isCalendar);
      return;
    }
    file_ = std::make_unique<NpyFile>(setting.file);
    const NpyHeader& header = file_->header();
    values_.type = header.type;
    if (values_.type.kind == ElementType::Kind::complexFloat ||
        values_.type.kind == ElementType::Kind::datetime64)
      throw failureAt(file_->name(), {"the elements are no numbers", kAcceptedValues},
                      typeName(values_.type));
    if (header.count == 1) {
      // One for all, told where it stands should it be wrong.
      constexpr std::size_t kShape[] = {1};
      constexpr std::ptrdiff_t kSame[] = {0};
      const std::size_t all[] = {datetimes.count};
      values_.elements = {mapped(*file_), values_.type.bytes, 1,
                          datetimes.count == 0 ? kShape : all, kSame};
      double number = 0;
      const bool isExact = readNumbers(values_.type, mapped(*file_), 1, &number) == 1;
      if (isExact && (factsOf(setting.component).takesFractions || std::floor(number) == number))
        values_.forAll = number;
      return;
    }
    if (header.shape != datetimes.shape)
      throw failureAt(file_->name(), {"the shape is not that of the datetimes", kAcceptedShapes},
                      shapeText(header.shape));
    values_.elements = inOrderOf(datetimes, *file_);
  }

  const NewValues& values() const { return values_; }

  // Where the value of a datetime stands.
  std::string where(std::size_t position) const {
    if (!file_) return "VALUE";
    const auto bytes = static_cast<std::size_t>(values_.elements.at(position) - mapped(*file_));
    return elementText(file_->name(), file_->header(), bytes / values_.type.bytes);
  }

  // Throws a Failure where the file is shorter than it was.
  void checkLength() const {
    if (file_) file_->elements(0);
  }
  // The values of datetimes before that one are no longer wanted.
  void release(std::size_t end) {
    if (file_ && values_.elements.isContiguous()) file_->release(end);
  }

 private:
  void check(double number, bool isCalendar) const {
    if (!std::isfinite(number)) return;
    const std::string text = fmt::format("{}", number);
    if (!factsOf(values_.component).takesFractions && std::floor(number) != number)
      throw failureAt("VALUE", {"not a whole number", kAcceptedWhole}, text);
    if (!isCalendar) return;
    if (const auto wrong = refusedByCalendar(values_.component, number))
      throw failureAt("VALUE", *wrong, text);
  }

  NewValues values_;
  std::unique_ptr<NpyFile> file_;  // null for one value
};

// Chunks of elements, which stay where they are mapped: its records are all that a chunk has.
class ElementChunks : public Chunks {
 public:
  explicit ElementChunks(std::size_t count) : count_(count) {}

  bool read(Chunk& chunk) override {
    if (next_ >= count_) return false;
    chunk.record = next_ + 1;
    chunk.records = std::min(kChunk, count_ - next_);
    next_ += chunk.records;
    return true;
  }
  // Nothing here waits.
  void allowWakeUp() override {}
  void wakeUp() override {}

 private:
  const std::size_t count_;
  std::size_t next_ = 0;
};

std::size_t firstOf(const Chunk& chunk) { return chunk.record - 1; }
std::size_t endOf(const Chunk& chunk) { return firstOf(chunk) + chunk.records; }

class NpySetter {
 public:
  NpySetter(const Module& module, NpyFile& file, const std::vector<NpySetting>& settings,
            const Zone& zone, const ClockChoice& clock, std::size_t jobs)
      : file_(file), jobs_(jobs), job_(module) {
    const NpyHeader& header = file.header();
    for (const NpySetting& setting : settings) {
      values_.emplace_back(setting, header, zone.isCalendar());
      job_.settings.push_back(values_.back().values());
      // The components that take fractions replace what is below a second.
      job_.keepsParts = job_.keepsParts && !factsOf(setting.component).takesFractions;
    }
    if (!DatetimeElements::of(header.type, job_.keepsParts))
      throw failureAt(file.name(), {"the elements are no datetimes", kAcceptedArrays},
                      typeName(header.type));
    job_.datetimes = {header.type,
                      false,
                      {mapped(file), header.type.bytes, 0, nullptr, nullptr},
                      {},
                      header.count};
    if (jobs == 1) job_.zone = &zone;  // else each thread makes its own
    zoneName_ = zone.isLocal() ? "local" : zone.text();
    job_.needsZone = true;
    job_.hasZone = zone.isCalendar();
    job_.zoneText = zone.text();
    job_.countsLeapSeconds = zone.countsLeapSeconds();
    job_.options.fold = clock.fold;
    job_.options.gap = clock.gap;
  }

  // Whether there are results past the table of leap seconds.
  bool run(const WriteBytes& write) {
    write(npyHeaderText(file_.header()));
    ElementChunks chunks(job_.datetimes.count);
    bool isPastLeapTable = false;
    Pipeline pipeline(jobs_, [this] { return std::make_unique<ChunkSetter>(*this); });
    pipeline.run(chunks, [&](const Chunk& chunk, const Piece& piece) {
      write(piece.bytes());
      isPastLeapTable = isPastLeapTable || piece.warnings > 0;
      for (SettingValues& values : values_) values.release(endOf(chunk));
      file_.release(endOf(chunk));
    });
    return isPastLeapTable;
  }

 private:
  // What a thread does with its chunks.
  class ChunkSetter : public Worker {
   public:
    explicit ChunkSetter(const NpySetter& all) : all_(all), job_(ownJob()), setter_(job_) {
      const ElementType& type = job_.datetimes.type;
      out_.resize(kChunk * type.bytes);
      job_.results = {type, false, {out_.data(), type.bytes, 0, nullptr, nullptr}, {}, kChunk};
      job_.options.notes = &notes_;
    }

    std::optional<Failure> run(const Chunk& chunk, Piece& piece) override {
      all_.checkLengths();
      job_.firstResult = firstOf(chunk);
      if (const auto stop = setter_.work(firstOf(chunk), chunk.records))
        return all_.failureOf(*stop);
      piece.kept = {out_.data(), chunk.records * job_.datetimes.type.bytes};
      piece.warnings = (setter_.notes() & plxPAST_LEAP_TABLE) != 0 ? 1 : 0;
      return std::nullopt;
    }

   private:
    SetJob ownJob() {
      SetJob job = all_.job_;
      if (job.zone == nullptr) job.zone = &ownZone_.emplace(Zone::named(all_.zoneName_));
      return job;
    }

    const NpySetter& all_;
    std::optional<Zone> ownZone_;
    SetJob job_;
    std::vector<char> out_;
    unsigned notes_ = 0;
    BlockSetter setter_;
  };

  void checkLengths() const {
    file_.elements(0);
    for (const SettingValues& values : values_) values.checkLength();
  }

  Failure failureOf(const Stop& stop) const {
    if (stop.index == PLX_NO_INDEX) return {Status::inputOutput, stop.wrong.message};
    const std::string where = stop.wrong.isOfValue
                                  ? values_[stop.setting].where(stop.index)
                                  : elementText(file_.name(), file_.header(), stop.index);
    const bool isOfZone = stop.wrong.identifier.ends_with(id::kOtherClock);
    return {isOfZone ? Status::unknownName : Status::badData, where + ": " + stop.wrong.message};
  }

  NpyFile& file_;
  const std::size_t jobs_;
  std::vector<SettingValues> values_;
  std::string zoneName_;
  SetJob job_;  // without room for results, which each thread has
};

}  // namespace

bool setNpy(Module& module, NpyFile& datetimes, const std::vector<NpySetting>& settings,
            const Zone& zone, const ClockChoice& clock, std::size_t jobs, const WriteBytes& write) {
  return NpySetter(module, datetimes, settings, zone, clock, jobs).run(write);
}

}  // namespace plx
