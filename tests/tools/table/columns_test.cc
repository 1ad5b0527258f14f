#include "table/columns.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "messages/message.h"
#include "support/cases.h"
#include "tools/support/tables.h"

namespace plx {
namespace {

Header headerOf(const std::string& text) {
  const Chunk chunk = chunkOf(text);
  return readHeader(text.empty() ? nullptr : &chunk, {}, "table.csv");
}

TEST(Columns, NamesOfTheFirstRecord) {
  const struct {
    const char* bytes;
    std::vector<std::string> names;
    const char* record;
  } rows[] = {
      {"id,created_at\n1,2\n", {"id", "created_at"}, "id,created_at"},
      {"id,created_at", {"id", "created_at"}, "id,created_at"},
      {"\xEF\xBB\xBF\"id\",\"a,\"\"b\n\"\r\n", {"id", "a,\"b\n"}, "\"id\",\"a,\"\"b\n\""},
      {"a,,\n", {"a", "", ""}, "a,,"},
      {"\"\"\n", {""}, "\"\""},
  };
  Cases cases(5);
  for (const auto& r : rows) {
    const Header header = headerOf(r.bytes);
    EXPECT_EQ(header.names, r.names);
    EXPECT_EQ(std::string(r.bytes).substr(header.begin, header.end - header.begin), r.record);
    ++cases;
  }
}

template <class Call>
Failure failureOf(Call call) {
  try {
    call();
  } catch (const Failure& failure) {
    return failure;
  }
  ADD_FAILURE() << "no failure";
  return {Status::done, ""};
}

TEST(Columns, HeadersThatAreNone) {
  const struct {
    const char *bytes, *message;
  } rows[] = {
      {"",
       "table.csv: the table is empty: \"\"; accepted: a first record with the names of the "
       "columns"},
      {"\xEF\xBB\xBF",
       "table.csv: the table is empty: \"\"; accepted: a first record with the names of the "
       "columns"},
      {"\na,b\n",
       "table.csv:1:1: the first line is empty: \"\"; accepted: a first record with the names of "
       "the "
       "columns"},
      {"\xFF\xFE"
       "a",
       "table.csv:1:1: the text is UTF-16: \"\\xFF\\xFEa\"; accepted: UTF-8"},
      {"\xFE\xFF"
       "a",
       "table.csv:1:1: the text is UTF-16: \"\\xFE\\xFFa\"; accepted: UTF-8"},
      {"\r\na,b\n",
       "table.csv:1:1: the first line is empty: \"\"; accepted: a first record with the names of "
       "the columns"},
      {"a,\"b\n",
       "table.csv:1:3: the quote is never closed: \"\\\"b\"; accepted: quotes around the whole "
       "field, "
       "and those inside doubled"},
  };
  Cases cases(7);
  for (const auto& r : rows) {
    const Failure failure = failureOf([&] { headerOf(r.bytes); });
    EXPECT_EQ(failure.status, Status::badData);
    EXPECT_EQ(failure.message, r.message);
    ++cases;
  }
}

std::vector<std::size_t> indexes(const std::vector<Column>& columns) {
  std::vector<std::size_t> all;
  for (const Column& column : columns) all.push_back(column.index);
  return all;
}

TEST(Columns, ByNameAndByNumber) {
  const Header header = headerOf("id,created_at,2,x,x\n");
  const struct {
    std::vector<std::string> asked;
    std::vector<std::size_t> indexes;
    const char* why;
  } rows[] = {
      {{"created_at"}, {1}, "by name"},
      {{"1"}, {0}, "by number"},
      {{"2"}, {2}, "a name that looks like a number is a name"},
      {{"5", "id"}, {0, 4}, "ascending"},
      {{"4", "5"}, {3, 4}, "two of the same name, by number"},
  };
  Cases cases(5);
  for (const auto& r : rows) {
    EXPECT_EQ(indexes(chooseColumns(header, r.asked, "table.csv")), r.indexes) << r.why;
    ++cases;
  }
  EXPECT_EQ(indexes(chooseColumns({"3", "1"})), (std::vector<std::size_t>{0, 2}));
}

TEST(Columns, ThatAreNotThere) {
  const Header header = headerOf("id,created_at,2,x,x\n");
  const struct {
    std::vector<std::string> asked;
    Status status;
    const char* message;
  } rows[] = {
      {{"Id"},
       Status::unknownName,
       "table.csv: there is no such column (did you mean id?): \"Id\"; accepted: id, created_at, "
       "2, "
       "x, x; or a number from 1 to 5"},
      {{"0"},
       Status::unknownName,
       "table.csv: there is no such column: \"0\"; accepted: id, created_at, 2, x, x; or a number "
       "from 1 to 5"},
      {{"6"},
       Status::unknownName,
       "table.csv: there is no such column: \"6\"; accepted: id, created_at, 2, x, x; or a number "
       "from 1 to 5"},
      {{"x"},
       Status::unknownName,
       "table.csv: columns 4 and 5 both have this name: \"x\"; accepted: the number of the column, "
       "from 1"},
      {{"id", "1"}, Status::usage, "column 1 is asked for twice, as \"id\" and \"1\""},
  };
  Cases cases(10);
  for (const auto& r : rows) {
    const Failure failure = failureOf([&] { chooseColumns(header, r.asked, "table.csv"); });
    EXPECT_EQ(failure.status, r.status);
    EXPECT_EQ(failure.message, r.message);
    ++cases;
  }
  for (const char* asked : {"id", "0", "-1", "1x", "99999999999999999999"}) {
    const Failure failure = failureOf([&] { chooseColumns({asked}); });
    EXPECT_EQ(failure.status, Status::unknownName);
    ++cases;
  }
}

TEST(Columns, WideTablesAreNotToldInFull) {
  std::string names = "c1";
  for (int i = 2; i <= 100; ++i) names += ",c" + std::to_string(i);
  const Header header = headerOf(names);
  const Failure failure = failureOf([&] { chooseColumns(header, {"d"}, "table.csv"); });
  EXPECT_TRUE(failure.message.ends_with("c29, c30, and 70 more; or a number from 1 to 100"))
      << failure.message;
}

TEST(TableFormat, TheSeparatorByTheName) {
  Cases cases(8);
  const struct {
    const char* name;
    std::optional<char> separator;
  } rows[] = {{"a.csv", {}}, {"A.CSV", {}}, {"a.tsv", '\t'}, {"a.TaB", '\t'},
              {"a.txt", {}}, {"csv", {}},   {"-", {}},       {"a.csv/b", {}}};
  for (const auto& r : rows) {
    EXPECT_EQ(separatorOf(r.name), r.separator) << r.name;
    ++cases;
  }
}

TEST(TableFormat, TheSeparatorThatIsTold) {
  Cases cases(13);
  const struct {
    std::string text;
    std::optional<char> separator;
  } rows[] = {{"tab", '\t'}, {"\\t", '\t'},
              {"\t", '\t'},  {"space", ' '},
              {" ", ' '},    {"~", '~'},
              {";", ';'},    {"\x7F", {}},
              {"\xE9", {}},  {"", {}},
              {"\"", {}},    {"\r", {}},
              {"\n", {}},    {std::string(1, '\0'), {}}};
  for (const auto& r : rows) {
    EXPECT_EQ(separatorNamed(r.text), r.separator) << r.text;
    ++cases;
  }
  EXPECT_EQ(nameOfSeparator('\t') + nameOfSeparator(' ') + nameOfSeparator(';'), "tabspace';'");
}

}  // namespace
}  // namespace plx
