// What is read and written by places, held against the readers and writers of all spellings.
#include "datetime/layout.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "datetime/format.h"
#include "datetime/layout_reader.h"
#include "datetime/reading.h"
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

void expectSame(const DatetimeText& a, const DatetimeText& b, const std::string& text) {
  EXPECT_EQ(a.day, b.day) << text;
  EXPECT_EQ(a.secondOfDay, b.secondOfDay) << text;
  EXPECT_EQ(a.offset, b.offset) << text;
  EXPECT_EQ(a.offsetSeconds, b.offsetSeconds) << text;
  EXPECT_EQ(a.insertedSecond, b.insertedSecond) << text;
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
    DatetimeText datetime;
    const Layout::Front front = format.layout().readFront(text, datetime);
    if (front.reads == Layout::Reads::unknown) continue;
    ASSERT_EQ(front.size, size) << format.text() << " " << text;
    if (front.reads == Layout::Reads::no) {
      ++refused;
      continue;
    }
    ++read;
    expectSame(datetime, reading.datetime, text);

    const std::string whole = text.substr(0, size);
    const WallTime wall = randomWall(random);
    std::string byPlaces = "before ";
    if (!format.layout().write(byPlaces, whole, wall)) {
      ASSERT_EQ(byPlaces, "before ");
      continue;
    }
    std::string expected = "before ";
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
    DatetimeText datetime, expected;
    Complaint complaint;
    if (!layout.read(text, datetime)) continue;
    ++read;
    ASSERT_TRUE(readDatetime(text, Form::recognised, expected, complaint)) << text;
    ASSERT_EQ(expected.form, Form::calendar);
    expectSame(datetime, expected, text);
    EXPECT_TRUE(expected.fraction.empty());

    const WallTime wall = randomWall(random);
    std::string byPlaces, plainly;
    if (!layout.write(byPlaces, text, wall)) continue;
    writeDatetime(plainly, expected, wall, "");
    ASSERT_EQ(byPlaces, plainly) << text;
    ++written;
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

// The whole of reading.h, in notations of several formats.
TEST(LayoutReader, ReadsAsReadingDoes) {
  Random random(4);
  Cases read(ofUsual(10'000));
  const auto all = formats();
  const Zone utc = Zone::named("UTC");
  Zones zones;
  for (int n = 0; n < 60; ++n) {
    Notation notation;
    for (std::int64_t i = random.whole(0, 4); i > 0; --i)
      notation.formats.push_back(std::make_shared<const Format>(
          all[static_cast<std::size_t>(random.whole(0, all.size() - 1))]));
    notation.recognisedToo = !notation.formats.empty() && random.oneIn(2);
    notation.missing = {"2014-05-10", "10.05.14"};
    LayoutReader reader(notation);
    for (std::int64_t i = ofUsual(2'000); i > 0; --i) {
      const Format& format = !notation.formats.empty() && !random.oneIn(4)
                                 ? *notation.formats[static_cast<std::size_t>(
                                       random.whole(0, notation.formats.size() - 1))]
                                 : all[static_cast<std::size_t>(random.whole(0, all.size() - 1))];
      std::string text = randomText(format, random);
      if (random.oneIn(4)) {
        DatetimeText form;
        form.separator = 'T';
        text.clear();
        writeDatetime(text, form, randomWall(random), "");
      }
      if (random.oneIn(100)) text = notation.missing[random.oneIn(2) ? 0 : 1];
      text = changed(text, random);
      DatetimeText datetime;
      const Layout* const layout = reader.read(text, datetime);
      if (layout == nullptr) continue;
      Complaint complaint;
      const auto expected = plx::read(text, notation, &utc, zones, complaint);
      ASSERT_TRUE(expected.has_value()) << text << ": " << complaint.what;
      ASSERT_FALSE(expected->missing) << text;
      expectSame(datetime, expected->text, text);
      if (expected->format != nullptr) {
        EXPECT_EQ(layout, &expected->format->layout()) << text;
      }
      ++read;
    }
  }
}

TEST(LayoutReader, LeavesOtherNotationsAlone) {
  DatetimeText datetime;
  const auto reads = [&](const Notation& notation) {
    return LayoutReader(notation).read("2014-05-10T08:30:15", datetime) != nullptr;
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
