// The catalog: the identifiers and texts of the eleven keys.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "host/message_keys.h"
#include "host/support.h"
#include "support/built.h"
#include "support/cases.h"

namespace {

using brel::except::TextArgument;
using testing::HasSubstr;

const struct {
  const char* identifier;
  std::vector<const char*> parts;  // of the message
} kKeys[] = {
    {"Pelmor:legacy_two_part:minrhs", {"Not enough inputs", "four"}},
    {"Pelmor:legacy_two_part:maxrhs", {"Too many inputs", "four"}},
    {"Pelmor:legacy_two_part:maxlhs", {"Too many outputs", "one"}},
    {"Pelmor:datetime:InvalidInput", {"class double", "sparse", "class char"}},
    {"Pelmor:datetime:UnrecognizedComponent", {"greater than 23", "1 to 23"}},
    {"Pelmor:datetime:InvalidComponent",
     {"below 1", "3 year", "6 quarter", "7 month", "9 week of year", "11 and 12 day of month",
      "13 day of year", "14 day of week", "18 hour", "19 minute", "20 second", "21 time of day"}},
    {"Pelmor:datetime:RangeError",
     {"-140744-08-10T07:30:29.504Z", "144683-05-23T16:29:30.496Z", "2^52", "1000000 for the year",
      "4000000 for the quarter", "12000000 for the month", "100000000 for the week",
      "500000000 for the day"}},
    {"Pelmor:datetime:ICUError", {"create calendar: U_MEMORY_ERROR"}},
    {"Pelmor:datetime:InputSizeMismatch", {"one value for all", "same dimensions"}},
    {"Pelmor:datetime:UnknownTimeZone",
     {"\"Mars/Base\"", "(\"\")", "UTC,", "UTCLeapSeconds", "local", "Europe/Paris", "letter case",
      "UTC+05:30", "or +05:30"}},
    {"Pelmor:datetime:MustBeInteger", {"not a whole number"}},
};

TEST(Messages, EveryKeyHasItsIdentifierAndText) {
  const ModulePtr module = loadModule(built("host_actions_module.so"));
  ASSERT_TRUE(module);
  std::set<std::string> messages;
  Cases cases(22);
  for (const bool errorsReturn : {false, true}) {
    paSetErrorsReturn(errorsReturn);
    int number = 0;
    for (const auto& key : kKeys) {
      const Outcome outcome = call(module.get(), scalar(Action::raiseEachKey), scalar(number++));
      EXPECT_EQ(outcome.result, 1);
      EXPECT_EQ(outcome.identifier(), key.identifier);
      for (const char* part : key.parts) EXPECT_THAT(outcome.message(), HasSubstr(part));
      EXPECT_LT(outcome.message().size(), 512u) << "one or two sentences";
      EXPECT_EQ(outcome.message().find_first_of("{}"), std::string::npos) << outcome.message();
      messages.insert(outcome.message());
      ++cases;
    }
  }
  paSetErrorsReturn(false);
  EXPECT_EQ(messages.size(), std::size(kKeys)) << "the same both ways, and each different";
}

template <class Key>
std::string messageOf(const Key& key) {
  return brel::except::Exception<Key, std::exception, void>(key).what();
}

TEST(Messages, ArgumentsAreNotReadAsPlaceholders) {
  using Pelmor::datetime::plxErrors::ICUError;
  EXPECT_THAT(messageOf(ICUError(TextArgument("{1}"), TextArgument("{0}"))),
              HasSubstr("failed to {1}: {0}."));
}

// Keys that the catalog does not know, and numbers as arguments.
struct StrangeKey : brel::except::BaseMsgID {
  explicit StrangeKey(brel::except::MessageArguments arguments)
      : BaseMsgID("Pelmor:strange", "Key", std::move(arguments)) {}
};

TEST(Messages, UnknownKeysAreReportedByIdentifierAndArguments) {
  const std::string message = messageOf(StrangeKey({-9007199254740993LL, std::string("zone")}));
  EXPECT_THAT(message, HasSubstr("Pelmor:strange:Key"));
  EXPECT_THAT(message, HasSubstr("-9007199254740993 zone"));
}

// A key of the catalog that lacks an argument.
struct LackingKey : brel::except::BaseMsgID {
  LackingKey() : BaseMsgID("Pelmor:datetime", "ICUError", {std::string("count")}) {}
};

TEST(Messages, AMissingArgumentLeavesItsPlaceholder) {
  EXPECT_THAT(messageOf(LackingKey()), HasSubstr("failed to count: {1}."));
}

}  // namespace
