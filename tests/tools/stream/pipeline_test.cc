#include "stream/pipeline.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "stream/chunk_reader.h"
#include "support/cases.h"
#include "support/random.h"
#include "tools/support/packets.h"
#include "tools/support/temporary_folder.h"

namespace plx {
namespace {

// Copies records, but fails at the one that is "bad", after those before it. Takes its time, and of an odd seed keeps
// what becomes of a chunk until the next one.
class Copier : public Worker {
 public:
  explicit Copier(std::uint64_t seed) : keeps_(seed % 2 != 0), random_(seed) {}

  std::optional<Failure> run(const Chunk& chunk, Piece& piece) override {
    EXPECT_EQ(std::this_thread::get_id(), thread_) << "a worker belongs to one thread";
    if (random_.oneIn(4))
      std::this_thread::sleep_for(std::chrono::microseconds(random_.whole(0, 300)));
    const std::size_t bad = chunk.bytes().find("bad");
    if (keeps_) {
      piece.kept = kept_ = chunk.bytes().substr(0, bad);
    } else {
      piece.text += chunk.bytes().substr(0, bad);
    }
    if (bad == std::string_view::npos) return std::nullopt;
    const Failure failure{Status::badData, "bad in " + std::to_string(chunk.record)};
    if (random_.oneIn(2)) throw failure;
    return failure;
  }

 private:
  const bool keeps_;
  std::string kept_;
  Random random_;
  std::thread::id thread_ = std::this_thread::get_id();
};

Pipeline pipelineOf(std::size_t jobs, std::uint64_t seed) {
  return Pipeline(jobs, [seed] { return std::make_unique<Copier>(seed); });
}

// The message of the failure that ends a run; empty where there is none.
std::string messageOf(Pipeline& pipeline, ChunkReader& reader, const Pipeline::Write& write) {
  try {
    pipeline.run(reader, write);
  } catch (const Failure& failure) {
    return failure.message;
  }
  return "";
}

constexpr int kPackets = 60;

std::vector<std::string> packetsWithBadOnes(Random& random, int& firstBad) {
  std::vector<std::string> packets;
  firstBad = 0;
  for (int i = 1; i <= kPackets; ++i) {
    const bool bad = random.oneIn(40);
    if (bad && firstBad == 0) firstBad = i;
    packets.push_back(bad ? "bad\n" : std::to_string(i) + "\n");
  }
  return packets;
}

TEST(Pipeline, TheOrderStaysAndTheFirstFailureCounts) {
  Cases cases(800);
  Random random(4);
  for (int round = 0; round < 100; ++round) {
    int firstBad = 0;
    const auto packets = packetsWithBadOnes(random, firstBad);
    std::string expected;
    for (int i = 1; i <= kPackets && i != firstBad; ++i)
      expected += packets.at(static_cast<std::size_t>(i - 1));
    for (std::size_t jobs = 1; jobs <= 8; ++jobs) {
      const Packets input({packets.begin(), packets.end()});
      Source source("-");
      ChunkReader reader(source, false, 1000);
      Pipeline pipeline = pipelineOf(jobs, static_cast<std::uint64_t>(round));
      std::string out;
      std::atomic<int> writing = 0;
      const std::string message =
          messageOf(pipeline, reader, [&](const Chunk&, const Piece& piece) {
            EXPECT_EQ(++writing, 1);
            out += piece.bytes();
            --writing;
          });
      EXPECT_EQ(out, expected);
      EXPECT_EQ(message, firstBad == 0 ? "" : "bad in " + std::to_string(firstBad));
      ++cases;
    }
  }
}

TEST(Pipeline, RunsAgainWithTheSameWorkers) {
  Cases cases(30);
  std::atomic<int> made = 0;
  for (const std::size_t jobs : {1, 3}) {
    made = 0;
    Pipeline pipeline(jobs, [&] {
      ++made;
      class Plain : public Worker {
        std::optional<Failure> run(const Chunk& chunk, Piece& piece) override {
          piece.text += chunk.bytes();
          return std::nullopt;
        }
      };
      return std::make_unique<Plain>();
    });
    for (int i = 0; i < 15; ++i) {
      const Packets input({"a\n", "b\n", "c\n", "d"});
      Source source("-");
      ChunkReader reader(source, false, 1000);
      std::string out;
      EXPECT_EQ(messageOf(pipeline, reader, [&](auto&, auto& piece) { out += piece.text; }), "");
      EXPECT_EQ(out, "a\nb\nc\nd");
      ++cases;
    }
    EXPECT_LE(made, static_cast<int>(jobs));
  }
}

TEST(Pipeline, FailuresAroundTheWork) {
  Cases cases(12);
  const TemporaryFolder folder;
  const auto ignore = [](const Chunk&, const Piece&) {};
  for (const std::size_t jobs : {1, 2, 3, 8}) {
    {
      Source source(folder.path(""));  // a folder opens, and cannot be read
      ChunkReader reader(source, false, 1000);
      Pipeline pipeline = pipelineOf(jobs, 1);
      EXPECT_TRUE(messageOf(pipeline, reader, ignore).ends_with("cannot read: Is a directory"));
      ++cases;
    }
    const std::string file = folder.write("file", std::string(3 * kFileChunk, '\n'));
    {
      Source source(file);
      ChunkReader reader(source, false, 1000);
      Pipeline pipeline(jobs, []() -> std::unique_ptr<Worker> {
        throw Failure{Status::unknownName, "no worker"};
      });
      EXPECT_EQ(messageOf(pipeline, reader, ignore), "no worker");
      ++cases;
    }
    {
      Source source(file);
      ChunkReader reader(source, false, 1000);
      Pipeline pipeline = pipelineOf(jobs, 1);
      int writes = 0;
      EXPECT_EQ(messageOf(pipeline, reader,
                          [&](const Chunk&, const Piece&) {
                            if (++writes == 2) throw Failure{Status::inputOutput, "full"};
                          }),
                "full");
      EXPECT_EQ(writes, 2);
      ++cases;
    }
  }
}

// While the first chunk takes its time, another thread goes on: text is laid aside, and one more chunk worked on; what
// a worker keeps is not, as its next chunk takes the room.
TEST(Pipeline, LaysAsideWhatIsDoneBeforeItsTurn) {
  Cases cases(2 * 6);
  for (const bool keeps : {false, true}) {
    std::atomic<int> begun = 0;
    class Slow : public Worker {
     public:
      Slow(std::atomic<int>& begun, bool keeps) : begun_(begun), keeps_(keeps) {}
      std::optional<Failure> run(const Chunk& chunk, Piece& piece) override {
        ++begun_;
        (keeps_ ? kept_ : piece.text) = chunk.bytes();
        if (keeps_) piece.kept = kept_;
        if (chunk.record > 1) return std::nullopt;
        const int most = keeps_ ? 2 : 3;
        for (int i = 0; i < 120'000 && begun_ < most; ++i)
          std::this_thread::sleep_for(std::chrono::milliseconds(1));
        std::this_thread::sleep_for(
            std::chrono::milliseconds(20));  // in which nothing more is begun
        EXPECT_EQ(begun_, most);
        return std::nullopt;
      }

     private:
      std::atomic<int>& begun_;
      const bool keeps_;
      std::string kept_;
    };
    const Packets input({"1\n", "2\n", "3\n", "4\n", "5\n", "6\n"});
    Source source("-");
    ChunkReader reader(source, false, 1000);
    Pipeline pipeline(2, [&] { return std::make_unique<Slow>(begun, keeps); });
    std::string out;
    EXPECT_EQ(
        messageOf(pipeline, reader, [&](auto&, auto& piece) { out += piece.bytes(), ++cases; }),
        "");
    EXPECT_EQ(out, "1\n2\n3\n4\n5\n6\n");
  }
}

// A signal's handler runs in the thread that started the others.
TEST(Pipeline, OneThreadGetsTheSignals) {
  Cases cases(20);
  class Looker : public Worker {
   public:
    explicit Looker(std::thread::id main) : main_(main) {}
    std::optional<Failure> run(const Chunk&, Piece& piece) override {
      sigset_t held;
      ::pthread_sigmask(SIG_BLOCK, nullptr, &held);
      const bool isMain = std::this_thread::get_id() == main_;
      EXPECT_EQ(::sigismember(&held, SIGTERM), isMain ? 0 : 1);
      piece.text = isMain ? "main\n" : "other\n";
      std::this_thread::sleep_for(std::chrono::milliseconds(2));  // so that others have their turn
      return std::nullopt;
    }

   private:
    std::thread::id main_;
  };
  const std::vector<std::string_view> pieces(20, "a\n");
  const Packets input(pieces);
  Source source("-");
  ChunkReader reader(source, false, 1000);
  Pipeline pipeline(3,
                    [main = std::this_thread::get_id()] { return std::make_unique<Looker>(main); });
  std::set<std::string> threads;
  EXPECT_EQ(messageOf(pipeline, reader,
                      [&](const Chunk&, const Piece& piece) {
                        threads.insert(piece.text);
                        ++cases;
                      }),
            "");
  EXPECT_EQ(threads.size(), 2U) << "some work was done by others";
}

// What is in comes out, though other threads wait for more; and a failure ends their waiting.
TEST(Pipeline, DoesNotWaitForMoreThanItNeeds) {
  Cases cases(4 * 5);
  for (const std::size_t jobs : {1, 2, 3, 8}) {
    const TemporaryFolder folder;
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int writer = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    int out[2];
    ASSERT_EQ(::pipe2(out, O_CLOEXEC), 0);
    std::string message;
    std::thread run([&] {
      Source source(pipe);
      ChunkReader reader(source, false, 1000);
      Pipeline pipeline = pipelineOf(jobs, 1);
      message = messageOf(pipeline, reader, [&](const Chunk&, const Piece& piece) {
        EXPECT_EQ(::write(out[1], piece.bytes().data(), piece.bytes().size()),
                  static_cast<ssize_t>(piece.bytes().size()));
      });
    });
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(::write(writer, "line\nand", 8), 8);
      char bytes[20];
      struct pollfd polled = {out[0], POLLIN, 0};
      ASSERT_EQ(::poll(&polled, 1, 120'000), 1) << "two minutes, for a machine that has other work";
      const ssize_t count = ::read(out[0], bytes, sizeof bytes);
      EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(count)),
                i == 0 ? "line\n" : "andline\n");
      ++cases;
    }
    EXPECT_EQ(::write(writer, "bad\n", 4), 4);  // and the pipe stays open
    run.join();
    EXPECT_EQ(message, "bad in 6");
    for (const int end : {writer, out[0], out[1]}) ::close(end);
  }
}

}  // namespace
}  // namespace plx
