// Memory for the data of arrays, which keeps large blocks for the next array of about their size.
//
// A call makes its result anew, and pages that the system has just handed out cost some three times
// what writing to pages in use costs. So large blocks that are given back stay here, some of them,
// up to mostKeptBytes() in all; the rest goes back to the system, and small ones to the C library.
// Of what is kept, all but 256 MiB is lent to the system: it takes it where memory is short. Threads
// that give blocks back at the same moment do not see each other's, and may leave one block each
// beyond that, until it is taken or released. Under the sanitizers nothing is kept, so that they see
// every misuse.
//
// All functions are safe on any number of threads, and after fork() in the child, whatever other
// threads were doing here: there are no locks. Kept blocks stay until they are taken, give way to
// others, memory is short, releaseKeptBlocks() is called, or the process ends.
#pragma once

#include <cstddef>

namespace host {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kKeepsBlocks = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
inline constexpr bool kKeepsBlocks = false;
#else
inline constexpr bool kKeepsBlocks = true;
#endif
#else
inline constexpr bool kKeepsBlocks = true;
#endif

// Wide enough for every vector register there is, and a cache line.
inline constexpr std::size_t kBlockAlignment = 64;

// The least size of a block that is kept. From this size on the C library may map fresh pages for
// every block; smaller ones it keeps itself.
inline constexpr std::size_t kLeastKeptBytes = std::size_t{128} << 10;
// Kept bytes that are not lent to the system.
inline constexpr std::size_t kNotLentBytes = std::size_t{256} << 20;

// The most that is kept, of all blocks together: an eighth of the machine's memory, but at least
// 256 MiB.
std::size_t mostKeptBytes();

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

// How many of them are not lent to the system: at most kNotLentBytes, but for blocks that several
// threads give back at the same moment.
std::size_t notLentBytes();

// Gives all kept blocks back to the system. How many bytes they were.
std::size_t releaseKeptBlocks();

}  // namespace host
