// Whole calls of the module as a host makes them: any number of inputs and outputs, of any class, shape,
// sparsity and complexity, with any selector, text and bits. Each gives a result of the datetimes' shape
// or one of the eleven errors (or the host's, for lack of memory), whether the host's error call comes
// back or not; and an element alone gives what it gives among others.

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

#include "fuzz/input.h"
#include "host/embed.h"
#include "support/built.h"
#include "support/datetime_arrays.h"

namespace {

const std::set<std::string> kErrors = {
    "Pelmor:legacy_two_part:minrhs",     "Pelmor:legacy_two_part:maxrhs",
    "Pelmor:legacy_two_part:maxlhs",     "Pelmor:datetime:InvalidInput",
    "Pelmor:datetime:InvalidComponent",  "Pelmor:datetime:UnrecognizedComponent",
    "Pelmor:datetime:InputSizeMismatch", "Pelmor:datetime:UnknownTimeZone",
    "Pelmor:datetime:MustBeInteger",     "Pelmor:datetime:RangeError",
    "Pelmor:datetime:ICUError",          "Pelmor:host:OutOfMemory",
};

constexpr const char* kZones[] = {
    "",           "UTC",       "UTCLeapSeconds",  "utcleapseconds",   "Europe/Berlin",
    "local",      "Asia/Gaza", "Etc/UTC",         "America/New_York", "Australia/Lord_Howe",
    "UTC+05:30",  "-0800",     "Africa/Monrovia", "Etc/Unknown",      "Pacific/Apia",
    "Asia/Tehran"};

constexpr std::size_t kMostElements = 400;  // several blocks of every walk

bool sameDouble(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (a != a && b != b);
}

paModule* module() {
  static paModule* const loaded = [] {
    paSetLocale("en_US", nullptr);
    paError error;
    paModule* const made = paLoadModule(built("plx_datetime.so").c_str(), &error);
    require(made != nullptr, "the module is loaded:", error.message);
    return made;
  }();
  return loaded;
}

Dims anyDims(Input& in) {
  if (in.oneIn(8)) return {1, 1 + in.below(kMostElements)};
  Dims dims(2 + (in.oneIn(8) ? in.below(3) : 0));
  for (std::size_t& extent : dims) extent = in.oneIn(4) ? in.below(7) : 1;
  return dims;
}

// As many numbers as needed from a few of the input, each time moved on.
void fill(Input& in, double* data, std::size_t count) {
  if (data == nullptr || count == 0) return;
  std::array<double, 8> given{};
  const std::size_t several = 1 + in.below(given.size());
  for (std::size_t i = 0; i < several; ++i) given[i] = in.number();
  const double step = count > several ? in.number() : 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    data[i] = given[i % several] + static_cast<double>(i / several) * step;
    if (i < several) data[i] = given[i];  // in all its bits, a zero's sign too
  }
}

Array anyDoubles(Input& in, const Dims& dims, bool complex) {
  Array array(
      paCreateNumericArray(dims.size(), dims.data(), paDOUBLE_CLASS, complex ? paCOMPLEX : paREAL));
  const std::size_t count = paGetNumberOfElements(array.get());
  fill(in, paGetRealData(array.get()), count);
  if (complex) fill(in, paGetImagData(array.get()), count);
  return array;
}

Array anyText(Input& in) {
  if (!in.oneIn(4)) return text(std::string(kZones[in.below(std::size(kZones))]));
  std::u16string units(in.below(40), u' ');
  const bool isAscii = !in.oneIn(4);
  for (char16_t& unit : units) unit = isAscii ? in.byte() & 0x7f : in.bits<std::uint16_t>();
  return text(units);
}

// Anything that the host can make.
Array anyArray(Input& in) {
  switch (in.byte() % 5) {
    case 0:
      return nullptr;
    case 1:
      return Array(paCreateSparseArray(in.below(4), in.below(4), paDOUBLE_CLASS,
                                       in.oneIn(2) ? paCOMPLEX : paREAL));
    case 2:
      return anyText(in);
    default:
      return anyDoubles(in, anyDims(in), in.oneIn(2));
  }
}

struct Outcome {
  Array result;
  std::string error;  // empty where there is a result
};

Outcome call(int nlhs, const std::vector<Array>& inputs) {
  std::vector<const paArray*> prhs;
  for (const Array& input : inputs) prhs.push_back(input.get());
  std::array<paArray*, 4> plhs;
  plhs.fill(nullptr);
  paError error;
  const int status =
      paCallModule(module(), nlhs, plhs.data(), static_cast<int>(prhs.size()), prhs.data(), &error);
  for (std::size_t i = 1; i < plhs.size(); ++i) require(plhs[i] == nullptr, "one slot is used");
  Outcome outcome{Array(plhs[0]), error.identifier};
  require((status == 0) == outcome.error.empty(), "an error has a name:", outcome.error);
  require((status == 0) == (error.message[0] == '\0'), "an error has a message:", outcome.error);
  require(status == 0 || kErrors.contains(outcome.error), "one of the errors:", outcome.error);
  return outcome;
}

void requireShape(const paArray* result, const paArray* datetimes) {
  require(result != nullptr, "there is a result");
  require(paGetClassID(result) == paDOUBLE_CLASS && paIsComplex(result) && !paIsSparse(result),
          "the result is complex and full");
  const std::size_t ndim = paGetNumberOfDimensions(datetimes);
  require(paGetNumberOfDimensions(result) == ndim &&
              std::equal(paGetDimensions(datetimes), paGetDimensions(datetimes) + ndim,
                         paGetDimensions(result)),
          "the result has the datetimes' shape");
}

// One element in a call of its own, with the same selector and zone.
void requireElementAlone(std::vector<Array>& inputs, const paArray* result, std::size_t i) {
  const paArray *t = inputs[0].get(), *v = inputs[1].get();
  const std::vector<double> low{paIsComplex(t) ? paGetImagData(t)[i] : 0.0};
  std::vector<Array> alone;
  alone.push_back(doubles({paGetRealData(t)[i]}, &low));
  alone.push_back(scalar(paGetRealData(v)[paGetNumberOfElements(v) == 1 ? 0 : i]));
  alone.push_back(std::move(inputs[2]));
  alone.push_back(std::move(inputs[3]));
  const Outcome one = call(1, alone);
  inputs[2] = std::move(alone[2]);
  inputs[3] = std::move(alone[3]);
  require(one.error.empty(), "the element alone can be set:", one.error);
  require(sameDouble(paGetRealData(result)[i], paGetRealData(one.result.get())[0]) &&
              sameDouble(paGetImagData(result)[i], paGetImagData(one.result.get())[0]),
          "the element alone is the same: element", std::to_string(i));
}

std::vector<Array> anyInputs(Input& in) {
  std::vector<Array> inputs;
  const Dims dims = anyDims(in);
  inputs.push_back(anyDoubles(in, dims, in.oneIn(2)));
  inputs.push_back(anyDoubles(in, in.oneIn(2) ? dims : Dims{1, 1}, in.oneIn(32)));
  inputs.push_back(scalar(in.oneIn(8) ? in.number() : static_cast<double>(in.below(25))));
  inputs.push_back(anyText(in));
  if (in.oneIn(4)) inputs[in.below(4)] = anyArray(in);
  if (in.oneIn(16)) {
    for (std::size_t count = in.below(4); count > 0; --count) inputs.emplace_back();  // null ones
  } else if (in.oneIn(16)) {
    inputs.erase(inputs.begin() + static_cast<std::ptrdiff_t>(in.below(4)), inputs.end());
  }
  return inputs;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  const int nlhs = in.oneIn(16) ? static_cast<int>(in.below(5)) : 1;
  const bool errorsReturn = in.oneIn(4);
  std::vector<Array> inputs = anyInputs(in);

  paSetErrorsReturn(errorsReturn);
  const Outcome outcome = call(nlhs, inputs);
  paSetErrorsReturn(!errorsReturn);
  const Outcome again = call(nlhs, inputs);
  require(again.error == outcome.error, "both kinds of host have the same error:", again.error);
  if (!outcome.error.empty()) return 0;

  const paArray* const result = outcome.result.get();
  requireShape(result, inputs[0].get());
  const std::size_t count = paGetNumberOfElements(result);
  for (std::size_t i = 0; i < count; i += 1 + count / 4) requireElementAlone(inputs, result, i);
  return 0;
}
