// Memory for large blocks, straight from the system.
//
// A page that the system has just handed out costs some three times what writing to a page in use costs: it is
// zeroed and mapped first. In huge pages (2 MiB on x86-64) the mapping all but vanishes, so they are asked for;
// a system that has none to spare gives small ones.
#pragma once

#include <cstddef>

namespace host {

// What sizes are rounded up to: the largest page that a system has beside huge ones.
inline constexpr std::size_t kPageBytes = std::size_t{64} << 10;

// `bytes` of memory, a multiple of kPageBytes. Null where it cannot be had.
void* mapLargeMemory(std::size_t bytes);
// Gives it back to the system.
void unmapLargeMemory(void* data, std::size_t bytes);

// Lets the system take the memory for others while nobody uses it, with what is in it. Until it does, which is
// when memory gets short, using it again costs next to nothing.
void lendLargeMemory(void* data, std::size_t bytes);

}  // namespace host
