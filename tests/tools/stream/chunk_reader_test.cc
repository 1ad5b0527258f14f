#include "stream/chunk_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "messages/message.h"
#include "support/cases.h"
#include "support/random.h"
#include "tools/support/packets.h"
#include "tools/support/temporary_folder.h"

namespace plx {
namespace {

// The records of a text, read the simplest way.
std::vector<std::string> recordsOf(std::string_view text, bool quotes) {
  std::vector<std::string> all(1);
  bool inQuotes = false;
  for (const char c : text) {
    all.back() += c;
    if (quotes && c == '"') inQuotes = !inQuotes;
    if (c == '\n' && !inQuotes) all.emplace_back();
  }
  if (all.back().empty()) all.pop_back();
  return all;
}

// Reads everything, and holds what chunks tell about themselves against the text that they are of.
void expectChunksOf(ChunkReader& reader, std::string_view text, bool quotes, Cases& cases) {
  const auto records = recordsOf(text, quotes);
  std::size_t at = 0, record = 0;
  Chunk chunk;
  while (reader.read(chunk)) {
    ASSERT_EQ(chunk.offset, at);
    ASSERT_EQ(chunk.first, at == 0);
    ASSERT_EQ(chunk.record, record + 1);
    ASSERT_EQ(chunk.line, 1 + std::count(text.begin(), text.begin() + static_cast<long>(at), '\n'));
    std::string expected;
    for (std::size_t i = 0; i < chunk.records; ++i) expected += records.at(record++);
    ASSERT_EQ(chunk.bytes(), expected);
    at += expected.size();
    if (chunk.end == Chunk::End::record) {
      EXPECT_TRUE(expected.ends_with('\n'));
    } else {
      EXPECT_EQ(at, text.size());
    }
    ++cases;
  }
  EXPECT_EQ(at, text.size());
  EXPECT_EQ(record, records.size());
}

constexpr std::string_view kTexts[] = {
    "a,b\n1,2\n",
    "a,b\n1,2",
    "\xEF\xBB\xBFid,text\r\n1,\"two\r\nlines\"\r\n\r\n2,\"\"\"q\"\"\n\"\r\n",
    "\"\n\n\",\"\"\n\n\n",
    "a,\"never closed\nand on\n",
    "\n",
    "x",
};

TEST(ChunkReader, CutAnywhereTheRecordsAreTheSame) {
  Cases cases(1000);
  for (const std::string_view text : kTexts) {
    for (const bool quotes : {false, true}) {
      for (std::size_t i = 0; i <= text.size(); ++i) {
        for (std::size_t k = i; k <= text.size(); ++k) {
          const Packets input({text.substr(0, i), text.substr(i, k - i), text.substr(k)});
          Source source("-");
          ChunkReader reader(source, quotes, 1000);
          expectChunksOf(reader, text, quotes, cases);
        }
      }
      std::vector<std::string_view> bytes;
      for (std::size_t i = 0; i < text.size(); ++i) bytes.push_back(text.substr(i, 1));
      const Packets input(bytes);
      Source source("-");
      ChunkReader reader(source, quotes, 1000);
      expectChunksOf(reader, text, quotes, cases);
    }
  }
}

TEST(ChunkReader, FilesComeInLargeChunks) {
  Cases cases(50);
  const TemporaryFolder folder;
  Random random(1);
  for (const bool quotes : {false, true}) {
    std::string text;
    while (text.size() < 40 * kFileChunk) {
      text.append(static_cast<std::size_t>(random.whole(0, random.oneIn(1000) ? 300'000 : 40)),
                  'x');
      text += random.oneIn(4) ? "\"quoted\n\n\"\n" : "\n";
    }
    Source source(folder.write("file", text));
    EXPECT_EQ(source.size(), text.size());
    ChunkReader reader(source, quotes, 1 << 20);
    expectChunksOf(reader, text, quotes, cases);
  }
}

TEST(ChunkReader, APeekedChunkComesAgain) {
  const Packets input({"a\n", "b\n"});
  Source source("-");
  ChunkReader reader(source, false, 10);
  for (int i = 0; i < 2; ++i) {
    ASSERT_NE(reader.peek(), nullptr);
    EXPECT_EQ(reader.peek()->bytes(), "a\n");
  }
  Chunk chunk;
  for (const std::string_view expected : {"a\n", "b\n"}) {
    ASSERT_TRUE(reader.read(chunk));
    EXPECT_EQ(chunk.bytes(), expected);
  }
  EXPECT_FALSE(reader.read(chunk));
  EXPECT_EQ(reader.peek(), nullptr);
}

TEST(ChunkReader, ARecordBeyondTheLimitIsTheLast) {
  Cases cases(100);
  for (std::size_t longest = 1; longest < 100; ++longest) {
    const std::string text = "a\n" + std::string(longest, 'x') + "y\nb\n";
    const Packets input({std::string_view(text).substr(0, 3), std::string_view(text).substr(3)});
    Source source("-");
    ChunkReader reader(source, false, longest);
    Chunk chunk;
    ASSERT_TRUE(reader.read(chunk));
    EXPECT_EQ(chunk.bytes(), "a\n");
    // Its end has come with it, so it is whole; whoever splits the chunk measures its records.
    ASSERT_TRUE(reader.read(chunk));
    EXPECT_EQ(chunk.end, Chunk::End::record);
    EXPECT_FALSE(reader.read(chunk));
    ++cases;
  }
  const std::string endless(50, 'x');
  const Packets input({"a\n", endless, endless, endless, "\nb\n"});
  Source source("-");
  ChunkReader reader(source, false, 90);
  Chunk chunk;
  ASSERT_TRUE(reader.read(chunk));
  ASSERT_TRUE(reader.read(chunk));
  EXPECT_EQ(chunk.end, Chunk::End::limit);
  EXPECT_EQ(chunk.bytes(), endless + endless);
  EXPECT_EQ(chunk.line, 2u);
  EXPECT_FALSE(reader.read(chunk));
  ++cases;
}

TEST(Source, AnotherThreadCanEndTheWaiting) {
  const TemporaryFolder folder;
  const std::string pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int writer = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
  Source source(pipe);
  source.allowWakeUp();
  EXPECT_FALSE(source.size());
  std::thread other([&] { source.wakeUp(); });
  char bytes[10];
  EXPECT_EQ(source.receive(bytes, sizeof bytes), 0u);
  EXPECT_EQ(source.receive(bytes, sizeof bytes), 0u);
  other.join();
  ::close(writer);
}

TEST(Source, WaitsForANonBlockingPipe) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
  const int before = ::dup(STDIN_FILENO);
  ::dup2(ends[0], STDIN_FILENO);
  Source source("-");
  std::thread other([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(::write(ends[1], "abc", 3), 3);
  });
  char bytes[10];
  EXPECT_EQ(source.receive(bytes, sizeof bytes), 3u);
  other.join();
  ::dup2(before, STDIN_FILENO);
  for (const int end : {ends[0], ends[1], before}) ::close(end);
}

}  // namespace
}  // namespace plx
