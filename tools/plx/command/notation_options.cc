#include "command/notation_options.h"

#include <charconv>
#include <memory>
#include <utility>

#include "datetime/format.h"
#include "messages/message.h"
#include "table/in_line.h"

namespace plx {

namespace {

[[noreturn]] void refuse(std::string_view option, const Complaint& complaint,
                         std::string_view text) {
  throw Failure{Status::usage, describe(option, complaint, text)};
}

int numberOf(const std::string& text, std::string_view option, int most,
             std::string_view accepted) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || number < 0 || number > most)
    refuse(option, {"not a number that it takes", accepted}, text);
  return number;
}

std::optional<Form> formOf(const std::optional<std::string>& name, std::string_view option) {
  if (!name) return std::nullopt;
  const auto form = formNamed(*name);
  if (form) return form;
  if (name->find('%') != std::string::npos)
    refuse(option, {"a format and no form", "--format and --to-format for formats"}, *name);
  refuse(option, {"unknown form", kAcceptedForms}, *name);
}

// Weeks that are counted in each year anew, as %U and %W do, are no part of formats.
void refuseWeeksOfYear(const std::string& text, std::string_view option) {
  for (const char* const letters : {"%U", "%W"}) {
    if (text.find(letters) == std::string::npos) continue;
    refuse(option,
           {std::string(letters) + " has days at both ends of a year in weeks 0 and 53",
            "the weeks of ISO 8601, %G-W%V-%u; plx get week-of-year for others"},
           text);
  }
}

// The year of all goes to those formats that have none of their own.
std::shared_ptr<const Format> formatToRead(const std::string& text, std::string_view option,
                                           std::optional<int> year) {
  Complaint complaint, complaintOfYear;
  auto format = Format::forReading(text, std::nullopt, complaint);
  if (!format && year) format = Format::forReading(text, year, complaintOfYear);
  if (!format) {
    refuseWeeksOfYear(text, option);
    refuse(option, complaint, text);
  }
  return std::make_shared<const Format>(std::move(*format));
}

std::optional<int> yearOf(const NotationOptions& options) {
  if (!options.year) return std::nullopt;
  return numberOf(*options.year, "--year", 9999, "a year from 0 to 9999");
}

std::vector<std::string> listOf(const std::string& text) {
  std::vector<std::string> list;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    list.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return list;
}

// Where the colon stands behind which a column's own form or format begins: the first one right before a form or a
// letter, as names have colons too, or else the first one with a letter somewhere behind it.
std::size_t colonOf(const std::string& text) {
  std::size_t inside = std::string::npos;
  for (std::size_t at = text.find(':'); at != std::string::npos; at = text.find(':', at + 1)) {
    const std::string_view rest = std::string_view(text).substr(at + 1);
    // Behind a letter, the colon of hh:mm is part of the format.
    if (text.find('%', inside) < at) return inside;
    if (rest.starts_with('%') || formNamed(rest)) return at;
    if (inside == std::string::npos && rest.find('%') != std::string_view::npos) inside = at;
  }
  return inside;
}

}  // namespace

void declareNotationOptions(Arguments& arguments, NotationOptions& options, bool writesDatetimes) {
  arguments.option("--from", options.from, "FORM",
                   "How datetimes are written: iso, ordinal, week, rfc3339,\n"
                   "rfc9557, or as numbers since 1970: s, ms, us, ns, pair.\n"
                   "Without it all but the numbers are recognised");
  arguments.options("--format", options.formats, "FORMAT",
                    "How datetimes are written, in strptime's letters, such as\n"
                    "'%d/%m/%Y %I:%M %p'; of several, any that fits");
  arguments.option("--year", options.year, "YEAR", "The year of a --format that has none");
  arguments.option("--na", options.missing, "TEXT,...",
                   "What else than NaN, NaT, NA and an empty text is no datetime,\n"
                   "and stays as it is");
  if (writesDatetimes) {
    arguments.option("--to", options.to, "FORM", "How to write them, if not as they came in");
    arguments.option("--to-format", options.toFormat, "FORMAT", "The same, in strftime's letters");
    arguments.option("--digits", options.digits, "N", "Cut the fraction of the second to N digits");
  }
  arguments.flag("--exact", options.exact,
                 "Write every digit that it takes to read back the same pair of\n"
                 "doubles; else seconds are rounded to nine digits, or to as many\n"
                 "as came in");
}

bool lacksYear(const std::string& text) {
  return text.find('%') != std::string::npos && !namesYear(text);
}

Notation notationOf(const NotationOptions& options) {
  if (options.from && !options.formats.empty())
    throw Failure{Status::usage, "datetimes are read either by --from or by --format"};
  if (options.to && options.toFormat)
    throw Failure{Status::usage, "datetimes are written either by --to or by --to-format"};
  Notation notation;
  notation.from = formOf(options.from, "--from").value_or(Form::recognised);
  notation.to = formOf(options.to, "--to");
  const std::optional<int> year = yearOf(options);
  for (const std::string& text : options.formats)
    notation.formats.push_back(formatToRead(text, "--format", year));
  if (options.inLine && options.from)
    throw Failure{
        Status::usage,
        "--in-line finds datetimes of the recognised forms; accepted: --format for others"};
  if (options.inLine && options.formats.empty()) {
    notation.formats = logFormats(year);
    notation.recognisedToo = true;
  }
  if (options.toFormat) {
    Complaint complaint;
    auto format = Format::forWriting(*options.toFormat, complaint);
    if (!format) {
      refuseWeeksOfYear(*options.toFormat, "--to-format");
      refuse("--to-format", complaint, *options.toFormat);
    }
    notation.toFormat = std::make_shared<const Format>(std::move(*format));
  }
  if (options.missing) notation.missing = listOf(*options.missing);
  notation.exact = options.exact;
  if (options.digits) {
    notation.digits =
        static_cast<std::size_t>(numberOf(*options.digits, "--digits", 1000, "0 to 1000 digits"));
  }
  return notation;
}

ColumnText columnOf(const std::string& text, std::string_view header,
                    const NotationOptions& options) {
  const std::size_t colon = colonOf(text);
  if (colon == std::string::npos || header.find(text) != std::string_view::npos)
    return {text, std::nullopt};
  const std::string spelled = text.substr(colon + 1);
  ColumnText column{text.substr(0, colon), notationOf(options)};
  column.notation->formats.clear();
  column.notation->from = formNamed(spelled).value_or(Form::recognised);
  if (column.notation->from == Form::recognised)
    column.notation->formats = {formatToRead(spelled, "--column", yearOf(options))};
  return column;
}

}  // namespace plx
