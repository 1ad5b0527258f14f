// The text of character arrays, as code units and as UTF-8.
#include <gtest/gtest.h>

#include "host/pa_text.h"
#include "host/support.h"
#include "support/cases.h"

namespace {

using Units = std::vector<std::uint16_t>;

TEST(Text, CodeUnitsAreCopiedAsTheyAre) {
  const Units units = {'U', 0, 0xD800, 0xFFFF, 0xDC00, 'C'};
  Units given = units;
  const ArrayPtr array = text(given);
  given.assign(given.size(), 0);
  std::size_t length = 99;
  const unsigned short* stored = get_pachar_ptr_and_len(array.get(), length);
  ASSERT_EQ(length, units.size());
  EXPECT_EQ(Units(stored, stored + length), units);
}

TEST(Text, ArraysWithoutCharactersHaveNone) {
  const std::size_t emptyRow[] = {1, 0};
  const ArrayPtr arrays[] = {
      text(""),     ArrayPtr(paCreateCharArray(2, emptyRow, nullptr)),
      scalar(65.0), ArrayPtr(paCreateSparseArray(1, 1, paDOUBLE_CLASS, paREAL)),
      nullptr,
  };
  for (const ArrayPtr& array : arrays) {
    std::size_t length = 99;
    EXPECT_EQ(get_pachar_ptr_and_len(array.get(), length), nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(paArray2String(array.get()), "");
  }
}

TEST(Text, Utf8) {
  const struct {
    Units units;
    std::string utf8;
    const char* why;
  } rows[] = {
      {{'U', 'T', 'C'}, "UTC", "ASCII"},
      {{'a', 0, 'b'}, std::string("a\0b", 3), "a null inside"},
      {{0x7F, 0x80}, "\x7F\xC2\x80", "the last of one byte and the first of two"},
      {{0x7FF, 0x800}, "\xDF\xBF\xE0\xA0\x80", "the last of two and the first of three"},
      {{0xFFFF}, "\xEF\xBF\xBF", "the last of three"},
      {{0xD800, 0xDC00}, "\xF0\x90\x80\x80", "the first pair"},
      {{0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF", "the last pair"},
      {{0xD800}, "\xEF\xBF\xBD", "a lead at the end"},
      {{0xDC00}, "\xEF\xBF\xBD", "a trail alone"},
      {{0xDC00, 0xD800}, "\xEF\xBF\xBD\xEF\xBF\xBD", "a pair the wrong way round"},
      {{0xD800, 'x'}, "\xEF\xBF\xBDx", "what follows a lone lead is kept"},
      {{0xD800, 0xD83D, 0xDE00}, "\xEF\xBF\xBD\xF0\x9F\x98\x80", "a lone lead before a pair"},
  };
  Cases cases(12);
  for (const auto& row : rows) {
    EXPECT_EQ(paArray2String(text(row.units).get()), row.utf8) << row.why;
    ++cases;
  }
}

TEST(Text, EveryCodeUnitAlone) {
  Cases cases(65536);
  for (unsigned unit = 0; unit < 65536; ++unit) {
    const std::string utf8 = paArray2String(text(Units{static_cast<std::uint16_t>(unit)}).get());
    const bool surrogate = unit >= 0xD800 && unit < 0xE000;
    const std::size_t length = unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
    ASSERT_EQ(utf8.size(), length) << unit;
    ASSERT_EQ(utf8 == "\xEF\xBF\xBD", surrogate || unit == 0xFFFD) << unit;
    ++cases;
  }
}

TEST(Text, ColumnMajorWhateverTheShape) {
  const std::size_t dims[] = {2, 3};
  const std::uint16_t units[] = {'a', 'b', 'c', 'd', 'e', 'f'};
  EXPECT_EQ(paArray2String(ArrayPtr(paCreateCharArray(2, dims, units)).get()), "abcdef");
}

}  // namespace
