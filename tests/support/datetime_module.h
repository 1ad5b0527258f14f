// The module loaded as any host loads it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "host/embed.h"
#include "support/built.h"
#include "support/datetime_arrays.h"

struct Outcome {
  int status = 0;
  Array result;  // partly written where an error arose after its creation
  std::string identifier;
  std::string message;
};

// Selectors of the components that can be set.
enum Selector {
  kYear = 3,
  kQuarter = 6,
  kMonth = 7,
  kWeekOfYear = 9,
  kDay = 12,
  kDayOfYear = 13,
  kDayOfWeek = 14,
  kHour = 18,
  kMinute = 19,
  kSecond = 20,
  kTimeOfDay = 21,
};
inline constexpr Selector kSelectorsOfAll[] = {kYear,   kQuarter,   kMonth,     kWeekOfYear,
                                               kDay,    kDayOfYear, kDayOfWeek, kHour,
                                               kMinute, kSecond,    kTimeOfDay};

class DatetimeModule {
 public:
  explicit DatetimeModule(std::string_view file = "plx_datetime.so")
      : module_(paLoadModule(built(file).c_str(), &error_)) {
    EXPECT_NE(module_, nullptr) << error_.identifier << ": " << error_.message;
    paSetLocale("en_US", nullptr);  // the spelling of offsets follows it
  }
  ~DatetimeModule() { paUnloadModule(module_); }
  DatetimeModule(const DatetimeModule&) = delete;
  DatetimeModule& operator=(const DatetimeModule&) = delete;

  Outcome call(int nlhs, const std::vector<const paArray*>& inputs) const {
    paArray* out[8] = {};
    paError error{};
    Outcome outcome;
    std::vector<const paArray*> in(inputs);
    outcome.status =
        paCallModule(module_, nlhs, out, static_cast<int>(in.size()), in.data(), &error);
    outcome.result.reset(out[0]);
    outcome.identifier = error.identifier;
    outcome.message = error.message;
    return outcome;
  }

  Outcome set(const Array& t, const Array& values, double selector, const std::string& zone) const {
    const Array s = scalar(selector), z = text(zone);
    return call(1, {t.get(), values.get(), s.get(), z.get()});
  }

  // The results of a call that must succeed.
  std::vector<doubledouble> results(const std::vector<doubledouble>& t,
                                    const std::vector<double>& values, double selector,
                                    const std::string& zone) const {
    const Outcome outcome = set(datetimes(t), doubles(values), selector, zone);
    EXPECT_EQ(outcome.status, 0) << outcome.identifier << ": " << outcome.message;
    return outcome.status == 0 ? elements(outcome.result) : std::vector<doubledouble>(t.size());
  }

  doubledouble result(const doubledouble& t, double value, double selector,
                      const std::string& zone = "") const {
    return results({t}, {value}, selector, zone).at(0);
  }

 private:
  paError error_{};
  paModule* module_;
};

// Runs a check under both kinds of host: one whose error call leaves the module by unwinding, and
// one whose error call comes back, so that the module itself throws.
template <class Check>
void underBothHosts(Check check) {
  for (const bool returns : {false, true}) {
    SCOPED_TRACE(returns ? "the host's error call returns" : "the host's error call unwinds");
    paSetErrorsReturn(returns);
    check();
  }
  paSetErrorsReturn(false);
}
