// What is remembered, what is forgotten, and by whom a zone is held meanwhile.
#include "offsets/remembered_zones.h"

#include <gtest/gtest.h>
#include <unicode/timezone.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/cases.h"
#include "support/every_zone.h"

namespace {

constexpr std::size_t kMost = RememberedZones::kMostZones;

// Texts that keys point into.
class Texts {
 public:
  ZoneKey key(const std::string& text, const std::string& locale = "en_US",
              std::uint64_t life = 1) {
    texts_.push_back(std::make_unique<std::vector<std::uint16_t>>(text.begin(), text.end()));
    return {*texts_.back(), locale, life};
  }
  ZoneKey key(std::size_t i) { return key("Zone/" + std::to_string(i)); }

 private:
  std::vector<std::unique_ptr<std::vector<std::uint16_t>>> texts_;
};

// The table of a fixed offset.
std::optional<OffsetTable> hours(int offset) {
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(
      icu::UnicodeString::fromUTF8((offset < 0 ? "GMT-" : "GMT+") + std::to_string(abs(offset)))));
  return OffsetTable::of(*zone);
}

double offsetOf(const RememberedZones::InUse& zone) {
  return zone.offsets() ? offsetAt(zone.offsets()->table.instants(), 0.0) / 3600000.0 : -99.0;
}

class Remembered : public testing::Test {
 protected:
  ~Remembered() override { zones.forget(); }

  // Two zones whose keys have the same hash, none of them remembered yet.
  void expectApart(const ZoneKey& one, const ZoneKey& other) {
    zones.remember(one, hours(1));
    EXPECT_FALSE(zones.find(other));
    zones.remember(other, hours(2));
    EXPECT_EQ(offsetOf(zones.find(one)), 1.0);
    EXPECT_EQ(offsetOf(zones.find(other)), 2.0);
  }

  RememberedZones zones;
  Texts texts;
};

TEST_F(Remembered, ByTextLocaleAndLife) {
  EXPECT_FALSE(zones.find(texts.key("A")));
  EXPECT_EQ(offsetOf(zones.remember(texts.key("A"), hours(1))), 1.0);
  EXPECT_EQ(offsetOf(zones.find(texts.key("A"))), 1.0);
  EXPECT_FALSE(zones.find(texts.key("a")));
  EXPECT_FALSE(zones.find(texts.key("AA")));
  EXPECT_FALSE(zones.find(texts.key("")));
  EXPECT_FALSE(zones.find(texts.key("A", "fi_FI")));
  EXPECT_FALSE(zones.find(texts.key("A", "en_US", 2)));
  zones.remember(texts.key("A", "fi_FI"), hours(2));
  zones.remember(texts.key("A", "en_US", 2), hours(3));
  EXPECT_EQ(offsetOf(zones.find(texts.key("A"))), 1.0);
  EXPECT_EQ(offsetOf(zones.find(texts.key("A", "fi_FI"))), 2.0);
  EXPECT_EQ(offsetOf(zones.find(texts.key("A", "en_US", 2))), 3.0);
  zones.forget();
  EXPECT_FALSE(zones.find(texts.key("A")));
  zones.remember(texts.key("A"), hours(4));
  EXPECT_EQ(offsetOf(zones.find(texts.key("A"))), 4.0) << "there is room again";
}

// As docs/promises.md tells.
static_assert(kMost == 64 && kMost * RememberedZones::kMostBytesOfAZone == std::size_t{8} << 20);

// The hash of a key begins with the text's length and the life as one number, and goes on with the text and the
// locale, each filled up by zeros.
TEST_F(Remembered, KeysOfOneHashAreToldApart) {
  using namespace std::string_literals;
  const ZoneKey one = texts.key("A", "en", 4), other = texts.key("A\0"s, "en\0"s, 4 ^ 1 ^ 2);
  EXPECT_FALSE(zones.meet(one));
  ASSERT_TRUE(zones.meet(other)) << "of another hash: find keys that have the same";
  expectApart(one, other);
  zones.forget();
  EXPECT_FALSE(zones.find(one)) << "in use, by nobody";
}

// A step of the hash, which takes eight bytes. Keys of one hash can so be made: as many as one likes.
std::uint64_t step(std::uint64_t hash, std::uint64_t bytes) {
  const std::uint64_t product = (hash ^ bytes) * 0x9E3779B97F4A7C15U;
  return product ^ product >> 32;
}

// Who knows the hash can write a text that has the hash of a zone.
TEST_F(Remembered, TextsMadeToHaveTheHashOfAZoneAreNotThatZone) {
  const std::string zone = "Etc/GMT+";
  const std::vector<std::uint16_t> units(zone.begin(), zone.end());
  std::uint64_t words[2], others[2];
  std::memcpy(words, units.data(), sizeof words);
  const std::uint64_t life = 4, start = step(units.size(), life);
  Cases cases(100);
  for (std::uint64_t i = 1; i <= 100; ++i, ++cases) {
    zones.forget();
    others[0] = words[0] + i;
    others[1] = words[1] ^ step(start, words[0]) ^ step(start, others[0]);
    std::vector<std::uint16_t> made(units.size());
    std::memcpy(made.data(), others, sizeof others);
    const ZoneKey one{units, "en_US", life}, other{made, "en_US", life};
    ASSERT_FALSE(zones.meet(one));
    ASSERT_TRUE(zones.meet(other)) << "of another hash: make texts that have the same";
    expectApart(one, other);
  }
}

TEST_F(Remembered, ThatThereIsNoTable) {
  zones.remember(texts.key("A"), std::nullopt);
  EXPECT_TRUE(zones.find(texts.key("A")));
  EXPECT_EQ(zones.find(texts.key("A")).offsets(), nullptr);
}

TEST_F(Remembered, AZoneIsMetOnce) {
  EXPECT_FALSE(zones.meet(texts.key("A")));
  EXPECT_TRUE(zones.meet(texts.key("A")));
  EXPECT_TRUE(zones.meet(texts.key("A")));
  EXPECT_FALSE(zones.meet(texts.key("A", "fi_FI")));
  EXPECT_FALSE(zones.meet(texts.key("B")));
  EXPECT_FALSE(zones.find(texts.key("A"))) << "to be met is not to be remembered";
  zones.forget();
  EXPECT_FALSE(zones.meet(texts.key("A")));
}

// Of more zones in turn than there is room for each would be forgotten before it comes again. A table for every
// call would cost more than the calendar.
TEST_F(Remembered, ZonesInTurnAreMetIfThereIsRoomForThem) {
  constexpr std::size_t kRounds = 3;
  Cases cases(kRounds * (1 + 40 + kMost + (kMost + 1) + 100 + 300));
  for (const std::size_t count :
       {std::size_t{1}, std::size_t{40}, kMost, kMost + 1, std::size_t{100}, std::size_t{300}}) {
    zones.forget();
    for (std::size_t round = 0; round < kRounds; ++round) {
      for (std::size_t i = 0; i < count; ++i, ++cases) {
        ASSERT_EQ(zones.meet(texts.key(i)), round > 0 && count <= kMost)
            << i << " of " << count << ", round " << round;
      }
    }
  }
}

TEST_F(Remembered, TheLeastRecentlyUsedIsForgotten) {
  constexpr std::size_t kAll = 500;
  Cases cases(kAll);
  for (std::size_t i = 0; i < kAll; ++i, ++cases) {
    zones.remember(texts.key(i), hours(static_cast<int>(i % 12)));
    ASSERT_EQ(offsetOf(zones.find(texts.key(std::size_t{0}))), 0.0) << "always used, after " << i;
  }
  for (std::size_t i = 1; i < kAll; ++i) {
    const double expected = i + kMost <= kAll ? -99.0 : static_cast<double>(i % 12);
    EXPECT_EQ(offsetOf(zones.find(texts.key(i))), expected) << i;
  }
}

TEST_F(Remembered, AllThatThereIsRoomFor) {
  Cases cases(kMost);
  for (std::size_t i = 0; i < kMost; ++i) {
    zones.remember(texts.key(i), hours(static_cast<int>(i % 12)));
  }
  for (std::size_t i = 0; i < kMost; ++i, ++cases) {
    EXPECT_EQ(offsetOf(zones.find(texts.key(i))), static_cast<double>(i % 12)) << i;
  }
}

TEST_F(Remembered, WhatIsInUseStays) {
  std::vector<RememberedZones::InUse> all;
  for (std::size_t i = 0; i < kMost; ++i) {
    all.push_back(zones.remember(texts.key(i), hours(static_cast<int>(i % 12))));
  }
  // One more has no room, and serves its own call all the same.
  EXPECT_EQ(offsetOf(zones.remember(texts.key(kMost), hours(5))), 5.0);
  EXPECT_FALSE(zones.find(texts.key(kMost)));
  zones.forget();
  for (std::size_t i = 0; i < kMost; ++i) {
    EXPECT_EQ(offsetOf(all[i]), static_cast<double>(i % 12));
    EXPECT_EQ(offsetOf(zones.find(texts.key(i))), static_cast<double>(i % 12));
  }
  all.pop_back();
  zones.remember(texts.key(kMost), hours(5));
  EXPECT_EQ(offsetOf(zones.find(texts.key(kMost))), 5.0) << "in the only place that is free";
  EXPECT_FALSE(zones.find(texts.key(kMost - 1)));
}

// Every zone of ICU's data has room, with twenty percent to spare for what comes.
TEST_F(Remembered, ZonesOfIcuFit) {
  Cases cases(400);
  std::size_t most = 0;
  for (const std::string& id : everyZone()) {
    auto table = OffsetTable::of(*zoneOf(id));
    if (!table) continue;
    // Instants, walls and offsets of each stretch.
    EXPECT_GE(table->bytes(),
              3 * sizeof(double) * static_cast<std::size_t>(table->instants().stretches))
        << id;
    most = std::max(most, ZoneOffsets(std::move(*table)).bytes());
    EXPECT_LE(id.size(), RememberedZones::kLongestText);
    ++cases;
  }
  std::printf("the largest tables have %zu bytes\n", most);
  EXPECT_LT(most * 6 / 5, RememberedZones::kMostBytesOfAZone);
  EXPECT_GT(most, 10000U) << "they are measured with what they point to";
}

// Threads find and remember more zones than there is room for, and one forgets them all, again and again.
TEST_F(Remembered, ByManyThreadsAtOnce) {
  constexpr std::size_t kZones = 90;
  constexpr int kRounds = 2000;
  std::vector<ZoneKey> keys;
  for (std::size_t i = 0; i < kZones; ++i) keys.push_back(texts.key(i));
  std::vector<OffsetTable> tables;
  for (int i = 0; i < 12; ++i) tables.push_back(*hours(i));
  std::atomic<long> found = 0, wrong = 0;
  std::vector<std::thread> threads;
  for (std::size_t k = 0; k < 4; ++k) {
    threads.emplace_back([&, k] {
      for (std::size_t round = 0; round < kRounds; ++round) {
        // Some zones more often than others.
        const std::size_t i = (round * (k + 1)) % (round % 4 == 0 ? kZones : 9);
        const auto zone = zones.find(keys[i]);
        const auto own = zone ? RememberedZones::InUse() : zones.remember(keys[i], tables[i % 12]);
        found += static_cast<bool>(zone);
        wrong += offsetOf(zone ? zone : own) != static_cast<double>(i % 12);
        if (k == 0 && round % 100 == 99) zones.forget();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(found, 100);
}

}  // namespace
