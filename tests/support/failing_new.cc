#include "support/failing_new.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

void* allocated(std::size_t size) noexcept {
  return allocationFails() ? nullptr : std::malloc(size);
}

void* allocatedOrThrown(std::size_t size) {
  void* const memory = allocated(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return allocatedOrThrown(size); }
void* operator new[](std::size_t size) { return allocatedOrThrown(size); }
// The sanitizers' own of these would not go through the two above.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocated(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocated(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
