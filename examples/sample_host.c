/* A host in one screen: loads the datetime module and sets months.
 *
 *     sample_host ./plx_datetime.so
 *
 * A datetime is a count of milliseconds since 1970. The module takes four inputs: the datetimes,
 * the new values (one for all, or one for each), the number of the component and the time zone. */
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "host/embed.h"

enum { kMonth = 7 }; /* the component's number */

static paArray* row(size_t count, const double* values) {
  const size_t dims[] = {1, count};
  paArray* array = paCreateNumericArray(2, dims, paDOUBLE_CLASS, paREAL);
  if (array) memcpy(paGetRealData(array), values, count * sizeof *values);
  return array;
}

static paArray* text(const char* ascii) {
  uint16_t units[64];
  const size_t dims[] = {1, strlen(ascii)};
  for (size_t i = 0; i < dims[1]; ++i) units[i] = (unsigned char)ascii[i];
  return paCreateCharArray(2, dims, units);
}

static void printDatetimes(const paArray* datetimes) {
  for (size_t i = 0; i < paGetNumberOfElements(datetimes); ++i) {
    const time_t seconds = (time_t)(paGetRealData(datetimes)[i] / 1000.0);
    char date[32];
    strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", gmtime(&seconds));
    printf("  %s\n", date);
  }
}

/* Whether the module did what it was asked. */
static int setMonths(paModule* module, const paArray* datetimes, size_t count, const double* months,
                     const char* zone) {
  paArray* values = row(count, months);
  paArray* component = row(1, (const double[]){kMonth});
  paArray* zoneText = text(zone);
  const paArray* in[] = {datetimes, values, component, zoneText};
  paArray* out[1];
  paError error;
  const int failed = paCallModule(module, 1, out, 4, in, &error);
  if (failed)
    printf("  %s\n  %s\n", error.identifier, error.message);
  else
    printDatetimes(out[0]);
  /* After a failure, too, what stands in the slot is the caller's. */
  paDestroyArray(out[0]);
  paDestroyArray(zoneText);
  paDestroyArray(component);
  paDestroyArray(values);
  return !failed;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s MODULE\n", argv[0]);
    return 2;
  }
  paError error;
  paModule* module = paLoadModule(argv[1], &error);
  if (!module) {
    fprintf(stderr, "%s\n%s\n", error.identifier, error.message);
    return 1;
  }
  const double milliseconds[] = {1399710600000.0, 1391157000000.0};
  paArray* datetimes = row(2, milliseconds);
  printf("Two datetimes, in UTC:\n");
  printDatetimes(datetimes);

  printf("Month 13, which is January of the next year, for both:\n");
  int good = setMonths(module, datetimes, 1, (const double[]){13}, "");
  printf("Months 12 and 2, one for each; February has no 31st, so the rest carries:\n");
  good &= setMonths(module, datetimes, 2, (const double[]){12, 2}, "");
  printf("Month 12 in Paris, where the clock keeps its time and UTC is then an hour later:\n");
  good &= setMonths(module, datetimes, 1, (const double[]){12}, "Europe/Paris");
  printf("A zone that is none:\n");
  good &= !setMonths(module, datetimes, 1, (const double[]){1}, "Mars/Base");

  paDestroyArray(datetimes);
  paUnloadModule(module);
  return good ? 0 : 1;
}
