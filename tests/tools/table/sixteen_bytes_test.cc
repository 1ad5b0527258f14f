#include "table/sixteen_bytes.h"

#include <gtest/gtest.h>

#include <string>

#include "support/at_the_end.h"
#include "support/cases.h"

namespace plx {
namespace {

// Each byte at each place, with others around it, against one look at each.
TEST(SixteenBytes, AreLookedAtAsEachAlone) {
  Cases cases(3 * 16 * 256);
  AtTheEnd atTheEnd;
  for (const char around : {' ', 'z', '\xFF'}) {
    for (std::size_t place = 0; place < kSixteen; ++place) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(kSixteen, around);
        text[place] = static_cast<char>(byte);
        const std::string_view bytes = atTheEnd(text);
        const WordBytes found = wordBytesAmong(bytes.data());
        for (std::size_t i = 0; i < kSixteen; ++i) {
          ASSERT_EQ(found.words >> i & 1, isLetterOrDigit(text[i]) ? 1U : 0U) << byte;
          ASSERT_EQ(found.joins >> i & 1, joinsWords(text[i]) ? 1U : 0U) << byte;
        }
        ASSERT_EQ((found.words | found.joins) >> kSixteen, 0U);
        ++cases;
      }
    }
  }
}

TEST(SixteenBytes, EitherOfTwo) {
  Cases cases(17 * 256);
  AtTheEnd atTheEnd;
  for (std::size_t size = 0; size <= kSixteen; ++size) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string text(size, 'x');
      if (size > 0) text[size / 2] = static_cast<char>(byte);
      if (size > 2) text[size - 1] = '\n';
      const std::uint32_t found = EitherOf(static_cast<char>(byte), '\n').among(atTheEnd(text));
      for (std::size_t i = 0; i < 32; ++i) {
        const bool is = i < size && (text[i] == static_cast<char>(byte) || text[i] == '\n');
        ASSERT_EQ(found >> i & 1, is ? 1U : 0U) << size << ' ' << byte << ' ' << i;
      }
      ++cases;
    }
  }
}

}  // namespace
}  // namespace plx
