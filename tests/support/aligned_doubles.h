// Room for doubles that begins where a line of the cache does, or so many doubles behind: whether
// results are written past the caches depends on it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class AlignedDoubles {
 public:
  AlignedDoubles(std::size_t count, std::size_t behind, double fill)
      : storage_(count + behind + kLine - 1, fill) {
    const auto place = reinterpret_cast<std::uintptr_t>(storage_.data()) / sizeof(double);
    begin_ = (kLine - place % kLine) % kLine + behind;
  }

  double* data() { return storage_.data() + begin_; }
  double operator[](std::size_t i) const { return storage_[begin_ + i]; }

 private:
  static constexpr std::size_t kLine = 64 / sizeof(double);

  std::vector<double> storage_;
  std::size_t begin_;
};
