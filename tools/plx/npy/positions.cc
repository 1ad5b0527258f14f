#include "npy/positions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace plx {

namespace {

// The index of a position. The shape has no lengths of 0, or there would be none.
std::vector<std::uint64_t> indexOf(const NpyHeader& header, std::uint64_t position) {
  const auto& shape = header.shape;
  std::vector<std::uint64_t> index(shape.size());
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const std::size_t dimension = header.fortranOrder ? i : shape.size() - 1 - i;
    index[dimension] = position % shape[dimension];
    position /= shape[dimension];
  }
  return index;
}

bool isLong(std::uint64_t length) { return length != 1; }

}  // namespace

std::string shapeText(const std::vector<std::uint64_t>& shape) {
  return fmt::format("({}{})", fmt::join(shape, ", "), shape.size() == 1 ? "," : "");
}

std::string elementText(std::string_view name, const NpyHeader& header, std::uint64_t position) {
  const auto index = indexOf(header, position);
  std::uint64_t flat = 0;
  for (std::size_t i = 0; i < index.size(); ++i) flat = flat * header.shape[i] + index[i];
  std::string text = fmt::format("{}: element {}", name, flat);
  if (index.size() > 1) text += ' ' + shapeText(index);
  return text;
}

bool isSameOrder(const NpyHeader& a, const NpyHeader& b) {
  return a.fortranOrder == b.fortranOrder || a.count == 0 ||
         std::count_if(a.shape.begin(), a.shape.end(), isLong) <= 1;
}

TransposedPositions::TransposedPositions(const std::vector<std::uint64_t>& shape,
                                         bool fortranOrder) {
  for (const std::uint64_t length : shape) dimensions_.push_back({length, 0, 0});
  // First in the other order, to count the strides there.
  if (!fortranOrder) std::reverse(dimensions_.begin(), dimensions_.end());
  std::uint64_t stride = 1;
  for (auto d = dimensions_.rbegin(); d != dimensions_.rend(); ++d) {
    d->stride = stride;
    stride *= d->length;
  }
}

void TransposedPositions::advance() {
  for (Dimension& d : dimensions_) {
    other_ += d.stride;
    if (++d.index < d.length) return;
    other_ -= d.stride * d.length;
    d.index = 0;
  }
}

}  // namespace plx
