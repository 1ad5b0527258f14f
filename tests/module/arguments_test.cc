// The checks on a call's arguments, in their order, through the loaded module.

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/random.h"

namespace {

class Arguments : public testing::Test {
 protected:
  void expectError(int nlhs, const std::vector<const paArray*>& in, const std::string& identifier,
                   const std::string& why) {
    underBothHosts([&] {
      const Outcome outcome = module_.call(nlhs, in);
      EXPECT_EQ(outcome.status, 1) << why;
      EXPECT_EQ(outcome.identifier, identifier) << why;
      EXPECT_FALSE(outcome.message.empty()) << why;
    });
  }

  DatetimeModule module_;
  Array t_ = scalar(0.0), v_ = scalar(2.0), selector_ = scalar(kMonth), zone_ = text("");
};

TEST_F(Arguments, CountsComeFirst) {
  const paArray* anything = zone_.get();  // no class fits: nothing is looked at
  expectError(1, {}, "Pelmor:legacy_two_part:minrhs", "no input");
  expectError(1, {anything, anything, anything}, "Pelmor:legacy_two_part:minrhs", "three");
  expectError(1, {anything, anything, anything, anything, anything},
              "Pelmor:legacy_two_part:maxrhs", "five");
  expectError(2, {anything, anything, anything}, "Pelmor:legacy_two_part:minrhs",
              "inputs are counted before outputs");
  expectError(2, {t_.get(), v_.get(), selector_.get(), zone_.get()},
              "Pelmor:legacy_two_part:maxlhs", "two outputs, though the inputs are valid");
}

TEST_F(Arguments, NoOutputAskedForFillsTheSlotAllTheSame) {
  for (const int nlhs : {0, 1}) {
    const Outcome outcome = module_.call(nlhs, {t_.get(), v_.get(), selector_.get(), zone_.get()});
    ASSERT_EQ(outcome.status, 0) << outcome.message;
    EXPECT_SAME_BITS(elements(outcome.result).at(0), (doubledouble{31 * 86400000.0, 0.0}));
  }
}

TEST_F(Arguments, ClassesAndShapes) {
  const Array sparse(paCreateSparseArray(1, 1, paDOUBLE_CLASS, paREAL));
  const std::vector<double> zero{0.0};
  const Array complex = doubles({0.0}, &zero), row = doubles({7.0, 7.0}), empty = doubles({});
  const Array words = text("UTC");
  const struct {
    std::vector<const paArray*> in;
    const char* why;
  } rows[] = {
      {{words.get(), v_.get(), selector_.get(), zone_.get()}, "datetimes of class char"},
      {{sparse.get(), v_.get(), selector_.get(), zone_.get()}, "sparse datetimes"},
      {{t_.get(), words.get(), selector_.get(), zone_.get()}, "values of class char"},
      {{t_.get(), complex.get(), selector_.get(), zone_.get()}, "complex values"},
      {{t_.get(), sparse.get(), selector_.get(), zone_.get()}, "sparse values"},
      {{t_.get(), v_.get(), words.get(), zone_.get()}, "a selector of class char"},
      {{t_.get(), v_.get(), row.get(), zone_.get()}, "two selectors"},
      {{t_.get(), v_.get(), empty.get(), zone_.get()}, "no selector"},
      {{t_.get(), v_.get(), selector_.get(), t_.get()}, "a zone of class double"},
  };
  for (const auto& r : rows) expectError(1, r.in, "Pelmor:datetime:InvalidInput", r.why);
}

TEST_F(Arguments, SparseOrComplexSelectorsAreTaken) {
  const std::vector<double> zero{0.0};
  const Array complex = doubles({double{kMonth}}, &zero);
  EXPECT_EQ(module_.call(1, {t_.get(), v_.get(), complex.get(), zone_.get()}).status, 0);
  const Array sparse(paCreateSparseArray(1, 1, paDOUBLE_CLASS, paREAL));  // holds 0
  expectError(1, {t_.get(), v_.get(), sparse.get(), zone_.get()},
              "Pelmor:datetime:InvalidComponent", "a sparse 0 is a selector below 1");
}

TEST_F(Arguments, Selectors) {
  const std::string unrecognized = "Pelmor:datetime:UnrecognizedComponent",
                    invalid = "Pelmor:datetime:InvalidComponent";
  const struct {
    double selector;
    std::string identifier;
    const char* why;
  } rows[] = {
      {23.0, invalid, "the last selector cannot be set"},
      {23.5, unrecognized, "above the last"},
      {24.0, unrecognized, "above the last"},
      {kInf, unrecognized, "infinite"},
      {-kInf, invalid, "below the first"},
      {kNan, invalid, "no number"},
      {0.0, invalid, "below the first"},
      {-0.0, invalid, "below the first"},
      {0x1.fffffffffffffp-1, invalid, "just below the first"},
      {-1.0, invalid, "below the first"},
      {-1e300, invalid, "below the first"},
      {1.0, invalid, "era"},
      {1.99, invalid, "still era"},
      {2.0, invalid, "Julian day"},
      {4.0, invalid, "the year of an era"},
      {5.0, invalid, "the year of a week"},
      {8.0, invalid, "leap month"},
      {10.0, invalid, "week of month"},
      {15.0, invalid, "weekday in month"},
      {16.0, invalid, "half of the day"},
      {17.0, invalid, "hour of the half day"},
      {22.0, invalid, "zone offset"},
      {0x1.7p4 + 1e-12, unrecognized, "just above the last"},
  };
  for (const auto& r : rows) {
    const Array selector = scalar(r.selector);
    expectError(1, {t_.get(), v_.get(), selector.get(), zone_.get()}, r.identifier, r.why);
  }
}

// Each settable selector, its neighbour with a fraction, and both selectors of the day of the
// month.
TEST_F(Arguments, SettableSelectors) {
  const double t = 11016 * 86400000.0 + 3661500.0;  // 2000-02-29T01:01:01.5
  const struct {
    double selector;
    doubledouble expected;
    const char* why;
  } rows[] = {
      {kYear, {-62098959538500.0, 0.0}, "year 2 has no 29 February: 0002-03-01"},
      {kQuarter, {956970061500.0, 0.0}, "2000-04-29"},
      {kMonth, {951786061500.0, 0.0}, "2000-02-29"},
      {kWeekOfYear, {946947661500.0, 0.0}, "2000-01-04"},
      {11, {949453261500.0, 0.0}, "2000-02-02"},
      {12, {949453261500.0, 0.0}, "2000-02-02 by the other selector"},
      {12.7, {949453261500.0, 0.0}, "truncated to 12"},
      {kDayOfYear, {946774861500.0, 0.0}, "2000-01-02"},
      {kDayOfWeek, {951699661500.0, 0.0}, "Monday 2000-02-28"},
      {kHour, {951789661500.0, 0.0}, "02:01:01.5"},
      {kMinute, {951786121500.0, 0.0}, "01:02:01.5"},
      {kSecond, {951786062000.0, 0.0}, "01:01:02"},
      {kTimeOfDay, {951782402000.0, 0.0}, "00:00:02"},
  };
  for (const auto& r : rows) {
    EXPECT_SAME_BITS(module_.result({t, 0.0}, 2.0, r.selector), r.expected) << r.why;
  }
}

TEST_F(Arguments, Sizes) {
  const std::string mismatch = "Pelmor:datetime:InputSizeMismatch";
  const std::vector<double> three{1, 2, 3}, none;
  const auto run = [&](const Dims& t, const Dims& v, const char* why, bool fits) {
    const auto filled = [](const Dims& dims) {
      std::size_t n = 1;
      for (const std::size_t d : dims) n *= d;
      return doubles(std::vector<double>(n, 1.0), nullptr, dims);
    };
    const Array times = filled(t), values = filled(v);
    if (!fits) {
      expectError(1, {times.get(), values.get(), selector_.get(), zone_.get()}, mismatch, why);
      return;
    }
    const Outcome outcome =
        module_.call(1, {times.get(), values.get(), selector_.get(), zone_.get()});
    ASSERT_EQ(outcome.status, 0) << why << outcome.message;
    EXPECT_TRUE(paIsComplex(outcome.result.get())) << why;
    const std::size_t* dims = paGetDimensions(outcome.result.get());
    EXPECT_EQ(Dims(dims, dims + paGetNumberOfDimensions(outcome.result.get())), t) << why;
  };
  run({1, 3}, {1, 3}, "the same", true);
  run({1, 3}, {1, 1}, "one for all", true);
  run({1, 3}, {1, 1, 1}, "one for all, in three dimensions", true);
  run({3, 1}, {1, 3}, "equal counts in another shape", false);
  run({2, 3, 2}, {2, 3, 2}, "three dimensions", true);
  run({2, 3, 2}, {2, 2, 3}, "three dimensions in another order", false);
  run({2, 3}, {2, 3, 1}, "another number of dimensions", false);
  run({1, 1}, {1, 3}, "many for one", false);
  run({0, 0}, {0, 0}, "empty", true);
  run({0, 0}, {1, 1}, "one for none", true);
  run({0, 0}, {1, 0}, "empty in another shape", false);
  run({3, 0}, {3, 0}, "empty with an extent", true);
  run({1, 3}, {0, 0}, "none for many", false);
}

// A failing check hides all that come after it.
TEST_F(Arguments, TheOrderOfChecks) {
  const Array words = text("x"), row = doubles({1.0, 2.0}), far = scalar(99.0), era = scalar(1.0),
              fraction = scalar(1.5), nowhere = text("No/Where");
  const struct {
    std::vector<const paArray*> in;
    const char* identifier;
  } rows[] = {
      {{words.get(), row.get(), far.get(), nowhere.get()}, "Pelmor:datetime:InvalidInput"},
      {{t_.get(), row.get(), far.get(), nowhere.get()}, "Pelmor:datetime:UnrecognizedComponent"},
      {{t_.get(), row.get(), era.get(), nowhere.get()}, "Pelmor:datetime:InvalidComponent"},
      {{t_.get(), row.get(), selector_.get(), nowhere.get()}, "Pelmor:datetime:InputSizeMismatch"},
      {{t_.get(), fraction.get(), selector_.get(), nowhere.get()},
       "Pelmor:datetime:UnknownTimeZone"},
      {{t_.get(), fraction.get(), selector_.get(), zone_.get()}, "Pelmor:datetime:MustBeInteger"},
  };
  for (const auto& r : rows) expectError(1, r.in, r.identifier, r.identifier);
}

// The result is handed over as soon as it exists.
TEST_F(Arguments, TheSlotIsFilledBeforeALaterFailure) {
  const Array nowhere = text("No/Where"), row = doubles({1.0, 2.0, 3.0}, nullptr, {3, 1});
  underBothHosts([&] {
    const Outcome early = module_.call(1, {row.get(), v_.get(), zone_.get(), zone_.get()});
    EXPECT_EQ(early.result, nullptr) << "a failing check comes before the result";
    const Outcome late = module_.call(1, {row.get(), v_.get(), selector_.get(), nowhere.get()});
    ASSERT_NE(late.result, nullptr);
    EXPECT_EQ(paGetNumberOfElements(late.result.get()), 3u);
    EXPECT_TRUE(paIsComplex(late.result.get()));
  });
}

TEST_F(Arguments, AnEmptyArrayStillHasItsZoneResolved) {
  const Array empty = doubles({}), nowhere = text("America/NewYork"), paris = text("Europe/Paris");
  expectError(1, {empty.get(), v_.get(), selector_.get(), nowhere.get()},
              "Pelmor:datetime:UnknownTimeZone", "unknown although there is nothing to set");
  EXPECT_EQ(module_.call(1, {empty.get(), v_.get(), selector_.get(), paris.get()}).status, 0);
}

}  // namespace
