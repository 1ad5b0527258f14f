// Memory for the data of arrays, which keeps large blocks for the next array of about their size.
//
// A call makes its result anew, and pages that the system has just handed out cost some three times
// what writing to pages in use costs: each is zeroed and mapped first. So large blocks that are
// given back stay here, some of them, up to 256 MiB in all; the rest and all small ones go back to
// the C library. Under the sanitizers nothing is kept, so that they see every misuse.
//
// All functions are safe on any number of threads. Kept blocks stay until they are taken, give way
// to others, memory is short, or the process ends.
#pragma once

#include <cstddef>

namespace host {

// Wide enough for every vector register there is, and a cache line.
inline constexpr std::size_t kBlockAlignment = 64;

inline constexpr std::size_t kLeastKeptBytes = std::size_t{1} << 20;   // of one block
inline constexpr std::size_t kMostKeptBytes = std::size_t{256} << 20;  // of all together

struct RawBlock {
  void* data;         // null where the memory cannot be had
  std::size_t bytes;  // at least as many as were asked for; a multiple of the alignment
};

// A block of at least `bytes`, aligned, with undefined contents. `bytes` is at most PTRDIFF_MAX
// less the alignment; zero gives a block too.
RawBlock takeBlock(std::size_t bytes);

// Gives back a block that came from takeBlock(). One without data is ignored.
void giveBackBlock(RawBlock block);

// How many bytes are kept at the moment.
std::size_t keptBytes();

}  // namespace host
