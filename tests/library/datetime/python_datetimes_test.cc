// Datetimes as Python's datetime and zoneinfo and NumPy's datetime64 read and write them.

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "datetime/reading.h"
#include "support/cases.h"
#include "support/lines_of.h"

namespace plx {
namespace {

TEST(Datetimes, AreReadAndWrittenAsByPythonAndNumPy) {
  Cases cases(30'000);
  Zones zones;
  std::map<std::string, Zone> named;
  for (const std::string& line : linesOf(PLX_PYTHON " " PLX_PYTHON_DATETIMES " 1 3000")) {
    std::istringstream fields(line);
    std::string zoneText, from, text, to, expected;
    for (std::string* field : {&zoneText, &from, &text, &to, &expected})
      std::getline(fields, *field, '\t');
    ASSERT_FALSE(expected.empty()) << line;

    const Zone* zone = nullptr;
    if (!zoneText.empty()) zone = &named.try_emplace(zoneText, Zone::named(zoneText)).first->second;
    Notation notation;
    notation.from = formNamed(from).value_or(Form::recognised);
    notation.to = formNamed(to);
    ASSERT_TRUE(notation.to) << line;
    Complaint complaint;
    const auto reading = read(text, notation, zone, zones, complaint);
    ASSERT_TRUE(reading) << line << ": " << complaint.what;
    std::string written;
    ASSERT_TRUE(write(*reading, reading->pair, notation, written, complaint)) << line;
    ASSERT_EQ(written, expected) << line;
    ++cases;
  }
}

}  // namespace
}  // namespace plx
