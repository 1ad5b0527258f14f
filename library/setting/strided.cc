#include "setting/strided.h"

#include <algorithm>
#include <cstring>

namespace plx {

namespace {

template <std::size_t kBytes>
void copyRun(char* to, std::ptrdiff_t toStride, const char* from, std::ptrdiff_t fromStride,
             std::size_t count) {
  for (std::size_t i = 0; i < count; ++i, to += toStride, from += fromStride)
    std::memcpy(to, from, kBytes);
}

void copyRun(std::size_t bytes, char* to, std::ptrdiff_t toStride, const char* from,
             std::ptrdiff_t fromStride, std::size_t count) {
  switch (bytes) {
    case 1:
      return copyRun<1>(to, toStride, from, fromStride, count);
    case 2:
      return copyRun<2>(to, toStride, from, fromStride, count);
    case 4:
      return copyRun<4>(to, toStride, from, fromStride, count);
    case 8:
      return copyRun<8>(to, toStride, from, fromStride, count);
    default:
      return copyRun<16>(to, toStride, from, fromStride, count);
  }
}

}  // namespace

Strided::Strided(void* data, std::size_t bytes, std::size_t ndim, const std::size_t* shape,
                 const std::ptrdiff_t* strides)
    : data_(static_cast<char*>(data)), bytes_(bytes) {
  if (strides == nullptr) return;
  // The strides of an empty array can be anything, and their products overflow.
  if (std::find(shape, shape + ndim, std::size_t{0}) != shape + ndim) return;
  for (std::size_t d = ndim; d-- > 0;) {
    if (shape[d] == 1) continue;
    if (!dimensions_.empty()) {
      Dimension& inner = dimensions_.back();
      if (strides[d] == inner.stride * static_cast<std::ptrdiff_t>(inner.length)) {
        inner.length *= shape[d];
        continue;
      }
    }
    dimensions_.push_back({shape[d], strides[d]});
  }
  const auto size = static_cast<std::ptrdiff_t>(bytes);
  isContiguous_ =
      dimensions_.empty() || (dimensions_.size() == 1 && dimensions_.front().stride == size);
  if (isContiguous_) dimensions_.clear();
}

char* Strided::at(std::size_t position) const {
  if (isContiguous_) return data_ + position * bytes_;
  char* place = data_;
  for (const Dimension& d : dimensions_) {
    place += d.stride * static_cast<std::ptrdiff_t>(position % d.length);
    position /= d.length;
  }
  return place;
}

// Calls `run(place, stride, count)` for elements in a row of one stride.
template <class Run>
void Strided::forRuns(std::size_t start, std::size_t count, Run run) const {
  const Dimension& inner = dimensions_.front();
  while (count > 0) {
    const std::size_t index = start % inner.length;
    const std::size_t now = std::min(count, inner.length - index);
    run(at(start), inner.stride, now);
    start += now;
    count -= now;
  }
}

void Strided::gather(std::size_t start, std::size_t count, char* to) const {
  if (count == 0) return;  // an empty array may have no memory at all
  if (isContiguous_) {
    std::memcpy(to, data_ + start * bytes_, count * bytes_);
    return;
  }
  const auto size = static_cast<std::ptrdiff_t>(bytes_);
  forRuns(start, count, [&](const char* place, std::ptrdiff_t stride, std::size_t now) {
    copyRun(bytes_, to, size, place, stride, now);
    to += now * bytes_;
  });
}

void Strided::scatter(std::size_t start, std::size_t count, const char* from) const {
  if (count == 0) return;
  if (isContiguous_) {
    std::memcpy(data_ + start * bytes_, from, count * bytes_);
    return;
  }
  const auto size = static_cast<std::ptrdiff_t>(bytes_);
  forRuns(start, count, [&](char* place, std::ptrdiff_t stride, std::size_t now) {
    copyRun(bytes_, place, stride, from, size, now);
    from += now * bytes_;
  });
}

}  // namespace plx
