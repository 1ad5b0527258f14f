/* host_in_c DATETIME-MODULE [OWN-MODULE]: sets the month of the epoch to 2, and calls the other module. */
#include <host/embed.h>
#include <stdio.h>

static paArray* number(double x) {
  const size_t dims[] = {1, 1};
  paArray* array = paCreateNumericArray(2, dims, paDOUBLE_CLASS, paREAL);
  if (array) paGetRealData(array)[0] = x;
  return array;
}

/* The first element of what the module computes; -1 where it does not. */
static double call(const char* path, int nrhs, const paArray* prhs[]) {
  paError error;
  paArray* out[1];
  double result = -1.0;
  paModule* module = paLoadModule(path, &error);
  if (module && paCallModule(module, 1, out, nrhs, prhs, &error) == 0) {
    result = paGetRealData(out[0])[0];
    paDestroyArray(out[0]);
  } else {
    fprintf(stderr, "%s: %s\n", error.identifier, error.message);
  }
  paUnloadModule(module);
  return result;
}

int main(int argc, char** argv) {
  const size_t empty[] = {0, 0};
  paArray *t = number(0.0), *v = number(2.0), *s = number(7.0);
  paArray* zone = paCreateCharArray(2, empty, NULL);
  const paArray* in[] = {t, v, s, zone};
  const double february = 31.0 * 86400000.0;
  int failed = argc < 2 || call(argv[1], 4, in) != february;
  if (argc > 2) failed |= call(argv[2], 3, in) != 3.0;
  paDestroyArray(t);
  paDestroyArray(v);
  paDestroyArray(s);
  paDestroyArray(zone);
  return failed;
}
