#include "icu/checks.h"

#include <cmath>
#include <string>

#include "base/calendar_limits.h"
#include "base/raise.h"

void checkICUStatus(UErrorCode status, const char* context) {
  if (status <= U_ZERO_ERROR) return;
  raise(Pelmor::datetime::plxErrors::ICUError(std::string(context),
                                              std::string(u_errorName(status))));
}

void checkICURange(double ms) {
  if (!(std::fabs(ms) <= kMaxCalendarMillis)) raise(Pelmor::datetime::plxErrors::RangeError());
}
