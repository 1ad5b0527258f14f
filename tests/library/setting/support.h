// Calls of plx/plx.h in the words of tests.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "plx/plx.h"

inline constexpr std::int64_t kNaT = std::numeric_limits<std::int64_t>::min();

// Elements one behind the other, of one dimension.
template <class T>
class Column {
 public:
  Column(std::vector<T> elements, std::string type)
      : elements_(std::move(elements)), type_(std::move(type)), count_(elements_.size()) {}
  Column(const Column&) = delete;
  Column& operator=(const Column&) = delete;

  plxArray array() {
    return {elements_.data(), type_.c_str(), 1, &count_, nullptr, nullptr, nullptr};
  }
  std::vector<T>& elements() { return elements_; }

 private:
  std::vector<T> elements_;
  const std::string type_;
  const std::size_t count_;
};

inline plxSetting forAll(int component, const double& value) {
  return {component,
          {const_cast<double*>(&value), "<f8", 0, nullptr, nullptr, nullptr, nullptr},
          nullptr};
}

inline plxSetting word(int component, const char* text) { return {component, {}, text}; }

inline plxOptions inZone(const char* zone) {
  plxOptions options{};
  options.size = sizeof options;
  options.zone = zone;
  return options;
}

// What a call tells: "" where it succeeds, else identifier, index and message.
inline std::string told(int status, const plxError& error) {
  if (status == 0 && error.identifier[0] == '\0') return "";
  const bool hasIndex = error.index != PLX_NO_INDEX;
  const std::string index = hasIndex ? " at " + std::to_string(error.index) : "";
  if (hasIndex) {
    EXPECT_EQ(error.done, error.index) << "all elements before it were set";
  }
  return std::string(error.identifier) + index + ": " + error.message;
}
