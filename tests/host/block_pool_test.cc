#include "block_pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "support/cases.h"
#include "support/random.h"

namespace {

using host::giveBackBlock;
using host::keptBytes;
using host::mostKeptBytes;
using host::notLentBytes;
using host::RawBlock;
using host::releaseKeptBlocks;
using host::takeBlock;

constexpr bool kKeepsBlocks = !PLX_SANITIZED;

constexpr std::size_t kMega = std::size_t{1} << 20;

TEST(BlockPool, BlocksAreAlignedAndLargeEnough) {
  Cases cases(8);
  for (const std::size_t bytes : {std::size_t{0}, std::size_t{1}, std::size_t{64}, std::size_t{65},
                                  std::size_t{4096}, kMega - 1, kMega, 3 * kMega + 8}) {
    const RawBlock block = takeBlock(bytes);
    ASSERT_NE(block.data, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.data) % host::kBlockAlignment, 0u);
    EXPECT_GE(block.bytes, bytes);
    EXPECT_GT(block.bytes, 0u);
    std::memset(block.data, 1, block.bytes);
    giveBackBlock(block);
    ++cases;
  }
  releaseKeptBlocks();
}

TEST(BlockPool, ALargeBlockComesBack) {
  const RawBlock first = takeBlock(8 * kMega);
  giveBackBlock(first);
  EXPECT_EQ(keptBytes(), kKeepsBlocks ? first.bytes : 0u);
  if (!kKeepsBlocks) return;
  const RawBlock tooSmall = takeBlock(9 * kMega);
  EXPECT_NE(tooSmall.data, first.data);
  const RawBlock tooLarge = takeBlock(6 * kMega);
  EXPECT_NE(tooLarge.data, first.data) << "a quarter of it would be wasted";
  const RawBlock again = takeBlock(7 * kMega);
  EXPECT_EQ(again.data, first.data);
  EXPECT_EQ(again.bytes, first.bytes);
  EXPECT_EQ(keptBytes(), 0u);
  for (const RawBlock& block : {tooSmall, tooLarge, again}) giveBackBlock(block);
  releaseKeptBlocks();
}

TEST(BlockPool, WhatIsKeptIsReleased) {
  // Together less than any machine keeps, and one more than this machine keeps.
  std::size_t bytes = 0;
  for (const std::size_t mega : {1, 2, 3, 50}) {
    const RawBlock block = takeBlock(mega * kMega);
    ASSERT_NE(block.data, nullptr);
    giveBackBlock(block);
    bytes += block.bytes;
  }
  ASSERT_LE(bytes, mostKeptBytes());
  giveBackBlock(takeBlock(mostKeptBytes() + kMega));
  if (!kKeepsBlocks) bytes = 0;
  EXPECT_EQ(keptBytes(), bytes);
  EXPECT_EQ(releaseKeptBlocks(), bytes);
  EXPECT_EQ(keptBytes(), 0u);
  EXPECT_EQ(releaseKeptBlocks(), 0u);
}

// What a block holds while it is in use stays, also where it was lent to the system before.
TEST(BlockPool, ALentBlockKeepsWhatIsWrittenLater) {
  if (!kKeepsBlocks) GTEST_SKIP() << "nothing is kept under the sanitizers";
  const std::size_t bytes = host::kNotLentBytes + kMega;  // alone more than stays unlent
  if (bytes > mostKeptBytes()) GTEST_SKIP() << "this machine lends nothing: it keeps 256 MiB";
  const RawBlock first = takeBlock(bytes);
  ASSERT_NE(first.data, nullptr);
  std::memset(first.data, 1, first.bytes);
  giveBackBlock(first);
  EXPECT_EQ(notLentBytes(), 0u);
  const RawBlock again = takeBlock(bytes);
  ASSERT_EQ(again.data, first.data);
  Cases cases(65);
  for (std::size_t at = 0; at < again.bytes; at += 4 * kMega) {
    std::memset(static_cast<char*>(again.data) + at, 2, 1);
    EXPECT_EQ(static_cast<char*>(again.data)[at], 2);
    ++cases;
  }
  giveBackBlock(again);
  releaseKeptBlocks();
}

// Programs have many arrays alive, and give back all of them.
TEST(BlockPool, ManyBlocksAreKept) {
  if (!kKeepsBlocks) GTEST_SKIP() << "nothing is kept under the sanitizers";
  releaseKeptBlocks();
  std::vector<RawBlock> blocks;
  for (int i = 0; i < 200; ++i) blocks.push_back(takeBlock(200 << 10));
  Cases cases(200);
  std::size_t bytes = 0;
  for (const RawBlock& block : blocks) {
    ASSERT_NE(block.data, nullptr);
    giveBackBlock(block);
    bytes += block.bytes;
    EXPECT_EQ(keptBytes(), bytes);
    ++cases;
  }
  releaseKeptBlocks();
}

// One large block that is lent leaves the blocks after it as they are.
TEST(BlockPool, OnlyBlocksBeyondTheBoundAreLent) {
  if (!kKeepsBlocks) GTEST_SKIP() << "nothing is kept under the sanitizers";
  const std::size_t large = host::kNotLentBytes + kMega;
  if (large + 16 * kMega > mostKeptBytes()) GTEST_SKIP() << "this machine keeps too little";
  releaseKeptBlocks();
  giveBackBlock(takeBlock(large));
  EXPECT_EQ(notLentBytes(), 0u);
  std::vector<RawBlock> blocks;
  for (int i = 0; i < 8; ++i) blocks.push_back(takeBlock(kMega));
  Cases cases(8);
  std::size_t notLent = 0;
  for (const RawBlock& block : blocks) {
    giveBackBlock(block);
    notLent += block.bytes;
    EXPECT_EQ(notLentBytes(), notLent);
    ++cases;
  }
  EXPECT_EQ(keptBytes(), large + notLent);
  // What is taken no longer counts.
  const RawBlock taken = takeBlock(kMega);
  EXPECT_EQ(notLentBytes(), notLent - taken.bytes);
  giveBackBlock(taken);
  EXPECT_EQ(notLentBytes(), notLent);
  releaseKeptBlocks();
  EXPECT_EQ(notLentBytes(), 0u);
}

TEST(BlockPool, SmallAndHugeBlocksAreNotKept) {
  giveBackBlock(takeBlock(host::kLeastKeptBytes - 64));
  EXPECT_EQ(keptBytes(), 0u);
  giveBackBlock(takeBlock(mostKeptBytes() + 64));
  EXPECT_EQ(keptBytes(), 0u);
  giveBackBlock({nullptr, 0});
}

TEST(BlockPool, WhatIsKeptIsBounded) {
  Cases cases(200);
  Random random(1);
  std::vector<RawBlock> blocks;
  for (int i = 0; i < 100; ++i) {
    blocks.push_back(takeBlock(static_cast<std::size_t>(random.whole(1, 100)) * kMega));
    ASSERT_NE(blocks.back().data, nullptr);
    ++cases;
  }
  for (const RawBlock& block : blocks) {
    giveBackBlock(block);
    EXPECT_LE(keptBytes(), mostKeptBytes());
    ++cases;
  }
  if (kKeepsBlocks) {
    EXPECT_GT(keptBytes(), 0u);
  }
  releaseKeptBlocks();
}

TEST(BlockPool, MemoryThatCannotBeHad) {
  giveBackBlock(takeBlock(8 * kMega));
  constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
  EXPECT_EQ(takeBlock(kMost - host::kBlockAlignment).data, nullptr);
  EXPECT_EQ(keptBytes(), 0u) << "kept blocks go where memory is short";
}

// No block is in two hands at once: each thread finds in its blocks what it wrote.
TEST(BlockPool, EightThreads) {
  constexpr int kThreads = 8, kRounds = 300;
  std::vector<int> wrong(kThreads, 0);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread, &wrong] {
      Random random(static_cast<std::uint64_t>(thread));
      std::vector<RawBlock> mine;
      for (int i = 0; i < kRounds; ++i) {
        const RawBlock block =
            takeBlock(kMega + static_cast<std::size_t>(random.whole(0, 400)) * 1024);
        for (const std::size_t at : {std::size_t{0}, block.bytes - 4}) {
          std::memcpy(static_cast<char*>(block.data) + at, &thread, 4);
        }
        mine.push_back(block);
        if (mine.size() < 5) continue;
        const auto which = static_cast<std::size_t>(random.whole(0, 4));
        for (const std::size_t at : {std::size_t{0}, mine[which].bytes - 4}) {
          wrong[static_cast<std::size_t>(thread)] +=
              std::memcmp(static_cast<char*>(mine[which].data) + at, &thread, 4) != 0;
        }
        giveBackBlock(mine[which]);
        mine.erase(mine.begin() + static_cast<std::ptrdiff_t>(which));
      }
      for (const RawBlock& block : mine) giveBackBlock(block);
    });
  }
  for (auto& thread : threads) thread.join();
  for (const int count : wrong) EXPECT_EQ(count, 0);
  EXPECT_LE(keptBytes(), mostKeptBytes());
  releaseKeptBlocks();
  EXPECT_EQ(keptBytes(), 0u);
  // All the room is there again.
  std::vector<RawBlock> blocks;
  for (int i = 0; i < 256; ++i) blocks.push_back(takeBlock(host::kLeastKeptBytes));
  for (const RawBlock& block : blocks) giveBackBlock(block);
  EXPECT_EQ(keptBytes(), kKeepsBlocks ? 256 * host::kLeastKeptBytes : 0u);
  releaseKeptBlocks();
}

}  // namespace
