#include "table/beside.h"

#include <algorithm>
#include <string>

#include "datetime/scanner.h"
#include "messages/calendar_names.h"
#include "messages/letters.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedHalf = "--format with %I and %p in it";
constexpr std::string_view kAcceptedOffset = "--format with %z in it, or %Z for UTC";
constexpr std::string_view kAcceptedWithoutZone =
    "times with an offset, with UTC or with a zone's identifier";
constexpr std::string_view kAcceptedYear = "--format with %Y in it";
constexpr std::string_view kAcceptedWeekday = "--format with %a or %A in it";

// Abbreviations of zones, which several zones share or which change with the season.
constexpr std::string_view kAbbreviations[] = {
    "ACDT", "ACST", "ADT",  "AEDT", "AEST", "AKDT", "AKST", "AST", "AWDT", "AWST",
    "BST",  "CAT",  "CDT",  "CEST", "CET",  "CST",  "EAT",  "EDT", "EEST", "EET",
    "EST",  "HDT",  "HKT",  "HST",  "IDT",  "IST",  "JST",  "KST", "MDT",  "MSD",
    "MSK",  "MST",  "NDT",  "NST",  "NZDT", "NZST", "PDT",  "PKT", "PST",  "SAST",
    "SGT",  "SST",  "WAST", "WAT",  "WEST", "WET",  "WIB",  "WIT", "WITA"};

constexpr std::string_view kNamesOfUTC[] = {"UTC", "GMT", "Z"};

bool isLetter(char c) { return 'a' <= lowerCase(c) && lowerCase(c) <= 'z'; }

std::string_view letters(std::string_view text) {
  const auto* const end = std::ranges::find_if_not(text, isLetter);
  return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

bool endsWord(std::string_view rest) {
  return rest.empty() || (!isLetter(rest[0]) && !isDigit(rest[0]) && rest[0] != '_');
}

// AM, pm, a.m. and the like.
bool isHalf(std::string_view text) {
  if (text.empty() || (lowerCase(text[0]) != 'a' && lowerCase(text[0]) != 'p')) return false;
  text.remove_prefix(1);
  if (text.starts_with('.')) text.remove_prefix(1);
  return !text.empty() && lowerCase(text[0]) == 'm' && endsWord(text.substr(1));
}

// +hh, +hhmm or +hh:mm.
bool isOffset(std::string_view text) {
  Scanner scan(text);
  int number = 0;
  if (scan.oneOf("+-") == 0 || !scan.twoDigits(number)) return false;
  const bool hasColon = scan.skip(':');
  const bool hasMinutes = scan.twoDigits(number);
  return (hasMinutes || !hasColon) && endsWord(scan.rest()) && scan.next() != '-';
}

bool isYear(std::string_view text) {
  Scanner scan(text);
  const std::string_view digits = scan.digits();
  return digits.size() == 4 && (digits.starts_with("19") || digits.starts_with("20")) &&
         endsWord(scan.rest()) &&
         std::string_view("-:/").find(scan.next()) == std::string_view::npos;
}

// The word that ends there is the day of the week: Sat, Saturday.
bool isWeekday(std::string_view word) {
  return std::ranges::any_of(kWeekdayNames, [&](std::string_view name) {
    return areEqualInAnyCase(word, name) || areEqualInAnyCase(word, name.substr(0, 3));
  });
}

std::optional<Beside> behind(std::string_view line, const FoundInLine& found) {
  std::size_t at = found.end;
  while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
  const bool isInBrackets = at > found.end && at < line.size() && line[at] == '(';
  if (isInBrackets) ++at;
  const std::string_view rest = line.substr(at);
  const std::string_view word = letters(rest);
  const bool isWord = !word.empty() && endsWord(rest.substr(word.size()));
  const auto left = [&](const char* what, std::string_view accepted) {
    return Beside{at, {std::string(what) + " would stay behind the datetime", accepted}};
  };
  if (!found.hasTime) return std::nullopt;
  if (isHalf(rest)) return left("AM or PM", kAcceptedHalf);
  if (!found.hasYear && isYear(rest)) return left("the year", kAcceptedYear);
  // In brackets, an abbreviation says once more what the offset is.
  if (found.hasOffset && isInBrackets) return std::nullopt;
  if (isWord && std::ranges::find(kAbbreviations, word) != std::end(kAbbreviations))
    return left("the abbreviation of a zone", kAcceptedWithoutZone);
  const bool isUTC = isWord && std::ranges::find(kNamesOfUTC, word) != std::end(kNamesOfUTC);
  if (!found.hasOffset && (isUTC || isOffset(rest)))
    return left("the offset from UTC", kAcceptedOffset);
  return std::nullopt;
}

std::optional<Beside> before(std::string_view line, const FoundInLine& found) {
  std::size_t end = found.begin;
  while (end > 0 && (line[end - 1] == ' ' || line[end - 1] == ',')) --end;
  std::size_t begin = end;
  while (begin > 0 && isLetter(line[begin - 1])) --begin;
  const std::string_view word = line.substr(begin, end - begin);
  // A name begins with a capital letter, and no other letter or digit stands before it.
  const bool isName = end < found.begin && !word.empty() && word[0] < 'a' &&
                      (begin == 0 || endsWord(line.substr(begin - 1)));
  if (!isName || !isWeekday(word)) return std::nullopt;
  return Beside{begin, {"the day of the week would stay before the datetime", kAcceptedWeekday}};
}

}  // namespace

std::optional<Beside> besideDatetime(std::string_view line, const FoundInLine& found) {
  auto left = behind(line, found);
  return left ? left : before(line, found);
}

std::optional<Span> timeOfDayIn(std::string_view line, Span part) {
  const auto isPartOfNumber = [](char c) {
    return isDigit(c) || isLetter(c) || c == '_' || c == ':' || c == '.';
  };
  for (std::size_t colon = line.find(':', part.begin); colon < part.end;
       colon = line.find(':', colon + 1)) {
    std::size_t begin = colon;
    while (begin > part.begin && isDigit(line[begin - 1])) --begin;
    const bool hasHour = begin < colon && colon - begin <= 2;
    const bool isFree = begin == part.begin || !isPartOfNumber(line[begin - 1]) ||
                        line[begin - 1] == 'T' || line[begin - 1] == '_';
    Scanner minute(line.substr(colon + 1, part.end - colon - 1));
    if (hasHour && isFree && minute.digits().size() == 2) return Span{begin, colon + 3};
  }
  return std::nullopt;
}

}  // namespace plx
