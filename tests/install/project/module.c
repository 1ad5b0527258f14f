/* A module in C: its output is a scalar, the number of inputs. */
#include <host/module.h>

void plxFunction(int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[]) {
  const size_t dims[] = {1, 1};
  (void)nlhs;
  (void)prhs;
  plhs[0] = paCreateNumericArray(2, dims, paDOUBLE_CLASS, paREAL);
  paGetRealData(plhs[0])[0] = nrhs;
}
