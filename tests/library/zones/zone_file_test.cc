#include "zones/zone_file.h"

#include <gtest/gtest.h>

#include <string>

#include "support/cases.h"
#include "tools/support/zone_files.h"

namespace {

using zones::BadZones;
using zones::readZoneFile;

constexpr int kHour = 3600;

std::string problemOf(const std::string& bytes) {
  try {
    readZoneFile(bytes);
    return "";
  } catch (const BadZones& bad) {
    return bad.what();
  }
}

TEST(ZoneFile, HasTheOffsetsThatWereWritten) {
  const auto file = readZoneFile(
      zoneFile(561, {{-2177456400, kHour}, {954032400, 2 * kHour}}, "CET-1CEST,M3.5.0,M10.5.0/3"));
  const struct {
    std::int64_t second;
    int offset;
    const char* why;
  } rows[] = {{-3000000000, 561, "before the first change"},
              {-2177456401, 561, "the last second of it"},
              {-2177456400, kHour, "the first change"},
              {954032399, kHour, "2000-03-26T00:59:59Z"},
              {954032400, 2 * kHour, "the last change, by which the rule begins"},
              {972781199, 2 * kHour, "2000-10-29T00:59:59Z"},
              {972781200, kHour, "the rule's next"},
              {32503680000, kHour, "the year 3000"}};
  Cases cases(8);
  for (const auto& row : rows) {
    EXPECT_EQ(file.offsetAt(row.second), row.offset) << row.why;
    ++cases;
  }
  const auto step = [&](std::int64_t from, std::int64_t until) {
    const auto found = file.nextOffsetChange(from, until);
    return found ? found->second : 0;
  };
  EXPECT_EQ(step(-3000000000, 0), -2177456400);
  EXPECT_EQ(step(-2177456400, 0), -2177456400);
  EXPECT_EQ(step(-2177456399, 1000000000), 954032400);
  EXPECT_EQ(step(954032400, 1000000000), 954032400);
  EXPECT_EQ(step(954032401, 1000000000), 972781200);
  EXPECT_EQ(step(954032401, 972781200), 0);
}

TEST(ZoneFile, OfVersionOneHasNoRule) {
  // The first block alone: its only local time is that of all times.
  std::string file = zoneFile(kHour, {});
  file.resize(44 + 6 + 4);
  file[4] = '\0';
  const auto read = readZoneFile(file);
  EXPECT_EQ(read.offsetAt(0), kHour);
  EXPECT_FALSE(read.rule);
}

TEST(ZoneFile, TellsWhatIsWrong) {
  const std::string good = zoneFile(0, {{100, kHour}, {200, 0}}, "AAA0");
  ASSERT_EQ(problemOf(good), "");
  const std::size_t second = 44 + 6 + 4,
                    data = second + 44;  // where the second block begins, and its numbers
  const auto changed = [&](std::size_t at, char to) {
    std::string bytes = good;
    bytes[at] = to;
    return bytes;
  };
  const struct {
    std::string bytes, problem;
  } rows[] = {
      {"", "not a zone file"},
      {"TZif", "cut short"},
      {"TZxf" + good.substr(4), "not a zone file"},
      {changed(4, '5'), "of a version that is not known; 1 to 4 are"},
      {changed(second, 'X'), "not a zone file"},
      {changed(second + 4, '3'), "contradicts itself: its version"},
      {changed(second + 31, 1), "counts leap seconds, as those of the folder right/ do"},
      {changed(second + 39, 0), "contradicts itself: the number of its local times"},
      {changed(second + 36, 1), "contradicts itself: the number of its local times"},
      {changed(second + 32, 127), "cut short"},
      {changed(data + 15, 50), "contradicts itself: its changes do not follow each other"},
      {changed(data, 127), "has a change more than 2^60 seconds from 1970"},
      {changed(data + 16, 3), "contradicts itself: a change to a local time that it lacks"},
      {changed(data + 18, 1), "has an offset of more than a day"},
      {changed(data + 22, 2), "contradicts itself: a mark that is neither 0 nor 1"},
      {changed(good.size() - 6, 'x'), "contradicts itself: no rule behind its changes"},
      {zoneFile(0, {{100, kHour}}, "AAA0"),
       "contradicts itself: its rule is not that of its last change"},
      {zoneFile(0, {}, "AAA"), "has a rule that cannot be read: AAA"},
  };
  Cases cases(18);
  for (const auto& row : rows) {
    EXPECT_EQ(problemOf(row.bytes), row.problem);
    ++cases;
  }
}

TEST(ZoneFile, IsRefusedWhereverItIsCut) {
  const std::string good = zoneFile(0, {{100, kHour}, {200, 0}}, "AAA0");
  Cases cases(100);
  for (std::size_t length = 0; length < good.size(); ++length) {
    EXPECT_NE(problemOf(good.substr(0, length)), "") << length;
    ++cases;
  }
}

}  // namespace
