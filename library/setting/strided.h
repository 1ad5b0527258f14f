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
  // Elements of `bytes` bytes, 1, 2, 4, 8 or 16 of them. Null for the strides: one behind the other. The
  // product of the shape fits.
  Strided(void* data, std::size_t bytes, std::size_t ndim, const std::size_t* shape,
          const std::ptrdiff_t* strides);

  // One behind the other, in their order.
  bool isContiguous() const { return isContiguous_; }
  char* data() const { return data_; }
  char* at(std::size_t position) const;

  // The elements from `start` on, one behind the other: where they stand if they do so there, else copied
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
  // Those of length 1 left out, and neighbours that go on in one stride made one; the fastest first. None
  // for contiguous elements.
  std::vector<Dimension> dimensions_;
};

}  // namespace plx
