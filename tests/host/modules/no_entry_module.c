/* A library that is no module: it has no entry point. Should anything of it run, it says so. */
#include <stdlib.h>

__attribute__((constructor)) static void run(void) { setenv("PLX_TEST_NO_ENTRY_RAN", "1", 1); }

int plxOtherFunction(void);
int plxOtherFunction(void) { return 1; }
