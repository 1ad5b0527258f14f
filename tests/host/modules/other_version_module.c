/* A module as if built with the headers of another version, and in need of a function that only the
 * other version has. Should anything of it run, it says so. */
#include <stdlib.h>

extern const int paHostInterface_2;
static const int* const reference __attribute__((used)) = &paHostInterface_2;
extern void aaFunctionOfTheOtherVersion(void);

__attribute__((constructor)) static void run(void) { setenv("PLX_TEST_OTHER_VERSION_RAN", "1", 1); }

void plxFunction(int nlhs, void** plhs, int nrhs, const void** prhs);
void plxFunction(int nlhs, void** plhs, int nrhs, const void** prhs) {
  (void)nlhs, (void)plhs, (void)nrhs, (void)prhs;
  aaFunctionOfTheOtherVersion();
}
