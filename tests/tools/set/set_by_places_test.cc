// Texts that are set by the places of their parts, held against the same setter without.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "datetime/format.h"
#include "host/embed.h"
#include "module/module.h"
#include "set/setter.h"
#include "support/built.h"
#include "support/cases.h"
#include "support/length.h"
#include "support/random.h"
#include "table/in_line.h"

namespace plx {
namespace {

std::string twoDigits(std::int64_t number) {
  return std::string(number < 10 ? "0" : "") + std::to_string(number);
}

// A datetime as people write them, or nearly.
std::string randomText(Random& random) {
  constexpr const char* kMonths[] = {"Jan", "feb", "MAR", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  constexpr const char* kOffsets[] = {"",      "",       "",    "Z",      "z",  "+02:00",
                                      "-0330", "-00:00", "+05", " +0200", " Z", "[Europe/Paris]",
                                      " CEST", "+24:00"};
  constexpr const char* kOthers[] = {"",
                                     " ",
                                     "NaT",
                                     "NULL",
                                     "2014-W19-6",
                                     "+12014-05-10T08:30:15",
                                     "2014-05-10T24:00:00",
                                     "2012-06-30T23:59:60",
                                     "20140510T083015",
                                     "2014-05-10T08:30:15.25",
                                     "2014-02-30T08:30:15",
                                     "1399710615",
                                     "-0001-05-10T08:30:15",
                                     "2014-13-10T08:30:15",
                                     "99999-01-01",
                                     "2014-05-10T25:30:15",
                                     "2014-130T08:30:15"};
  if (random.oneIn(12))
    return kOthers[static_cast<std::size_t>(random.whole(0, std::size(kOthers) - 1))];
  const auto year = random.oneIn(10) ? random.whole(0, 9999) : random.whole(1960, 2040);
  const auto month = random.whole(1, 12), day = random.whole(1, random.oneIn(4) ? 31 : 28);
  std::string clock = twoDigits(random.whole(0, 23)) + ":" + twoDigits(random.whole(0, 59)) + ":" +
                      twoDigits(random.whole(0, 59));
  if (random.oneIn(5)) clock = random.oneIn(2) ? "00:00:00" : "02:30:00";
  if (random.oneIn(8)) clock.resize(5);
  std::string fourDigits = std::to_string(year);
  fourDigits.insert(0, 4 - fourDigits.size(), '0');
  std::string text;
  switch (random.whole(0, 5)) {
    case 0:
      text = twoDigits(day) + "/" + kMonths[month - 1] + "/" + fourDigits + ":" + clock;
      break;
    case 1:
      text = (random.oneIn(3) ? std::to_string(day) : twoDigits(day)) + "/" + twoDigits(month) +
             "/" + fourDigits + " " + clock;
      break;
    case 2:
      text = fourDigits + "-" + twoDigits(month) + "-" + twoDigits(day);
      return text;
    default:
      text = fourDigits + "-" + twoDigits(month) + "-" + twoDigits(day) +
             (random.oneIn(4)    ? " "
              : random.oneIn(10) ? "t"
                                 : "T") +
             clock;
  }
  text += kOffsets[static_cast<std::size_t>(random.whole(0, std::size(kOffsets) - 1))];
  if (random.oneIn(20))
    text[static_cast<std::size_t>(random.whole(0, text.size() - 1))] =
        "0 :\0x\xFF"[random.whole(0, 5)];
  if (random.oneIn(40)) text += ' ';
  return text;
}

void expectSame(const Batch& a, const Batch& b, const std::vector<Task>& tasks) {
  ASSERT_EQ(a.outcomes.size(), b.outcomes.size());
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    const Outcome &x = a.outcomes[i], &y = b.outcomes[i];
    ASSERT_EQ(x.kind, y.kind) << tasks[i].text;
    ASSERT_EQ(a.text.substr(x.begin, x.end - x.begin), b.text.substr(y.begin, y.end - y.begin))
        << tasks[i].text;
  }
  ASSERT_EQ(a.troubles.size(), b.troubles.size());
  for (std::size_t i = 0; i < a.troubles.size(); ++i) {
    EXPECT_EQ(a.troubles[i].task, b.troubles[i].task);
    EXPECT_EQ(a.troubles[i].kind, b.troubles[i].kind);
    EXPECT_EQ(a.troubles[i].assignment, b.troubles[i].assignment);
    EXPECT_EQ(a.troubles[i].complaint.what, b.troubles[i].complaint.what);
    EXPECT_EQ(a.troubles[i].complaint.accepted, b.troubles[i].complaint.accepted);
  }
  EXPECT_EQ(a.warnings, b.warnings);
  EXPECT_EQ(a.cutDigits, b.cutDigits);
  EXPECT_EQ(a.carriedOnTheWay, b.carriedOnTheWay);
}

TEST(SetByPlaces, IsTheSame) {
  ASSERT_EQ(paSetLocale("en_US", nullptr), 0);
  const Module module(built("plx_datetime.so"));
  const std::vector<std::vector<Assignment>> settings = {
      {{Component::month, 1.0}},
      {{Component::month, -700.0}},
      {{Component::second, 15.25}},
      {{Component::hour, 2.0}, {Component::minute, 30.0}},
      {{Component::year, 10000.0}},
      {{Component::dayOfMonth, 31.0}},
      {{Component::dayOfWeek, std::nullopt}, {Component::timeOfDay, 3600.0}},
      {{Component::year, 2e6}},
  };
  constexpr const char* kZones[] = {"",
                                    "UTC",
                                    "Europe/Paris",
                                    "+05:30",
                                    "UTCLeapSeconds",
                                    "America/Sao_Paulo",
                                    "Africa/Monrovia"};
  const std::vector<std::vector<const char*>> formats = {
      {}, {}, {"%d/%m/%Y %H:%M:%S", "%d/%b/%Y:%H:%M:%S"}, {"%d/%m/%Y %H:%M", "%m/%d/%Y %H:%M"}};
  Random random(1);
  Cases cases(ofUsual(50'000));
  for (int run = 0; run < 120; ++run) {
    SetterOptions options;
    options.assignments = settings[static_cast<std::size_t>(random.whole(0, settings.size() - 1))];
    const std::string zone =
        kZones[static_cast<std::size_t>(random.whole(0, std::size(kZones) - 1))];
    if (!zone.empty()) options.reading.zone = zone;
    Notation& notation = options.reading.notation;
    Complaint complaint;
    for (const char* text : formats[static_cast<std::size_t>(run) % formats.size()])
      notation.formats.push_back(
          std::make_shared<const Format>(Format::forReading(text, {}, complaint).value()));
    if (run % 4 == 1) {
      notation.formats = logFormats(2014);
      notation.recognisedToo = true;
    }
    notation.missing = {"NULL", "2014-05-10"};
    SetterOptions plain = options;
    plain.byPlaces = false;
    Setter byPlaces(const_cast<Module&>(module), options),
        plainly(const_cast<Module&>(module), plain);
    const std::string values[] = {"2", "7", "x", "1e9"};
    for (int batchNumber = 0; batchNumber < 2; ++batchNumber) {
      std::vector<std::string> texts;
      std::vector<std::string_view> own;
      for (std::int64_t i = ofUsual(300); i > 0; --i) {
        texts.push_back(randomText(random));
        own.push_back(values[static_cast<std::size_t>(random.whole(0, 3))]);
      }
      std::vector<Task> tasks;
      for (std::size_t i = 0; i < texts.size(); ++i)
        tasks.push_back({texts[i], {}, std::span(own).subspan(i, 1)});
      Batch a, b;
      byPlaces.work(tasks, a);
      plainly.work(tasks, b);
      expectSame(a, b, tasks);
      if (HasFatalFailure()) return;
      for (std::size_t i = 0; i < tasks.size(); i += 17) {
        const auto x = byPlaces.resultOf(i), y = plainly.resultOf(i);
        ASSERT_EQ(x.has_value(), y.has_value());
        if (x) {
          EXPECT_EQ(x->after.hi, y->after.hi);
          EXPECT_EQ(x->reading.pair.hi, y->reading.pair.hi);
        }
      }
      cases += static_cast<std::int64_t>(tasks.size());
    }
  }
}

// Lines of datetimes, of what is nearly one, and of what stands around them.
TEST(FoundByPlaces, IsTheSame) {
  Random random(2);
  Cases cases(ofUsual(100'000)), found(ofUsual(20'000));
  constexpr const char* kBetween[] = {" ",     "[",    "] ",    "\"",  "(",
                                      ") ",    ", ",   ": ",    "-",   "/",
                                      ".",     ":",    " GET ", " x=", "192.0.2.7 - - [",
                                      "Oct 1", " 10 ", "2014-", "\0",  "\xE9",
                                      ""};
  constexpr const char* kMore[] = {"Sat May 10 08:30:15 2014",
                                   "Sat, 10 May 2014 08:30:15 +0200",
                                   "Oct 10 13:55:36",
                                   "Oct  1 13:55:36.5",
                                   "2014/05/10 08:30:15",
                                   "2014/05/10 08:30:15.25",
                                   "Fri May 10 08:30:15 2014",
                                   "2014-05-10 08:30:15.25 UTC",
                                   "10 May 2014 08:30:15 -0000",
                                   "10/Oct/2000:13:55:36 -0700",
                                   "10/Oct/2000:13:55:36 +07:00",
                                   "10/Oct/2000:13:55:36 +07000",
                                   "1/Oct/2000:13:55:36 Z"};
  for (int run = 0; run < 6; ++run) {
    InLineOptions options{logFormats(2014), true, {}};
    if (run % 3 == 1) options = {logFormats({}), false, {}};
    if (run == 3) options.match = R"(\d.*[\d\]])";
    if (run % 3 == 2) {  // more than there are bits for
      while (options.formats.size() < 40)
        options.formats.push_back(options.formats[options.formats.size() % 14]);
    }
    InLineOptions plain = options;
    plain.byPlaces = false;
    InLineSplitter byPlaces(options), plainly(plain);
    for (std::int64_t round = ofUsual(200); round > 0; --round) {
      std::string text;
      for (int i = 0; i < 100; ++i) {
        for (std::int64_t k = random.whole(0, 3); k >= 0; --k) {
          text += kBetween[static_cast<std::size_t>(random.whole(0, std::size(kBetween) - 1))];
          text += random.oneIn(2)
                      ? randomText(random)
                      : kMore[static_cast<std::size_t>(random.whole(0, std::size(kMore) - 1))];
        }
        text += kBetween[static_cast<std::size_t>(random.whole(0, std::size(kBetween) - 1))];
        text += '\n';
      }
      Chunk chunk;
      chunk.storage.assign(text.begin(), text.end());
      chunk.size = text.size();
      Cells a, b;
      byPlaces.split(chunk, text.size(), a);
      plainly.split(chunk, text.size(), b);
      ASSERT_EQ(a.cells.size(), b.cells.size());
      for (std::size_t i = 0; i < a.cells.size(); ++i) {
        const std::string line =
            text.substr(a.records[i].begin, a.records[i].end - a.records[i].begin);
        ASSERT_EQ(a.cells[i].begin, b.cells[i].begin) << line;
        ASSERT_EQ(a.cells[i].end, b.cells[i].end) << line;
        if (a.cells[i].begin != a.cells[i].end) ++found;
        ++cases;
      }
      ASSERT_EQ(a.present, b.present);
      ASSERT_EQ(a.wrong.size(), b.wrong.size());
      for (std::size_t i = 0; i < a.wrong.size(); ++i) {
        EXPECT_EQ(a.wrong[i].record, b.wrong[i].record);
        EXPECT_EQ(a.wrong[i].at, b.wrong[i].at);
        EXPECT_EQ(a.wrong[i].complaint.what, b.wrong[i].complaint.what);
      }
    }
  }
}

}  // namespace
}  // namespace plx
