// What is read and written by places, held against the readers and writers of all spellings.
#include "datetime/layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "datetime/format.h"
#include "datetime/layout_reader.h"
#include "datetime/reading.h"
#include "support/at_the_end.h"
#include "support/cases.h"
#include "support/length.h"
#include "support/random.h"

namespace plx {
namespace {

constexpr const char* kFormats[] = {
    "%d/%b/%Y:%H:%M:%S %z",
    "%d/%b/%Y:%H:%M:%S",
    "%Y-%m-%d %H:%M:%S %z",
    "%Y/%m/%d %H:%M:%S",
    "%Y/%m/%d %H:%M:%S.%f",
    "%a %b %e %H:%M:%S %Y",
    "%d/%m/%Y %H:%M",
    "%m/%d/%Y %H:%M",
    "%d.%m.%y",
    "%a, %d %b %Y %H:%M:%S %:z",
    "%Y%m%d%H%M%S",
    "%d/%m/%Y %I:%M %p",
    "%b %d, %Y",
    "%Y-%jT%H",
    "%e-%b-%Y %k:%M",
    "T%H on %d.%m.%Y, %A",
    "%Y-%m-%d %H:%M:%S %Z",
    "%Y5%m5%d %H",
};
constexpr const char* kFormatsOfYear[] = {"%b %e %H:%M:%S", "%d.%m. %H:%M"};

std::vector<Format> formats() {
  std::vector<Format> all;
  Complaint complaint;
  for (const char* text : kFormats) all.push_back(Format::forReading(text, {}, complaint).value());
  for (const char* text : kFormatsOfYear)
    all.push_back(Format::forReading(text, 2016, complaint).value());
  return all;
}

WallTime randomWall(Random& random) {
  WallTime wall{random.oneIn(8) ? random.whole(-70'000'000'000, 260'000'000'000)
                                : random.whole(0, 3'100'000'000)};
  if (random.oneIn(8)) wall.seconds = wall.seconds / 86400 * 86400;
  if (random.oneIn(4)) return wall;
  wall.offset = random.oneIn(3) ? OffsetForm::z : OffsetForm::numeric;
  if (wall.offset == OffsetForm::z) return wall;
  wall.offsetSeconds = static_cast<int>(random.whole(-95, 95)) * 900;
  if (random.oneIn(10)) wall.offsetSeconds += 1;
  return wall;
}

// With a byte or two that are others, too many or too few.
std::string changed(std::string text, Random& random) {
  constexpr std::string_view kBytes("0012359:/-+ .,TtZz[]aAmMyYoO\0\xFF", 31);
  for (std::int64_t i = random.oneIn(2) ? 0 : random.whole(1, 2); i > 0; --i) {
    const auto at =
        static_cast<std::size_t>(random.whole(0, static_cast<std::int64_t>(text.size())));
    const char byte = kBytes[static_cast<std::size_t>(random.whole(0, kBytes.size() - 1))];
    const auto kind = random.whole(0, 3);
    if (kind == 0) text.insert(at, 1, byte);
    if (kind == 1) text.erase(at, 1);
    if (kind >= 2 && at < text.size()) text[at] = byte;
  }
  return text;
}

std::string randomText(const Format& format, Random& random) {
  std::string text;
  Complaint complaint;
  while (text.empty()) {
    const WallTime wall = randomWall(random);
    format.write(text, {{wall.seconds, ""}, wall, "Europe/Paris"}, nullptr, complaint);
  }
  return text;
}

void expectSame(const PlainTime& a, const DatetimeText& b, const std::string& text) {
  EXPECT_EQ(a.wall, b.day * 86400 + b.secondOfDay) << text;
  EXPECT_EQ(a.offset, b.offset) << text;
  EXPECT_EQ(a.offsetSeconds, b.offsetSeconds) << text;
  EXPECT_FALSE(b.insertedSecond) << text;
}

// What is written in place of a text; empty for a time that takes more than that.
std::string writtenByPlaces(const Layout& layout, std::string_view text, const WallTime& wall) {
  static GuardedArray<char> room(Layout::kMostWritten);
  const auto seconds = static_cast<std::int64_t>(wall.seconds);
  const std::size_t size =
      layout.write(room.data(), text, {seconds, wall.offset, wall.offsetSeconds});
  return {room.data(), size};
}

TEST(Layout, ReadsAndWritesAsTheFormatDoes) {
  Random random(1);
  Cases read(ofUsual(20'000)), refused(ofUsual(10'000)), written(ofUsual(5'000));
  const auto all = formats();
  for (std::int64_t i = ofUsual(200'000); i > 0; --i) {
    const Format& format = all[static_cast<std::size_t>(random.whole(0, all.size() - 1))];
    const Format& other =
        random.oneIn(4) ? all[static_cast<std::size_t>(random.whole(0, all.size() - 1))] : format;
    const std::string text =
        changed(randomText(other, random) + (random.oneIn(2) ? "" : "] x"), random);
    FormatReading reading;
    const std::size_t size = format.readFront(text, reading);
    for (std::size_t k = 0; k < Format::kFronts && k < size; ++k)
      ASSERT_TRUE(format.mayHave(k, text[k])) << format.text() << " " << text;
    PlainTime time;
    const Layout::Front front = format.layout().readFront(text, time);
    if (front.reads == Layout::Reads::unknown) continue;
    ASSERT_EQ(front.size, size) << format.text() << " " << text;
    if (front.reads == Layout::Reads::no) {
      ++refused;
      continue;
    }
    ++read;
    expectSame(time, reading.datetime, text);

    const std::string whole = text.substr(0, size);
    const WallTime wall = randomWall(random);
    const std::string byPlaces = writtenByPlaces(format.layout(), whole, wall);
    if (byPlaces.empty()) continue;
    std::string expected;
    Complaint complaint;
    ASSERT_TRUE(format.write(expected, {{wall.seconds, ""}, wall, "Europe/Paris", 0},
                             &reading.spelling, complaint))
        << format.text() << " " << whole << " " << byPlaces;
    ASSERT_EQ(byPlaces, expected) << format.text() << " " << whole;
    ++written;
  }
}

TEST(Layout, ReadsAndWritesDatesOfISO) {
  Random random(2);
  Cases read(ofUsual(20'000)), written(ofUsual(10'000));
  for (std::int64_t i = ofUsual(150'000); i > 0; --i) {
    DatetimeText form;
    form.separator = random.oneIn(6) ? '\0' : random.oneIn(3) ? ' ' : 'T';
    if (form.separator != 0) form.offset = randomWall(random).offset;
    WallTime before = randomWall(random);
    std::string text;
    if (form.separator == 0) before = {before.seconds / 86400 * 86400};
    writeDatetime(text, form, before, "");
    text = changed(text, random);
    const Layout& layout = text.size() < 15 ? Layout::ofIsoDates() : Layout::ofIsoDatetimes();
    DatetimeText expected;
    PlainTime time;
    Complaint complaint;
    if (!layout.read(text, time)) continue;
    ++read;
    ASSERT_TRUE(readDatetime(text, Form::recognised, expected, complaint)) << text;
    ASSERT_EQ(expected.form, Form::calendar);
    expectSame(time, expected, text);
    EXPECT_TRUE(expected.fraction.empty());

    const WallTime wall = randomWall(random);
    const std::string byPlaces = writtenByPlaces(layout, text, wall);
    if (byPlaces.empty()) continue;
    std::string plainly;
    writeDatetime(plainly, expected, wall, "");
    ASSERT_EQ(byPlaces, plainly) << text;
    ++written;
  }
}

TEST(Layout, WritesYearsOfFourDigitsAlone) {
  const Layout& layout = Layout::ofIsoDatetimes();
  const struct {
    std::int64_t wall;
    const char* written;
  } rows[] = {
      {-62167219201, ""},
      {-62167219200, "0000-01-01T00:00:00"},
      {253402300799, "9999-12-31T23:59:59"},
      {253402300800, ""},
      {std::numeric_limits<std::int64_t>::min(), ""},
      {std::numeric_limits<std::int64_t>::max(), ""},
  };
  Cases cases(6);
  for (const auto& r : rows) {
    EXPECT_EQ(writtenByPlaces(layout, "2014-05-10T08:30:15", {r.wall}), r.written);
    ++cases;
  }
}

TEST(Layout, RefusesTheTextsOfOthers) {
  const auto all = formats();
  const auto refuses = [&](std::string_view a, std::string_view b) {
    Complaint complaint;
    return Format::forReading(a, {}, complaint)
        ->layout()
        .refusesAllOf(Format::forReading(b, {}, complaint)->layout());
  };
  EXPECT_FALSE(refuses("%d/%m/%Y", "%m/%d/%Y")) << "they read the same texts";
  EXPECT_FALSE(refuses("%d/%m/%Y", "%d/%m/%Y"));
  EXPECT_TRUE(refuses("%d/%m/%Y", "%d.%m.%Y"));
  EXPECT_TRUE(refuses("%d/%m/%Y %H", "%d/%m/%Y")) << "it wants more";
  EXPECT_TRUE(refuses("%d/%m/%Y", "%d/%m/%Y %H")) << "it reads less";
  EXPECT_TRUE(refuses("%d/%m/%Y %H %z", "%d/%m/%Y %H"));
  EXPECT_TRUE(refuses("%d/%m/%Y %H", "%d/%m/%Y %H%z"));
  EXPECT_FALSE(refuses("%d/%m/%Y %H%z", "%d/%m/%Y %H%z"));
  EXPECT_TRUE(refuses("%Y/%m/%d %H:%M:%S.%f", "%Y/%m/%d %H:%M:%S"));
  EXPECT_FALSE(refuses("%Y5%m", "%Y%m%d %H")) << "a digit that stands for itself";
  EXPECT_FALSE(refuses("%Y/%m/%d %H", "%Y/%m/%d 5")) << "which is an hour of one digit";
  EXPECT_FALSE(refuses("%Y/%m/%d%H", "%Y/%m/1%d")) << "or moves all digits behind it";
  EXPECT_TRUE(refuses("%Y/%m/%d", "%d/%b/%Y")) << "a year has all its digits";
  EXPECT_FALSE(refuses("%d%b%Y", "%b %d, %Y")) << "a day may have a blank";

  Random random(3);
  Cases cases(ofUsual(100));
  for (const Format& a : all) {
    for (const Format& b : all) {
      if (!b.layout().isWhole() || !a.layout().refusesAllOf(b.layout())) continue;
      for (std::int64_t i = ofUsual(40); i > 0; --i) {
        const std::string text = randomText(b, random);
        FormatReading reading;
        EXPECT_FALSE(a.read(text, reading)) << a.text() << " " << b.text() << " " << text;
      }
      ++cases;
    }
  }
}

// A format of parts in any order and spelling, with anything between them or nothing.
std::shared_ptr<const Format> randomFormat(Random& random) {
  const auto oneOf = [&](std::initializer_list<const char*> texts) {
    return texts.begin()[random.whole(0, static_cast<std::int64_t>(texts.size()) - 1)];
  };
  for (;;) {
    const bool hasYear = !random.oneIn(6);
    std::vector<const char*> parts = {oneOf({"%m", "%m", "%b", "%b", "%-m", "%B"}),
                                      oneOf({"%d", "%d", "%e", "%-d", "%_d", "%0d"})};
    if (hasYear) parts.push_back(oneOf({"%Y", "%Y", "%y"}));
    if (random.oneIn(4)) parts.push_back(oneOf({"%a", "%A"}));
    if (!random.oneIn(3)) {
      parts.push_back(oneOf({"%H", "%H", "%H:%M", "%k:%M", "%I:%M %p"}));
      if (random.oneIn(2)) parts.back() = oneOf({"%T", "%H%M%S", "%H:%M:%S.%f", "%R:%S"});
    }
    // From end to beginning, so that many begin with the year.
    for (std::size_t i = 0; i + 1 < parts.size(); ++i)
      if (random.oneIn(3)) std::swap(parts[i], parts[i + 1]);
    std::ranges::reverse(parts);
    if (random.oneIn(4)) parts.push_back(oneOf({"%z", "%:z", "%Z", " %z"}));
    const char* const between = oneOf({"", "", "/", "-", ".", " ", "\xC3\xA9"});
    std::string text = random.oneIn(6) ? oneOf({"T", "5", "[", "%%", "am "}) : "";
    for (const char* part : parts) {
      text += part;
      if (part != parts.back())
        text += random.oneIn(6) ? oneOf({"5", "0", ":", ", ", "T"}) : between;
    }
    if (random.oneIn(6)) text += oneOf({"5", "]", " Z", "."});
    Complaint complaint;
    if (auto format = Format::forReading(
            text,
            hasYear ? std::nullopt : std::optional(static_cast<int>(random.whole(2015, 2016))),
            complaint))
      return std::make_shared<const Format>(*std::move(format));
  }
}

// A format that reads some of the same texts: a part of it stands for itself, is another or is missing. The format
// itself where that is none.
std::shared_ptr<const Format> nearlyThat(const std::shared_ptr<const Format>& format,
                                         Random& random) {
  constexpr const char* kOthers[] = {"", "5", "1", "10", "%d", "%H", "%m", "%e", "%Y", "%b", " "};
  std::string text = format->text();
  const auto at = text.find('%', static_cast<std::size_t>(random.whole(0, std::ssize(text) - 1)));
  if (at == std::string::npos) return format;
  text.replace(at, random.oneIn(4) ? 0 : 2, kOthers[random.whole(0, std::size(kOthers) - 1)]);
  Complaint complaint;
  auto other = Format::forReading(text, {}, complaint);
  return other ? std::make_shared<const Format>(*std::move(other)) : format;
}

// As people and programs spell it: a zero less, other letters, blanks around it, more behind it.
std::string spelledOtherwise(std::string text, Random& random) {
  constexpr const char* kBehind[] = {" ",  "Z",   "z",      ".5", ",25", ".12345678901234567890",
                                     "\r", "+02", "+02:00", "5",  "\"",  "-00:00"};
  const auto place = [&] {
    return static_cast<std::size_t>(random.whole(0, static_cast<std::int64_t>(text.size()) - 1));
  };
  switch (random.whole(0, 11)) {
    case 0: {
      const std::size_t zero = text.find('0', place());
      return zero == std::string::npos ? text : text.erase(zero, 1);
    }
    case 1: {
      const std::size_t zero = text.find('0', place());
      if (zero != std::string::npos) text[zero] = ' ';
      return text;
    }
    case 2: {
      const std::size_t letter =
          text.find_first_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
      if (letter != std::string::npos) text[letter] ^= 0x20;
      return text;
    }
    case 3:
      return " " + text;
    case 4:
      return text + kBehind[random.whole(0, std::size(kBehind) - 1)];
    case 5:
      return text.substr(0, place());
    case 6:
      return "\xEF\xBB\xBF" + text;
    case 7:
      return changed(text, random);
    default:
      return text;
  }
}

Notation notationOf(std::size_t formats, const std::vector<Format>& all, Random& random) {
  Notation notation;
  auto& chosen = notation.formats;
  while (chosen.size() < formats) {
    if (!chosen.empty() && random.oneIn(2)) {
      chosen.push_back(nearlyThat(chosen.back(), random));
    } else if (random.oneIn(4)) {
      const auto number = static_cast<std::size_t>(random.whole(0, all.size() - 1));
      chosen.push_back(std::make_shared<const Format>(all[number]));
    } else {
      chosen.push_back(randomFormat(random));
    }
  }
  notation.recognisedToo = formats > 0 && random.oneIn(3);
  notation.missing = {"2014-05-10", "10.05.14"};
  return notation;
}

std::string randomTextOf(const Notation& notation, const std::vector<Format>& all, Random& random) {
  if (random.oneIn(100)) return notation.missing[random.oneIn(2) ? 0 : 1];
  if (random.oneIn(4) || notation.formats.empty()) {
    DatetimeText form;
    form.separator = random.oneIn(3) ? '\0' : 'T';
    WallTime wall = randomWall(random);
    if (form.separator == 0) wall.seconds = floorDiv(wall.seconds, 86400).quotient * 86400;
    std::string text;
    writeDatetime(text, form, wall, "");
    return text;
  }
  if (random.oneIn(10))
    return randomText(all[static_cast<std::size_t>(random.whole(0, all.size() - 1))], random);
  return randomText(
      *notation.formats[static_cast<std::size_t>(random.whole(0, notation.formats.size() - 1))],
      random);
}

// The whole of reading.h, in notations of no format to four: what is read by places, reading.h reads as the same
// in the same format, and writes as the same; and texts that it refuses are not read by places.
TEST(LayoutReader, ReadsAndWritesAsReadingDoes) {
  Random random(4);
  Cases cases(ofUsual(100'000)), read(ofUsual(20'000)), refused(ofUsual(10'000)),
      written(ofUsual(10'000));
  const auto all = formats();
  std::vector<Zone> zoneForAll;
  for (const char* name : {"", "UTC", "Europe/Paris", "+05:30", "Africa/Monrovia"})
    zoneForAll.push_back(Zone::named(name));
  Zones zones;
  AtTheEnd atTheEnd;
  for (std::int64_t n = testsAreWhole() ? 20'000 : ofUsual(800); n > 0; --n) {
    const Notation notation = notationOf(static_cast<std::size_t>(random.whole(0, 4)), all, random);
    LayoutReader reader(notation);
    const Zone* const zone =
        random.oneIn(3)
            ? nullptr
            : &zoneForAll[static_cast<std::size_t>(random.whole(0, zoneForAll.size() - 1))];
    for (int i = 0; i < 150; ++i) {
      const std::string spelled = spelledOtherwise(randomTextOf(notation, all, random), random);
      const std::string_view text = atTheEnd(spelled);
      PlainTime time;
      const Layout* const layout = reader.read(text, time);
      Complaint complaint;
      const auto expected = plx::read(text, notation, zone, zones, complaint);
      ++cases;
      if (!expected) ++refused;
      if (layout == nullptr) continue;
      ++read;
      std::string told = spelled + " in";
      for (const auto& format : notation.formats) told += " " + format->text();
      ASSERT_TRUE(expected.has_value()) << told << ": " << complaint.what;
      ASSERT_FALSE(expected->missing) << told;
      expectSame(time, expected->text, told);
      ASSERT_TRUE(expected->text.fraction.empty()) << told;
      const bool isDate = layout == &Layout::ofIsoDates();
      if (expected->format != nullptr) {
        ASSERT_EQ(layout, &expected->format->layout()) << told;
      } else {
        ASSERT_TRUE(isDate || layout == &Layout::ofIsoDatetimes()) << told;
      }
      // Of a date in a zone, TaskReader has reading.h find whether midnight is there once.
      if (isDate && expected->zone->isCalendar()) continue;
      ASSERT_EQ(expected->zone->secondOf(time),
                static_cast<std::int64_t>(*expected->zone->secondOf(expected->text, complaint)));
      const auto second = static_cast<std::int64_t>(randomWall(random).seconds);
      const WallTime wall = expected->zone->wallTime(second);
      const PlainTime plain = expected->zone->plainTime(second);
      ASSERT_TRUE(plain.wall == wall.seconds && plain.offset == wall.offset &&
                  plain.offsetSeconds == wall.offsetSeconds);
      const std::string byPlaces = writtenByPlaces(*layout, text, wall);
      if (byPlaces.empty()) continue;
      std::string plainly;
      ++written;
      ASSERT_TRUE(plx::write(*expected, {static_cast<double>(second) * 1000, 0.0}, notation,
                             plainly, complaint))
          << told << ": " << complaint.what << "; by places: " << byPlaces;
      ASSERT_EQ(byPlaces, plainly) << told;
    }
  }
}

// Each text alone, in each of the formats and as ISO 8601, cut at each place, and with each byte at each place.
TEST(LayoutReader, ReadsEachByteAsReadingDoes) {
  Cases cases(ofUsual(400'000));
  constexpr const char* kTexts[] = {"2014-05-10T08:30:15+02:00",
                                    "2014-05-10 08:30:15Z",
                                    "10/Oct/2000:13:55:36 -0700",
                                    "Sat May 10 08:30:15 2014",
                                    "20140510083015",
                                    "10.05.14",
                                    "May 10 08:30:15",
                                    "Sat, 10 May 2014 08:30:15 +00:00"};
  const auto all = formats();
  const Zone utc = Zone::named("UTC");
  Zones zones;
  AtTheEnd atTheEnd;
  std::vector<Notation> notations(1);
  for (const Format& format : all) {
    notations.emplace_back().formats = {std::make_shared<const Format>(format)};
    notations.emplace_back(notations.back()).recognisedToo = true;
  }
  for (const Notation& notation : notations) {
    LayoutReader reader(notation);
    const auto compare = [&](std::string_view spelled) {
      const std::string_view text = atTheEnd(spelled);
      PlainTime time;
      const Layout* const layout = reader.read(text, time);
      ++cases;
      if (layout == nullptr) return;
      Complaint complaint;
      const auto expected = plx::read(text, notation, &utc, zones, complaint);
      ASSERT_TRUE(expected.has_value()) << spelled << ": " << complaint.what;
      expectSame(time, expected->text, std::string(spelled));
    };
    for (const std::string text : kTexts) {
      for (std::size_t size = 0; size <= text.size(); ++size) compare(text.substr(0, size));
      for (std::size_t at = 0; at < text.size(); ++at) {
        for (int byte = 0; byte < 256; byte += testsAreShort() ? 9 : 1) {
          std::string other = text;
          other[at] = static_cast<char>(byte);
          compare(other);
        }
      }
      if (HasFatalFailure()) return;
    }
  }
}

TEST(LayoutReader, LeavesOtherNotationsAlone) {
  PlainTime time;
  const auto reads = [&](const Notation& notation) {
    return LayoutReader(notation).read("2014-05-10T08:30:15", time) != nullptr;
  };
  EXPECT_TRUE(reads({}));
  Notation notation;
  notation.to = Form::week;
  EXPECT_FALSE(reads(notation));
  notation = {};
  notation.from = Form::rfc3339;
  EXPECT_FALSE(reads(notation));
  notation = {};
  notation.exact = true;
  EXPECT_FALSE(reads(notation));
  notation = {};
  notation.missing = {"2014-05-10T08:30:15"};
  EXPECT_FALSE(reads(notation));
}

}  // namespace
}  // namespace plx
