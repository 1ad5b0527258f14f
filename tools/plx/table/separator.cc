#include "table/separator.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "messages/message.h"

namespace plx {

namespace {

constexpr char kUsual[] = {',', ';', '\t', '|'};

bool readsWith(char separator, const Chunk* chunk, const std::vector<std::string>& asked,
               std::string_view source) {
  TableFormat format;
  format.separator = separator;
  try {
    const Header header = readHeader(chunk, format, source);
    return header.names.size() > 1 && chooseColumns(header, asked, source).size() == asked.size();
  } catch (const Failure&) {
    return false;
  }
}

char separatorOfHeader(const Chunk* chunk, const std::vector<std::string>& asked,
                       std::string_view source) {
  std::optional<char> found;
  for (const char separator : kUsual) {
    if (!readsWith(separator, chunk, asked, source)) continue;
    if (found) {
      throw Failure{Status::usage,
                    fmt::format("{}: the header can be read with {} and with {} between its "
                                "columns; accepted: --delimiter with one of them",
                                source, nameOfSeparator(*found), nameOfSeparator(separator))};
    }
    found = separator;
  }
  return found.value_or(',');
}

// Tells of a column that is missing only by the separator that was told.
void refuseHidden(const Chunk* chunk, const TableFormat& format,
                  const std::vector<std::string>& asked, std::string_view source) {
  for (const std::string& column : asked) {
    if (readsWith(format.separator, chunk, {column}, source)) continue;
    for (const char separator : kUsual) {
      if (!readsWith(separator, chunk, {column}, source)) continue;
      throw Failure{
          Status::unknownName,
          describe(source,
                   {fmt::format("there is no such column between {}, but between {}",
                                nameOfSeparator(format.separator), nameOfSeparator(separator)),
                    "--delimiter with that one"},
                   column)};
    }
  }
}

// Tells of a header that is one field, with the name of a column in it.
void refuseOneField(const Chunk* chunk, const Header& header, const std::vector<std::string>& asked,
                    std::string_view source) {
  if (header.names.size() != 1) return;
  const std::string& only = header.names[0];
  const auto isInside = [&](const std::string& column) {
    return column != only && only.find(column) != std::string::npos;
  };
  if (looksLikeJson(chunk))
    throw Failure{Status::unknownName, describe(source,
                                                {"the first line is no header, and looks like JSON",
                                                 "--column with a path, as in --column .created"},
                                                only)};
  if (std::ranges::any_of(asked, isInside))
    throw Failure{
        Status::unknownName,
        describe(source,
                 {"the header is one field", "--delimiter with what stands between its columns"},
                 only)};
}

}  // namespace

bool looksLikeJson(const Chunk* chunk) {
  return chunk != nullptr && chunk->bytes().starts_with('{');
}

std::string columnsInSight(const Chunk* chunk) {
  for (const char separator : kUsual) {
    TableFormat format;
    format.separator = separator;
    try {
      const Header header = readHeader(chunk, format, "");
      const auto isName = [](const std::string& name) {
        return name.find_first_of("0123456789") != 0 && !name.empty();
      };
      if (header.names.size() < 2 || !std::ranges::all_of(header.names, isName)) continue;
      return listOfNames(header.names);
    } catch (const Failure&) {
      continue;
    }
  }
  return {};
}

std::vector<Column> chooseByHeader(const Chunk* chunk, TableFormat& format, bool separatorIsTold,
                                   const std::vector<std::string>& asked, std::string_view source) {
  if (!separatorIsTold) format.separator = separatorOfHeader(chunk, asked, source);
  const Header header = readHeader(chunk, format, source);
  try {
    return chooseColumns(header, asked, source);
  } catch (const Failure& failure) {
    if (failure.status == Status::unknownName) {
      refuseHidden(chunk, format, asked, source);
      refuseOneField(chunk, header, asked, source);
    }
    throw;
  }
}

}  // namespace plx
