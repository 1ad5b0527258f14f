// Formats of strptime's and strftime's letters: what they read, how it is written again, what is refused.

#include "datetime/format.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "datetime/reading.h"
#include "support/cases.h"

namespace plx {
namespace {

std::shared_ptr<const Format> formatOf(const std::string& text, std::optional<int> year = {}) {
  Complaint complaint;
  auto format = Format::forReading(text, year, complaint);
  if (!format) throw std::runtime_error(text + ": " + complaint.what);
  return std::make_shared<const Format>(std::move(*format));
}

std::shared_ptr<const Format> formatToWrite(const std::string& text) {
  Complaint complaint;
  auto format = Format::forWriting(text, complaint);
  if (!format) throw std::runtime_error(text + ": " + complaint.what);
  return std::make_shared<const Format>(std::move(*format));
}

// Reads a text, moves it by so many seconds, and writes it; in angle brackets, what is wrong.
std::string moved(const std::string& text, const Notation& notation, double seconds,
                  const char* zoneText = nullptr) {
  Zones zones;
  std::optional<Zone> zone;
  if (zoneText != nullptr) zone = Zone::named(zoneText);
  Complaint complaint;
  const auto reading = read(text, notation, zone ? &*zone : nullptr, zones, complaint);
  if (!reading) return fmt::format("<{}>", complaint.what);
  std::string out = "kept ";
  const doubledouble pair = two_sum(reading->pair.hi + seconds * 1000.0, reading->pair.lo);
  if (write(*reading, pair, notation, out, complaint)) return out.substr(5);
  EXPECT_EQ(out, "kept ");
  EXPECT_NE(complaint.accepted, "");
  return fmt::format("<{}>", complaint.what);
}

Notation inFormat(const std::string& format, std::optional<int> year = {}) {
  Notation notation;
  notation.formats = {formatOf(format, year)};
  return notation;
}

constexpr double kDay = 86400;

TEST(Format, WritesAsItRead) {
  const struct {
    const char *format, *text, *iso;
    double seconds;
    const char *written, *why;
  } rows[] = {
      {"%d/%m/%Y", "10/05/2014", "2014-05-10", kDay, "11/05/2014", "a date"},
      {"%d/%m/%Y %I:%M %p", "10/05/2014 08:30 PM", "2014-05-10T20:30:00", kDay / 2,
       "11/05/2014 08:30 AM", "hours of twelve"},
      {"%I:%M %p %D", "12:00 am 05/10/14", "2014-05-10T00:00:00", 43200, "12:00 pm 05/10/14",
       "midnight, noon, and AM in its letter case"},
      {"%m/%d/%Y", "5/7/2014", "2014-05-07", kDay, "5/8/2014", "numbers without zeros"},
      {"%m/%d/%Y", "5/31/2014", "2014-05-31", kDay, "6/1/2014", "of which one tells of the other"},
      {"%m/%d/%Y", "12/31/2014", "2014-12-31", kDay, "01/01/2015", "which these do not"},
      {"%-m/%-d/%Y", "12/31/2014", "2014-12-31", kDay, "1/1/2015", "but a dash does"},
      {"%b %e %Y", "May  9 2014", "2014-05-09", kDay, "May 10 2014", "a blank before the day"},
      {"%b %d %Y", "May  9 2014", "2014-05-09", -kDay, "May  8 2014", "which %d reads, too"},
      {"%b %e %Y", "May 10 2014", "2014-05-10", -kDay, "May  9 2014", "and %e writes"},
      {"%A, %d. %B %Y", "SATURDAY, 10. may 2014", "2014-05-10", 30 * kDay, "MONDAY, 09. june 2014",
       "names keep their letter case"},
      {"%d/%b/%Y:%H:%M:%S %z", "10/May/2014:08:30:15 +0200", "2014-05-10T08:30:15+02:00", 1,
       "10/May/2014:08:30:16 +0200", "web servers' logs"},
      {"%FT%T.%f%z", "2014-05-10T08:30:15.250Z", "2014-05-10T08:30:15.25Z", 1,
       "2014-05-10T08:30:16.250Z", "the zeros of a fraction, and Z"},
      {"%F %T.%f %z", "2014-05-10 08:30:15.0 +02:00", "2014-05-10T08:30:15+02:00", 0,
       "2014-05-10 08:30:15.0 +02:00", "the colon of an offset"},
      {"%F %R%z", "2014-05-10 08:30+02", "2014-05-10T08:30:00+02:00", 0, "2014-05-10 08:30+02",
       "an offset of hours"},
      {"[%FT%T%:z: ]", "[2014-05-10T08:30:15+02:00: ]", "2014-05-10T08:30:15+02:00", 60,
       "[2014-05-10T08:31:15+02:00: ]", "a colon behind an offset"},
      {"%F %R%z:", "2014-05-10 08:30+02:", "2014-05-10T08:30:00+02:00", 60,
       "2014-05-10 08:31+02:", "and behind one of hours"},
      {"%F %R %z", "2014-05-10 08:30 -0000", "2014-05-10T08:30:00-00:00", 0,
       "2014-05-10 08:30 -0000", "an offset that nobody knows"},
      {"%F %R %Z", "2014-05-10 08:30 GMT", "2014-05-10T08:30:00Z", 60, "2014-05-10 08:31 GMT",
       "UTC by another name"},
      {"%F %R %z %Z", "2014-05-10 08:30 +0000 UTC", "2014-05-10T08:30:00Z", 60,
       "2014-05-10 08:31 +0000 UTC", "beside an offset of zero"},
      {"%F %R %Z", "2014-05-10 08:30 Europe/Paris", "2014-05-10T08:30:00+02:00", 60,
       "2014-05-10 08:31 Europe/Paris", "a zone by its name"},
      {"%Y%m%d%H%M%S", "20140510083015", "2014-05-10T08:30:15", 60, "20140510083115",
       "numbers that touch"},
      {"%y%j", "14130", "2014-05-10", 300 * kDay, "15065", "the day of the year, in two digits"},
      {"%Y-%j", "2014-5", "2014-01-05", 9 * kDay, "2014-14", "a day of the year without zeros"},
      {"%G-W%V-%u", "2014-W19-6", "2014-05-10", 2 * kDay, "2014-W20-1", "a week of ISO 8601"},
      {"%G-W%V-%u", "2009-W53-7", "2010-01-03", kDay, "2010-W01-1", "at the end of its year"},
      {"%a W%V %G", "Sun W53 2009", "2010-01-03", -kDay, "Sat W53 2009", "its day by a name"},
      {"%w %Y-%m-%d", "6 2014-05-10", "2014-05-10", kDay, "0 2014-05-11", "the day from Sunday 0"},
      {"%B %Y", "May 2014", "2014-05-01", 31 * kDay, "June 2014", "the first of a month"},
      {"%Y", "2014", "2014-01-01", 365 * kDay, "2015", "the first of a year"},
      {"%s", "1399710615", "2014-05-10T08:30:15", 1, "1399710616", "seconds since 1970"},
      {"%s.%f", "1399710615.250", "2014-05-10T08:30:15.25", 1, "1399710616.250", "with a fraction"},
      {"%s.%f", "-0.25", "1969-12-31T23:59:59.75", -1, "-1.25", "before 1970"},
      {"%s.%f", "-0.75", "1969-12-31T23:59:59.25", 1, "0.25", "and across it"},
      {"%s %z", "1399710615 +0200", "2014-05-10T10:30:15+02:00", 1, "1399710616 +0200",
       "an instant and an offset"},
      {"[%d.%m.%y] 100%%", "[10.05.69] 100%", "1969-05-10", kDay, "[11.05.69] 100%",
       "other characters, and 1969"},
      {"%d.%m.%y", "10.05.68", "2068-05-10", kDay, "11.05.68", "and 2068"},
      {"%k:%M %F", " 8:30 2014-05-10", "2014-05-10T08:30:00", 7200, "10:30 2014-05-10",
       "a blank before the hour"},
      {"%l:%M %P %F", " 8:30 am 2014-05-10", "2014-05-10T08:30:00", 7200, "10:30 am 2014-05-10",
       "and of twelve"},
      {"%H:%M %p %F", "20:30 Pm 2014-05-10", "2014-05-10T20:30:00", -43200, "08:30 Am 2014-05-10",
       "PM beside hours of 24"},
  };
  Cases cases(std::size(rows));
  for (const auto& r : rows) {
    const Notation notation = inFormat(r.format);
    EXPECT_EQ(moved(r.text, notation, 0), r.text) << r.why;
    EXPECT_EQ(moved(r.text, notation, r.seconds), r.written) << r.why;
    Notation toIso = notation;
    toIso.to = Form::calendar;
    EXPECT_EQ(moved(r.text, toIso, 0), r.iso) << r.why;
    ++cases;
  }
}

TEST(Format, SaysWhatIsWrongWithAText) {
  const struct {
    const char *format, *text, *complaint;
  } rows[] = {
      {"%d/%m/%Y", "2014-05-10", "not in the format %d/%m/%Y, as in 10/05/2014"},
      {"%d/%m/%Y", "10/05/2014x", "not in the format %d/%m/%Y, as in 10/05/2014"},
      {"%d/%m/%Y", "", ""},
      {"%d/%m/%Y", "10/05/14", "not in the format %d/%m/%Y, as in 10/05/2014"},
      {"%d/%m/%Y", "010/05/2014", "not in the format %d/%m/%Y, as in 10/05/2014"},
      {"%d/%m/%Y", "05/13/2014", "there is no month 13, in the format %d/%m/%Y"},
      {"%d/%m/%Y", "29/02/2014", "February 2014 has 28 days, in the format %d/%m/%Y"},
      {"%Y-%j", "2014-366", "2014 has 365 days, in the format %Y-%j"},
      {"%G-W%V-%u", "2014-W53-1", "2014 has 52 weeks, in the format %G-W%V-%u"},
      {"%G-W%V-%u", "2014-W19-0", "there is no weekday 0, in the format %G-W%V-%u"},
      {"%G-W%V-%u", "2014-W19-8", "there is no weekday 8, in the format %G-W%V-%u"},
      {"%w %Y-%m-%d", "7 2014-05-10", "there is no weekday 7 with %w, in the format %w %Y-%m-%d"},
      {"%F %y", "2014-05-10 15",
       "the parts of the date contradict each other, in the format %F %y"},
      {"%Y-%j %m", "2014-130 06",
       "the parts of the date contradict each other, in the format %Y-%j %m"},
      {"%Y-%j %d", "2014-130 09",
       "the parts of the date contradict each other, in the format %Y-%j %d"},
      {"%F %G", "2014-12-31 2014",
       "the parts of the date contradict each other, in the format %F %G"},
      {"%F %V", "2014-05-10 18",
       "the parts of the date contradict each other, in the format %F %V"},
      {"%G-W%V-%u %Y", "2015-W01-1 2015",
       "the parts of the date contradict each other, in the format %G-W%V-%u %Y"},
      {"%a %F", "Sun 2014-05-10", "that day is a Saturday, in the format %a %F"},
      {"%F %j", "2014-05-10 131",
       "the parts of the date contradict each other, in the format %F %j"},
      {"%F %I:%M %p", "2014-05-10 13:30 PM",
       "there is no hour 13 of twelve, in the format %F %I:%M %p"},
      {"%F %H:%M %p", "2014-05-10 08:30 PM",
       "the hour 8 contradicts AM or PM, which %I reads, in the format %F %H:%M %p"},
      {"%F %R", "2014-05-10 24:00", "there is no hour 24, in the format %F %R"},
      {"%F %R", "2014-05-10 08:60", "there is no minute 60, in the format %F %R"},
      {"%F %T", "2014-05-10 23:59:60", "there is no second 60"},
      {"%F %R %Z", "2014-05-10 08:30 CST",
       "the abbreviation of a time zone may mean several of them, in the format %F %R %Z"},
      {"%F %R %z %Z", "2014-05-10 08:30 +0100 UTC",
       "the offset contradicts the zone, which is UTC, in the format %F %R %z %Z"},
      {"%F %R %Z", "2014-05-10 08:30 Europe/Atlantis", "unknown time zone [Europe/Atlantis]"},
      {"%F %R %z", "2014-05-10 08:30 +2400",
       "an offset from UTC reaches from -23:59:59 to +23:59:59, in the format %F %R %z"},
      {"%Y%m%d", "201451", "not in the format %Y%m%d, as in 20140510"},
      {"%s", "1e9", "not in the format %s, as in 1399710615"},
      {"%s", "99999999999999999999999999", "out of range"},
  };
  Cases cases(std::size(rows));
  for (const auto& r : rows) {
    const std::string expected = *r.complaint == 0 ? "" : fmt::format("<{}>", r.complaint);
    EXPECT_EQ(moved(r.text, inFormat(r.format), 0), expected) << r.text;
    ++cases;
  }
}

TEST(Format, LosesNothingThatItDoesNotName) {
  const struct {
    const char *format, *text;
    double seconds;
    const char* complaint;
  } rows[] = {
      {"%d/%m/%Y", "10/05/2014", 3600, "the format has no place for the hour"},
      {"%d/%m/%Y %H", "10/05/2014 08", 60, "the format has no place for the minute"},
      {"%d/%m/%Y %R", "10/05/2014 08:30", 1, "the format has no place for the second"},
      {"%d/%m/%Y %T", "10/05/2014 08:30:15", 0.5,
       "the format has no place for the fraction of the second"},
      {"%s", "15", 0.5, "the format has no place for the fraction of the second"},
      {"%B %Y", "May 2014", kDay, "the format has no place for the day of the month"},
      {"%Y", "2014", 31 * kDay, "the format has no place for the month"},
      {"%d.%m.%Y", "31.12.9999", kDay, "%Y has no years but 0000 to 9999"},
      {"%G-W%V-%u", "9999-W52-5", 3 * kDay, "%G has no years but 0000 to 9999"},
      {"%d.%m.%y", "31.12.68", kDay, "%y has no years but 1969 to 2068"},
  };
  Cases cases(std::size(rows));
  for (const auto& r : rows) {
    EXPECT_EQ(moved(r.text, inFormat(r.format), r.seconds), fmt::format("<{}>", r.complaint));
    ++cases;
  }
}

TEST(Format, TakesTheYearOfAllWhereItHasNone) {
  const Notation syslog = inFormat("%b %e %H:%M:%S", 2016);
  EXPECT_EQ(moved("Feb 28 23:59:59", syslog, 1), "Feb 29 00:00:00");
  EXPECT_EQ(moved("Feb 29 23:59:59", inFormat("%b %e %H:%M:%S", 2015), 1),
            "<February 2015 has 28 days, in the format %b %e %H:%M:%S>");
  EXPECT_EQ(moved("Dec 31 23:59:59", syslog, 1), "<the format has no place for the year 2017>");
  EXPECT_EQ(moved("366", inFormat("%j", 2016), kDay),
            "<the format has no place for the year 2017>");
  EXPECT_EQ(moved("60", inFormat("%j", 2016), -1), "<the format has no place for the hour>");
}

TEST(Format, OfSeveralOnesEachDatetimeKeepsItsOwn) {
  Notation notation;
  notation.formats = {formatOf("%d.%m.%Y"), formatOf("%m/%d/%Y"), formatOf("%d/%m/%Y")};
  EXPECT_EQ(moved("10.05.2014", notation, kDay), "11.05.2014");
  EXPECT_EQ(moved("13/05/2014", notation, kDay), "14/05/2014");
  EXPECT_EQ(moved("05/13/2014", notation, kDay), "05/14/2014");
  EXPECT_EQ(moved("05/05/2014", notation, kDay), "05/06/2014")
      << "the first, where both say the same";
  EXPECT_EQ(moved("10/05/2014", notation, kDay),
            "<the formats %m/%d/%Y and %d/%m/%Y read it as two different datetimes>");
  EXPECT_EQ(moved("2014-05-10", notation, kDay),
            "<in none of the formats %d.%m.%Y, %m/%d/%Y, %d/%m/%Y>");
  Zones zones;
  Complaint complaint;
  EXPECT_FALSE(read("10/05/2014", notation, nullptr, zones, complaint));
  EXPECT_TRUE(complaint.endsRun);
  EXPECT_FALSE(read("2014", notation, nullptr, zones, complaint));
  EXPECT_FALSE(complaint.endsRun);
}

TEST(Format, WritesWhatCameInAnotherForm) {
  const struct {
    const char *text, *zone, *format, *written;
  } rows[] = {
      {"2014-05-10T08:30:15.25", nullptr, "%d/%m/%Y %I:%M:%S.%f %p",
       "10/05/2014 08:30:15.250000 AM"},
      {"2014-05-10", nullptr, "%a %A %b %B %j %U", "<%U>"},
      {"2014-05-10", nullptr, "%a, %e %b %y, day %j, %G-W%V-%u",
       "Sat, 10 May 14, day 130, 2014-W19-6"},
      {"2014-05-10T08:30Z", nullptr, "%H%M %z %s", "0830 +0000 1399710600"},
      {"2014-05-10T08:30+02:00", nullptr, "%:z %s", "+02:00 1399703400"},
      {"2014-05-10T08:30", "Europe/Paris", "%R %z %Z", "08:30 +0200 Europe/Paris"},
      {"2014-05-10T08:30", nullptr, "%z", "<no offset from UTC is known>"},
      {"2014-05-10T08:30", nullptr, "%Z", "<the zone has no name for %Z>"},
      {"2014-05-10T08:30:59.9", nullptr, "%F %R", "2014-05-10 08:30"},
      {"1969-12-31T23:59:59.75", nullptr, "%s %s.%f", "-1 -0.250000"},
      {"1969-12-31T23:59:59.75", nullptr, "%s.%f", "-0.250000"},
      {"1969-12-31T23:59:59.75", nullptr, "%s", "-1"},
      {"-0001-05-10", nullptr, "%Y", "<%Y has no years but 0000 to 9999>"},
  };
  Cases cases(std::size(rows));
  for (const auto& r : rows) {
    ++cases;
    Complaint complaint;
    if (!Format::forWriting(r.format, complaint)) {
      EXPECT_EQ(r.written[0], '<') << r.format << ": " << complaint.what;
      EXPECT_NE(complaint.what, "");
      continue;
    }
    Notation notation;
    notation.toFormat = formatToWrite(r.format);
    EXPECT_EQ(moved(r.text, notation, 0, r.zone), r.written);
  }
}

TEST(Format, CutsDigits) {
  Notation notation = inFormat("%T.%f %F");
  notation.digits = 3;
  EXPECT_EQ(moved("08:30:15.123456 2014-05-10", notation, 0), "08:30:15.123 2014-05-10");
  EXPECT_EQ(moved("08:30:15.5 2014-05-10", notation, 0), "08:30:15.5 2014-05-10");
  notation.digits = 0;
  EXPECT_EQ(moved("08:30:15.5 2014-05-10", notation, 0), "08:30:15.0 2014-05-10");
}

TEST(Format, IsRefusedWhereItTellsNoDate) {
  const struct {
    const char *format, *complaint;
  } rows[] = {
      {"", "the format is empty"},
      {"d/m/Y", "the format has no letters behind a %"},
      {"%Q", "\"%Q\" is not known in formats"},
      {"%", "\"%\" is not known in formats"},
      {"%-", "\"%-\" is not known in formats"},
      {"%-Y", "\"%-Y\" is not known in formats"},
      {"%:H", "\"%:H\" is not known in formats"},
      {"%H:%M", "the format tells no date"},
      {"%d %Y", "the format tells no date"},
      {"%Y-W%V-%u", "the format tells no date"},
      {"%G-W%V", "the format tells no date"},
      {"%d/%m", "the format has no year"},
      {"%A %B %Y", "the format tells a weekday and no day"},
      {"%Y %Y-%m-%d", "a part stands twice in the format"},
      {"%Y %m %b", "a part stands twice in the format"},
      {"%F %z %:z", "a part stands twice in the format"},
      {"%F %I:%M", "%I tells no hour without %p"},
      {"%F %M", "the format has a smaller part of the time without the larger one"},
      {"%F %H %S", "the format has a smaller part of the time without the larger one"},
      {"%F %H:%M.%f", "the format has a fraction without its second"},
      {"%F %T.%f%Y", "a part stands twice in the format"},
      {"%T.%f%Y-%m-%d", "where a part ends is not told, as a digit follows"},
      {"%F %R%z:%S", "where the offset ends is not told, as a colon and a digit follow"},
      {"%F %R%:z:00", "where the offset ends is not told, as a colon and a digit follow"},
      {"%FT%TZ", "the Z behind a time says that it is UTC"},
      {"%F%Z%H", "where the zone's name ends is not told"},
      {"%s %Y", "%s tells date and time alone"},
      {"%Y %y %m %d %j %G %V %u %H %I %p %M %S %f %z %Z %s", "the format has more than 16 parts"},
      {"%s%f", "the fraction of %s does not stand behind its point"},
  };
  Cases cases(std::size(rows));
  for (const auto& r : rows) {
    Complaint complaint;
    EXPECT_FALSE(Format::forReading(r.format, {}, complaint)) << r.format;
    EXPECT_EQ(complaint.what, r.complaint) << r.format;
    EXPECT_NE(complaint.accepted, "") << r.format;
    EXPECT_EQ(complaint.status, Status::usage);
    ++cases;
  }
  Complaint complaint;
  EXPECT_FALSE(Format::forReading("%F", 2014, complaint));
  EXPECT_EQ(complaint.what, "the format has a year of its own");
  EXPECT_FALSE(Format::forReading(std::string(999, '-') + "%F", {}, complaint));
  EXPECT_EQ(complaint.what, "the format is too long");
}

TEST(Format, ReadsWhatStandsAtTheFront) {
  const auto format = formatOf("%d/%b/%Y:%H:%M:%S %z");
  FormatReading reading;
  EXPECT_EQ(format->readFront("10/May/2014:08:30:15 +0200] \"GET /\"", reading), 26U);
  EXPECT_EQ(reading.datetime.offsetSeconds, 7200);
  EXPECT_EQ(format->readFront("GET", reading), 0U);
  EXPECT_EQ(format->readFront("10/May/2014:08:30:15 +0200: GET /", reading), 26U);
  EXPECT_EQ(format->readFront("10/May/2014:08:30:15 +02:00: GET /", reading), 27U);
  EXPECT_EQ(format->readFront("10/May/2014:08:30:15 +02: GET /", reading), 24U);
  EXPECT_EQ(reading.datetime.offsetSeconds, 7200);
  EXPECT_TRUE(format->mayHave(0, '1'));
  EXPECT_TRUE(format->mayHave(0, ' '));
  EXPECT_FALSE(format->mayHave(0, 'M'));
  EXPECT_TRUE(format->mayHave(1, '/')) << "1/May";
  EXPECT_TRUE(format->mayHave(2, 'M')) << "1/May";
  EXPECT_FALSE(format->mayHave(1, 'M'));
  EXPECT_FALSE(format->mayHave(3, '/'));
}

}  // namespace
}  // namespace plx
