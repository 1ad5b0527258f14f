#include "entry/component_table.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

TEST(ComponentTable, AgreesWithTheMask) {
  const std::uint8_t codes[] = {0, 20, 19, 1, 17, 23, 2,  22, 3,  4,  5, 5,
                                6, 7,  8,  9, 10, 11, 12, 13, 21, 15, 16};
  ASSERT_EQ(std::size(codes), componentFields.size());
  unsigned settable = 0;
  for (std::size_t i = 0; i < componentFields.size(); ++i) {
    EXPECT_EQ(componentFields[i], codes[i]) << "selector " << i + 1;
    settable += isSettable(componentFields[i]);
  }
  EXPECT_EQ(settable, 12u) << "eleven components, one of them with two selectors";
  for (unsigned code = 0; code < 64; ++code) {
    const bool expected = code == 2 || code == 3 || code == 5 || code == 6 || code == 7 ||
                          code == 11 || code == 12 || code == 13 || code == 19 || code == 21 ||
                          code == 23;
    EXPECT_EQ(isSettable(code), expected) << code;
  }
}

}  // namespace
