// Elements at equal distances in each dimension, anywhere in memory.
//
//   position  of an element in the order of elements: the last dimension varies fastest
#pragma once

#include <cstddef>
#include <vector>

namespace plx {

class Strided {
 public:
  Strided() = default;
  // Elements of 1, 2, 4, 8 or 16 bytes. Null strides mean contiguous elements, in C order. The product of the
  // shape does not overflow.
  Strided(void* data, std::size_t bytes, std::size_t ndim, const std::size_t* shape,
          const std::ptrdiff_t* strides);

  // Whether elements follow one another in memory, in C order.
  bool isContiguous() const { return isContiguous_; }
  char* data() const { return data_; }
  char* at(std::size_t position) const;

  // The elements from `start` on, contiguous: where they are if they are so there, else copied
  // to `room`.
  const char* gathered(std::size_t start, std::size_t count, char* room) const {
    if (isContiguous_) return data_ + start * bytes_;
    gather(start, count, room);
    return room;
  }
  void gather(std::size_t start, std::size_t count, char* to) const;
  void scatter(std::size_t start, std::size_t count, const char* from) const;

 private:
  struct Dimension {
    std::size_t length;
    std::ptrdiff_t stride;
  };
  template <class Run>
  void forRuns(std::size_t start, std::size_t count, Run run) const;

  char* data_ = nullptr;
  std::size_t bytes_ = 1;
  bool isContiguous_ = true;
  // The innermost dimension first; without those of length 1, and with neighbours merged where one stride
  // serves both. Empty for contiguous elements.
  std::vector<Dimension> dimensions_;
};

}  // namespace plx
