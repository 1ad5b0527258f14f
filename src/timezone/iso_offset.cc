#include "timezone/iso_offset.h"

#include <unicode/parsepos.h>
#include <unicode/tzfmt.h>

#include "icu/checks.h"
#include "icu/locale.h"
#include "icu/text.h"
#include "icu/unique_ptr.h"

icu::TimeZone* parseISOTimeZone(const paArray* tz) {
  UErrorCode status = U_ZERO_ERROR;
  const boost::unique_ptr<icu::TimeZoneFormat> format(
      icu::TimeZoneFormat::createInstance(hostLocale(), status));
  checkICUStatus(status, "create time zone format");
  format->setGMTPattern(icu::UnicodeString(u"UTC{0}"), status);
  format->setGMTZeroFormat(icu::UnicodeString(u"UTC"), status);
  checkICUStatus(status, "set UTC format");

  const icu::UnicodeString text = icuText(tz);
  icu::ParsePosition position(0);
  boost::unique_ptr<icu::TimeZone> zone(
      format->parse(UTZFMT_STYLE_LOCALIZED_GMT_SHORT, text, position, nullptr));
  return position.getIndex() < text.length() ? nullptr : zone.release();
}
