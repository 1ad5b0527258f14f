/* Datetimes in memory of a program's own: the library finds its module by itself. */
#include <plx/plx.h>
#include <stdio.h>
#include <string.h>

int main(void) {
  /* 2014-05-10T08:30:15.25, every second element. */
  int64_t counts[] = {1399710615250, 7, 1399710615250, 7};
  const size_t shape[] = {2};
  const ptrdiff_t strides[] = {2 * sizeof(int64_t)};
  double months[] = {2, 13};
  plxArray datetimes = {0};
  plxSetting month = {0};
  plxOptions options = {0};
  plxError error;
  datetimes.data = counts;
  datetimes.type = "=M8[ms]";
  datetimes.ndim = 1;
  datetimes.shape = shape;
  datetimes.strides = strides;
  month.component = paMONTH;
  month.values.data = months;
  month.values.type = "=f8";
  month.values.ndim = 1;
  month.values.shape = shape;
  options.size = sizeof options;
  options.zone = "America/New_York";
  if (plxSet(&datetimes, &month, 1, &options, &datetimes, &error) != 0) {
    printf("%s: %s\n", error.identifier, error.message);
    return 1;
  }
  /* 04:30:15.25 on that clock: an hour later in UTC in winter. */
  if (counts[0] != 1392024615250 || counts[2] != 1420882215250 || counts[1] != 7) {
    printf("not as expected: %lld %lld\n", (long long)counts[0], (long long)counts[2]);
    return 1;
  }
  options.zone = "Mars/Base";
  if (plxSet(&datetimes, &month, 1, &options, &datetimes, &error) == 0 ||
      strcmp(error.identifier, "Pelmor:datetime:UnknownTimeZone") != 0 ||
      error.index != PLX_NO_INDEX)
    return 1;
  return 0;
}
