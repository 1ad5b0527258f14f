// One text, there and back, in every form: what is written, what reads back, and what is refused.

#include "datetime/reading.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "support/bits.h"
#include "support/cases.h"
#include "support/every_zone.h"
#include "support/length.h"
#include "tools/support/pairs.h"

namespace plx {
namespace {

const std::string kFormNames[] = {"iso", "ordinal", "week", "rfc3339", "rfc9557",
                                  "s",   "ms",      "us",   "ns",      "pair"};

Notation notationOf(const std::string& from, const std::string& to) {
  Notation notation;
  if (!from.empty()) notation.from = formNamed(from).value();
  if (!to.empty()) notation.to = formNamed(to).value();
  return notation;
}

// Read and written again; what is wrong, in angle brackets, where something is.
std::string again(const std::string& text, const Notation& notation, const char* zoneText) {
  Zones zones;
  std::optional<Zone> zone;
  if (zoneText != nullptr) zone = Zone::named(zoneText);
  Complaint complaint;
  const auto reading = read(text, notation, zone ? &*zone : nullptr, zones, complaint);
  if (!reading) return fmt::format("<{}>", complaint.what);
  std::string out = "kept ";
  if (write(*reading, reading->pair, notation, out, complaint)) return out.substr(5);
  EXPECT_EQ(out, "kept ");
  EXPECT_NE(complaint.accepted, "");
  return fmt::format("<{}>", complaint.what);
}

TEST(Forms, HaveNames) {
  for (const std::string& name : kFormNames) {
    EXPECT_TRUE(formNamed(name)) << name;
    EXPECT_NE(kAcceptedForms.find(name), std::string_view::npos) << name;
  }
  for (const char* name : {"", "ISO", "recognised", "second", "iso ", "calendar"})
    EXPECT_FALSE(formNamed(name)) << name;
}

constexpr const char* kNewYork = "America/New_York";

TEST(Reading, DigitsThatNoPairHoldsAreNotMadeUp) {
  const std::string digits = "123456789012345678901234567890123";
  Notation notation;
  Zones zones;
  Complaint complaint;
  const std::string text = "2014-05-10T08:30:15." + digits;
  const auto reading = read(text, notation, nullptr, zones, complaint);
  ASSERT_TRUE(reading);
  const struct {
    double days, seconds;
    std::string written;
    bool cut;
    const char* why;
  } rows[] = {
      {0, 0, text, false, "as it came"},
      {300, 0, "2015-03-06T08:30:15." + digits, false, "another day leaves the second alone"},
      {0, 1, "2014-05-10T08:30:16." + digits, false, "another second of the same fraction"},
      {0, 0.5, "2014-05-10T08:30:15.6234567890123456789012", true, "another fraction"},
  };
  Cases cases(std::size(rows));
  for (const auto& r : rows) {
    std::string out;
    const doubledouble pair = dd::add(reading->pair, r.days * 86400000 + r.seconds * 1000);
    ASSERT_TRUE(write(*reading, pair, notation, out, complaint));
    EXPECT_EQ(out, r.written) << r.why;
    EXPECT_EQ(cutsDigits(*reading, pair, notation), r.cut) << r.why;
    ++cases;
  }
  const std::string nines = "2014-12-31T23:59:59." + std::string(30, '9');
  EXPECT_EQ(again(nines, notation, nullptr), nines) << "not the next year";
}

TEST(Reading, EachFormInEachOther) {
  const struct {
    const char *from, *to, *zone, *text, *written, *why;
  } rows[] = {
      {"", "", nullptr, "2014-05-10", "2014-05-10", "as it came"},
      {"", "iso", nullptr, "2014-130", "2014-05-10", "a date stays one"},
      {"", "ordinal", nullptr, "2014-05-10T08:30Z", "2014-130T08:30:00Z", "with its offset"},
      {"", "week", nullptr, "2014-05-10 08:30:15,25", "2014-W19-6 08:30:15,25", "and marks"},
      {"", "iso", nullptr, "20140510T083015", "2014-05-10T08:30:15", "who asks gets dashes"},
      {"iso", "", nullptr, "20140510", "20140510", "a date of digits that is asked for"},
      {"ordinal", "", nullptr, "2014130", "2014130", "an ordinal one"},
      {"", "rfc3339", nullptr, "2014-05-10T08:30-0400", "2014-05-10T08:30:00-04:00", "an offset"},
      {"", "rfc3339", nullptr, "2014-05-10T08:30,5z", "<not a datetime>", "no minutes in parts"},
      {"", "rfc3339", nullptr, "2014-05-10t08:30:15,5z", "2014-05-10t08:30:15.5Z", "with a point"},
      {"", "rfc3339", "UTC", "2014-05-10", "2014-05-10T00:00:00Z", "a date grows a time"},
      {"", "rfc3339", nullptr, "2014-05-10T08:30-00:00", "2014-05-10T08:30:00-00:00", "unknown"},
      {"", "rfc3339", kNewYork, "2014-05-10T08:30-00:00", "2014-05-10T04:30:00-04:00", "known"},
      {"", "rfc3339", nullptr, "2014-05-10T08:30", "<no offset from UTC is known>", "plain time"},
      {"", "rfc3339", nullptr, "1850-05-10T08:30-04:56:02",
       "<the form has no seconds in an offset>", "local mean time"},
      {"", "rfc3339", "UTC", "+12014-05-10", "<the form has no years but 0000 to 9999>", "far"},
      {"", "rfc3339", "UTC", "-0001-05-10", "<the form has no years but 0000 to 9999>", "back"},
      {"rfc3339", "", "Asia/Kolkata", "2014-05-10T08:30:15Z", "2014-05-10T14:00:15+05:30", "zone"},
      {"rfc3339", "", kNewYork, "1850-01-01T05:00:00Z", "<the form has no seconds in an offset>",
       "what was asked for is kept"},

      {"", "", nullptr, "2014-03-09T03:50-04:00[America/New_York]",
       "2014-03-09T03:50:00-04:00[America/New_York]", "its own zone"},
      {"", "", nullptr, "2014-03-09T03:50:00-04:00[!America/New_York][u-ca=gregory]",
       "2014-03-09T03:50:00-04:00[!America/New_York][u-ca=gregory]", "tags stay"},
      {"", "", nullptr, "2014-11-02T01:30-04:00[America/New_York]",
       "2014-11-02T01:30:00-04:00[America/New_York]", "the first of two"},
      {"", "", nullptr, "2014-11-02T01:30-05:00[America/New_York]",
       "2014-11-02T01:30:00-05:00[America/New_York]", "the second of two"},
      {"", "", nullptr, "2014-11-02T01:30[America/New_York]",
       "2014-11-02T01:30:00-05:00[America/New_York]", "without an offset, the later"},
      {"", "", nullptr, "2014-05-10T08:30Z[America/New_York]",
       "2014-05-10T04:30:00-04:00[America/New_York]", "Z tells the instant"},
      {"", "", nullptr, "2014-05-10T08:30-00:00[America/New_York]",
       "2014-05-10T04:30:00-04:00[America/New_York]", "and so does -00:00"},
      {"", "", nullptr, "1850-01-01T08:00-04:56:02[America/New_York]",
       "1850-01-01T08:00:00-04:56:02[America/New_York]", "more than RFC 9557 can say"},
      {"", "", nullptr, "2014-05-10T08:30+05:30[+05:30]", "2014-05-10T08:30:00+05:30[+05:30]", ""},
      {"", "", nullptr, "2014-05-10T08:30Z[UTC]", "2014-05-10T08:30:00Z[UTC]", "UTC"},
      {"", "", nullptr, "2014-05-10T08:30+00:00[UTC]", "2014-05-10T08:30:00+00:00[UTC]", "or so"},
      {"", "", nullptr, "2014-05-10T08:30+00:00[Etc/UTC]", "2014-05-10T08:30:00+00:00[Etc/UTC]",
       "another name"},
      {"", "", nullptr, "2014-05-10T08:30+05:30[u-ca=gregory]",
       "2014-05-10T08:30:00+05:30[u-ca=gregory]", "tags without a zone"},
      {"", "", "Europe/Paris", "2014-05-10T08:30-04:00[America/New_York]",
       "2014-05-10T14:30:00+02:00[Europe/Paris]", "a zone for all"},
      {"", "", "Europe/Paris", "2014-05-10T08:30[America/New_York]",
       "2014-05-10T14:30:00+02:00[Europe/Paris]", "reads the wall time where it was"},
      {"", "", "UTC", "2014-03-09T02:30[America/New_York]", "2014-03-09T07:30:00Z[UTC]",
       "a wall time that was skipped"},
      {"", "", "", "2014-05-10T08:30-04:00[America/New_York]", "<no offset from UTC is known>",
       "plain time for all"},
      {"", "", "UTCLeapSeconds", "2012-07-01T05:29:60+05:30[Asia/Kolkata]",
       "2012-06-30T23:59:60Z[UTC]", "an inserted second"},
      {"", "", nullptr, "2012-06-30T23:59:60Z[UTC]", "<there is no second 60>", "but not in UTC"},
      {"", "", nullptr, "2014-05-10T08:30-05:00[America/New_York]",
       "<the offset -05:00 contradicts the zone, where it is -04:00>", "the offset of winter"},
      {"", "", nullptr, "2014-03-09T02:30-05:00[America/New_York]",
       "<the offset -05:00 contradicts the zone, where it is -04:00>", "a skipped time"},
      {"", "", "UTC", "2014-05-10T08:30+05:30[+05:00]",
       "<the offset +05:30 contradicts the zone, where it is +05:00>", "a zone for all or not"},
      {"", "", nullptr, "2014-05-10T08:30+01:00[UTC]",
       "<the offset +01:00 contradicts the zone, where it is +00:00>", "UTC too"},
      {"", "", nullptr, "2014-05-10T08:30Z[Mars/Base]", "<unknown time zone [Mars/Base]>", ""},
      {"", "", nullptr, "2014-05-10T08:30Z[america/new_york]",
       "<unknown time zone [america/new_york]>", "in its own letter case"},
      {"", "", nullptr, "2014-05-10T08:30Z[local]", "<unknown time zone [local]>", "not here"},
      {"", "", nullptr, "2014-05-10T08:30Z[UTCLeapSeconds]", "<unknown time zone [UTCLeapSeconds]>",
       "nor this"},
      {"", "", nullptr, "2014-05-10T08:30Z[Etc/Unknown]", "<unknown time zone [Etc/Unknown]>", ""},
      {"", "", nullptr, "2014-05-10T08:30Z[GMT+3]", "<unknown time zone [GMT+3]>", "no identifier"},
      {"", "", nullptr, "2014-05-10T08:30Z[+5:30]", "<unknown time zone [+5:30]>", "no offset"},
      {"", "", nullptr, "2014-05-10T08:30Z[+24:00]", "<unknown time zone [+24:00]>", "nor this"},
      {"", "", nullptr, "2014-05-10T08:30Z[!u-ca=gregory]",
       "<the critical tag u-ca=gregory has no meaning here>", "a critical tag"},
      {"", "rfc9557", nullptr, "2014-05-10T08:30+05:30", "2014-05-10T08:30:00+05:30[+05:30]",
       "an offset is its own zone"},
      {"", "rfc9557", kNewYork, "2014-05-10", "2014-05-10T00:00:00-04:00[America/New_York]", ""},
      {"", "rfc9557", nullptr, "2014-05-10T08:30Z", "2014-05-10T08:30:00Z[UTC]", "UTC"},
      {"", "rfc9557", "UTC+5:30", "2014-05-10T08:30", "2014-05-10T08:30:00+05:30[+05:30]", ""},
      {"", "rfc9557", "UTC+5:30:15", "2014-05-10T08:30", "<the form has no seconds in an offset>",
       ""},
      {"", "rfc9557", nullptr, "2014-05-10T08:30", "<no offset from UTC is known>", "plain time"},
      {"", "rfc9557", kNewYork, "1850-01-01", "<the form has no seconds in an offset>", ""},
      {"rfc9557", "", kNewYork, "1850-01-01T05:00:00Z", "<the form has no seconds in an offset>",
       ""},
      {"", "iso", nullptr, "2014-05-10T08:30-04:00[America/New_York]", "2014-05-10T08:30:00-04:00",
       "without the suffix"},
      {"", "", kNewYork, "20140510T0830-0400", "20140510T083000-0400", "basic in a zone"},
      {"", "", "UTC", "00000101T0000+2359", "<the form has no years but 0000 to 9999>", ""},
      {"", "", "Etc/GMT-14", "2014W196", "2014W196", "a basic date in a zone"},

      {"s", "", nullptr, "1399710615.25", "1399710615.25", "seconds"},
      {"ms", "", nullptr, "-1.5000", "-1.5", "no zeros at the end"},
      {"us", "", kNewYork, "1399710615250000", "1399710615250000", "a zone changes no number"},
      {"ns", "", nullptr, "1399710615250000001", "1399710615250000001", "to the nanosecond"},
      {"ns", "", nullptr, "0.5", "0.5", "as many digits as came in"},
      {"ns", "s", nullptr, "0.5", "0.0000000005", "in another unit too"},
      {"s", "ns", nullptr, "0.0000000005", "0.5", "and back"},
      {"s", "iso", nullptr, "1399710615.25", "2014-05-10T08:30:15.25", "plain time"},
      {"s", "iso", nullptr, "1399680000", "2014-05-10T00:00:00", "with its time"},
      {"s", "rfc9557", kNewYork, "1399710615.25", "2014-05-10T04:30:15.25-04:00[America/New_York]",
       "in a zone"},
      {"s", "rfc3339", nullptr, "1399710615.25", "<no offset from UTC is known>", "no zone"},
      {"s", "iso", "UTCLeapSeconds", "1341100824.5", "2012-06-30T23:59:60.5Z", "counted seconds"},
      {"", "s", "UTCLeapSeconds", "2012-06-30T23:59:60.5", "1341100824.5", "and back"},
      {"", "ms", kNewYork, "2014-05-10T04:30:15.25", "1399710615250", "from a wall time"},
      {"", "us", nullptr, "1969-12-31T23:59:59.9999", "-100", "before 1970"},
      {"", "pair", nullptr, "2014-05-10T08:30:15.25", "1399710615250,0", "a pair"},
      {"s", "pair", nullptr, "0.0001", "0.1,-5.551115123125783e-18", "of two doubles"},
      {"pair", "s", nullptr, "0.1,-5.551115123125783e-18", "0.0001", "and back"},
      {"pair", "iso", "UTC", "1399710615250,0", "2014-05-10T08:30:15.25Z", "as a date"},
      {"pair", "week", nullptr, "-1,0", "1970-W01-3T23:59:59.999", "a week of the next year"},
      {"s", "", nullptr, "2014-05-10", "<not a number>", "a date is none"},
      {"pair", "", nullptr, "1399710615250", "<not a pair of numbers>", "nor one a pair"},
      {"", "", nullptr, "1399710615", "<a number without its unit>", "never guessed"},
      {"s", "", kNewYork, "4503599627370.496", "4503599627370.496", "the last of a calendar"},
      {"s", "", kNewYork, "4503599627370.497", "<out of range>", "and the next"},
      {"s", "", kNewYork, "-4503599627370.496", "-4503599627370.496", "the first"},
      {"s", "", kNewYork, "-4503599627370.497", "<out of range>", "and the one before"},
      {"s", "", nullptr, "389113121862686438400000", "<out of range>", "far too far"},
      {"s", "", nullptr, "389111007804810854400", "389111007804810854400", "2^52 days"},
      {"s", "", nullptr, "389111007804810854401", "<out of range>", "a second more"},
      {"s", "", nullptr, "-389111007804810854400.000", "-389111007804810854400", "and before"},
      {"s", "", nullptr, "-389111007804810854400.001", "<out of range>", "a millisecond more"},
      {"pair", "", nullptr, "389111007804810854400000,0", "3.8911100780481085e+23,0", "2^52 days"},
      {"pair", "", nullptr, "4e23,0", "<out of range>", "more"},

      {"", "", nullptr, "", "", "an empty field"},
      {"", "rfc3339", nullptr, "NaN", "NaN", "a missing one stays"},
      {"s", "iso", kNewYork, "nat", "nat", "as it came"},
      {"pair", "iso", nullptr, "NaN,0", "NaN,0", "a missing pair"},
      {"s", "iso", nullptr, "NaN,0", "<not a number>", "is no number"},
  };
  Cases cases(100);
  for (const auto& r : rows) {
    EXPECT_EQ(again(r.text, notationOf(r.from, r.to), r.zone), r.written)
        << r.text << " to " << r.to << ": " << r.why;
    ++cases;
  }
}

TEST(Reading, EveryZoneOfTheDataMayStandInBrackets) {
  Cases cases(600);
  for (const std::string& id : everyZone()) {
    const std::string text = "2014-05-10T08:30:15Z[" + id + "]";
    const std::string written = again(text, {}, nullptr);
    EXPECT_TRUE(written.ends_with("[" + id + "]")) << written;
    EXPECT_EQ(again(written, {}, nullptr), written);
    EXPECT_EQ(again(text, notationOf("", "us"), nullptr), "1399710615000000") << id;
    ++cases;
  }
}

TEST(Reading, ADateAloneOnlyWhereItReadsAsThatMidnight) {
  Zones zones;
  const Zone havana = Zone::named("America/Havana");  // 2014-11-02T01:00 went back to midnight
  const struct {
    const char *instant, *written;
  } rows[] = {
      {"2014-11-02T04:00Z", "2014-11-02T00:00:00-04:00"},
      {"2014-11-02T05:00Z", "2014-11-02"},
      {"2014-11-01T04:00Z", "2014-11-01"},
  };
  for (const auto& r : rows) {
    Complaint complaint;
    const auto instant = read(r.instant, {}, &havana, zones, complaint);
    const auto date = read("2014-11-02", {}, &havana, zones, complaint);
    ASSERT_TRUE(instant && date);
    std::string out;
    ASSERT_TRUE(write(*date, instant->pair, {}, out, complaint));
    EXPECT_EQ(out, r.written);
    const auto again = read(out, {}, &havana, zones, complaint);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->pair.hi, instant->pair.hi) << out;
  }
}

TEST(Reading, DigitsAreCutTowardEarlierTime) {
  const struct {
    const char *from, *to, *text;
    std::size_t digits;
    const char* written;
  } rows[] = {
      {"", "", "2014-05-10T08:30:15.999", 2, "2014-05-10T08:30:15.99"},
      {"", "", "2014-05-10T08:30:15.999", 0, "2014-05-10T08:30:15"},
      {"", "", "1969-12-31T23:59:59.999", 0, "1969-12-31T23:59:59"},
      {"", "", "2014-05-10T08:30:15.2501", 3, "2014-05-10T08:30:15.25"},
      {"", "", "2014-05-10T08:30:15.25", 9, "2014-05-10T08:30:15.25"},
      {"", "ms", "2014-05-10T08:30:15.2509", 0, "1399710615250"},
      {"", "ms", "2014-05-10T08:30:15.2509", 1, "1399710615250.9"},
      {"", "s", "1969-12-31T23:59:59.75", 0, "-1"},
      {"", "s", "1969-12-31T23:59:59.75", 1, "-0.3"},
      {"us", "", "-0.5", 0, "-1"},
      {"ns", "s", "1", 8, "0"},
      {"", "pair", "1970-01-01", 3, "<a pair of doubles has no digits to cut>"},
  };
  for (const auto& r : rows) {
    Notation notation = notationOf(r.from, r.to);
    notation.digits = r.digits;
    EXPECT_EQ(again(r.text, notation, nullptr), r.written) << r.text << ' ' << r.digits;
  }
}

// A pair as a text of every form and read again.
TEST(Reading, EveryNormalisedPairComesBackFromEveryForm) {
  Cases cases(ofWhole(45'000));
  Pairs pairs(1);
  Zones zones;
  const Zone plain = Zone::named(""), utc = Zone::named("UTC");
  const Zone leaps = Zone::named("UTCLeapSeconds"), newYork = Zone::named(kNewYork);
  const Zone offset = Zone::named("UTC+5:30:15");
  const Zone* const all[] = {&plain, &utc, &leaps, &newYork, &offset};
  for (int i = 0; i < ofWhole(3'000); ++i) {
    const doubledouble pair = pairs.next();
    const Zone& zone = *all[i % 5];
    Reading reading;
    reading.zone = &zone;
    reading.text.separator = 'T';
    for (const std::string& name : kFormNames) {
      for (const bool asked : {false, true}) {
        Notation notation = notationOf("", name);
        notation.exact = true;
        std::string text;
        Complaint complaint;
        if (!write(reading, pair, notation, text, complaint)) {
          // Calendars hold less, and some forms say less.
          const bool isRfc = name.starts_with("rfc");
          ASSERT_TRUE(zone.isCalendar() || isRfc || std::fabs(pair.hi) == kMaxMillis)
              << name << ": " << pair << ' ' << complaint.what;
          continue;
        }
        const bool isNumber = name.size() < 3 || name == "pair";
        notation.from = asked || isNumber ? *notation.to : Form::recognised;
        // An instant of its own, or a wall time: in an overlap, the offset tells which.
        const auto read = plx::read(text, notation, &zone, zones, complaint);
        ASSERT_TRUE(read) << name << ": " << text << ": " << complaint.what;
        ASSERT_TRUE(read->pair.hi == pair.hi && read->pair.lo == pair.lo)
            << name << ": " << pair << " as " << text;
        ++cases;
      }
    }
  }
}

TEST(Reading, ABarrageOfBrokenTextsIsRefusedOrReadAgain) {
  Cases cases(ofWhole(25'000));
  std::mt19937_64 random(7);
  const std::string texts[] = {"2014-11-02T01:30:15.25-04:00[America/New_York][u-ca=gregory]",
                               "20140510T083015.25-0400",
                               "-12014-W19-6T08:30:15,25+05:30:15",
                               "-1399710615.250",
                               "1399710615250,-1e-17",
                               "2014-130 24:00:00Z"};
  Zones zones;
  for (int i = 0; i < ofWhole(240'000); ++i) {
    std::string text = texts[random() % std::size(texts)];
    for (std::uint64_t changes = random() % 3; changes > 0; --changes) {
      const std::size_t at = random() % text.size();
      switch (random() % 3) {
        case 0:
          text[at] = text[random() % text.size()];
          break;
        case 1:
          text.erase(at, random() % 3);
          break;
        default:
          text[at] = static_cast<char>(random());
      }
      if (text.empty()) text.push_back('-');
    }
    Notation notation;
    notation.exact = true;
    const std::size_t form = random() % (std::size(kFormNames) + 1);
    if (form < std::size(kFormNames)) notation.from = *formNamed(kFormNames[form]);
    Complaint complaint;
    const auto reading = read(text, notation, nullptr, zones, complaint);
    if (!reading) {
      ASSERT_FALSE(complaint.what.empty()) << text;
      ASSERT_FALSE(complaint.accepted.empty()) << text;
      continue;
    }
    std::string written;
    if (!write(*reading, reading->pair, notation, written, complaint)) continue;
    const auto second = read(written, notation, nullptr, zones, complaint);
    ASSERT_TRUE(second) << text << " as " << written << ": " << complaint.what;
    ASSERT_EQ(second->missing, reading->missing) << text;
    ASSERT_TRUE(second->pair.hi == reading->pair.hi && second->pair.lo == reading->pair.lo)
        << text << " as " << written;
    ASSERT_EQ(second->zone, reading->zone) << text << " as " << written;
    ++cases;
    if (i % 1000 == 0) zones.trim();
  }
}

// Those of offsets, of names in brackets and of texts; of no kind any is left, once there are more than a thousand.
TEST(Zones, AreAllDroppedWhereTheyAreMany) {
  const std::vector<std::string> names = everyZone();
  Cases cases(3);
  const auto addHalf = [&](Zones& zones, int kind) {
    Complaint complaint;
    for (int i = 0; i < 501; ++i) {
      DatetimeText datetime;
      datetime.offset = kind == 0 ? OffsetForm::numeric : OffsetForm::none;
      datetime.offsetSeconds = i;
      if (kind == 1) datetime.suffix.zone = names.at(static_cast<std::size_t>(i));
      kind == 2 ? zones.named(fmt::format("None/{}", i), complaint) : zones.of(datetime, complaint);
    }
  };
  for (const int kind : {0, 1, 2}) {
    Zones zones;
    addHalf(zones, kind);
    EXPECT_FALSE(zones.trim()) << kind;
    addHalf(zones, (kind + 1) % 3);
    EXPECT_TRUE(zones.trim()) << kind;
    addHalf(zones, (kind + 1) % 3);
    EXPECT_FALSE(zones.trim()) << kind;
    ++cases;
  }
}

}  // namespace
}  // namespace plx
