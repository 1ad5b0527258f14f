/* A module of the right version that needs what is nowhere. Should anything of it run, it says so.
 */
#include <stdlib.h>

#include "host/module.h"

extern void plxNowhereFunction(void);

__attribute__((constructor)) static void run(void) { setenv("PLX_TEST_UNMET_NEED_RAN", "1", 1); }

void plxFunction(int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[]) {
  (void)nlhs, (void)plhs, (void)nrhs, (void)prhs;
  plxNowhereFunction();
}
