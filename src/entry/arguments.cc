#include "entry/arguments.h"

#include <algorithm>
#include <cstddef>

#include "base/raise.h"
#include "entry/component_table.h"

namespace {

using namespace Pelmor;

bool isFullDouble(const paArray* array) {
  return paGetClassID(array) == paDOUBLE_CLASS && !paIsSparse(array);
}

bool hasImaginaryData(const paArray* array) {
  return paIsComplex(array) && paGetImagData(array) != nullptr;
}

// 1 to 3.
void checkCounts(int nlhs, int nrhs) {
  if (nrhs < 4) raise(legacy_two_part::minrhs());
  if (nrhs > 4) raise(legacy_two_part::maxrhs());
  if (nlhs > 1) raise(legacy_two_part::maxlhs());
}

// 4 to 7. A sparse or complex selector passes: only its class and its being a scalar matter.
void checkClassesAndShapes(const paArray* const prhs[]) {
  if (!isFullDouble(prhs[0])) raise(datetime::plxErrors::InvalidInput());
  if (!isFullDouble(prhs[1]) || hasImaginaryData(prhs[1])) {
    raise(datetime::plxErrors::InvalidInput());
  }
  if (paGetClassID(prhs[2]) != paDOUBLE_CLASS || !paIsScalar(prhs[2])) {
    raise(datetime::plxErrors::InvalidInput());
  }
  if (paGetClassID(prhs[3]) != paCHAR_CLASS) raise(datetime::plxErrors::InvalidInput());
}

// 8 and 9. Selectors are truncated: 12.7 selects what 12 does.
UCalendarDateFields fieldOfSelector(double selector) {
  if (selector > kSelectors) raise(datetime::plxErrors::UnrecognizedComponent());
  if (!(selector >= 1.0)) raise(datetime::plxErrors::InvalidComponent());  // NaN included
  const unsigned code = componentFields[static_cast<std::size_t>(selector - 1.0)];
  if (!isSettable(code)) raise(datetime::plxErrors::InvalidComponent());
  return static_cast<UCalendarDateFields>(code);
}

// 10. Equal counts in different shapes, 3-by-1 and 1-by-3, do not fit.
void checkSizes(const paArray* datetimes, const paArray* values) {
  if (paGetNumberOfElements(values) == 1) return;
  const std::size_t* dims = paGetDimensions(datetimes);
  const std::size_t ndim = paGetNumberOfDimensions(datetimes);
  if (paGetNumberOfDimensions(values) != ndim ||
      !std::equal(dims, dims + ndim, paGetDimensions(values))) {
    raise(component_Pelmor::catalog_datetime::key_InputSizeMismatch());
  }
}

}  // namespace

Arguments checkArguments(int nlhs, int nrhs, const paArray* const prhs[]) {
  checkCounts(nlhs, nrhs);
  checkClassesAndShapes(prhs);
  const UCalendarDateFields field = fieldOfSelector(paGetScalar(prhs[2]));
  checkSizes(prhs[0], prhs[1]);
  return {prhs[0], prhs[1], field, prhs[3]};
}
