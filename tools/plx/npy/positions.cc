#include "npy/positions.h"

#include <fmt/format.h>

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

}  // namespace plx
