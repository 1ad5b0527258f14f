/* A program that does not link the host but opens it for itself alone, as a scripting language's
 * foreign-function interface does: including embed.h makes it refer to nothing of the host, and a
 * module still finds what it needs.
 * Called with the host library's path and the test module's. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "host/embed.h"

/* POSIX lets functions and data pointers be converted; ISO C knows no such conversion. */
#define FIND(library, name, function)                    \
  do {                                                   \
    void* found = dlsym(library, name);                  \
    if (!found) return fprintf(stderr, "%s\n", name), 1; \
    memcpy(&(function), &found, sizeof found);           \
  } while (0)

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  if (dlsym(RTLD_DEFAULT, "paLoadModule")) return fputs("the host is linked already\n", stderr), 1;
  void* host = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!host) return fprintf(stderr, "%s\n", dlerror()), 1;
  if (dlsym(RTLD_DEFAULT, "paLoadModule")) return fputs("the host is not private\n", stderr), 1;

  __typeof__(&paCreateNumericArray) create;
  __typeof__(&paGetRealData) realData;
  __typeof__(&paDestroyArray) destroy;
  __typeof__(&paLoadModule) load;
  __typeof__(&paUnloadModule) unload;
  __typeof__(&paCallModule) call;
  FIND(host, "paCreateNumericArray", create);
  FIND(host, "paGetRealData", realData);
  FIND(host, "paDestroyArray", destroy);
  FIND(host, "paLoadModule", load);
  FIND(host, "paUnloadModule", unload);
  FIND(host, "paCallModule", call);

  paError error;
  paModule* module = load(argv[2], &error);
  if (!module) return fprintf(stderr, "%s: %s\n", error.identifier, error.message), 1;
  const size_t dims[] = {1, 1};
  paArray* action = create(2, dims, paDOUBLE_CLASS, paREAL);
  const paArray* in[] = {action};
  paArray* out[1];
  if (call(module, 1, out, 1, in, &error) != 0) return fprintf(stderr, "%s\n", error.message), 1;
  const double inputs = realData(out[0])[1];
  destroy(out[0]);
  realData(action)[0] = 2.0; /* stores an array, then raises */
  const int raised = call(module, 1, out, 1, in, &error);
  destroy(out[0]);
  destroy(action);
  unload(module);
  printf("%d inputs counted; %s\n", (int)inputs, error.identifier);
  return inputs == 1.0 && raised == 1 &&
                 strcmp(error.identifier, "Pelmor:datetime:MustBeInteger") == 0
             ? 0
             : 1;
}
