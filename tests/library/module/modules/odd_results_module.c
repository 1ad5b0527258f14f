/* A module that gives back what no datetime module would: which of it, the third input tells. */
#include "modules/odd_results.h"

#include "host/module.h"

static paArray* zeros(size_t rows, size_t columns, paComplexity complexity) {
  const size_t dims[] = {rows, columns};
  return paCreateNumericArray(2, dims, paDOUBLE_CLASS, complexity);
}

static paArray* result(int which, size_t rows) {
  const size_t dims[] = {0, 0};
  const size_t three[] = {rows, 1, 1};
  switch (which) {
    case RESULT_AS_IT_SHOULD_BE:
      return zeros(rows, 1, paCOMPLEX);
    case RESULT_SHORTER:
      return zeros(rows - 1, 1, paCOMPLEX);
    case RESULT_LONGER:
      return zeros(rows + 1, 1, paCOMPLEX);
    case RESULT_IN_A_ROW:
      return zeros(1, rows, paCOMPLEX);
    case RESULT_OF_THREE_DIMENSIONS:
      return paCreateNumericArray(3, three, paDOUBLE_CLASS, paCOMPLEX);
    case RESULT_REAL:
      return zeros(rows, 1, paREAL);
    case RESULT_TEXT:
      return paCreateCharArray(2, dims, NULL);
    case RESULT_SPARSE:
      return paCreateSparseArray(rows, 1, paDOUBLE_CLASS, paCOMPLEX);
    default:
      return NULL;
  }
}

void plxFunction(int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[]) {
  (void)nlhs, (void)nrhs;
  plhs[0] = result((int)paGetScalar(prhs[2]), paGetDimensions(prhs[0])[0]);
}
