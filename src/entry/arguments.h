// The checks on the arguments of a call. They run in this order; the first that fails raises its
// key, and nothing after it is looked at:
//
//    1  fewer than four inputs                                  minrhs
//    2  more than four inputs                                   maxrhs
//    3  more than one output                                    maxlhs
//    4  datetimes not double, or sparse                         InvalidInput
//    5  new values not double, complex, or sparse               InvalidInput
//    6  selector not double, or not a scalar                    InvalidInput
//    7  time zone not char                                      InvalidInput
//    8  selector above 23                                       UnrecognizedComponent
//    9  selector below 1, or of a field that cannot be set      InvalidComponent
//   10  new values neither one nor of the datetimes' dimensions InputSizeMismatch
#pragma once

#include "base/field_codes.h"
#include "host/pa_array.h"

struct Arguments {
  const paArray* datetimes;  // real: high parts; imaginary, where there is one: low parts
  const paArray* values;     // one for all, or one for each datetime
  UCalendarDateFields field;
  const paArray* timeZone;
};

// The arguments of a call that passed all ten checks. The arrays stay the caller's.
Arguments checkArguments(int nlhs, int nrhs, const paArray* const prhs[]);
