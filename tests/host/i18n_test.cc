// Comparison regardless of case, the ASCII converter and the dispatcher.
#include "host/i18n.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <cctype>
#include <stdexcept>

#include "host/exception.h"
#include "host/support.h"
#include "support/built.h"
#include "support/cases.h"

namespace {

using brel::i18n::lcctype;
using brel::i18n::ustring;

ustring wide(const std::string& ascii) { return ustring(ascii.begin(), ascii.end()); }

int compare(const ustring& a, const ustring& b) {
  return lcctype::compare(a.data(), a.size(), b.data(), b.size(), brel::i18n::case_insensitive);
}

int sign(int value) { return (value > 0) - (value < 0); }

TEST(Compare, Table) {
  const struct {
    ustring a, b;
    int sign;
    const char* why;
  } rows[] = {
      {wide("UTC"), wide("utc"), 0, "letters regardless of case"},
      {wide("UTCLeapSeconds"), wide("utcLEAPseconds"), 0, "the same, mixed"},
      {wide("local"), wide("LOCAL"), 0, "i would be another letter in Turkish, l is not"},
      {wide("ETC/UNKNOWN"), wide("etc/unknown"), 0, "signs stay what they are"},
      {wide("I"), wide("i"), 0, "the same in every locale, Turkish included"},
      {{0x130}, wide("i"), 1, "a capital I with a dot is no i"},
      {{0x131}, wide("i"), 1, "nor is a small one without"},
      {wide("UTC"), wide("UT"), 1, "the longer one comes after its beginning"},
      {wide("UT"), wide("utc"), -1, "and its beginning before"},
      {wide(""), wide(""), 0, "two empty texts"},
      {wide(""), wide("a"), -1, "nothing comes before something"},
      {wide("a"), wide("B"), -1, "by letters, not by case"},
      {wide("Z"), wide("_"), 1, "folded to small letters, which stand after the underscore"},
      {{'a', 0, 'b'}, {'A', 0, 'c'}, -1, "a null does not end a text"},
      {{0xC9}, {0xE9}, 0, "letters outside ASCII by simple folding"},
      {{0x3A3}, {0x3C2}, 0, "the final sigma folds to the other"},
      {{0x212A}, {'k'}, 0, "the Kelvin sign folds to k"},
      {{0xDF}, {'s', 's'}, 1, "simple folding keeps lengths: sharp s is not ss"},
      {{0xD801, 0xDC00}, {0xD801, 0xDC28}, -1, "surrogates are compared as units, not as letters"},
      {{0xD800}, {0xD800}, 0, "a lone surrogate equals itself"},
      {{0xFFFF}, {0xD800}, 1, "order is that of code units"},
  };
  Cases cases(21);
  for (const auto& row : rows) {
    EXPECT_EQ(sign(compare(row.a, row.b)), row.sign) << row.why;
    EXPECT_EQ(sign(compare(row.b, row.a)), -row.sign) << row.why << ", the other way round";
    ++cases;
  }
}

TEST(Compare, NullIsAnEmptyText) {
  const ustring a = wide("a");
  const auto both = [](const unsigned short* x, std::size_t n, const unsigned short* y,
                       std::size_t m) {
    return lcctype::compare(x, n, y, m, brel::i18n::case_insensitive);
  };
  EXPECT_EQ(both(nullptr, 0, nullptr, 0), 0);
  EXPECT_LT(both(nullptr, 0, a.data(), 1), 0);
  EXPECT_GT(both(a.data(), 1, nullptr, 0), 0);
  EXPECT_EQ(both(nullptr, 5, nullptr, 0), 0);
}

// ASCII by a rule that can be seen at a glance.
TEST(Compare, EveryPairOfAsciiCharacters) {
  Cases cases(128 * 128);
  for (unsigned a = 0; a < 128; ++a) {
    for (unsigned b = 0; b < 128; ++b) {
      const bool letters = std::isalpha(static_cast<int>(a)) && (a ^ b) == 0x20;
      ASSERT_EQ(compare({static_cast<unsigned short>(a)}, {static_cast<unsigned short>(b)}) == 0,
                a == b || letters)
          << a << " and " << b;
      ++cases;
    }
  }
}

// Beyond it: every letter equals its small form, save the one whose small form is two characters.
TEST(Compare, LettersEqualTheirSmallForms) {
  Cases cases(1100);
  for (unsigned unit = 0; unit < 65536; ++unit) {
    const UChar32 small = u_tolower(static_cast<UChar32>(unit));
    if (small == static_cast<UChar32>(unit) || unit == 0x130) continue;
    ASSERT_EQ(compare({static_cast<unsigned short>(unit)}, {static_cast<unsigned short>(small)}), 0)
        << unit;
    ++cases;
  }
}

// And the order of any two is that of what ICU folds them to.
TEST(Compare, OrdersByIcusFolding) {
  const auto folded = [](unsigned short unit) { return u_foldCase(unit, U_FOLD_CASE_DEFAULT); };
  Cases cases(65536 * 128);
  for (unsigned unit = 0; unit < 65536; ++unit) {
    const auto a = static_cast<unsigned short>(unit);
    const UChar32 x = folded(a);
    for (unsigned short b = 0; b < 128; ++b, ++cases) {
      const int order = lcctype::compare(&a, 1, &b, 1, brel::i18n::case_insensitive);
      ASSERT_EQ(sign(order), sign(x - folded(b))) << unit << " and " << b;
    }
  }
}

TEST(AsciiConverter, OneUnitPerByte) {
  const brel::i18n::codecvt_ascii_to_ustring convert;
  EXPECT_EQ(convert("UTC", 3), wide("UTC"));
  EXPECT_EQ(convert("UTC", 2), wide("UT")) << "the length counts, not a terminator";
  EXPECT_EQ(convert("a\0b", 3), (ustring{'a', 0, 'b'}));
  EXPECT_EQ(convert("", 0), ustring());
  EXPECT_EQ(convert(nullptr, 0), ustring());
  Cases cases(256);
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const auto unit = static_cast<unsigned short>(byte < 128 ? byte : 0xFFFD);
    EXPECT_EQ(convert(&c, 1), ustring{unit}) << byte;
    ++cases;
  }
}

// What dispatching an exception leads to, outside any call: the thrown error's identifier and text.
template <class Error>
std::string dispatched(const Error& error) {
  try {
    try {
      throw error;
    } catch (...) {
      brel::i18n::dispatch_char_exception();
    }
  } catch (const brel::except::IMsgIDException& raised) {
    return raised.GetID() + ": " + raised.what();
  } catch (const std::bad_alloc&) {
    return "bad_alloc";
  }
  return "returned";
}

TEST(Dispatcher, RaisesWhatIsBeingHandled) {
  const std::string start = "Pelmor:host:CharacterError: Characters could not be compared or ";
  const std::string end = ". Any text in UTF-16 is accepted.";
  EXPECT_EQ(dispatched(std::runtime_error("no table")), start + "converted: no table" + end);
  EXPECT_EQ(dispatched(7), start + "converted: an exception of unknown type" + end);
  EXPECT_EQ(dispatched(std::bad_alloc()), "bad_alloc") << "memory that ran out stays that";
  const ErrorsReturn errorsReturn;
  EXPECT_EQ(dispatched(std::runtime_error("no table")), "returned");
  EXPECT_EQ(dispatched(std::bad_alloc()), "bad_alloc");
}

TEST(Dispatcher, SaysSoWhereNothingIsBeingHandled) {
  EXPECT_THROW(brel::i18n::dispatch_char_exception(), brel::except::IMsgIDException);
}

TEST(Dispatcher, InsideACall) {
  const ModulePtr module = loadModule(built("host_actions_module.so"));
  ASSERT_TRUE(module);
  for (const bool errorsReturn : {false, true}) {
    paSetErrorsReturn(errorsReturn);
    const Outcome failed = call(module.get(), scalar(Action::dispatchRuntimeError));
    const Outcome noMemory = call(module.get(), scalar(Action::dispatchBadAlloc));
    paSetErrorsReturn(false);
    EXPECT_EQ(failed.result, 1);
    EXPECT_EQ(failed.identifier(), "Pelmor:host:CharacterError");
    EXPECT_NE(failed.message().find("an odd character"), std::string::npos) << failed.message();
    EXPECT_EQ(failed.output != nullptr, errorsReturn) << "the module goes on only if let";
    EXPECT_EQ(noMemory.identifier(), "Pelmor:host:OutOfMemory");
  }
}

}  // namespace
