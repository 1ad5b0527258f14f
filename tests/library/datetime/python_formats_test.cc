// Formats as Python's strptime and strftime have them.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "datetime/format.h"
#include "datetime/reading.h"
#include "support/cases.h"
#include "support/length.h"
#include "support/lines_of.h"

namespace plx {
namespace {

class FormatsByPython : public testing::Test {
 protected:
  std::shared_ptr<const Format> compiled(const std::string& text, bool toRead) {
    auto& format = formats_[{text, toRead}];
    if (format) return format;
    Complaint complaint;
    auto made =
        toRead ? Format::forReading(text, {}, complaint) : Format::forWriting(text, complaint);
    if (!made) throw std::runtime_error(text + ": " + complaint.what);
    return format = std::make_shared<const Format>(std::move(*made));
  }

  // Microseconds since 1970, where the text is one in the format.
  std::optional<std::string> micros(const std::string& format, const std::string& text) {
    Notation notation;
    notation.formats = {compiled(format, true)};
    notation.to = Form::microseconds;
    Complaint complaint;
    const auto reading = read(text, notation, nullptr, zones_, complaint);
    if (!reading) return std::nullopt;
    std::string written;
    EXPECT_TRUE(write(*reading, reading->pair, notation, written, complaint)) << complaint.what;
    return written;
  }

  std::string moved(const std::string& format, const std::string& text, const std::string& by) {
    Notation notation;
    notation.formats = {compiled(format, true)};
    Complaint complaint;
    const auto reading = read(text, notation, nullptr, zones_, complaint);
    if (!reading) return complaint.what;
    std::string written;
    const doubledouble pair = two_sum(reading->pair.hi + std::stod(by) / 1000, reading->pair.lo);
    return write(*reading, pair, notation, written, complaint) ? written : complaint.what;
  }

  std::string written(const std::string& format, const std::string& text) {
    Notation notation;
    notation.toFormat = compiled(format, false);
    Complaint complaint;
    const auto reading = read(text, notation, nullptr, zones_, complaint);
    std::string out;
    if (!reading || !write(*reading, reading->pair, notation, out, complaint))
      return complaint.what;
    return out;
  }

 private:
  Zones zones_;
  std::map<std::pair<std::string, bool>, std::shared_ptr<const Format>> formats_;
};

std::vector<std::string> fieldsOf(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, '\t');) fields.push_back(field);
  return fields;
}

TEST_F(FormatsByPython, AreReadAndWrittenTheSame) {
  const std::int64_t count = ofWhole(30'000);
  Cases read(count), damaged(count / 20), wrote(count * 9 / 10);
  for (const std::string& line :
       linesOf(PLX_PYTHON " " PLX_PYTHON_FORMATS " 1 " + std::to_string(count))) {
    const std::vector<std::string> f = fieldsOf(line);
    ASSERT_GE(f.size(), 4U) << line;
    if (f[0] == "read") {
      ASSERT_EQ(micros(f[1], f[2]), f[3]) << line;
      if (f.size() > 5) {
        ASSERT_EQ(moved(f[1], f[2], f[4]), f[5]) << line;
      }
      ++read;
    } else if (f[0] == "damaged") {
      // Python minds neither a weekday that is wrong nor several spaces for one; blanks before any
      // number and zeros in place of none are read here alone. Of several blanks the last is here a part
      // of the number: in "%d %H%M%S", 13846 behind two of them is 01:38:46, and 13:08:46 in Python.
      const auto here = micros(f[1], f[2]);
      if (!here || f[3] == "none" || f[2].find("  ") != std::string::npos) continue;
      ASSERT_EQ(*here, f[3]) << line;
      ++damaged;
    } else {
      ASSERT_EQ(written(f[1], f[2]), f[3]) << line;
      ++wrote;
    }
  }
}

}  // namespace
}  // namespace plx
