/* Every component in every kind of time zone, with one value for all and one for each, from C.
 *
 * Two datetimes, two months apart, are set; expected are the milliseconds by which each moves,
 * which do not depend on the zone, since neither month has a transition or a leap second in any of
 * them. Called with the module's path, in a process whose local zone is a half hour off. */
#include <stdio.h>
#include <string.h>

#include "host/embed.h"

enum { kHour = 3600000, kDay = 24 * kHour };

/* 2014-05-10T08:30:15.25, a Saturday, and 2014-07-14T08:30:15.25, a Monday, as wall times. */
static const double kWall[2] = {1399710615250.0, 1405326615250.0};

static const struct {
  double selector;
  double value;
  double moved[2];
  const char* why;
} kRows[] = {
    {3, 2015, {365.0 * kDay, 365.0 * kDay}, "year 2015"},
    {6, 3, {61.0 * kDay, 0.0}, "quarter 3: 10 July and 14 July"},
    {7, 6, {31.0 * kDay, -30.0 * kDay}, "June"},
    {9, 20, {7.0 * kDay, -63.0 * kDay}, "week 20: 17 May and 12 May"},
    {11, 1, {-9.0 * kDay, -13.0 * kDay}, "day 1"},
    {12, 31, {21.0 * kDay, 17.0 * kDay}, "day 31"},
    {13, 140, {10.0 * kDay, -55.0 * kDay}, "day 140 of the year: 20 May"},
    {14, 4, {-3.0 * kDay, 2.0 * kDay}, "Wednesday"},
    {18, 23, {15.0 * kHour, 15.0 * kHour}, "23:30:15.25"},
    {19, 0, {-1800000.0, -1800000.0}, "08:00:15.25"},
    {20, 59.5, {44250.0, 44250.0}, "08:30:59.5"},
    {21, 3600.25, {-27015000.0, -27015000.0}, "01:00:00.25"},
};

/* How far the zone's instants lie behind its wall times in both months. */
static const struct {
  const char* name;
  double behind;
} kZones[] = {
    {"", 0.0},
    {"UTC", 0.0},
    {"UTCLeapSeconds", -25000.0},
    {"Asia/Tokyo", 9.0 * kHour},
    {"America/New_York", -4.0 * kHour},
    {"UTC+05:45", 5.75 * kHour},
    {"-0800", -8.0 * kHour},
    {"local", 5.5 * kHour},
};

static int failures = 0;
static int compared = 0;

static paArray* row(size_t count, const double* numbers) {
  const size_t dims[] = {1, count};
  paArray* array = paCreateNumericArray(2, dims, paDOUBLE_CLASS, paREAL);
  memcpy(paGetRealData(array), numbers, count * sizeof *numbers);
  return array;
}

static paArray* text(const char* ascii) {
  uint16_t units[32];
  const size_t dims[] = {1, strlen(ascii)};
  for (size_t i = 0; i < dims[1]; ++i) units[i] = (unsigned char)ascii[i];
  return paCreateCharArray(2, dims, units);
}

static void check(paModule* module, size_t rowIndex, size_t zoneIndex, size_t valueCount) {
  const double behind = kZones[zoneIndex].behind;
  const double instants[2] = {kWall[0] - behind, kWall[1] - behind};
  const double values[2] = {kRows[rowIndex].value, kRows[rowIndex].value};
  paArray* in[4] = {row(2, instants), row(valueCount, values), row(1, &kRows[rowIndex].selector),
                    text(kZones[zoneIndex].name)};
  const paArray* inputs[4] = {in[0], in[1], in[2], in[3]};
  paArray* out[1];
  paError error;
  if (paCallModule(module, 1, out, 4, inputs, &error) != 0) {
    printf("%s in \"%s\": %s\n", kRows[rowIndex].why, kZones[zoneIndex].name, error.message);
    ++failures;
  } else {
    for (int i = 0; i < 2; ++i, ++compared) {
      const double expected = instants[i] + kRows[rowIndex].moved[i];
      if (paGetRealData(out[0])[i] == expected && paGetImagData(out[0])[i] == 0.0) continue;
      printf("%s in \"%s\", element %d of %zu values: %.3f, not %.3f\n", kRows[rowIndex].why,
             kZones[zoneIndex].name, i, valueCount, paGetRealData(out[0])[i], expected);
      ++failures;
    }
  }
  paDestroyArray(out[0]);
  for (int i = 0; i < 4; ++i) paDestroyArray(in[i]);
}

int main(int argc, char** argv) {
  paError error;
  paModule* module = paLoadModule(argc > 1 ? argv[1] : NULL, &error);
  if (!module) {
    printf("%s\n", error.message);
    return 1;
  }
  const size_t rows = sizeof kRows / sizeof *kRows, zones = sizeof kZones / sizeof *kZones;
  for (size_t r = 0; r < rows; ++r) {
    for (size_t z = 0; z < zones; ++z) {
      check(module, r, z, 1);
      check(module, r, z, 2);
    }
  }
  paUnloadModule(module);
  printf("%d results compared, %d wrong\n", compared, failures);
  return failures == 0 && compared == (int)(rows * zones * 4) ? 0 : 1;
}
