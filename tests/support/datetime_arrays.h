// Arrays of the host for tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "arith/doubledouble.h"
#include "host/pa_array.h"

struct DestroyArray {
  void operator()(paArray* array) const { paDestroyArray(array); }
};
using Array = std::unique_ptr<paArray, DestroyArray>;
using Dims = std::vector<std::size_t>;

// Real, or complex where low parts are given; a row unless dimensions are given.
inline Array doubles(const std::vector<double>& high, const std::vector<double>* low = nullptr,
                     Dims dims = {}) {
  if (dims.empty()) dims = {1, high.size()};
  Array array(paCreateUninitNumericArray(dims.size(), dims.data(), paDOUBLE_CLASS,
                                         low ? paCOMPLEX : paREAL));
  std::copy(high.begin(), high.end(), paGetRealData(array.get()));
  if (low) std::copy(low->begin(), low->end(), paGetImagData(array.get()));
  return array;
}

inline Array datetimes(const std::vector<doubledouble>& values) {
  std::vector<double> high, low;
  for (const auto& v : values) {
    high.push_back(v.hi);
    low.push_back(v.lo);
  }
  return doubles(high, &low);
}

inline Array scalar(double x) { return doubles({x}); }

inline Array text(const std::u16string& s) {
  const std::size_t dims[] = {s.empty() ? 0u : 1u, s.size()};
  return Array(paCreateCharArray(2, dims, reinterpret_cast<const std::uint16_t*>(s.data())));
}

inline Array text(const std::string& ascii) {
  return text(std::u16string(ascii.begin(), ascii.end()));
}

inline std::vector<doubledouble> elements(const Array& array) {
  std::vector<doubledouble> all;
  const double *high = paGetRealData(array.get()), *low = paGetImagData(array.get());
  for (std::size_t i = 0; i < paGetNumberOfElements(array.get()); ++i) {
    all.push_back({high[i], low ? low[i] : 0.0});
  }
  return all;
}
