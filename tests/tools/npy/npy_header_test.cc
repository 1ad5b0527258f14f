#include "npy/header.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "npy/positions.h"
#include "support/cases.h"
#include "support/random.h"
#include "tools/support/npy_bytes.h"

namespace plx {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Shape = std::vector<std::uint64_t>;
using Kind = ElementType::Kind;

constexpr auto kLittle = std::endian::little, kBig = std::endian::big;

std::string refusal(const std::string& file) {
  try {
    readNpyHeader(file, "a.npy");
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status, Status::badData);
    return failure.message;
  }
  return "read";
}

TEST(NpyHeader, WhatIsRead) {
  Cases cases(24);
  const struct {
    const char* text;
    ElementType type;
    bool fortranOrder;
    Shape shape;
    std::uint64_t count;
    const char* why;
  } rows[] = {
      {"{'descr': '<c16', 'fortran_order': False, 'shape': (3,), }   \n",
       {Kind::complexFloat, 16, kLittle},
       false,
       {3},
       3,
       "as NumPy writes it"},
      {"{'shape': (3,), 'fortran_order': True, 'descr': '>f8'}",
       {Kind::floatingPoint, 8, kBig},
       true,
       {3},
       3,
       "keys in another order, no comma, no line end"},
      {" \t{\n\"descr\"\r:\f\"<f8\"  ,\"fortran_order\":False,\"shape\":(  3 , 4 ) , } \n\n",
       {Kind::floatingPoint, 8, kLittle},
       false,
       {3, 4},
       12,
       "white space anywhere, and the other quotes"},
      {"{'descr': \"<M8[ns]\", 'fortran_order': False, 'shape': (), }",
       {Kind::datetime64, 8, kLittle, TimeUnit::ns},
       false,
       {},
       1,
       "a single element"},
      {"{'descr': '<M8[25s]', 'fortran_order': False, 'shape': (0,), }",
       {Kind::datetime64, 8, kLittle, TimeUnit::s, 25},
       false,
       {0},
       0,
       "no element"},
      {"{'descr': '>M8[2147483647as]', 'fortran_order': False, 'shape': (2, 0, 3), }",
       {Kind::datetime64, 8, kBig, TimeUnit::as, 2147483647},
       false,
       {2, 0, 3},
       0,
       "the largest multiple"},
      {"{'descr': '=M8[1M]', 'fortran_order': False, 'shape': (0L, 3L), }",
       {Kind::datetime64, 8, std::endian::native, TimeUnit::M},
       false,
       {0, 3},
       0,
       "long integers of Python 2"},
      {"{'descr': '|u1', 'fortran_order': False, 'shape': (1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,"
       "1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,5,), }",
       {Kind::unsignedInteger, 1, std::endian::native},
       false,
       [] {
         Shape ones(40, 1);
         ones.back() = 5;
         return ones;
       }(),
       5,
       "more dimensions than NumPy has"},
      {"{'descr': 'i2', 'fortran_order': False, 'shape': (9223372036854775807, 0), }",
       {Kind::signedInteger, 2, std::endian::native},
       false,
       {9223372036854775807u, 0},
       0,
       "a length of 0 makes an array of nothing, whatever the others are"},
  };
  for (const auto& r : rows) {
    for (const int version : {1, 2, 3}) {
      const auto layout = readNpyHeader(
          npyFile(r.text, std::string(r.count * r.type.bytes, 'x'), version), "a.npy");
      EXPECT_EQ(layout.header.version, version) << r.why;
      EXPECT_EQ(layout.header.type, r.type) << r.why;
      EXPECT_EQ(layout.header.fortranOrder, r.fortranOrder) << r.why;
      EXPECT_EQ(layout.header.shape, r.shape) << r.why;
      EXPECT_EQ(layout.header.count, r.count) << r.why;
      EXPECT_EQ(layout.dataStart, std::string_view(r.text).size() + (version == 1 ? 10 : 12));
      ++cases;
    }
  }
}

TEST(NpyHeader, WhatIsRefused) {
  Cases cases(55);
  // In version 1, the dictionary begins at byte 10.
  const struct {
    const char* text;
    const char* what;
  } rows[] = {
      {"", "byte 10: expected {: \"\""},
      {"\n", "byte 11: expected {"},
      {"[]", "byte 10: expected {"},
      {"{", "byte 11: expected a text in quotes"},
      {"{}", "byte 12: the key descr is missing"},
      {"{'descr'}", "byte 18: expected :"},
      {"{descr: '<f8'}", "byte 11: expected a text in quotes"},
      {"{'descr: 3}", "byte 11: a text without its closing quote"},
      {"{'descr\": 3}", "byte 11: a text without its closing quote"},
      {"{'de\nscr': 3}", "byte 11: a text without its closing quote"},
      {"{'de\\x73cr': '<f8'}", "byte 11: a text with a backslash"},
      {"{b'descr': '<f8'}", "byte 11: expected a text in quotes"},
      {"{'descr': '<f8' 'fortran_order': False}", "byte 26: expected }"},
      {"{'descr': '<f8',, 'fortran_order': False}", "byte 26: expected a text in quotes"},
      {"{, 'descr': '<f8'}", "byte 11: expected a text in quotes"},
      {"{'descr': '<f8'", "byte 25: expected }"},
      {"{'descr': '<f8', 'fortran_order': False}", "byte 50: the key shape is missing"},
      {"{'descr': '<f8', 'shape': (1,)}", "byte 41: the key fortran_order is missing"},
      {"{'fortran_order': True, 'shape': (1,)}", "byte 48: the key descr is missing"},
      {"{'descr': '<f8', 'descr': '<f8'}", "byte 27: the key descr is there twice"},
      {"{'shape': (), 'shape': ()}", "byte 24: the key shape is there twice"},
      {"{'fortran_order': True, 'fortran_order': True}", "byte 34: the key fortran_order is there"},
      {"{'descr': '<f8', 'Shape': (1,)}", "byte 27: an unknown key"},
      {"{'descr': 8}", "byte 20: expected a text in quotes"},
      {"{'descr': None}", "byte 20: expected a text in quotes"},
      {"{'descr': [('t', '<f8')]}", "byte 20: an array of records"},
      {"{'descr': ('<f8', (2,))}", "byte 20: an array of records"},
      {"{'descr': ''}", "byte 20: an element type that is not read here: \"\""},
      {"{'descr': '<'}", "byte 20: an element type"},
      {"{'descr': '<<f8'}", "byte 20: an element type"},
      {"{'descr': '<f16'}", "byte 20: an element type"},
      {"{'descr': '<c8'}", "byte 20: an element type"},
      {"{'descr': '|O'}", "byte 20: an element type that is not read here: \"|O\"; accepted: comp"},
      {"{'descr': '<U5'}", "byte 20: an element type"},
      {"{'descr': '<m8[s]'}", "byte 20: an element type"},
      {"{'descr': '<M8'}", "byte 20: datetime64 without a unit: \"<M8\"; accepted: Y, M, W"},
      {"{'descr': '<M8[]'}", "byte 20: unknown unit of datetime64"},
      {"{'descr': '<M8[generic]'}", "byte 20: unknown unit of datetime64"},
      {"{'descr': '<M8[0s]'}", "byte 20: unknown unit of datetime64"},
      {"{'descr': '<M8[-1s]'}", "byte 20: unknown unit of datetime64"},
      {"{'descr': '<M8[2147483648s]'}", "byte 20: unknown unit of datetime64"},
      {"{'descr': '<M8[s/10]'}", "byte 20: unknown unit of datetime64"},
      {"{'descr': '<M8[25]'}", "byte 20: unknown unit of datetime64"},
      {"{'descr': '<M8[B]'}", "byte 20: unknown unit of datetime64"},
      {"{'descr': '<M8[s'}", "byte 20: an element type"},
      {"{'fortran_order': false}", "byte 28: fortran_order is no truth value"},
      {"{'fortran_order': 0}", "byte 28: fortran_order is no truth value"},
      {"{'fortran_order': Truer}", "byte 32: expected }"},
      {"{'shape': 3}", "byte 20: expected (: \"3}\"; accepted: a tuple of whole numbers"},
      {"{'shape': [3]}", "byte 20: expected ("},
      {"{'shape': (3)}", "byte 22: expected , before )"},
      {"{'shape': (3 4)}", "byte 23: expected ,"},
      {"{'shape': (,)}", "byte 21: expected a length"},
      {"{'shape': (3,,)}", "byte 23: expected a length"},
      {"{'shape': (-3,)}", "byte 21: expected a length"},
      {"{'shape': (03,)}", "byte 21: expected a length"},
      {"{'shape': (3.0,)}", "byte 22: expected ,"},
      {"{'shape': (0x3,)}", "byte 22: expected ,"},
      {"{'shape': (None,)}", "byte 21: expected a length"},
      {"{'shape': (9223372036854775808,)}", "byte 21: the length is too large"},
      {"{'shape': (99999999999999999999999999,)}", "byte 21: the length is too large"},
      {"{'shape': (3,", "byte 23: expected a length"},
      {"{'descr': '<f8', 'fortran_order': False, 'shape': (), } x",
       "byte 66: expected nothing more"},
  };
  for (const auto& r : rows) {
    const std::string message = refusal(npyFile(r.text, "12345678"));
    EXPECT_THAT(message, StartsWith(std::string("a.npy: ") + r.what)) << r.text;
    EXPECT_THAT(message, HasSubstr("; accepted: ")) << r.text;
    ++cases;
  }
}

TEST(NpyHeader, SizesThatOverflow) {
  Cases cases(6);
  const struct {
    const char* type;
    const char* shape;
  } rows[] = {
      {"<f8", "(1152921504606846976,)"},                 // 2^60 * 8 is 2^63
      {"<c16", "(576460752303423488,)"},                 // 2^59 * 16
      {"<f8", "(4294967296, 4294967296)"},               // a product of 2^64 is 0
      {"|u1", "(9223372036854775807, 2)"},               // 2^64 - 2
      {"|i1", "(3037000500, 3037000500)"},               // just above 2^63
      {"<f8", "(2, 3, 9223372036854775807, 5, 7, 11)"},  // far above
  };
  for (const auto& r : rows) {
    const std::string text = std::string("{'descr': '") + r.type +
                             "', 'fortran_order': False, 'shape': " + r.shape + ", }";
    EXPECT_THAT(refusal(npyFile(text, "")), HasSubstr("the shape is too large")) << text;
    ++cases;
  }
  // One below the limit is only longer than the file.
  EXPECT_THAT(refusal(npyFile("{'descr': '<f8', 'fortran_order': False, "
                              "'shape': (1152921504606846975,)}",
                              "")),
              HasSubstr("the data are shorter than the shape says, 1152921504606846975 elements of "
                        "float64: \"0 bytes, not 9223372036854775800\""));
}

TEST(NpyHeader, EveryFileThatIsCutOrTooLong) {
  Cases cases(250);
  for (const int version : {1, 2, 3}) {
    const std::string file = npyFile("{'descr': '<f8', 'fortran_order': False, 'shape': (2,), }\n",
                                     "0123456789abcdef", version);
    ASSERT_EQ(refusal(file), "read");
    for (std::size_t length = 0; length < file.size(); ++length, ++cases)
      EXPECT_NE(refusal(file.substr(0, length)), "read") << length;
    EXPECT_THAT(refusal(file + "0"), HasSubstr("the data are longer than the shape says"));
  }
  EXPECT_THAT(refusal(""), StartsWith("a.npy: byte 0: not an .npy file"));
  EXPECT_THAT(refusal("\x93NUMPX\x01\x00 "), StartsWith("a.npy: byte 0: not an .npy file"));
  EXPECT_THAT(refusal(std::string("\x93NUMPY\x04\x00", 8)),
              StartsWith("a.npy: byte 6: an unknown version of the format: \"4.0\""));
  EXPECT_THAT(refusal(std::string("\x93NUMPY\x01\x01", 8)), HasSubstr("\"1.1\""));
  EXPECT_THAT(refusal(std::string("\x93NUMPY\x00\x00", 8)), HasSubstr("\"0.0\""));
  EXPECT_THAT(refusal(std::string("\x93NUMPY\x02\x00\xFF\xFF\xFF\xFF{}", 14)),
              StartsWith("a.npy: byte 8: the file ends within its header: \"14 bytes\""));
}

TEST(NpyHeader, WhatIsWrittenIsAlignedAndReadsBack) {
  Cases cases(2'000);
  Random random(1);
  const char* types[] = {"<c16", ">c16", "<f8", ">f8", "<M8[ns]", ">M8[25s]", "<M8[2147483647Y]"};
  for (int i = 0; i < 2'000; ++i, ++cases) {
    NpyHeader header;
    Complaint complaint;
    header.version = static_cast<int>(random.whole(1, 3));
    header.type = *readElementType(types[i % 7], complaint);
    header.fortranOrder = random.oneIn(2);
    header.count = 1;
    for (std::int64_t n = random.whole(0, random.oneIn(20) ? 60 : 4); n > 0; --n) {
      header.shape.push_back(static_cast<std::uint64_t>(random.whole(0, random.oneIn(5) ? 9 : 2)));
      header.count *= header.shape.back();
    }
    if (header.count > 100'000) continue;
    const std::string text = npyHeaderText(header);
    ASSERT_EQ(text.size() % 64, 0u);
    ASSERT_EQ(text.back(), '\n');
    const auto read = readNpyHeader(text + std::string(header.count * header.type.bytes, 'x'), "a");
    ASSERT_EQ(read.header.version, header.version);
    ASSERT_EQ(read.header.type, header.type);
    ASSERT_EQ(read.header.fortranOrder, header.fortranOrder);
    ASSERT_EQ(read.header.shape, header.shape);
  }
}

TEST(NpyHeader, ATextTooLongForItsVersionGetsTheNext) {
  NpyHeader header;
  header.shape.assign(25'000, 1);  // three bytes each
  const std::string text = npyHeaderText(header);
  EXPECT_EQ(text[6], 2);
  EXPECT_EQ(readNpyHeader(text + std::string(16, 'x'), "a").header.shape, header.shape);
}

// Element after element of a file, with the index that varies as the order of the file has it.
TEST(Positions, EachElementHasItsIndex) {
  Cases cases(200);
  for (const Shape& shape :
       {Shape{2, 3}, Shape{3, 4, 5}, Shape{1, 7, 1, 2}, Shape{2, 1, 3, 2, 2}}) {
    for (const bool fortranOrder : {false, true}) {
      NpyHeader header;
      header.shape = shape;
      header.fortranOrder = fortranOrder;
      header.count = 1;
      for (const auto length : shape) header.count *= length;
      Shape index(shape.size());
      for (std::uint64_t i = 0; i < header.count; ++i, ++cases) {
        std::uint64_t flat = 0;
        for (std::size_t d = 0; d < shape.size(); ++d) flat = flat * shape[d] + index[d];
        ASSERT_EQ(elementText("a", header, i),
                  "a: element " + std::to_string(flat) + ' ' + shapeText(index));
        for (std::size_t d = 0; d < shape.size(); ++d) {
          std::uint64_t& fastest = index[fortranOrder ? d : shape.size() - 1 - d];
          if (++fastest < shape[fortranOrder ? d : shape.size() - 1 - d]) break;
          fastest = 0;
        }
      }
    }
  }
}

TEST(Positions, Texts) {
  NpyHeader header;
  header.shape = {2, 3};
  EXPECT_EQ(elementText("a.npy", header, 4), "a.npy: element 4 (1, 1)");
  header.fortranOrder = true;
  EXPECT_EQ(elementText("a.npy", header, 4), "a.npy: element 2 (0, 2)");
  header.shape = {6};
  EXPECT_EQ(elementText("a.npy", header, 4), "a.npy: element 4");
  EXPECT_EQ(shapeText({}), "()");
  EXPECT_EQ(shapeText({7}), "(7,)");
}

}  // namespace
}  // namespace plx
