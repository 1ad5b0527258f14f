// The tool where memory runs out: an error in one line, no end by a signal, and no text taken for
// another because nothing was left to hold it.
//
// This program's operator new fails when it is told to, and so does the memory of ICU.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unicode/uclean.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "datetime/zone.h"
#include "module/module.h"
#include "stream/chunk_reader.h"
#include "stream/output_file.h"
#include "stream/pipeline.h"
#include "support/cases.h"
#include "support/failing_new.h"
#include "support/proc_files.h"
#include "tools/support/run_plx.h"
#include "tools/support/temporary_folder.h"

namespace {

// Of this thread alone: the number of the first allocation that fails, and how many were asked for.
// Negative: none fails.
thread_local long failing = -1, asked = 0;
thread_local bool allFrom = false;  // that one, or all from there on

// ICU's.
bool icuFails = false;
void* icuAllocated(const void*, std::size_t size) { return icuFails ? nullptr : std::malloc(size); }
void* icuReallocated(const void*, void* memory, std::size_t size) {
  return icuFails ? nullptr : std::realloc(memory, size);
}
void icuFreed(const void*, void* memory) { std::free(memory); }

}  // namespace

bool allocationFails() {
  if (failing < 0) return false;
  const long number = asked++;
  return allFrom ? number >= failing : number == failing;
}

namespace plx {
namespace {

class Copier : public Worker {
  std::optional<Failure> run(const Chunk& chunk, Piece& piece) override {
    piece.text += chunk.bytes();
    return std::nullopt;
  }
};

// Whatever fails in the thread that starts the others: fewer threads do the work, or it ends with the
// error.
TEST(OutOfMemory, WhileThreadsStart) {
  Cases cases(20);
  const TemporaryFolder folder;
  const std::string bytes(5 * kFileChunk, '\n');
  const std::string file = folder.write("file", bytes);
  int whole = 0, failed = 0;
  for (const bool all : {false, true}) {
    bool wasAsked = true;
    for (long number = 0; wasAsked; ++number, ++cases) {
      Source source(file);
      ChunkReader reader(source, false, 1000);
      Pipeline pipeline(8, [] { return std::make_unique<Copier>(); });
      std::string out;
      out.reserve(bytes.size());
      const Pipeline::Write write = [&](const Chunk&, const Piece& piece) { out += piece.text; };
      allFrom = all;
      asked = 0;
      failing = number;
      try {
        pipeline.run(reader, write);
        failing = -1;
        EXPECT_EQ(out, bytes) << number;
        ++whole;
      } catch (const std::bad_alloc&) {
        failing = -1;
        EXPECT_TRUE(bytes.starts_with(out)) << number;
        ++failed;
      }
      wasAsked = asked > number;
    }
  }
  EXPECT_GT(whole, 2) << "with fewer threads than were asked for";
  EXPECT_GT(failed, 0);
}

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename().string());
  return names;
}

// Wherever it fails, the file is as it was, and neither a temporary one nor an open one is left.
TEST(OutOfMemory, WhileAFileIsOpenedForWriting) {
  if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
  Cases cases(5);
  const TemporaryFolder folder;
  const std::string path = folder.write("an old file with a name of some length", "old");
  const std::size_t open = namesIn("/proc/self/fd").size();
  int failed = 0;
  bool wasAsked = true;
  for (long number = 0; wasAsked; ++number, ++cases) {
    allFrom = false;
    asked = 0;
    failing = number;
    try {
      const OutputFile file(path);
      failing = -1;
    } catch (const std::bad_alloc&) {
      failing = -1;
      ++failed;
    }
    wasAsked = asked > number;
    EXPECT_EQ(namesIn(folder.path("")).size(), 1u) << number;
    EXPECT_EQ(namesIn("/proc/self/fd").size(), open) << number;
    EXPECT_EQ(folder.read("an old file with a name of some length"), "old") << number;
  }
  EXPECT_GT(failed, 3);
}

// An empty text is plain calendar time, and so must not be what is left of another.
TEST(OutOfMemory, NoTextBecomesAnEmptyOne) {
  const std::string longName = "America/Argentina/ComodRivadavia";  // its text takes memory
  ASSERT_EQ(Zone::named(longName).text(), longName);
  ASSERT_EQ(paGetNumberOfElements(hostText(longName).get()), longName.size());
  icuFails = true;
  EXPECT_THROW(Zone::named(longName), std::bad_alloc);
  EXPECT_THROW(isZoneIdentifier(longName), std::bad_alloc);
  EXPECT_THROW(hostText(longName), std::bad_alloc);
  icuFails = false;
  EXPECT_EQ(Zone::named(longName).text(), longName);
}

// What a program may map, in this process and in those that it starts.
void limitMemory(rlim_t bytes) {
  struct rlimit limit = {};
  ASSERT_EQ(::getrlimit(RLIMIT_AS, &limit), 0);
  limit.rlim_cur = std::min(bytes, limit.rlim_max);
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
}

TEST(OutOfMemory, IsToldInWords) {
  if (PLX_SANITIZED) GTEST_SKIP() << "sanitizers map more than any limit";
  Cases cases(2);
  const TemporaryFolder folder;
  const std::string small = folder.write("small.csv", "at\n2014-05-10\n");
  const std::string large =
      folder.write("large.csv", "at,text\n2014-05-10," + std::string(4'000'000, 'x') + '\n');
  const auto runWithin = [&](rlim_t megabytes, const std::string& file) {
    limitMemory(megabytes << 20);
    const PlxResult result = runPlx({"set", "day", "1", "-c", "at", file});
    limitMemory(RLIM_INFINITY);
    ++cases;
    return result;
  };
  ASSERT_EQ(runWithin(4096, large).status, 0);
  rlim_t enough = 16;
  while (enough < 1024 && runWithin(enough, small).status != 0) ++enough;
  const PlxResult result = runWithin(enough + 2, large);
  EXPECT_EQ(result.err, "plx: not enough memory\n") << "with " << enough + 2 << " MB";
  EXPECT_EQ(result.status, 4);
}

}  // namespace
}  // namespace plx

int main(int argc, char** argv) {
  UErrorCode status = U_ZERO_ERROR;
  u_setMemoryFunctions(nullptr, icuAllocated, icuReallocated, icuFreed, &status);
  if (U_FAILURE(status)) return 1;
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
