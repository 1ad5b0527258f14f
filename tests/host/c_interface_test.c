/* The whole C interface from C11, compiled as C. Called with the test module's path. */
#include <stdio.h>
#include <string.h>

#include "host/embed.h"
#include "host/module.h"

static int checks = 0;
static int failures = 0;

#define CHECK(condition)                                      \
  do {                                                        \
    ++checks;                                                 \
    if (!(condition)) {                                       \
      ++failures;                                             \
      fprintf(stderr, "line %d: %s\n", __LINE__, #condition); \
    }                                                         \
  } while (0)

_Static_assert(paCHAR_CLASS == 4 && paDOUBLE_CLASS == 6, "the class codes");
_Static_assert(sizeof(paError) == 128 + 1024, "the error's two texts");

static void checkArrays(void) {
  const size_t dims[] = {2, 3};
  paArray* matrix = paCreateNumericArray(2, dims, paDOUBLE_CLASS, paCOMPLEX);
  CHECK(matrix != NULL);
  CHECK(paGetClassID(matrix) == paDOUBLE_CLASS);
  CHECK(!paIsSparse(matrix) && paIsComplex(matrix) && !paIsScalar(matrix) && !paIsEmpty(matrix));
  CHECK(paGetNumberOfElements(matrix) == 6);
  CHECK(paGetNumberOfDimensions(matrix) == 2);
  CHECK(memcmp(paGetDimensions(matrix), dims, sizeof dims) == 0);
  paGetRealData(matrix)[0] = 7.0;
  CHECK(paGetScalar(matrix) == 7.0);
  CHECK(paGetImagData(matrix)[5] == 0.0);
  paDestroyArray(matrix);

  paArray* uninitialised = paCreateUninitNumericArray(2, dims, paDOUBLE_CLASS, paREAL);
  CHECK(uninitialised != NULL && paGetImagData(uninitialised) == NULL);
  paDestroyArray(uninitialised);

  const size_t row[] = {1, 3};
  const uint16_t units[] = {'U', 'T', 'C'};
  paArray* text = paCreateCharArray(2, row, units);
  CHECK(paGetClassID(text) == paCHAR_CLASS && paGetNumberOfElements(text) == 3);
  CHECK(memcmp(paGetCharData(text), units, sizeof units) == 0);
  paDestroyArray(text);

  paArray* sparse = paCreateSparseArray(2, 2, paDOUBLE_CLASS, paREAL);
  CHECK(paIsSparse(sparse) && paGetRealData(sparse) == NULL);
  paDestroyArray(sparse);

  CHECK(paCreateNumericArray(1, dims, paDOUBLE_CLASS, paREAL) == NULL);
  CHECK(paGetNumberOfElements(NULL) == 0);
  paDestroyArray(NULL);
}

/* What paGetUTF8 writes into so many bytes, and that it writes no further. */
static void checkUTF8(const paArray* text, size_t size, const char* expected, size_t whole) {
  char bytes[32];
  memset(bytes, '#', sizeof bytes);
  CHECK(paGetUTF8(text, bytes, size) == whole);
  if (size > 0) CHECK(strcmp(bytes, expected) == 0);
  CHECK(bytes[size] == '#');
}

static void checkTexts(void) {
  /* One, two, three and four bytes; then a lone surrogate and U+0000. */
  const uint16_t units[] = {'Z', 0xFC, 0x20AC, 0xD83D, 0xDE00, 0xD800, 0};
  const size_t row[] = {1, 7}, none[] = {0, 0}, one[] = {1, 1};
  paArray* text = paCreateCharArray(2, row, units);
  const char whole[] = "Z\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD\xEF\xBF\xBD";
  const size_t ends[] = {0, 1, 3, 6, 10, 13, 16}; /* of the characters */
  for (size_t size = 0; size < 20; ++size) {
    size_t fits = 0;
    for (size_t i = 0; i < 7; ++i)
      if (ends[i] < size) fits = ends[i];
    char expected[32] = "";
    memcpy(expected, whole, fits);
    checkUTF8(text, size, expected, 16);
  }
  CHECK(paGetUTF8(text, NULL, 0) == 16);
  paDestroyArray(text);

  paArray* empty = paCreateCharArray(2, none, NULL);
  paArray* number = paCreateNumericArray(2, one, paDOUBLE_CLASS, paREAL);
  const paArray* without[] = {empty, number, NULL};
  for (int i = 0; i < 3; ++i) {
    CHECK(paGetCharData(without[i]) == NULL);
    checkUTF8(without[i], 4, "", 0);
  }
  paDestroyArray(empty);
  paDestroyArray(number);
}

/* What a large array leaves behind is given back once. */
static void checkMemory(void) {
  /* Under the sanitizers nothing is kept, so that they see every misuse. */
  const size_t kept = PLX_SANITIZED ? 0 : 1000000 * sizeof(double);
  const size_t dims[] = {1000, 1000};
  paReleaseMemory();
  paDestroyArray(paCreateNumericArray(2, dims, paDOUBLE_CLASS, paREAL));
  CHECK(paReleaseMemory() >= kept);
  CHECK(paReleaseMemory() == 0);
}

static void checkModule(const char* path) {
  paError error;
  paModule* module = paLoadModule(path, &error);
  CHECK(module != NULL);
  if (!module) return;
  CHECK(error.identifier[0] == '\0' && error.message[0] == '\0');
  const size_t one[] = {1, 1};
  paArray* action = paCreateNumericArray(2, one, paDOUBLE_CLASS, paREAL); /* 0: count arguments */
  const paArray* in[] = {action};
  paArray* out[1];
  CHECK(paCallModule(module, 1, out, 1, in, &error) == 0);
  CHECK(paGetNumberOfElements(out[0]) == 2 && paGetRealData(out[0])[1] == 1.0);
  paDestroyArray(out[0]);

  paGetRealData(action)[0] = 2.0; /* stores an array, then raises */
  for (int round = 0; round < 2; ++round) {
    paSetErrorsReturn(round == 1);
    CHECK(paCallModule(module, 1, out, 1, in, &error) == 1);
    CHECK(strcmp(error.identifier, "Pelmor:datetime:MustBeInteger") == 0);
    CHECK(strlen(error.message) > 0);
    CHECK(paGetScalar(out[0]) == 42.0);
    paDestroyArray(out[0]);
  }
  paSetErrorsReturn(false);
  CHECK(paCallModule(NULL, 1, out, 1, in, NULL) == 1);
  paDestroyArray(action);
  paUnloadModule(module);
  paUnloadModule(NULL);

  CHECK(paLoadModule(NULL, &error) == NULL);
  CHECK(strcmp(error.identifier, "Pelmor:host:InvalidArgument") == 0);
  CHECK(paLoadModule("/nowhere.so", NULL) == NULL);
}

static void checkLocale(void) {
  paError error;
  CHECK(paSetLocale("de_DE", &error) == 0);
  CHECK(paSetLocale("de/DE", &error) == 1);
  CHECK(strcmp(error.identifier, "Pelmor:host:InvalidLocale") == 0);
  CHECK(paSetLocale(NULL, NULL) == 0);
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  CHECK(strcmp(paVersion(), PLX_VERSION) == 0);
  CHECK(PA_INTERFACE_SYMBOL == PA_INTERFACE_VERSION);
  checkArrays();
  checkMemory();
  checkTexts();
  checkModule(argv[1]);
  checkLocale();
  printf("%d checks, %d failures\n", checks, failures);
  return failures == 0 && checks >= 100 ? 0 : 1;
}
