// Every failure of ICU and of the host's comparison that the module provides for. This program has its own
// definitions of the functions that may fail; they stand before those of the libraries.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unicode/tzfmt.h>
#include <unicode/uclean.h>

#include <cstdlib>
#include <stdexcept>

#include "entry/arguments.h"
#include "support/bits.h"
#include "support/datetime_arrays.h"
#include "support/raised.h"
#include "timezone/time_zone.h"
#include "zoned/calendar.h"
#include "zoned/set_field.h"

namespace {

// What fails at present.
enum class Failing {
  nothing,
  createInstance,
  setGMTPattern,
  setGregorianChange,
  setTime,
  getTime,
  createTimeZone,
  createDefault,
  getFirstDayOfWeek,
  comparison,
  length,
  characters,
  imaginaryData,
  memory,
};
Failing failing = Failing::nothing;

// `what` fails as long as this lives.
class Fails {
 public:
  explicit Fails(Failing what) { failing = what; }
  ~Fails() { failing = Failing::nothing; }
  Fails(const Fails&) = delete;
  Fails& operator=(const Fails&) = delete;
};

bool fails(Failing what, UErrorCode& status) {
  if (failing != what) return false;
  status = U_MISSING_RESOURCE_ERROR;
  return true;
}

// The library's own function behind the one that this program defines.
template <class Function>
Function* behind(const char* symbol) {
  auto* function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
  EXPECT_NE(function, nullptr) << symbol;
  return function;
}

#define PLX_STRING_OF(x) #x
#define PLX_STRING(x) PLX_STRING_OF(x)
// The first part of the names of ICU's members, which bear its version.
#define PLX_ICU "_ZN6icu_" PLX_STRING(U_ICU_VERSION_MAJOR_NUM)

}  // namespace

U_NAMESPACE_BEGIN

TimeZoneFormat* TimeZoneFormat::createInstance(const Locale& locale, UErrorCode& status) {
  if (fails(Failing::createInstance, status)) return nullptr;
  return behind<TimeZoneFormat*(const Locale&, UErrorCode&)>(
      PLX_ICU "14TimeZoneFormat14createInstanceERKNS_6LocaleER10UErrorCode")(locale, status);
}

void TimeZoneFormat::setGMTPattern(const UnicodeString& pattern, UErrorCode& status) {
  if (fails(Failing::setGMTPattern, status)) return;
  behind<void(TimeZoneFormat*, const UnicodeString&, UErrorCode&)>(
      PLX_ICU
      "14TimeZoneFormat13setGMTPatternERKNS_13UnicodeStringER10UErrorCode")(this, pattern, status);
}

void GregorianCalendar::setGregorianChange(UDate date, UErrorCode& status) {
  if (fails(Failing::setGregorianChange, status)) return;
  behind<void(GregorianCalendar*, UDate, UErrorCode&)>(
      PLX_ICU "17GregorianCalendar18setGregorianChangeEdR10UErrorCode")(this, date, status);
}

void Calendar::setTimeInMillis(double millis, UErrorCode& status) {
  if (fails(Failing::setTime, status)) return;
  behind<void(Calendar*, double, UErrorCode&)>(PLX_ICU "8Calendar15setTimeInMillisEdR10UErrorCode")(
      this, millis, status);
}

double Calendar::getTimeInMillis(UErrorCode& status) const {
  if (fails(Failing::getTime, status)) return 0.0;
  return behind<double(const Calendar*, UErrorCode&)>("_ZNK6icu_" PLX_STRING(
      U_ICU_VERSION_MAJOR_NUM) "8Calendar15getTimeInMillisER10UErrorCode")(this, status);
}

UCalendarDaysOfWeek Calendar::getFirstDayOfWeek(UErrorCode& status) const {
  if (fails(Failing::getFirstDayOfWeek, status)) return UCAL_SUNDAY;
  return behind<UCalendarDaysOfWeek(const Calendar*, UErrorCode&)>("_ZNK6icu_" PLX_STRING(
      U_ICU_VERSION_MAJOR_NUM) "8Calendar17getFirstDayOfWeekER10UErrorCode")(this, status);
}

TimeZone* TimeZone::createTimeZone(const UnicodeString& id) {
  if (failing == Failing::createTimeZone) return nullptr;
  return behind<TimeZone*(const UnicodeString&)>(
      PLX_ICU "8TimeZone14createTimeZoneERKNS_13UnicodeStringE")(id);
}

TimeZone* TimeZone::createDefault() {
  if (failing == Failing::createDefault) return nullptr;
  return behind<TimeZone*()>(PLX_ICU "8TimeZone13createDefaultEv")();
}

U_NAMESPACE_END

int brel::i18n::lcctype::compare(const unsigned short* a, std::size_t aLength,
                                 const unsigned short* b, std::size_t bLength, case_insensitive_t) {
  if (failing == Failing::comparison) throw std::runtime_error("no collation");
  return behind<int(const unsigned short*, std::size_t, const unsigned short*, std::size_t,
                    case_insensitive_t)>(
      "_ZN4brel4i18n7lcctype7compareEPKtmS3_mNS0_18case_insensitive_tE")(
      a, aLength, b, bLength, brel::i18n::case_insensitive);
}

int errorsReported = 0;

void do_legacy_pa_error(const brel::except::IUserException& error) {
  ++errorsReported;
  behind<void(const brel::except::IUserException&)>(
      "_Z18do_legacy_pa_errorRKN4brel6except14IUserExceptionE")(error);
}

std::size_t paGetNumberOfElements(const paArray* array) {
  if (failing == Failing::length) return std::size_t{1} << 31;
  return behind<std::size_t(const paArray*)>("paGetNumberOfElements")(array);
}

// What the host hands over then in the place of a text: no characters, or none of them.
const unsigned short* characters = nullptr;
const unsigned short* get_pachar_ptr_and_len(const paArray* array, std::size_t& length) {
  if (failing == Failing::characters) {
    length = 0;
    return characters;
  }
  return behind<const unsigned short*(const paArray*, std::size_t&)>(
      "_Z22get_pachar_ptr_and_lenPK7paArrayRm")(array, length);
}

double* paGetImagData(const paArray* array) {
  if (failing == Failing::imaginaryData) return nullptr;
  return behind<double*(const paArray*)>("paGetImagData")(array);
}

namespace {

// ICU takes functions for its memory as long as it has none.
const bool hasMemoryOfOurs = [] {
  UErrorCode status = U_ZERO_ERROR;
  u_setMemoryFunctions(
      nullptr,
      [](const void*, std::size_t n) {
        return failing == Failing::memory ? nullptr : std::malloc(n);
      },
      [](const void*, void* old, std::size_t n) { return std::realloc(old, n); },
      [](const void*, void* old) { std::free(old); }, &status);
  return U_SUCCESS(status) != 0;
}();

boost::unique_ptr<icu::GregorianCalendar> parisCalendar() {
  return createCalendar(
      boost::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone("Europe/Paris")));
}

icu::TimeZone* zoneOf(const char* name) {
  bool leapSeconds = false;
  return getTimeZone(text(name).get(), leapSeconds);
}

void expectICUError(const std::optional<Raised>& raised, const char* context) {
  ASSERT_TRUE(raised) << context;
  EXPECT_EQ(raised->identifier, "Pelmor:datetime:ICUError");
  EXPECT_EQ(raised->arguments, (std::vector<std::string>{context, "U_MISSING_RESOURCE_ERROR"}));
}

TEST(Failures, OfTheZoneFormat) {
  {
    const Fails now(Failing::createInstance);
    expectICUError(raisedBy([] { zoneOf("UTC+05:30"); }), "create time zone format");
  }
  const Fails now(Failing::setGMTPattern);
  expectICUError(raisedBy([] { zoneOf("UTC+05:30"); }), "set UTC format");
}

TEST(Failures, OfTheCalendarsConstruction) {
  const auto raised =
      raisedBy([] { createCalendar(nullptr); });  // ICU refuses to do without a zone
  ASSERT_TRUE(raised);
  EXPECT_EQ(raised->identifier, "Pelmor:datetime:ICUError");
  EXPECT_EQ(raised->arguments,
            (std::vector<std::string>{"create calendar", "U_ILLEGAL_ARGUMENT_ERROR"}));

  const Fails now(Failing::setGregorianChange);
  expectICUError(raisedBy([] { parisCalendar(); }), "set Gregorian change");
}

TEST(Failures, OfTheCalendarsTime) {
  const std::vector<double> zero{0.0};
  const Array t = doubles(zero), result = doubles(zero, &zero);
  const auto set = [&] {
    setField(t.get(), scalar(2).get(), UCAL_MONTH, result.get(), parisCalendar());
  };
  {
    const Fails now(Failing::setTime);
    expectICUError(raisedBy(set), "set calendar time value");
  }
  const Fails now(Failing::getTime);
  expectICUError(raisedBy(set), "get calendar time value");
}

TEST(Failures, OfMemoryForZones) {
  {
    const Fails now(Failing::createTimeZone);
    EXPECT_THROW(zoneOf("Europe/Paris"), std::bad_alloc);
  }
  const Fails now(Failing::createDefault);
  EXPECT_THROW(zoneOf("local"), std::bad_alloc);
}

// A name of up to 27 units needs none.
TEST(Failures, OfMemoryForNames) {
  ASSERT_TRUE(hasMemoryOfOurs);
  const char* const name = "America/Argentina/ComodRivadavia";
  {
    const Fails now(Failing::memory);
    EXPECT_THROW(zoneOf(name), std::bad_alloc);
  }
  EXPECT_NE(std::unique_ptr<icu::TimeZone>(zoneOf(name)), nullptr);
}

// A comparison that throws is the host's to report. Where the host comes back from that, the text counts as
// no special name, and resolution goes on.
TEST(Failures, OfTheComparison) {
  const Fails now(Failing::comparison);
  bool leapSeconds = true;
  EXPECT_THROW(getTimeZone(text("Asia/Tokyo").get(), leapSeconds), brel::except::IMsgIDException);
  paSetErrorsReturn(true);
  const std::unique_ptr<icu::TimeZone> tokyo(zoneOf("Asia/Tokyo")), utc(zoneOf("UTC"));
  paSetErrorsReturn(false);
  ASSERT_NE(tokyo, nullptr);
  EXPECT_EQ(tokyo->getRawOffset(), 9 * 3600000);
  EXPECT_NE(utc, nullptr) << "not known for the special name, but ICU knows a zone of this name";
}

TEST(Failures, OfATextLongerThanICUTakes) {
  const Array tokyo = text("Asia/Tokyo");  // a name that would be known were it not so long
  const Fails now(Failing::length);
  bool leapSeconds = false;
  const auto raised = raisedBy([&] { getTimeZone(tokyo.get(), leapSeconds); });
  ASSERT_TRUE(raised);
  EXPECT_EQ(raised->identifier, "Pelmor:datetime:UnknownTimeZone");
}

// A text that is not empty, and the host has no characters for it: no name that is known.
TEST(Failures, OfTheCharacters) {
  const unsigned short some[] = {u'U', u'T', u'C', 0};
  for (const unsigned short* where : {static_cast<const unsigned short*>(nullptr), some}) {
    const Fails now(Failing::characters);
    characters = where;
    const auto raised = raisedBy([] { zoneOf("UTC"); });
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->identifier, "Pelmor:datetime:UnknownTimeZone");
  }
}

// Of complex values only those with imaginary data are refused.
TEST(Failures, OfImaginaryData) {
  const std::vector<double> one{1.0};
  const Array t = doubles(one), complex = doubles(one, &one), month = scalar(7.0), zone = text("");
  const paArray* const arguments[] = {t.get(), complex.get(), month.get(), zone.get()};
  const auto raised = raisedBy([&] { checkArguments(1, 4, arguments); });
  ASSERT_TRUE(raised);
  EXPECT_EQ(raised->identifier, "Pelmor:datetime:InvalidInput");
  const Fails now(Failing::imaginaryData);
  EXPECT_FALSE(raisedBy([&] { checkArguments(1, 4, arguments); }));
}

// A calendar that does not say how its weeks are is not one of ours.
TEST(Failures, OfTheFirstDayOfWeek) {
  const auto calendar = parisCalendar();
  EXPECT_TRUE(isCreatedCalendar(*calendar));
  const Fails now(Failing::getFirstDayOfWeek);
  EXPECT_FALSE(isCreatedCalendar(*calendar));
}

// Each error is the host's to report, before the module's own throw, and once.
TEST(Failures, AreReportedToTheHost) {
  for (const bool returns : {false, true}) {
    paSetErrorsReturn(returns);
    errorsReported = 0;
    EXPECT_THROW(zoneOf("Mars/Olympus"), brel::except::IMsgIDException);
    EXPECT_EQ(errorsReported, 1) << (returns ? "the host's call returns" : "it unwinds");
  }
  paSetErrorsReturn(false);
}

TEST(Failures, NothingFailsOtherwise) {
  const std::unique_ptr<icu::TimeZone> zone(zoneOf("UTC+05:30"));
  ASSERT_NE(zone, nullptr);
  EXPECT_NE(parisCalendar(), nullptr);
}

}  // namespace
