// Keyed exceptions: what they hold, how they are copied, cloned and thrown again.
#include "host/exception.h"

#include <gtest/gtest.h>

#include <atomic>
#include <boost/exception/all.hpp>
#include <thread>
#include <typeinfo>

#include "host/message_keys.h"
#include "host/support.h"

namespace {

using brel::except::IException;
using brel::except::IMsgIDException;
using brel::except::IUserException;
using brel::except::MessageArguments;
using brel::except::TextArgument;
using brel::i18n::ustring;
using component_Pelmor::catalog_datetime::key_UnknownTimeZone;
using Pelmor::datetime::plxErrors::ICUError;

template <class Key>
using KeyedError = brel::except::Exception<Key, std::exception, void>;
using ZoneError = KeyedError<key_UnknownTimeZone>;

ZoneError zoneError(const std::string& zone = "mArS/bAsE") {
  return ZoneError(key_UnknownTimeZone(TextArgument(zone)));
}

std::string narrow(const brel::except::MessageArgument& argument) {
  return boost::get<std::string>(argument);
}

TEST(Exceptions, TheSameKeyTwiceIsTheSameError) {
  const ZoneError first = zoneError();
  const ZoneError second = zoneError();
  EXPECT_EQ(first.GetID(), "Pelmor:datetime:UnknownTimeZone");
  EXPECT_EQ(first.GetID(), second.GetID());
  EXPECT_TRUE(first.GetBaseMsgIDObj().arguments() == second.GetBaseMsgIDObj().arguments());
  EXPECT_STREQ(first.what(), second.what());
}

TEST(Exceptions, ArgumentsKeepTheirTextCaseAndOrder) {
  const MessageArguments zone = zoneError().GetBaseMsgIDObj().arguments();
  ASSERT_EQ(zone.size(), 1u);
  EXPECT_EQ(narrow(zone[0]), "mArS/bAsE");

  const KeyedError<ICUError> icu(
      ICUError(TextArgument("create calendar"), TextArgument("U_MEMORY_ALLOCATION_ERROR")));
  const MessageArguments arguments = icu.GetBaseMsgIDObj().arguments();
  ASSERT_EQ(arguments.size(), 2u);
  EXPECT_EQ(narrow(arguments[0]), "create calendar");
  EXPECT_EQ(narrow(arguments[1]), "U_MEMORY_ALLOCATION_ERROR");
  const std::string message = icu.what();
  EXPECT_LT(message.find("create calendar"), message.find("U_MEMORY_ALLOCATION_ERROR"));
}

TEST(Exceptions, WideArgumentsStayWide) {
  const ustring zone = {'Z', 0xE9, 0xD800};
  const ZoneError error{key_UnknownTimeZone(TextArgument(zone))};
  EXPECT_EQ(boost::get<ustring>(error.GetBaseMsgIDObj().arguments().at(0)), zone);
  EXPECT_NE(std::string(error.what()).find("\"Z\xC3\xA9\xEF\xBF\xBD\""), std::string::npos)
      << error.what();
}

TEST(Exceptions, ErrorInformationIsEmptyAtFirstAndSharedByCopies) {
  const ZoneError error = zoneError();
  EXPECT_EQ(boost::get_error_info<boost::throw_function>(error), nullptr);
  EXPECT_EQ(boost::get_error_info<boost::throw_file>(error), nullptr);
  EXPECT_EQ(boost::get_error_info<boost::throw_line>(error), nullptr);
  EXPECT_EQ(boost::get_error_info<boost::errinfo_errno>(error), nullptr);

  error << boost::errinfo_errno(3);
  const ZoneError copy = error;
  const std::unique_ptr<const boost::exception_detail::clone_base> clone(error.clone());
  const auto& cloned = dynamic_cast<const ZoneError&>(*clone);
  copy << boost::errinfo_errno(4);
  for (const ZoneError* one : {&error, &copy, &cloned}) {
    const int* number = boost::get_error_info<boost::errinfo_errno>(*one);
    ASSERT_NE(number, nullptr);
    EXPECT_EQ(*number, 4);
  }
}

TEST(Exceptions, ClonesAndRethrownCopiesHaveTheSameType) {
  const ZoneError error = zoneError();
  const std::unique_ptr<const boost::exception_detail::clone_base> clone(error.clone());
  const boost::exception_detail::clone_base& cloned = *clone;
  EXPECT_EQ(typeid(cloned), typeid(ZoneError));
  try {
    clone->rethrow();
    FAIL() << "rethrow came back";
  } catch (const ZoneError& caught) {
    EXPECT_EQ(typeid(caught), typeid(ZoneError));
    EXPECT_NE(&caught, dynamic_cast<const ZoneError*>(clone.get())) << "a copy of its own";
    EXPECT_EQ(caught.GetID(), error.GetID());
    EXPECT_TRUE(caught.GetBaseMsgIDObj().arguments() == error.GetBaseMsgIDObj().arguments());
  }
}

template <class Base>
bool arrivesAs(const IException& error) {
  try {
    error.rethrow();
  } catch (const Base&) {
    return true;
  } catch (...) {
  }
  return false;
}

TEST(Exceptions, CaughtByEveryBaseButNoOther) {
  const ZoneError error = zoneError();
  EXPECT_TRUE(arrivesAs<std::exception>(error));
  EXPECT_TRUE(arrivesAs<boost::exception>(error));
  EXPECT_TRUE(arrivesAs<IException>(error));
  EXPECT_TRUE(arrivesAs<IUserException>(error));
  EXPECT_TRUE(arrivesAs<IMsgIDException>(error));
  EXPECT_TRUE(arrivesAs<ZoneError>(error));
  EXPECT_FALSE(arrivesAs<KeyedError<ICUError>>(error));
  EXPECT_FALSE(arrivesAs<std::bad_alloc>(error));
}

TEST(Exceptions, BothWhatsAreTheMessage) {
  const ZoneError error = zoneError();
  const std::exception& standard = error;
  const IException& host = error;
  EXPECT_STREQ(standard.what(), host.what());
  EXPECT_EQ(error.what(), error.what()) << "made once";
  EXPECT_EQ(ascii(error.ToUstringImpl()), error.what());
  EXPECT_EQ(error.GetUnicodeMessageTxt(), error.ToUstringImpl());
}

TEST(Exceptions, ACopyHasAMessageOfItsOwn) {
  auto original = std::make_unique<ZoneError>(zoneError());
  const std::string message = original->what();
  const ZoneError copy = *original;
  EXPECT_NE(static_cast<const void*>(copy.what()), static_cast<const void*>(original->what()));
  original.reset();
  EXPECT_EQ(copy.what(), message);
}

TEST(Exceptions, ThreadsMayAskForTheMessageAtOnce) {
  for (int round = 0; round < 50; ++round) {
    const ZoneError error = zoneError();
    std::atomic<int> waiting = 0;
    const char* answers[4] = {};
    std::vector<std::thread> threads;
    for (const char*& answer : answers)
      threads.emplace_back([&] {
        ++waiting;
        while (waiting < 4) std::this_thread::yield();
        answer = error.what();
      });
    for (std::thread& thread : threads) thread.join();
    for (const char* answer : answers) ASSERT_EQ(answer, answers[0]);
  }
}

// An exception of which no message can be made.
struct Speechless : IUserException {
  const boost::exception_detail::clone_base* clone() const override {
    return new Speechless(*this);
  }
  void rethrow() const override { throw Speechless(*this); }
  ustring ToUstringImpl() const override { throw std::bad_alloc(); }
};

TEST(Exceptions, WhatNeverThrows) {
  EXPECT_STREQ(Speechless().what(), "An error whose message could not be made.");
}

TEST(Exceptions, ConvertsBothWays) {
  const ZoneError error = zoneError();
  EXPECT_EQ(error.convert_str(std::string("a\xC3\xA9\xF0\x9F\x98\x80")),
            (ustring{'a', 0xE9, 0xD83D, 0xDE00}));
  EXPECT_EQ(error.convert_str(ustring{'a', 0xE9, 0xD83D, 0xDE00}), "a\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(error.convert_str(ustring{0xDE00}), "\xEF\xBF\xBD");
  EXPECT_EQ(error.convert_str(std::string("\xFF"
                                          "a")),
            (ustring{0xFFFD, 'a'}));
  EXPECT_EQ(error.convert_str(std::string()), ustring());
}

TEST(Exceptions, OutsideACallTheErrorItselfIsThrown) {
  EXPECT_THROW(do_legacy_pa_error(zoneError()), ZoneError);
  const ErrorsReturn errorsReturn;
  EXPECT_NO_THROW(do_legacy_pa_error(zoneError()));
}

}  // namespace
