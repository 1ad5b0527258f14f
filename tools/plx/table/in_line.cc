#include "table/in_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "datetime/scanner.h"
#include "stream/line_reader.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedOne =
    "one that has a time of day; or --match REGEX for the part of the line that has it";
constexpr std::string_view kAcceptedWithoutZone =
    "times with an offset, with UTC or with a zone's identifier";

constexpr const char* kLogFormats[] = {
    "%d/%b/%Y:%H:%M:%S %z",    "%d/%b/%Y:%H:%M:%S",        "%Y-%m-%d %H:%M:%S %z",
    "%Y-%m-%d %H:%M:%S.%f %z", "%Y-%m-%d %H:%M:%S %Z",     "%Y-%m-%d %H:%M:%S.%f %Z",
    "%Y/%m/%d %H:%M:%S",       "%Y/%m/%d %H:%M:%S.%f",     "%a %b %e %H:%M:%S %Y",
    "%a %b %e %H:%M:%S.%f %Y", "%a, %d %b %Y %H:%M:%S %z", "%d %b %Y %H:%M:%S %z",
};
constexpr const char* kWithoutYear[] = {"%b %e %H:%M:%S", "%b %e %H:%M:%S.%f"};

// Abbreviations of zones, which several zones share or which change with the season.
constexpr std::string_view kAbbreviations[] = {
    "ACDT", "ACST", "AEDT", "AEST", "AKDT", "AKST", "AST", "AWST", "BST",  "CDT",
    "CEST", "CET",  "CST",  "EAT",  "EDT",  "EEST", "EET", "EST",  "HKT",  "HST",
    "IST",  "JST",  "KST",  "MDT",  "MSK",  "MST",  "NDT", "NST",  "NZDT", "NZST",
    "PDT",  "PST",  "SAST", "SGT",  "WAT",  "WEST", "WET"};

bool isWord(char c) {
  return isDigit(c) || ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

// What stands before a datetime is no part of a longer number or name: backup-2014-05-10.
bool canBeginBehind(char before) {
  return !isWord(before) && std::string_view("-+./").find(before) == std::string_view::npos;
}

// Nor is what stands behind: 2014-05-10.tar, 2014-05-10-b.
bool canEndBefore(std::string_view rest) {
  if (rest.empty()) return true;
  if (isWord(rest[0]) || rest[0] == '-' || rest[0] == '/' || rest[0] == '+') return false;
  const bool goesOn = rest.size() > 1 && isWord(rest[1]);
  return !((rest[0] == '.' || rest[0] == ':' || rest[0] == ',') && goesOn && isDigit(rest[1])) &&
         !(rest[0] == '.' && goesOn);
}

// An identifier or an offset in brackets: a log has other things there too.
std::size_t suffixAt(std::string_view rest) {
  if (!rest.starts_with('[')) return 0;
  const std::size_t end = rest.find(']');
  if (end == std::string_view::npos) return 0;
  const std::string_view inside = rest.substr(1, end - 1);
  const bool isZone = inside.find('/') != std::string_view::npos || inside == "UTC" ||
                      inside.find('=') != std::string_view::npos || inside.starts_with('+') ||
                      inside.starts_with('-');
  return isZone ? end + 1 + suffixAt(rest.substr(end + 1)) : 0;
}

// How long the text of the shape of a calendar date of ISO 8601 is that stands at the front, with what
// follows of a time and an offset; 0 where there is none.
std::size_t isoAt(std::string_view text, bool& hasTime) {
  Scanner scan(text);
  int number = 0;
  const auto pair = [&] { return scan.twoDigits(number); };
  const auto size = [&] { return text.size() - scan.rest().size(); };
  const bool hasYear = pair() && scan.twoDigits(number);
  if (!hasYear || !scan.skip('-') || !pair() || !scan.skip('-') || !pair()) return 0;
  std::size_t end = size();
  hasTime = false;
  if (scan.oneOf("Tt ") == 0 || !pair() || !scan.skip(':') || !pair()) return end;
  hasTime = true;
  end = size();
  if (scan.skip(':')) {
    if (!pair()) return end;
    end = size();
    if (scan.oneOf(".,") != 0 && !scan.digits().empty()) end = size();
  }
  scan = Scanner(text.substr(end));
  if (scan.oneOf("Zz") != 0) {
    end = size();
  } else if (scan.oneOf("+-") != 0 && pair()) {
    end = size();
    scan.skip(':');
    if (pair()) end = size();
  }
  return end + suffixAt(text.substr(end));
}

// Whether a datetime of a recognised form or of a log may begin there: 2014-, 2014/, 10/, 10 May, Oct 10, Fri,
// and so on. Most numbers and words end here.
bool isPlausible(std::string_view text) {
  const auto at = [&](std::size_t i) { return i < text.size() ? text[i] : '\0'; };
  if (!isDigit(text[0])) return at(3) == ' ' || at(3) == ',';
  std::size_t digits = 1;
  while (digits < 5 && isDigit(at(digits))) ++digits;
  const char next = at(digits);
  return digits == 4 ? next == '-' || next == '/' : digits < 3 && (next == '/' || next == ' ');
}

// The abbreviation of a zone that stands behind a datetime, as in 08:30:15 CEST.
std::string_view abbreviationIn(std::string_view rest) {
  if (!rest.starts_with(' ')) return {};
  rest.remove_prefix(1);
  const std::string_view word = rest.substr(
      0, static_cast<std::size_t>(std::ranges::find_if_not(rest, isWord) - rest.begin()));
  const bool isOne = std::ranges::find(kAbbreviations, word) != std::end(kAbbreviations);
  return isOne ? word : std::string_view();
}

}  // namespace

std::vector<std::shared_ptr<const Format>> logFormats(std::optional<int> year) {
  std::vector<std::shared_ptr<const Format>> formats;
  const auto add = [&](const char* text, std::optional<int> ofAll) {
    Complaint complaint;
    if (auto format = Format::forReading(text, ofAll, complaint))
      formats.push_back(std::make_shared<const Format>(std::move(*format)));
  };
  for (const char* text : kLogFormats) add(text, {});
  for (const char* text : kWithoutYear) {
    if (year) add(text, year);
  }
  return formats;
}

InLineSplitter::InLineSplitter(const InLineOptions& options) : options_(options) {
  if (options.match) pattern_.emplace(*options.match);
  for (std::size_t byte = 0; byte < beginnings_.size(); ++byte) {
    beginnings_[byte] = options.recognised && isDigit(static_cast<char>(byte));
    for (const auto& format : options.formats) beginnings_[byte] |= format->beginnings()[byte];
  }
}

// The longest datetime that begins there.
std::optional<InLineSplitter::Found> InLineSplitter::at(std::string_view line,
                                                        std::size_t begin) const {
  const std::string_view text = line.substr(begin);
  Found found{begin, begin, false};
  const auto take = [&](std::size_t size, bool hasTime) {
    if (begin + size > found.end && canEndBefore(text.substr(size)))
      found = {begin, begin + size, hasTime};
  };
  if (options_.recognised) {
    if (!isPlausible(text)) return std::nullopt;
    bool hasTime = false;
    const std::size_t size = isoAt(text, hasTime);
    if (size > 0) take(size, hasTime);
  }
  const auto first = static_cast<unsigned char>(text[0]);
  for (const auto& format : options_.formats) {
    FormatReading reading;
    if (!format->beginnings()[first]) continue;
    const std::size_t size = format->readFront(text, reading);
    if (size > 0) take(size, true);
  }
  return found.end > begin ? std::optional(found) : std::nullopt;
}

void InLineSplitter::split(const Chunk& chunk, std::size_t longest, Cells& cells) {
  clear(cells);
  cells.present.assign(1, 0);
  std::size_t number = chunk.line;
  while (cells.end < chunk.size) {
    const Line line = lineAt(chunk, cells.end, number++);
    if (line.text.size() > longest) {
      cells.failure = lineTooLong(chunk.source, line, longest);
      return;
    }
    const std::size_t begin = cells.end + line.lead.size();
    addLine(line.text, begin, cells);
    cells.records.push_back({begin, begin + line.text.size()});
    cells.end = begin + line.text.size() + line.ending.size();
  }
}

void InLineSplitter::addLine(std::string_view line, std::size_t begin, Cells& cells) {
  found_.clear();
  Span part{0, line.size()};
  if (pattern_) {
    const auto matched = pattern_->find(line);
    part = matched.value_or(Span{0, 0});
  }
  for (std::size_t at = part.begin; at < part.end; ++at) {
    if (!beginnings_[static_cast<unsigned char>(line[at])]) continue;
    if (at > part.begin && !canBeginBehind(line[at - 1])) continue;
    const auto found = this->at(line.substr(0, part.end), at);
    if (!found) continue;
    found_.push_back(*found);
    at = found->end - 1;
  }
  const std::size_t record = cells.records.size();
  cells.cells.push_back({begin, begin});
  if (found_.empty()) return;
  ++cells.present[0];
  const auto timed = static_cast<std::size_t>(std::ranges::count_if(found_, &Found::hasTime));
  // A date alone is no rival of a time.
  if (timed > 0) std::erase_if(found_, [](const Found& found) { return !found.hasTime; });
  if (found_.size() > 1) {
    cells.wrong.push_back(
        {record,
         begin + found_[1].begin,
         {fmt::format("one of {} datetimes in this line", found_.size()), kAcceptedOne}});
    return;
  }
  const Found& found = found_.front();
  if (const auto zone = abbreviationIn(line.substr(found.end)); !zone.empty()) {
    cells.wrong.push_back(
        {record,
         begin + found.end + 1,
         {"the abbreviation of a zone would stay behind the datetime", kAcceptedWithoutZone}});
    return;
  }
  cells.cells.back() = {begin + found.begin, begin + found.end};
}

}  // namespace plx
