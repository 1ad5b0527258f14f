// The main program of a fuzzer that is run as a test: every input of its corpus, then a given number of
// inputs made from them by changes that are the same in every run. What fails is left in a file, which
// this program takes in place of the corpus: fuzzer 0 FILE.
//
//     call_fuzzer 2000 tests/fuzz/corpus/call

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/length.h"
#include "support/random.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kLongest = 4096;

// The input at work. A file's name takes no memory and no locks to write to, so a signal may.
Bytes current;
std::string failurePath;

void keepInput(int signal) {
  if (std::FILE* file = std::fopen(failurePath.c_str(), "wb")) {
    std::fwrite(current.data(), 1, current.size(), file);
    std::fclose(file);
    std::fprintf(stderr, "the input stands in %s\n", failurePath.c_str());
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

Bytes contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<Bytes> corpusIn(const std::filesystem::path& path) {
  std::vector<std::filesystem::path> files;
  if (std::filesystem::is_directory(path)) {
    for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry);
  } else {
    files.push_back(path);
  }
  std::sort(files.begin(), files.end());
  std::vector<Bytes> all;
  for (const auto& file : files) all.push_back(contentOf(file));
  return all;
}

std::size_t anyBelow(Random& random, std::size_t end) {
  return static_cast<std::size_t>(random.whole(0, static_cast<std::int64_t>(end) - 1));
}

std::uint8_t anyByte(Random& random) { return static_cast<std::uint8_t>(random.whole(0, 255)); }

Bytes::iterator placeIn(Random& random, Bytes& bytes) {
  return bytes.begin() + static_cast<std::ptrdiff_t>(anyBelow(random, bytes.size() + 1));
}

void change(Random& random, Bytes& bytes, const Bytes& other) {
  const auto place = placeIn(random, bytes);
  const auto from = static_cast<std::size_t>(place - bytes.begin());
  switch (random.whole(0, 5)) {
    case 0:
      if (place != bytes.end()) *place = anyByte(random);
      break;
    case 1:
      if (place != bytes.end()) *place ^= static_cast<std::uint8_t>(1u << random.whole(0, 7));
      break;
    case 2:
      bytes.insert(place, anyByte(random));
      break;
    case 3:
      bytes.erase(place, place + random.whole(0, bytes.end() - place));
      break;
    case 4: {  // some of another input
      Bytes part = other;
      const auto begin = placeIn(random, part);
      bytes.insert(place, begin, begin + random.whole(0, part.end() - begin));
      break;
    }
    default:  // eight bytes anew, as long as a number
      for (std::size_t i = from; i < from + 8 && i < bytes.size(); ++i) bytes[i] = anyByte(random);
  }
  if (bytes.size() > kLongest) bytes.resize(kLongest);
}

void run(const Bytes& bytes) {
  current = bytes;
  // A copy of its own, so that the address sanitizer sees every read past its end.
  const Bytes input(bytes);
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s RUNS CORPUS\n", argv[0]);
    return 2;
  }
  failurePath = std::filesystem::path(argv[0]).filename().string() + ".failure";
  std::signal(SIGABRT, keepInput);
  const std::int64_t runs = ofUsual(std::atol(argv[1]));
  const std::vector<Bytes> corpus = corpusIn(argv[2]);
  if (corpus.empty()) {
    std::fprintf(stderr, "no inputs in %s\n", argv[2]);
    return 1;
  }
  for (const Bytes& bytes : corpus) run(bytes);
  Random random(20240229);
  for (std::int64_t i = 0; i < runs; ++i) {
    Bytes bytes = corpus[anyBelow(random, corpus.size())];
    const Bytes& other = corpus[anyBelow(random, corpus.size())];
    for (auto changes = random.whole(1, 8); changes > 0; --changes) change(random, bytes, other);
    run(bytes);
  }
  std::printf("%zu inputs of the corpus, %lld made from them\n", corpus.size(),
              static_cast<long long>(runs));
  return 0;
}
