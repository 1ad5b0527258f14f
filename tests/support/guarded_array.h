// An array between pages that cannot be read: whoever leaves it on the guarded side ends the test,
// with sanitizers or without.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <span>

// Which side ends where readable memory does; the other one is guarded where whole pages are filled.
enum class Guard { end, start };

template <class T>
class GuardedArray {
 public:
  explicit GuardedArray(std::size_t count, Guard guard = Guard::end) : count_(count) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t bytes = count * sizeof(T);
    const std::size_t usable = (bytes + page - 1) / page * page;
    mapped_ = usable + 2 * page;
    base_ =
        static_cast<char*>(mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (base_ == MAP_FAILED) std::abort();
    if (usable > 0 && mprotect(base_ + page, usable, PROT_READ | PROT_WRITE) != 0) std::abort();
    data_ = reinterpret_cast<T*>(base_ + page + (guard == Guard::end ? usable - bytes : 0));
  }
  explicit GuardedArray(std::span<const T> values, Guard guard = Guard::end)
      : GuardedArray(values.size(), guard) {
    std::copy(values.begin(), values.end(), data_);
  }
  ~GuardedArray() { munmap(base_, mapped_); }
  GuardedArray(const GuardedArray&) = delete;
  GuardedArray& operator=(const GuardedArray&) = delete;

  T* data() { return data_; }
  const T* data() const { return data_; }
  T& operator[](std::size_t i) { return data_[i]; }
  std::size_t size() const { return count_; }

 private:
  std::size_t count_, mapped_;
  char* base_;
  T* data_;
};
