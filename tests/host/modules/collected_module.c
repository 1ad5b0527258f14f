/* A module of which the linker may drop whatever nothing refers to. */
#include "host/module.h"

void plxFunction(int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[]) {
  (void)nlhs, (void)plhs, (void)nrhs, (void)prhs;
}
