// Calling a module, and every way in which a call may end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "host/support.h"
#include "support/built.h"
#include "support/cases.h"

namespace {

using testing::HasSubstr;

class Calls : public testing::TestWithParam<bool> {
 protected:
  Calls() { paSetErrorsReturn(GetParam()); }
  ~Calls() override { paSetErrorsReturn(false); }

  bool errorsReturn() const { return GetParam(); }

  ModulePtr module_ = loadModule(built("host_actions_module.so"));
};

INSTANTIATE_TEST_SUITE_P(Host, Calls, testing::Bool(), [](const auto& parameter) {
  return parameter.param ? "ErrorsReturn" : "ErrorsLeave";
});

TEST_P(Calls, ASuccessLeavesNoError) {
  const Outcome outcome = call(module_.get(), scalar(Action::countArguments), nullptr, 0);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.identifier(), "");
  EXPECT_EQ(outcome.message(), "");
  ASSERT_TRUE(outcome.output) << "slot 0 exists also where no output is asked for";
  EXPECT_EQ(paGetRealData(outcome.output.get())[0], 0);
  EXPECT_EQ(paGetRealData(outcome.output.get())[1], 1);
}

TEST_P(Calls, ArgumentsAndResultsPassThrough) {
  const std::size_t dims[] = {2, 1, 3};
  const ArrayPtr input(paCreateNumericArray(3, dims, paDOUBLE_CLASS, paCOMPLEX));
  for (int i = 0; i < 6; ++i) {
    paGetRealData(input.get())[i] = i + 0.5;
    paGetImagData(input.get())[i] = -i;
  }
  const Outcome outcome = call(module_.get(), scalar(Action::copyInput), input);
  ASSERT_EQ(outcome.result, 0);
  EXPECT_EQ(paGetNumberOfDimensions(outcome.output.get()), 3u);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(paGetRealData(outcome.output.get())[i], i + 0.5);
    EXPECT_EQ(paGetImagData(outcome.output.get())[i], -i);
  }
}

TEST_P(Calls, AResultGoesIntoTheBlocksThatWereLent) {
  const std::size_t dims[] = {2, 3}, others[] = {3, 2};
  const ArrayPtr input(paCreateNumericArray(2, dims, paDOUBLE_CLASS, paCOMPLEX));
  for (int i = 0; i < 6; ++i) paGetImagData(input.get())[i] = i + 0.5;
  const ArrayPtr action = scalar(Action::copyInput);
  const paArray* in[] = {action.get(), input.get()};
  double real[6] = {9, 9, 9, 9, 9, 9}, imaginary[6] = {};
  const auto isLent = [&](const std::size_t* size, double* low) {
    const ArrayPtr into(paBorrowNumericArray(2, size, real, low));
    paArray* out[1];
    EXPECT_EQ(paCallModuleInto(module_.get(), into.get(), 1, out, 2, in, nullptr), 0);
    const ArrayPtr result(out[0]);
    EXPECT_EQ(paGetImagData(result.get())[5], 5.5);
    return paGetRealData(result.get()) == real;
  };
  EXPECT_FALSE(isLent(others, imaginary)) << "of other dimensions";
  EXPECT_FALSE(isLent(dims, nullptr)) << "without imaginary parts";
  EXPECT_EQ(real[0], 9);
  EXPECT_TRUE(isLent(dims, imaginary));
  EXPECT_EQ(real[0], 0);
  EXPECT_EQ(imaginary[5], 5.5);
  paArray* out[1];
  EXPECT_EQ(paCallModuleInto(module_.get(), nullptr, 1, out, 2, in, nullptr), 0);
  paDestroyArray(out[0]);
}

TEST_P(Calls, SlotsAreNullWhenTheModuleBegins) {
  const ArrayPtr action = scalar(Action::throwInt);
  const paArray* in[] = {action.get()};
  paArray* const untouched = reinterpret_cast<paArray*>(0x40);
  for (const int nlhs : {0, 1, 3}) {
    paArray* out[4] = {untouched, untouched, untouched, untouched};
    EXPECT_EQ(paCallModule(module_.get(), nlhs, out, 1, in, nullptr), 1);
    for (int i = 0; i < 4; ++i)
      EXPECT_EQ(out[i], i < std::max(nlhs, 1) ? nullptr : untouched) << i << " of " << nlhs;
  }
}

TEST_P(Calls, WaysToFail) {
  const struct {
    Action action;
    const char *identifier, *part, *why;
  } rows[] = {
      {Action::raiseAndReturn, "Pelmor:legacy_two_part:minrhs", "Not enough inputs",
       "a reported error counts, whatever the module does after it"},
      {Action::throwBadAlloc, "Pelmor:host:OutOfMemory", "not enough memory", "memory"},
      {Action::throwRuntimeError, "Pelmor:host:ModuleFailure", "a pipe burst", "with its text"},
      {Action::throwInvalidUtf8, "Pelmor:host:ModuleFailure", "bad \xEF\xBF\xBD byte",
       "texts are UTF-8 also where the module's is not"},
      {Action::throwInt, "Pelmor:host:ModuleFailure", "unknown type", "anything at all"},
      {Action::throwUnkeyed, "Pelmor:host:ModuleFailure", "a message without a key",
       "an error of the module's own making"},
      {Action::throwUnreadable, "Pelmor:host:ModuleFailure", "could not be read",
       "an error that fails when it is asked"},
      {Action::catchEverything, "Pelmor:legacy_two_part:maxlhs", "Too many outputs",
       "an error cannot be swallowed by the module that reported it"},
  };
  Cases cases(8);
  for (const auto& row : rows) {
    const Outcome outcome = call(module_.get(), scalar(row.action));
    EXPECT_EQ(outcome.result, 1) << row.why;
    EXPECT_EQ(outcome.identifier(), row.identifier) << row.why;
    EXPECT_THAT(outcome.message(), HasSubstr(row.part)) << row.why;
    const ArrayPtr again = scalar(row.action);
    const paArray* in[] = {again.get()};
    paArray* out[1];
    EXPECT_EQ(paCallModule(module_.get(), 1, out, 1, in, nullptr), 1) << "without details";
    paDestroyArray(out[0]);
    ++cases;
  }
}

TEST_P(Calls, TheErrorThatEndsTheCallIsTheOneReported) {
  const Outcome outcome = call(module_.get(), scalar(Action::raiseThenThrowOther));
  EXPECT_EQ(outcome.identifier(),
            errorsReturn() ? "Pelmor:legacy_two_part:maxrhs" : "Pelmor:legacy_two_part:minrhs");
}

TEST_P(Calls, AFailedCallMayLeaveAnArray) {
  const Outcome outcome = call(module_.get(), scalar(Action::fillThenRaise));
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(outcome.identifier(), "Pelmor:datetime:MustBeInteger");
  ASSERT_TRUE(outcome.output);
  EXPECT_EQ(paGetScalar(outcome.output.get()), 42);
}

TEST_P(Calls, AnErrorDoesNotLastIntoTheNextCall) {
  EXPECT_EQ(call(module_.get(), scalar(Action::raiseAndReturn)).result, 1);
  EXPECT_EQ(call(module_.get(), scalar(Action::countArguments)).result, 0);
}

TEST_P(Calls, CallsInsideCallsHaveErrorsOfTheirOwn) {
  const Outcome ignored =
      call(module_.get(), scalar(Action::callModule), text(built("host_actions_module.so")));
  EXPECT_EQ(ignored.result, 0) << ignored.message();
  ASSERT_TRUE(ignored.output);
  EXPECT_EQ(paGetScalar(ignored.output.get()), 1) << "the inner call reported its error";

  const Outcome raised = call(module_.get(), scalar(Action::callModuleThenRaise),
                              text(built("host_actions_module.so")));
  EXPECT_EQ(raised.result, 1);
  EXPECT_EQ(raised.identifier(), "Pelmor:datetime:UnknownTimeZone");
  EXPECT_THAT(raised.message(), HasSubstr("\"outer\""));
}

TEST_P(Calls, TheOuterCallGoesOnAfterAnInnerOne) {
  const Outcome outcome = call(module_.get(), scalar(Action::callModuleThenCreate),
                               text(built("host_actions_module.so")));
  EXPECT_EQ(outcome.result, 1) << "outside a call, a refused array would only be null";
  EXPECT_EQ(outcome.identifier(), "Pelmor:host:InvalidArgument");
}

TEST_P(Calls, OutsideACallAgainArraysAreJustRefused) {
  EXPECT_EQ(call(module_.get(), scalar(Action::throwInt)).result, 1);
  EXPECT_EQ(paCreateNumericArray(0, nullptr, paDOUBLE_CLASS, paREAL), nullptr);
}

TEST_P(Calls, RefusedArguments) {
  const ArrayPtr action = scalar(Action::countArguments);
  const paArray* in[] = {action.get()};
  paArray* out[] = {reinterpret_cast<paArray*>(0x40)};
  const struct {
    paModule* module;
    int nlhs;
    paArray** plhs;
    int nrhs;
    const paArray** prhs;
    const char* needed;
  } rows[] = {
      {nullptr, 1, out, 1, in, "a module that was loaded"},
      {module_.get(), 1, nullptr, 1, in, "output slots that are not null"},
      {module_.get(), -1, out, 1, in, "not negative"},
      {module_.get(), 1, out, -1, in, "not negative"},
      {module_.get(), 1, out, 1, nullptr, "inputs that are not null"},
  };
  Cases cases(5);
  for (const auto& row : rows) {
    out[0] = reinterpret_cast<paArray*>(0x40);
    paError error = {};
    EXPECT_EQ(paCallModule(row.module, row.nlhs, row.plhs, row.nrhs, row.prhs, &error), 1);
    EXPECT_STREQ(error.identifier, "Pelmor:host:InvalidArgument");
    EXPECT_THAT(error.message, HasSubstr(row.needed));
    EXPECT_THAT(error.message, HasSubstr("paCallModule"));
    if (row.plhs) {
      EXPECT_EQ(out[0], nullptr) << "may be destroyed either way";
    }
    EXPECT_EQ(paCallModule(row.module, row.nlhs, row.plhs, row.nrhs, row.prhs, nullptr), 1);
    ++cases;
  }
}

struct ThreadOfItsOwn {
  paModule* module;
  bool cameBack = false;
};

// The slot's address is what the module ends the thread with.
void* callUntilTheThreadEnds(void* argument) {
  auto& thread = *static_cast<ThreadOfItsOwn*>(argument);
  const ArrayPtr action = scalar(Action::endThread);
  const paArray* in[] = {action.get()};
  paArray* out[1];
  paCallModule(thread.module, 1, out, 1, in, nullptr);
  thread.cameBack = true;
  return nullptr;
}

TEST_P(Calls, AModuleMayEndItsThread) {
  ThreadOfItsOwn thread{module_.get()};
  pthread_t id;
  ASSERT_EQ(pthread_create(&id, nullptr, callUntilTheThreadEnds, &thread), 0);
  void* result = nullptr;
  ASSERT_EQ(pthread_join(id, &result), 0);
  EXPECT_NE(result, nullptr);
  EXPECT_FALSE(thread.cameBack);
}

TEST_P(Calls, ANullInsideATextDoesNotEndTheMessage) {
  const std::vector<std::uint16_t> zone = {'M', 0, 'B'};
  const Outcome outcome = call(module_.get(), scalar(Action::raiseZone), text(zone));
  EXPECT_EQ(outcome.identifier(), "Pelmor:datetime:UnknownTimeZone");
  EXPECT_THAT(outcome.message(), HasSubstr("\"M\xEF\xBF\xBD"
                                           "B\""));
  EXPECT_THAT(outcome.message(), HasSubstr("Europe/Paris"));
}

}  // namespace
