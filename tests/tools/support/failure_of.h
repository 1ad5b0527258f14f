// What a failure of reading or writing tells.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "messages/message.h"

// The message of the Failure that `work` ends with, whose status is that of input and output.
template <class Work>
std::string failureOf(const Work& work) {
  try {
    work();
  } catch (const plx::Failure& failure) {
    EXPECT_EQ(failure.status, plx::Status::inputOutput);
    return failure.message;
  }
  return "no failure";
}
