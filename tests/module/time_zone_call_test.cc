// The time-zone argument, through the loaded module. What a text means is read off the month that
// it gives: a fixed offset shifts the instant of a local midnight.

#include <gtest/gtest.h>
#include <unicode/timezone.h>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/random.h"

namespace {

// The offset in minutes of a zone at the epoch: setting the time of day to 0 shows where its
// midnight lies.
double offsetMinutes(const DatetimeModule& module, const std::string& zone) {
  const double midnight = module.result({43200000.0, 0.0}, 0, kTimeOfDay, zone).hi;
  return -midnight / 60000.0 > 720 ? -midnight / 60000.0 - 1440 : -midnight / 60000.0;
}

TEST(TimeZoneCall, Accepted) {
  const DatetimeModule module;
  const struct {
    const char* text;
    double minutes;
    const char* why;
  } rows[] = {
      {"", 0, "no zone"},
      {"UTC", 0, "UTC"},
      {"utc", 0, "in any case"},
      {"uTc", 0, "in any case"},
      {"Asia/Tokyo", 540, "an identifier"},
      {"Asia/Kolkata", 330, "an identifier"},
      {"GMT+3", 180, "a custom identifier of ICU's"},
      {"UTC+05:30", 330, "an offset"},
      {"UTC+5", 300, "an offset"},
      {"utc+5", 300, "in any case"},
      {"UT+3", 180, "an offset"},
      {"+05:00", 300, "ISO 8601"},
      {"+05:30", 330, "ISO 8601"},
      {"+0530", 330, "ISO 8601, basic"},
      {"-0800", -480, "ISO 8601, basic"},
      {"Z", 0, "ISO 8601"},
      {"Etc/UTC", 0, "a zone, not UTC"},
  };
  for (const auto& r : rows)
    EXPECT_EQ(offsetMinutes(module, r.text), r.minutes) << r.text << ": " << r.why;
}

TEST(TimeZoneCall, Refused) {
  const DatetimeModule module;
  const char* texts[] = {"Etc/Unknown",
                         "etc/unknown",
                         "ETC/UNKNOWN",
                         "America/NewYork",
                         "america/new_york",
                         "unzoned",
                         "+05:00x",
                         "UTC+05:30 ",
                         " UTC",
                         "UTC ",
                         "UTC+0530",
                         "UTC+24",
                         "+5:30",
                         "UTCLeapSecond",
                         "UTCLeapSecondsX",
                         "loca",
                         "locale",
                         "-",
                         "+",
                         "x",
                         "Europe/Paris/",
                         "2014-05-10"};
  Cases cases(20);
  for (const char* zone : texts) {
    underBothHosts([&] {
      const Outcome outcome = module.set(scalar(0.0), scalar(1.0), kMonth, zone);
      EXPECT_EQ(outcome.identifier, "Pelmor:datetime:UnknownTimeZone") << zone;
      EXPECT_NE(outcome.message.find(zone), std::string::npos)
          << "the text as it was given, letter case included: " << outcome.message;
    });
    ++cases;
  }
}

TEST(TimeZoneCall, AnyCodeUnits) {
  const DatetimeModule module;
  const Array t = scalar(0.0), v = scalar(1.0), selector = scalar(kMonth);
  const std::u16string texts[] = {
      std::u16string(1, u'\0'),    u"\xD800",    u"\xDC00\xD800", u"Caf\u00E9",
      std::u16string(u"UTC\0", 4), u"\uFEFFUTC", u"\U0001F550",   std::u16string(100000, u'x')};
  for (const auto& words : texts) {
    const Array zone = text(words);
    underBothHosts([&] {
      const Outcome outcome = module.call(1, {t.get(), v.get(), selector.get(), zone.get()});
      EXPECT_EQ(outcome.identifier, "Pelmor:datetime:UnknownTimeZone");
    });
  }
  const Outcome lone = module.call(1, {t.get(), v.get(), selector.get(), text(texts[1]).get()});
  EXPECT_NE(lone.message.find("\xEF\xBF\xBD"), std::string::npos) << lone.message;
  const Outcome cafe = module.call(1, {t.get(), v.get(), selector.get(), text(texts[3]).get()});
  EXPECT_NE(cafe.message.find("Caf\xC3\xA9"), std::string::npos) << cafe.message;
}

// A text is all elements of the array, whatever its shape.
TEST(TimeZoneCall, ShapesOfTexts) {
  const DatetimeModule module;
  const std::u16string utc = u"Asia/Tokyo";
  const Array t = scalar(0.0), v = scalar(0.0), selector = scalar(kTimeOfDay);
  for (const Dims& dims : {Dims{1, 10}, Dims{10, 1}, Dims{2, 5}, Dims{5, 1, 2}}) {
    const Array zone(paCreateCharArray(dims.size(), dims.data(),
                                       reinterpret_cast<const std::uint16_t*>(utc.data())));
    const Outcome outcome = module.call(1, {t.get(), v.get(), selector.get(), zone.get()});
    ASSERT_EQ(outcome.status, 0) << outcome.message;
    EXPECT_EQ(elements(outcome.result)[0].hi, -9 * 3600000.0);
  }
  for (const Dims& dims : {Dims{0, 0}, Dims{1, 0}, Dims{0, 5}}) {
    const Array zone(paCreateCharArray(dims.size(), dims.data(), nullptr));
    const Outcome outcome = module.call(1, {t.get(), v.get(), selector.get(), zone.get()});
    ASSERT_EQ(outcome.status, 0) << "an empty text of any shape is no zone: " << outcome.message;
    EXPECT_SAME_BITS(elements(outcome.result)[0], (doubledouble{0.0, 0.0}));
  }
}

TEST(TimeZoneCall, LocalIsTheDefaultZoneOfTheProcess) {
  const DatetimeModule module;
  const std::unique_ptr<icu::TimeZone> before(icu::TimeZone::createDefault());
  icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("Asia/Kathmandu"));
  for (const char* name : {"local", "LOCAL", "Local"}) {
    EXPECT_EQ(offsetMinutes(module, name), 330) << "Nepal's offset of 1970";
  }
  icu::TimeZone::setDefault(*before);
}

// The spelling of offsets follows the locale; ISO 8601 is read in every one.
TEST(TimeZoneCall, LocalesReadOffsetsTheirOwnWay) {
  const DatetimeModule module;
  paError error;
  ASSERT_EQ(paSetLocale("fi_FI", &error), 0) << error.message;
  EXPECT_EQ(offsetMinutes(module, "UTC+5.30"), 330);
  EXPECT_EQ(offsetMinutes(module, "+05:30"), 330);
  EXPECT_EQ(offsetMinutes(module, "utc"), 0);
  ASSERT_EQ(paSetLocale("en_US", &error), 0) << error.message;
  EXPECT_EQ(module.set(scalar(0.0), scalar(1.0), kMonth, "UTC+5.30").identifier,
            "Pelmor:datetime:UnknownTimeZone");
}

// The rules of weeks are the module's own: neither the locale's first day nor its minimal days
// matter.
TEST(TimeZoneCall, LocalesDoNotChangeWeeks) {
  const DatetimeModule module;
  Random random(1);
  std::vector<doubledouble> t;
  std::vector<double> values;
  for (int i = 0; i < 3000; ++i) {
    t.push_back({static_cast<double>(random.whole(-4000000000000, 4000000000000)), 0.0});
    values.push_back(static_cast<double>(random.whole(-5, 60)));
  }
  Cases cases(2 * 5 * 3000);
  for (const Selector selector : {kWeekOfYear, kDayOfWeek}) {
    paError error;
    ASSERT_EQ(paSetLocale("en_US", &error), 0);
    const auto expected = module.results(t, values, selector, "Europe/Paris");
    for (const char* locale : {"de_DE", "ar_EG", "fa_IR", "th_TH", "ja_JP@calendar=japanese"}) {
      ASSERT_EQ(paSetLocale(locale, &error), 0) << error.message;
      const auto results = module.results(t, values, selector, "Europe/Paris");
      for (std::size_t i = 0; i < t.size(); ++i, ++cases) {
        ASSERT_SAME_BITS(results[i], expected[i]) << locale;
      }
    }
  }
  paSetLocale("en_US", nullptr);
}

}  // namespace
