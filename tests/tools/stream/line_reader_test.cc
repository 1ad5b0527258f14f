#include "stream/line_reader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "messages/message.h"
#include "support/cases.h"
#include "tools/support/temporary_folder.h"

namespace plx {
namespace {

// Lines as "lead|text|ending" with their numbers.
std::string shown(const Line& line) {
  std::string text;
  text.append(line.lead.empty() ? "" : "BOM").append("|").append(line.text).append("|");
  text.append(line.ending == "\r\n" ? "CRLF" : line.ending == "\n" ? "LF" : "");
  return text.append(" ").append(std::to_string(line.number));
}

std::vector<std::string> linesOf(LineReader& reader) {
  std::vector<std::string> all;
  std::vector<Line> lines;
  while (reader.read(lines))
    for (const Line& line : lines) all.push_back(shown(line));
  return all;
}

TEST(LineReader, KeepsWhatStandsAroundTheText) {
  const TemporaryFolder folder;
  const struct {
    const char* bytes;
    std::vector<std::string> lines;
    const char* why;
  } rows[] = {
      {"", {}, "an empty file has no line"},
      {"\n", {"||LF 1"}, "an empty line"},
      {"a\nb\n", {"|a|LF 1", "|b|LF 2"}, "two lines"},
      {"a\nb", {"|a|LF 1", "|b|LF 2"}, "the last one without its end gets one"},
      {"a\r\n\r\nb\r\n", {"|a|CRLF 1", "||CRLF 2", "|b|CRLF 3"}, "endings of two bytes"},
      {"a\nb\r\n", {"|a|LF 1", "|b|CRLF 2"}, "mixed endings"},
      {"\xEF\xBB\xBF"
       "a\n",
       {"BOM|a|LF 1"},
       "a byte-order mark"},
      {"\xEF\xBB\xBF", {"BOM||LF 1"}, "and nothing else"},
      {"a\n\xEF\xBB\xBF"
       "b\n",
       {"|a|LF 1",
        "|\xEF\xBB\xBF"
        "b|LF 2"},
       "only at the start"},
      {"a\rb\n", {"|a\rb|LF 1"}, "a lone carriage return ends nothing"},
  };
  for (const auto& r : rows) {
    LineReader reader(folder.write("file", r.bytes));
    EXPECT_EQ(linesOf(reader), r.lines) << r.why;
  }
}

// However the bytes are cut on their way, the lines are the same.
TEST(LineReader, LinesDoNotDependOnHowTheyArrive) {
  Cases cases(20'000);
  const TemporaryFolder folder;
  const std::string pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::mt19937 random(1);
  std::vector<std::string> texts;
  std::string bytes;
  for (int i = 0; i < 20'000; ++i) {
    texts.emplace_back(random() % 100 == 0 ? random() % 200'000 : random() % 40, 'a');
    bytes += texts.back() + "\n";
  }
  std::thread writer([&] {
    std::ofstream out(pipe, std::ios::binary);
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t n = std::min<std::size_t>(1 + random() % 100'000, bytes.size() - at);
      out.write(bytes.data() + at, static_cast<std::streamsize>(n)).flush();
      at += n;
    }
  });
  LineReader reader(pipe);
  std::vector<Line> lines;
  std::size_t next = 0;
  while (reader.read(lines)) {
    for (const Line& line : lines) {
      ASSERT_LT(next, texts.size());
      EXPECT_EQ(line.text, texts[next]);
      EXPECT_EQ(line.number, ++next);
      ++cases;
    }
  }
  writer.join();
}

TEST(LineReader, RefusesALineTooLongAfterThoseBeforeIt) {
  const TemporaryFolder folder;
  for (const char* end : {"\n", ""}) {
    LineReader good(folder.write("good", std::string(kLongestLine, 'x') + end));
    EXPECT_EQ(linesOf(good).size(), 1u);

    LineReader bad(folder.write("bad", "a\nb\n" + std::string(kLongestLine + 1, 'x') + end));
    std::vector<Line> lines;
    std::vector<std::string> all;
    try {
      while (bad.read(lines))
        for (const Line& line : lines) all.push_back(shown(line));
      FAIL() << "was read";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status, Status::badData);
      EXPECT_NE(
          failure.message.find("bad:3:1: the line is too long, it begins: \"" +
                               std::string(60, 'x') + "\"; accepted: lines of up to 1048576 bytes"),
          std::string::npos)
          << failure.message;
    }
    EXPECT_EQ(all, (std::vector<std::string>{"|a|LF 1", "|b|LF 2"}));

    LineReader first(folder.write("first", std::string(kLongestLine + 1, 'x') + end));
    EXPECT_THROW(first.read(lines), Failure) << "instead of no lines";
  }
}

TEST(LineReader, TellsWhatCannotBeRead) {
  const TemporaryFolder folder;
  const auto messageOf = [](const std::string& path) -> std::string {
    try {
      LineReader reader(path);
      linesOf(reader);
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status, Status::inputOutput);
      return failure.message;
    }
    return "";
  };
  EXPECT_EQ(messageOf(folder.path("none")),
            folder.path("none") + ": cannot open: No such file or directory");
  EXPECT_EQ(messageOf(folder.path("")), folder.path("") + ": cannot read: Is a directory");
}

}  // namespace
}  // namespace plx
