#include "large_memory.h"

#include <sys/mman.h>

#include <cstdint>

namespace host {
namespace {

constexpr std::size_t kHugePageBytes = std::size_t{2} << 20;

std::size_t bytesToAlign(std::uintptr_t address) { return -address % kHugePageBytes; }

}  // namespace

void* mapLargeMemory(std::size_t bytes) {
  // A huge page begins at a multiple of its size, so up to one more is mapped, and given back at both ends.
  const std::size_t spare = bytes >= kHugePageBytes ? kHugePageBytes : 0;
  void* const mapped =
      mmap(nullptr, bytes + spare, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  if (spare == 0) return mapped;
  const std::size_t before = bytesToAlign(reinterpret_cast<std::uintptr_t>(mapped));
  char* const data = static_cast<char*>(mapped) + before;
  if (before > 0) munmap(mapped, before);
  if (before < spare) munmap(data + bytes, spare - before);
#ifdef MADV_HUGEPAGE
  madvise(data, bytes, MADV_HUGEPAGE);  // refused where the system knows none
#endif
  return data;
}

void unmapLargeMemory(void* data, std::size_t bytes) { munmap(data, bytes); }

void lendLargeMemory(void* data, std::size_t bytes) {
#ifdef MADV_FREE
  madvise(data, bytes, MADV_FREE);  // refused by systems before Linux 4.5: then the memory stays
#endif
}

}  // namespace host
