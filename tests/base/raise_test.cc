#include "base/raise.h"

#include <gtest/gtest.h>

#include <string>

#include "support/raised.h"

namespace {

// The error arrives as the one type that the module has for its key, and as the standard's
// exception.
TEST(Raise, ThrowsTheKeysOwnType) {
  using Key = component_Pelmor::catalog_datetime::key_UnknownTimeZone;
  using Error = brel::except::Exception<Key, std::exception, void>;
  paSetErrorsReturn(true);
  try {
    raise(Key(std::string("Mars/Olympus")));
    ADD_FAILURE() << "raise came back";
  } catch (const Error& error) {
    EXPECT_EQ(narrow(error.GetBaseMsgIDObj().arguments()).at(0), "Mars/Olympus");
  }
  EXPECT_THROW(raise(Key(std::string("x"))), std::exception);
  paSetErrorsReturn(false);
}

}  // namespace
