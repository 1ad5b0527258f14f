#include "icu/locale.h"

#include <unicode/localpointer.h>
#include <unicode/ures.h>

bool hasOwnData(const std::string& locale) {
  // Spellings of offsets are among the names of zones, digits in the general data.
  for (const char* package : {U_ICUDATA_NAME "-zone", static_cast<const char*>(nullptr)}) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUResourceBundlePointer bundle(ures_open(package, locale.c_str(), &status));
    if (U_FAILURE(status) || status == U_USING_DEFAULT_WARNING) return false;
  }
  return true;
}
