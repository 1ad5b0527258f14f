// The module has no time-zone rules of its own: it follows those that the host's ICU loads. With rules of ours,
// given in either of the two ways that ICU offers, its results change.
//
// ICU reads its rules once in a process, so each case has one of its own.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unicode/putil.h>
#include <unicode/timezone.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "support/built.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/lines_of.h"

namespace {

enum class Given { notAtAll, byEnvironment, byCall };

void give(Given given) {
  if (given == Given::byEnvironment) setenv("ICU_TIMEZONE_FILES_DIR", PLX_OWN_RULES, 1);
  if (given == Given::byCall) {
    UErrorCode status = U_ZERO_ERROR;
    u_setTimeZoneFilesDirectory(PLX_OWN_RULES, &status);
    if (U_FAILURE(status)) _exit(1);
  }
}

// What a process with these rules says, as lines of text.
std::string answerWith(Given given, std::size_t count, const char* zone) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("pipe");
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    give(given);
    const DatetimeModule module;
    const Array t = doubles(std::vector<double>(count, 1399710600000.0));  // 2014-05-10T08:30Z
    const Outcome outcome = module.set(t, scalar(12.0), kHour, zone);
    char text[200];
    if (outcome.status == 0) {
      std::snprintf(text, sizeof text, "%.0f", paGetRealData(outcome.result.get())[count - 1]);
    } else {
      std::snprintf(text, sizeof text, "%s", outcome.identifier.c_str());
    }
    const auto written = write(ends[1], text, std::strlen(text));
    _exit(written < 0);
  }
  close(ends[1]);
  char text[200] = {};
  const auto length = read(ends[0], text, sizeof text - 1);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0 && length > 0);
  return text;
}

TEST(ZoneRules, ResultsFollowWhatIcuHasLoaded) {
  Cases cases(36);
  constexpr const char* kUnknown = "Pelmor:datetime:UnknownTimeZone";
  const struct {
    const char *zone, *before, *after, *why;
  } rows[] = {
      {"Europe/Berlin", "1399717800000", "1399714200000", "12:30, at +02:00 and then at +03:00"},
      {"Own/Place", kUnknown, "1399725000000", "a zone of these rules only: 08:00 becomes 12:00"},
      {"Own/Past", kUnknown, "1399721400000", "11:30, with all changes before 1800"},
      {"Own/Future", kUnknown, "1399725000000", "12:30, with all changes after 2100"},
      {"Europe/Paris", "1399717800000", kUnknown, "a zone that these rules do not have"},
      {"+03:00", "1399714200000", "1399714200000", "an offset needs no rules"},
  };
  for (const auto& row : rows) {
    for (const std::size_t count : {1u, 200u}) {  // by the calendar, and by tables
      EXPECT_EQ(answerWith(Given::notAtAll, count, row.zone), row.before) << row.why;
      EXPECT_EQ(answerWith(Given::byEnvironment, count, row.zone), row.after) << row.why;
      EXPECT_EQ(answerWith(Given::byCall, count, row.zone), row.after) << row.why;
      cases += 3;
    }
  }
}

// So that people can see which rules gave a result.
TEST(ZoneRules, TheProgramNamesThoseInUse) {
  const auto versionWith = [](const std::string& environment) {
    std::string all;
    for (const auto& line : linesOf(environment + " '" + built("plx") + "' --version"))
      all += line + "\n";
    return all;
  };
  EXPECT_EQ(versionWith("").find("2099z"), std::string::npos);
  EXPECT_NE(versionWith("ICU_TIMEZONE_FILES_DIR='" PLX_OWN_RULES "'").find("2099z"),
            std::string::npos);
}

}  // namespace
