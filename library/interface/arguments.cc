#include "interface/arguments.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "datetime/local_zone.h"
#include "elements/elements.h"
#include "messages/letters.h"
#include "setting/value.h"

namespace plx {

namespace {

constexpr std::size_t kMostDimensions = 64;

[[noreturn]] void refuse(std::string_view identifier, std::string what, std::string_view accepted,
                         std::string_view text = {}) {
  throw wrong({std::move(what), accepted, Status::usage, identifier}, text);
}

[[noreturn]] void refuseArgument(std::string_view what, const char* why,
                                 std::string_view accepted) {
  refuse(id::kInvalidArgument, fmt::format("{}: {}", what, why), accepted);
}

// Before anything reads the lengths.
void checkDimensions(const plxArray& array, std::string_view what) {
  if (array.ndim > kMostDimensions)
    refuseArgument(what, "too many dimensions", "at most 64 dimensions");
  if (array.ndim > 0 && array.shape == nullptr)
    refuseArgument(what, "the shape is null", "a length for each dimension");
}

// The product of the shape. Throws for an array that no memory could hold.
std::size_t countOf(const plxArray& array, std::string_view what) {
  checkDimensions(array, what);
  const std::size_t* const end = array.shape + array.ndim;
  if (std::find(array.shape, end, 0) != end) return 0;
  std::size_t count = 1;
  constexpr std::size_t kMost = std::numeric_limits<std::ptrdiff_t>::max() / 16;
  for (const std::size_t* length = array.shape; length != end; ++length)
    if (__builtin_mul_overflow(count, *length, &count) || count > kMost)
      refuseArgument(what, "the product of the lengths is too large", "lengths of an array");
  return count;
}

ElementType typeOf(const plxArray& array, std::string_view what) {
  if (array.type == nullptr)
    refuseArgument(what, "the type is null", "an element type such as <M8[ns]");
  Complaint complaint;
  const auto type = readElementType(array.type, complaint);
  if (!type)
    refuse(id::kUnknownType, fmt::format("{}: {}", what, complaint.what), complaint.accepted,
           array.type);
  return *type;
}

Strided elementsOf(const plxArray& array, std::size_t bytes, std::size_t count,
                   std::string_view what) {
  if (array.data == nullptr && count > 0)
    refuseArgument(what, "the data are null", "the address of the first element");
  return {array.data, bytes, array.ndim, array.shape, array.strides};
}

std::string shapeText(const plxArray& array) {
  std::string text = "(";
  for (std::size_t d = 0; d < array.ndim; ++d)
    text += fmt::format("{}{}", d == 0 ? "" : ", ", array.shape[d]);
  return text + (array.ndim == 1 ? ",)" : ")");
}

void checkShape(const plxArray& array, const plxArray& datetimes, std::string_view what,
                std::string_view accepted) {
  checkDimensions(array, what);
  if (array.ndim == datetimes.ndim &&
      std::equal(array.shape, array.shape + array.ndim, datetimes.shape))
    return;
  refuse(id::kShapeMismatch,
         fmt::format("{} of shape {} for datetimes of shape {}", what, shapeText(array),
                     shapeText(datetimes)),
         accepted);
}

double readWord(const char* word, Component component) {
  Complaint complaint;
  const auto value = readValue(word, component, complaint);
  if (value) return *value;
  complaint.identifier =
      complaint.what == "not a whole number" ? id::kMustBeInteger : id::kUnknownValue;
  throw wrong(complaint, word, true);
}

NewValues readSetting(const plxSetting& setting, const plxArray& datetimes) {
  const ComponentFacts& facts = factsOfSelector(setting.component);
  NewValues values;
  if (setting.word != nullptr) {
    const double number = readWord(setting.word, facts.component);
    values.areLast = isLast(number);
    if (!values.areLast) values.forAll = number;
  } else {
    values = readNewValues(setting.values, datetimes, "values");
  }
  values.component = facts.component;
  return values;
}

// Zones that are none to ICU, in any letter case.
bool isCalendarZone(std::string_view text) {
  return !text.empty() && !areEqualInAnyCase(text, "utc") &&
         !areEqualInAnyCase(text, "utcleapseconds");
}

void readZone(SetJob& job) {
  job.zoneText = job.options.zone == nullptr ? "" : job.options.zone;
  job.isLocal = areEqualInAnyCase(job.zoneText, "local");
  if (job.isLocal) {
    Complaint complaint;
    const auto text = localZoneText(complaint);
    complaint.identifier = id::kUnknownTimeZone;
    if (!text) throw wrong(complaint, job.zoneText);
    job.zoneText = *text;
  }
  job.hasZone = isCalendarZone(job.zoneText);
  job.countsLeapSeconds = areEqualInAnyCase(job.zoneText, "utcleapseconds");
}

Strided bytesOf(const void* bytes, const std::ptrdiff_t* strides, const plxArray& datetimes) {
  return {const_cast<void*>(bytes), 1, datetimes.ndim, datetimes.shape, strides};
}

}  // namespace

const ComponentFacts& factsOfSelector(int selector) {
  for (const ComponentFacts& facts : kComponentFacts) {
    if (selector > 0 && (selector == facts.selector || selector == facts.otherSelector))
      return facts;
  }
  refuse(id::kUnknownComponent, "unknown component", "a selector that plxComponents tells",
         fmt::format("{}", selector));
}

DatetimeArray readDatetimes(const plxArray* array, std::string_view what) {
  if (array == nullptr) refuseArgument(what, "null", "an array");
  DatetimeArray datetimes;
  datetimes.type = typeOf(*array, what);
  datetimes.isPair = array->low != nullptr;
  const bool isFloat =
      datetimes.type.kind == ElementType::Kind::floatingPoint && datetimes.type.bytes == 8;
  const bool areDatetimes = isFloat || datetimes.type.kind == ElementType::Kind::complexFloat ||
                            datetimes.type.kind == ElementType::Kind::datetime64;
  if (!areDatetimes || (datetimes.isPair && !isFloat)) {
    refuse(
        id::kUnknownType, fmt::format("{}: elements that are no datetimes", what),
        "complex128 (c16), float64 (f8) with low parts or without, datetime64 with a unit (M8[ns])",
        array->type);
  }
  datetimes.count = countOf(*array, what);
  datetimes.elements = elementsOf(*array, datetimes.type.bytes, datetimes.count, what);
  if (datetimes.isPair) {
    datetimes.low = {array->low, 8, array->ndim, array->shape,
                     array->lowStrides != nullptr ? array->lowStrides : array->strides};
  }
  return datetimes;
}

NewValues readNewValues(const plxArray& array, const plxArray& shape, std::string_view what) {
  NewValues values;
  values.type = typeOf(array, what);
  if (values.type.kind == ElementType::Kind::complexFloat ||
      values.type.kind == ElementType::Kind::datetime64)
    refuse(id::kUnknownType, fmt::format("{}: elements that are no numbers", what),
           "float64, float32 and integers", array.type);
  if (array.ndim > 0) checkShape(array, shape, what, "one value for all, or the same shape");
  const std::size_t count = countOf(array, what);
  values.elements = elementsOf(array, values.type.bytes, count, what);
  if (array.ndim > 0) return values;
  double number = 0;
  if (readNumbers(values.type, values.elements.data(), 1, &number) == 1) values.forAll = number;
  // One that no double holds stays where it stands, as one for each: the first element tells.
  if (!values.forAll) {
    static constexpr std::ptrdiff_t kSame[kMostDimensions] = {};
    values.elements = {array.data, values.type.bytes, shape.ndim, shape.shape, kSame};
  }
  return values;
}

plxOptions readOptions(const plxOptions* options) {
  plxOptions read{};
  if (options == nullptr) return read;
  if (options->size < offsetof(plxOptions, zone) + sizeof(options->zone))
    refuseArgument("options", "the size is too small", "sizeof(plxOptions)");
  std::memcpy(&read, options, std::min(options->size, sizeof read));
  if (!isAmong(read.fold, plxFOLD_ERROR)) refuseArgument("options", "unknown fold", "a plxFold");
  if (!isAmong(read.gap, plxGAP_END)) refuseArgument("options", "unknown gap", "a plxGap");
  constexpr unsigned kFindings = plxCARRIED | plxNO_SUCH_DATE | plxSHIFTED | plxTWICE | plxMOVED;
  if ((read.refused & ~kFindings) != 0)
    refuseArgument("options", "unknown findings are refused", "bits of findings");
  return read;
}

SetJob readSetJob(const Module& module, const plxArray* datetimes, const plxSetting* settings,
                  std::size_t count, const plxOptions* options, const plxArray* results) {
  SetJob job(module);
  job.options = readOptions(options);
  job.datetimes = readDatetimes(datetimes, "datetimes");
  job.results = readDatetimes(results, "results");
  if (job.results.type != job.datetimes.type || job.results.isPair != job.datetimes.isPair)
    refuse(id::kUnknownType, "results of another type than the datetimes", "the same type",
           results->type);
  checkShape(*results, *datetimes, "results", "the same shape");
  if (count == 0 || settings == nullptr)
    refuseArgument("settings", "none", "one setting or several");
  for (std::size_t s = 0; s < count; ++s) {
    job.settings.push_back(readSetting(settings[s], *datetimes));
    const NewValues& values = job.settings.back();
    job.keepsParts = job.keepsParts && !factsOf(values.component).takesFractions;
    job.needsZone = job.needsZone || values.areLast;
  }
  const plxOptions& given = job.options;
  if (given.findings != nullptr)
    job.findings = bytesOf(given.findings, given.findingStrides, *datetimes);
  if (given.where != nullptr) job.where = bytesOf(given.where, given.whereStrides, *datetimes);
  readZone(job);
  job.needsZone = job.needsZone || given.findings != nullptr || given.refused != 0 || job.isLocal ||
                  (job.hasZone && (given.fold != plxFOLD_LATER || given.gap != plxGAP_SHIFT));
  return job;
}

GetJob readGetJob(const plxArray* datetimes, int component, const plxOptions* options,
                  const plxArray* numbers) {
  GetJob job;
  job.options = readOptions(options);
  job.component = factsOfSelector(component).component;
  job.datetimes = readDatetimes(datetimes, "datetimes");
  if (numbers == nullptr) refuseArgument("numbers", "null", "an array");
  const ElementType type = typeOf(*numbers, "numbers");
  if (type.kind != ElementType::Kind::floatingPoint || type.bytes != 8)
    refuse(id::kUnknownType, "numbers of another type than float64", "float64 (f8)", numbers->type);
  checkShape(*numbers, *datetimes, "numbers", "the same shape");
  job.numbers = elementsOf(*numbers, type.bytes, job.datetimes.count, "numbers");
  job.isSwapped = type.isSwapped();
  if (job.options.where != nullptr)
    job.where = bytesOf(job.options.where, job.options.whereStrides, *datetimes);
  job.zone = job.options.zone == nullptr ? "" : job.options.zone;
  return job;
}

ConvertJob readConvertJob(const plxArray* datetimes, const plxOptions* options,
                          const plxArray* results) {
  ConvertJob job;
  job.options = readOptions(options);
  job.datetimes = readDatetimes(datetimes, "datetimes");
  job.results = readDatetimes(results, "results");
  checkShape(*results, *datetimes, "results", "the same shape");
  if (job.options.where != nullptr)
    job.where = bytesOf(job.options.where, job.options.whereStrides, *datetimes);
  return job;
}

}  // namespace plx
