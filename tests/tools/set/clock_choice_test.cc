// Wall times that come twice or not at all, chosen in text as the library chooses in arrays.
#include "setting/clock_choice.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "host/embed.h"
#include "module/components.h"
#include "module/module.h"
#include "set/setter.h"
#include "setting/job.h"
#include "support/built.h"
#include "support/cases.h"
#include "tools/support/run_plx.h"

namespace plx {
namespace {

class ClockChoiceTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(paSetLocale("en_US", nullptr), 0); }

  // What the library makes of a pair; NaN where it refuses.
  doubledouble byLibrary(const ClockChoice& choice, Component component, double value,
                         doubledouble pair, const Zone& zone) {
    constexpr std::size_t kShape[] = {1};
    SetJob job(module_);
    job.datetimes.type = {ElementType::Kind::floatingPoint, 8};
    job.datetimes.isPair = true;
    job.datetimes.elements = {&pair.hi, 8, 1, kShape, nullptr};
    job.datetimes.low = {&pair.lo, 8, 1, kShape, nullptr};
    job.datetimes.count = 1;
    job.results = job.datetimes;
    NewValues values;
    values.component = component;
    values.forAll = value;
    job.settings = {values};
    job.options.fold = choice.fold;
    job.options.gap = choice.gap;
    job.zoneText = zone.text();
    job.zone = &zone;
    job.needsZone = job.hasZone = true;
    unsigned notes = 0;
    const auto stop = run(job, notes);
    if (!stop) return pair;
    EXPECT_TRUE(stop->wrong.identifier.ends_with("Refused")) << stop->wrong.message;
    return {std::nan(""), 0};
  }

  std::vector<doubledouble> inText(const ClockChoice& choice, Component component, double value,
                                   const std::vector<doubledouble>& pairs,
                                   const std::string& zone) {
    SetterOptions options;
    options.assignments = {{component, value}};
    options.reading.zone = zone;
    options.reading.notation.from = Form::milliseconds;
    options.reading.clock = choice;
    Setter setter(module_, options);
    std::vector<std::string> texts;
    for (const doubledouble& pair : pairs)
      texts.push_back(std::to_string(static_cast<long long>(pair.hi)));
    std::vector<Task> tasks;
    for (const std::string& text : texts) tasks.push_back({text, {}, {}});
    Batch batch;
    setter.work(tasks, batch);
    std::vector<doubledouble> results;
    for (std::size_t i = 0; i < tasks.size(); ++i) {
      const auto result = setter.resultOf(i);
      results.push_back(result ? result->after : doubledouble{std::nan(""), 0});
    }
    return results;
  }

  Module module_{built("plx_datetime.so")};
};

bool areSame(const doubledouble& a, const doubledouble& b) {
  return (std::isnan(a.hi) && std::isnan(b.hi)) || (a.hi == b.hi && a.lo == b.lo);
}

TEST_F(ClockChoiceTest, TextAndArraysAgree) {
  const struct {
    const char* name;
    int value;
  } settings[] = {{"hour", 1}, {"hour", 2}, {"minute", 45}, {"time-of-day", 7200}};
  Cases cases(10'000);
  std::size_t moved = 0, refused = 0;
  for (const char* name :
       {"America/New_York", "Australia/Lord_Howe", "Europe/Dublin", "Africa/Casablanca"}) {
    const Zone zone = Zone::named(name);
    std::vector<doubledouble> pairs;
    for (int128 at = 1262304000; at < 1420070400;) {  // 2010 to 2015
      const Stretch stretch = zone.stretchAt(at);
      if (!stretch.end) break;
      at = stretch.end->second;
      for (const int distance : {-86400, -5400, -1800, -1, 0, 1800, 5400, 86400})
        pairs.push_back({static_cast<double>(at + distance) * 1000.0, 0});
    }
    for (const auto& setting : settings) {
      const Component component = findComponent(setting.name);
      const auto plain = inText({}, component, setting.value, pairs, name);
      for (const plxFold fold : {plxFOLD_LATER, plxFOLD_EARLIER, plxFOLD_SAME, plxFOLD_ERROR}) {
        for (const plxGap gap : {plxGAP_SHIFT, plxGAP_ERROR, plxGAP_START, plxGAP_END}) {
          const ClockChoice choice{fold, gap};
          const auto text = inText(choice, component, setting.value, pairs, name);
          for (std::size_t i = 0; i < pairs.size(); ++i) {
            const doubledouble array = byLibrary(choice, component, setting.value, pairs[i], zone);
            EXPECT_TRUE(areSame(text[i], array))
                << name << ' ' << pairs[i].hi << ' ' << setting.name << ' ' << fold << ' ' << gap;
            refused += std::isnan(text[i].hi) ? 1 : 0;
            moved += !std::isnan(text[i].hi) && !areSame(text[i], plain[i]) ? 1 : 0;
            ++cases;
          }
        }
      }
    }
  }
  EXPECT_GT(moved, 300u);
  EXPECT_GT(refused, 300u);
}

// In the zone in its brackets, whatever zone it is set in.
TEST(ClockChoice, OfADatetimeWithAZoneInBrackets) {
  const std::string skipped = "2014-03-30T02:30[Europe/Paris]",
                    twice = "2014-10-26T02:30[Europe/Paris]",
                    newYork = "2014-03-09T02:30[Europe/Paris]",
                    withOffset = "2014-10-26T02:30+01:00[Europe/Paris]";
  const std::string doubtful = "plx: argument: \"" + skipped + "\": the datetime does not exist";
  const std::string refused = "plx: argument: 02:30:00 is skipped on 2014-03-30";
  const struct {
    std::string text, options, out, err;
  } rows[] = {
      {skipped, "--gap error", "", refused},
      {skipped, "--gap error --zone UTC", "", refused},
      {skipped, "--gap start", "2014-03-30T01:00:59+01:00[Europe/Paris]", ""},
      {skipped, "--gap end --zone America/New_York", "2014-03-29T21:00:00-04:00[America/New_York]",
       ""},
      {skipped, "--gap start --zone America/New_York",
       "2014-03-29T20:00:59-04:00[America/New_York]", ""},
      {skipped, "--check report", "2014-03-30T03:00:00+02:00[Europe/Paris]", doubtful},
      {skipped, "--check report --zone UTC", "2014-03-30T01:00:00Z[UTC]", doubtful},
      {newYork, "--gap error --zone America/New_York",
       "2014-03-08T20:00:00-05:00[America/New_York]", ""},
      {twice, "--fold earlier --zone UTC", "2014-10-26T00:00:00Z[UTC]", ""},
      {withOffset, "--fold earlier --zone UTC", "2014-10-26T01:00:00Z[UTC]", ""},
      // Leap seconds are another time line, on which clocks are not settled.
      {skipped, "--gap error --zone UTCLeapSeconds", "2014-03-30T01:00:00Z[UTC]", ""},
  };
  Cases cases(std::size(rows));
  for (const auto& r : rows) {
    std::vector<std::string> arguments = words(r.options);
    arguments.insert(arguments.begin(), {"set", "minute", "0", r.text});
    const PlxResult result = runPlx(arguments);
    EXPECT_EQ(result.out, r.out.empty() ? "" : r.out + "\n") << r.text << ' ' << r.options;
    EXPECT_TRUE(r.err.empty() ? result.err.empty() : result.err.starts_with(r.err)) << result;
    ++cases;
  }
}

}  // namespace
}  // namespace plx
