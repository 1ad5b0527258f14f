#include "table/columns.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>

#include "messages/message.h"
#include "messages/near_names.h"
#include "table/cells.h"
#include "table/field_reader.h"

namespace plx {

namespace {

// Of wide tables a message names the first ones.
constexpr std::size_t kMostNamesTold = 30;

Failure badHeader(const std::string& where, const Complaint& complaint, std::string_view text) {
  return {Status::badData, describe(where, complaint, text)};
}

// A whole number from 1 on, the entire text; 0 for anything else.
std::size_t numberOf(std::string_view text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

[[noreturn]] void failUnknown(std::string_view source, std::string what, std::string_view accepted,
                              std::string_view text) {
  throw Failure{Status::unknownName, describe(source, {std::move(what), accepted}, text)};
}

std::vector<Column> ascending(std::vector<Column> columns) {
  std::sort(columns.begin(), columns.end(),
            [](const Column& a, const Column& b) { return a.index < b.index; });
  const auto twice =
      std::adjacent_find(columns.begin(), columns.end(),
                         [](const Column& a, const Column& b) { return a.index == b.index; });
  if (twice != columns.end()) {
    throw Failure{Status::usage,
                  fmt::format("column {} is asked for twice, as {} and {}", twice->index + 1,
                              quoteText(twice->name), quoteText(std::next(twice)->name))};
  }
  return columns;
}

std::vector<std::string_view> viewsOf(const std::vector<std::string>& names) {
  return {names.begin(), names.end()};
}

std::size_t indexOf(const Header& header, const std::string& asked, std::string_view source) {
  const auto& names = header.names;
  const auto found = std::find(names.begin(), names.end(), asked);
  if (found == names.end()) {
    const std::size_t number = numberOf(asked);
    if (number == 0 || number > names.size())
      failUnknown(source, "there is no such column" + didYouMean(asked, viewsOf(names)),
                  fmt::format("{}; or a number from 1 to {}", listOfNames(names), names.size()),
                  asked);
    return number - 1;
  }
  const auto index = static_cast<std::size_t>(found - names.begin());
  const auto other = std::find(std::next(found), names.end(), asked);
  if (other != names.end()) {
    const auto second = static_cast<std::size_t>(other - names.begin());
    failUnknown(source, fmt::format("columns {} and {} both have this name", index + 1, second + 1),
                "the number of the column, from 1", asked);
  }
  return index;
}

}  // namespace

std::string listOfNames(const std::vector<std::string>& names) {
  std::string list;
  for (std::size_t i = 0; i < std::min(names.size(), kMostNamesTold); ++i)
    list += (i == 0 ? "" : ", ") + escapeText(names[i]);
  if (names.size() > kMostNamesTold)
    list += fmt::format(", and {} more", names.size() - kMostNamesTold);
  return list;
}

std::string_view withoutBlanks(std::string_view text, const TableFormat& format) {
  while (!text.empty() && isBlank(text.front(), format)) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back(), format)) text.remove_suffix(1);
  return text;
}

Header readHeader(const Chunk* chunk, const TableFormat& format, std::string_view source) {
  constexpr std::string_view kAccepted = "a first record with the names of the columns";
  const std::string_view bytes = chunk ? chunk->bytes() : std::string_view();
  Header header;
  header.begin = chunk ? byteOrderMark(*chunk) : 0;
  if (header.begin == bytes.size())
    throw badHeader(std::string(source), {"the table is empty", kAccepted}, "");
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF"))
    throw badHeader(location(*chunk, 0), {"the text is UTF-16", "UTF-8"}, bytes.substr(0, 20));
  const std::string_view rest = bytes.substr(header.begin);
  if (rest.starts_with('\n') || rest.starts_with("\r\n"))
    throw badHeader(location(*chunk, header.begin), {"the first line is empty", kAccepted}, "");

  for (std::size_t at = header.begin;;) {
    FieldError error;
    const auto field = readField(bytes, at, format, error);
    if (!field) throw uncertainField(*chunk, error);
    std::string buffer;
    header.names.emplace_back(withoutBlanks(
        textOf(*chunk, {field->begin, field->end, field->quoted, field->doubled}, buffer), format));
    header.end = field->end + (field->quoted ? 1 : 0);
    at = field->next;
    if (field->lastOfRecord) return header;
  }
}

std::vector<Column> chooseColumns(const Header& header, const std::vector<std::string>& asked,
                                  std::string_view source) {
  std::vector<Column> columns;
  columns.reserve(asked.size());
  for (const std::string& name : asked) columns.push_back({indexOf(header, name, source), name});
  return ascending(std::move(columns));
}

std::vector<Column> chooseColumns(const std::vector<std::string>& asked) {
  std::vector<Column> columns;
  for (const std::string& text : asked) {
    const std::size_t number = numberOf(text);
    if (number == 0) {
      failUnknown("--column", "without a header columns have no names",
                  "the number of a column, from 1", text);
    }
    columns.push_back({number - 1, text});
  }
  return ascending(std::move(columns));
}

}  // namespace plx
