// Owners of what the C interface gives, and calls of the test module.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "host/embed.h"
#include "host/i18n.h"
#include "host/modules/actions.h"

struct Destroy {
  void operator()(paArray* array) const { paDestroyArray(array); }
  void operator()(paModule* module) const { paUnloadModule(module); }
};
using ArrayPtr = std::unique_ptr<paArray, Destroy>;
using ModulePtr = std::unique_ptr<paModule, Destroy>;

inline ArrayPtr scalar(double value) {
  const std::size_t dims[] = {1, 1};
  ArrayPtr array(paCreateNumericArray(2, dims, paDOUBLE_CLASS, paREAL));
  *paGetRealData(array.get()) = value;
  return array;
}

inline ArrayPtr scalar(Action action) { return scalar(static_cast<double>(action)); }

inline ArrayPtr text(const std::vector<std::uint16_t>& units) {
  const std::size_t dims[] = {1, units.size()};
  return ArrayPtr(paCreateCharArray(2, dims, units.data()));
}

inline ArrayPtr text(const std::string& ascii) {
  return text(std::vector<std::uint16_t>(ascii.begin(), ascii.end()));
}

inline std::string ascii(const brel::i18n::ustring& units) {
  std::string text;
  for (const unsigned short unit : units) text += unit < 128 ? static_cast<char>(unit) : '?';
  return text;
}

// Switches the host's error call to come back, for as long as this lives.
struct ErrorsReturn {
  ErrorsReturn() { paSetErrorsReturn(true); }
  ~ErrorsReturn() { paSetErrorsReturn(false); }
};

struct Outcome {
  int result;
  ArrayPtr output;
  paError error;

  std::string identifier() const { return error.identifier; }
  std::string message() const { return error.message; }
};

inline Outcome call(paModule* module, const ArrayPtr& first, const ArrayPtr& second = nullptr,
                    int nlhs = 1) {
  std::vector<paArray*> out(static_cast<std::size_t>(std::max(nlhs, 1)));
  const paArray* in[] = {first.get(), second.get()};
  Outcome outcome{-1, nullptr, {"unset", "unset"}};
  outcome.result = paCallModule(module, nlhs, out.data(), second ? 2 : 1, in, &outcome.error);
  outcome.output.reset(out[0]);
  return outcome;
}

inline ModulePtr loadModule(const std::string& path) {
  paError error;
  ModulePtr module(paLoadModule(path.c_str(), &error));
  EXPECT_TRUE(module) << error.identifier << ": " << error.message;
  return module;
}
