#include "table/in_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "datetime/scanner.h"
#include "messages/calendar_names.h"
#include "messages/letters.h"
#include "stream/line_reader.h"
#include "table/sixteen_bytes.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedOne =
    "one that has a time of day; or --match REGEX for the part of the line that has it";
constexpr std::string_view kAcceptedClear =
    "a blank, a bracket or the like behind it; or --match REGEX for what it is alone";
constexpr std::string_view kAcceptedWithTime =
    "--format for both as one; or --match REGEX for the part of the line that has no time of day";

constexpr const char* kLogFormats[] = {
    "%d/%b/%Y:%H:%M:%S %z",    "%d/%b/%Y:%H:%M:%S",        "%Y-%m-%d %H:%M:%S %z",
    "%Y-%m-%d %H:%M:%S.%f %z", "%Y-%m-%d %H:%M:%S %Z",     "%Y-%m-%d %H:%M:%S.%f %Z",
    "%a %Y-%m-%d %H:%M:%S %Z", "%a %Y-%m-%d %H:%M:%S",     "%Y/%m/%d %H:%M:%S",
    "%Y/%m/%d %H:%M:%S.%f",    "%a %b %e %H:%M:%S %Y",     "%a %b %e %H:%M:%S.%f %Y",
    "%a %b %e %H:%M:%S %Z %Y", "%a, %d %b %Y %H:%M:%S %z", "%a, %d %b %Y %H:%M:%S %Z",
    "%d %b %Y %H:%M:%S %z",    "%d %b %Y %H:%M:%S %Z",     "%b %e %H:%M:%S %Y",
    "%b %e %Y %H:%M:%S",       "%d %b %Y %H:%M:%S",        "%d %b %Y %H:%M:%S.%f",
    "%Y-%m-%d %H:%M:%S",  // with hours of one digit
};
constexpr const char* kWithoutYear[] = {"%b %e %H:%M:%S", "%b %e %H:%M:%S.%f"};

bool isWord(char c) {
  return isDigit(c) || ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

// What stands before a datetime is no part of a longer number or name, as in backup-2014-05-10. Nor is what stands
// behind: 2014-05-10.tar, 2014-05-10-b.
bool canEndBefore(std::string_view rest, bool hasTime) {
  if (rest.empty()) return true;
  if (isWord(rest[0]) || rest[0] == '-' || rest[0] == '/' || rest[0] == '+') return false;
  const bool goesOn = rest.size() > 1 && isWord(rest[1]);
  const bool isNumber = goesOn && isDigit(rest[1]);
  return !(rest[0] == ':' && isNumber) && !(rest[0] == ',' && isNumber && hasTime) &&
         !(rest[0] == '.' && goesOn);
}

// What cannot end there is more than a name with a date in it: a time of day belongs to it.
bool isUnclearBefore(std::string_view rest, bool hasTime) {
  return hasTime ||
         (rest.size() > 1 && std::string_view("Tt:").find(rest[0]) != std::string_view::npos &&
          isDigit(rest[1]));
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

// A text of the shape of a calendar date of ISO 8601, with what follows of a time and an offset.
struct IsoShape {
  std::size_t size = 0;  // 0 where there is none
  bool hasTime = false, hasOffset = false, hasComma = false;
};

// The one that stands at the front.
IsoShape isoAt(std::string_view text) {
  Scanner scan(text);
  IsoShape shape;
  int number = 0;
  const auto pair = [&] { return scan.twoDigits(number); };
  const auto takeAll = [&] { shape.size = text.size() - scan.rest().size(); };
  const bool hasYear = pair() && scan.twoDigits(number);
  if (!hasYear || !scan.skip('-') || !pair() || !scan.skip('-') || !pair()) return {};
  takeAll();
  if (scan.oneOf("Tt ") == 0 || !pair() || !scan.skip(':') || !pair()) return shape;
  shape.hasTime = true;
  takeAll();
  if (scan.skip(':')) {
    if (!pair()) return shape;
    takeAll();
    const char mark = scan.oneOf(".,");
    if (mark != 0 && !scan.digits().empty()) {
      shape.hasComma = mark == ',';
      takeAll();
    }
  }
  scan = Scanner(text.substr(shape.size));
  if (scan.oneOf("Zz") != 0) {
    shape.hasOffset = true;
    takeAll();
  } else if (scan.oneOf("+-") != 0 && pair()) {
    shape.hasOffset = true;
    takeAll();
    scan.skip(':');
    if (pair()) takeAll();
  }
  const std::size_t suffix = suffixAt(text.substr(shape.size));
  shape.hasOffset = shape.hasOffset || suffix > 0;
  shape.size += suffix;
  return shape;
}

// Three letters as one number, in lower case.
constexpr std::uint32_t keyOf(std::string_view name) {
  std::uint32_t key = 0;
  for (const char c : name.substr(0, 3)) key = key << 8 | static_cast<unsigned char>(lowerCase(c));
  return key;
}

template <std::size_t N>
constexpr std::array<std::uint32_t, N> keysOf(const std::array<std::string_view, N>& names) {
  std::array<std::uint32_t, N> keys{};
  std::ranges::transform(names, keys.begin(), keyOf);
  return keys;
}

constexpr auto kMonthKeys = keysOf(kMonthNames);
constexpr auto kWeekdayKeys = keysOf(kWeekdayNames);

bool isMonth(std::string_view text) {
  return std::ranges::find(kMonthKeys, keyOf(text)) != kMonthKeys.end();
}

// By byte: whether a name begins with it.
constexpr auto kBeginsName = [] {
  std::array<bool, 256> begins{};
  const auto add = [&](const auto& names) {
    for (const std::string_view name : names) {
      begins[static_cast<unsigned char>(name[0])] = true;
      begins[static_cast<unsigned char>(lowerCase(name[0]))] = true;
    }
  };
  add(kMonthNames);
  add(kWeekdayNames);
  return begins;
}();

// A month or a day of the week. Most words begin no date.
bool isName(std::string_view text) {
  if (text.empty() || !kBeginsName[static_cast<unsigned char>(text[0])]) return false;
  return isMonth(text) || std::ranges::find(kWeekdayKeys, keyOf(text)) != kWeekdayKeys.end();
}

// Whether a datetime of a recognised form or of a log may begin there: 2014-, 2014/, 10/, 10 May, Oct 10, Fri,
// and so on. Most numbers and words end here.
bool isPlausible(std::string_view text) {
  const auto at = [&](std::size_t i) { return i < text.size() ? text[i] : '\0'; };
  if (!isDigit(text[0])) return (at(3) == ' ' || at(3) == ',') && isName(text);
  std::size_t digits = 1;
  while (digits < 5 && isDigit(at(digits))) ++digits;
  const char next = at(digits);
  if (digits == 4) return next == '-' || next == '/';
  return digits < 3 && (next == '/' || (next == ' ' && isMonth(text.substr(digits + 1))));
}

// Whether a format may read more than a text of ISO 8601, behind which there is this.
bool mayGoOn(std::string_view rest) {
  return rest.size() > 1 && rest[0] == ' ' &&
         (rest[1] == '+' || rest[1] == '-' || ('A' <= rest[1] && rest[1] <= 'Z'));
}

// Digits behind a comma are a fraction, unless commas stand between fields: 08:30:15,200,GET.
bool isAmongCommas(std::string_view line, std::size_t begin, std::size_t end) {
  return (begin > 0 && line[begin - 1] == ',') || (end < line.size() && line[end] == ',');
}

// What a format says of a text of its shape that is no datetime, such as 30 February. Of a text of another
// shape, nothing.
std::optional<Complaint> wrongInShape(const Format& format, std::string_view text) {
  Complaint complaint = format.complaintOf(text);
  if (complaint.what.starts_with("not in the format ")) return std::nullopt;
  return complaint;
}

}  // namespace

bool namesYear(std::string_view format) {
  constexpr std::string_view kYears = "YyGFDs";
  for (std::size_t at = 0; at + 1 < format.size(); ++at) {
    if (format[at] != '%') continue;
    if (kYears.find(format[++at]) != std::string_view::npos) return true;
  }
  return false;
}

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

namespace {

constexpr unsigned kIso = 31;      // the bit of the dates of ISO 8601
constexpr unsigned kFurther = 30;  // and of formats that have no bit of their own

constexpr std::uint32_t bitOf(std::size_t format) {
  return std::uint32_t{1} << std::min<std::size_t>(format, kFurther);
}

}  // namespace

InLineSplitter::InLineSplitter(const InLineOptions& options) : options_(options) {
  if (options.match) pattern_.emplace(*options.match);
  findFronts();
  for (std::size_t byte = 0; byte < begins_.size(); ++byte) {
    const bool isOfWord = isLetterOrDigit(static_cast<char>(byte));
    // A format may begin with a blank, which isPlausible() has not.
    begins_[byte] = fronts_[0][byte] != 0 && (isOfWord || !options.recognised);
    if (begins_[byte] && !isOfWord) beginsWithWords_ = false;
  }
  for (const auto& format : options.formats) {
    hasYear_.push_back(namesYear(format->text()));
    begunBy_.push_back(options.byPlaces ? formsBegunBy(format->text()) : 0);
  }
}

void InLineSplitter::findFronts() {
  for (std::size_t place = 0; place < fronts_.size(); ++place) {
    for (std::size_t byte = 0; byte < fronts_[place].size(); ++byte) {
      const char c = static_cast<char>(byte);
      Forms& forms = fronts_[place][byte];
      if (options_.recognised && (place == 4 ? c == '-' : isDigit(c))) forms |= 1U << kIso;
      for (std::size_t i = 0; i < options_.formats.size(); ++i)
        if (options_.formats[i]->mayHave(place, c)) forms |= bitOf(i);
    }
  }
}

// The formats, but those without a bit of their own, that are the begin of another one, as %H:%M is of %H:%M:%S: what
// they read ends no later.
InLineSplitter::Forms InLineSplitter::formsBegunBy(std::string_view text) const {
  Forms forms = 0;
  for (std::size_t i = 0; i < std::min<std::size_t>(options_.formats.size(), kFurther); ++i)
    if (text.starts_with(options_.formats[i]->text())) forms |= bitOf(i);
  return forms;
}

// Those that may stand at the front of a text, by its first bytes.
InLineSplitter::Forms InLineSplitter::formsAt(std::string_view text) const {
  Forms forms = ~Forms{0};
  const std::size_t count = std::min(text.size(), options_.byPlaces ? fronts_.size() : 1);
  for (std::size_t i = 0; i < count; ++i) forms &= fronts_[i][static_cast<unsigned char>(text[i])];
  return forms;
}

// The datetime in a format that begins there; of no bytes where there is none.
FoundInLine InLineSplitter::readFront(std::size_t number, std::string_view line,
                                      std::size_t begin) {
  const Format& format = *options_.formats[number];
  const std::string_view text = line.substr(begin);
  Layout::Front front{Layout::Reads::unknown};
  if (options_.byPlaces) front = format.layout().readFront(text, time_);
  bool hasTime = format.layout().hasClock();
  if (front.reads == Layout::Reads::unknown) {
    FormatReading reading;
    front.size = format.readFront(text, reading);
    hasTime = format.isCount() || reading.datetime.separator != 0;
  }
  return {begin, begin + front.size, hasTime, format.isCount() || format.hasOffset(),
          hasYear_[number]};
}

// The longest datetime that begins there. Where none can end, `unclear_` is where one seemed to.
std::optional<FoundInLine> InLineSplitter::at(std::string_view line, std::size_t begin) {
  const std::string_view text = line.substr(begin);
  Forms forms = formsAt(text);
  if (forms == 0) return std::nullopt;
  FoundInLine found{begin, begin};
  bool isUnclear = false;
  const auto take = [&](const FoundInLine& candidate) {
    const std::string_view rest = line.substr(candidate.end);
    if (!canEndBefore(rest, candidate.hasTime)) {
      isUnclear = isUnclear || isUnclearBefore(rest, candidate.hasTime);
    } else if (candidate.end > found.end) {
      found = candidate;
    }
  };
  if ((forms & 1U << kIso) != 0) {
    const IsoShape shape = isoAt(text);
    const std::size_t end = begin + shape.size;
    if (shape.hasComma && isAmongCommas(line, begin, end)) {
      isUnclear = true;
    } else if (shape.size > 0) {
      take({begin, end, shape.hasTime, shape.hasOffset, true});
      if (shape.hasTime && found.end == end && !mayGoOn(line.substr(end))) return found;
    }
  }
  for (forms &= ~(1U << kIso); forms != 0; forms &= forms - 1) {
    const auto first = static_cast<std::size_t>(std::countr_zero(forms));
    const std::size_t end = first == kFurther ? options_.formats.size() : first + 1;
    for (std::size_t i = first; i < end; ++i) {
      const FoundInLine candidate = readFront(i, line, begin);
      if (candidate.end <= begin) continue;
      take(candidate);
      if (found.end == candidate.end) forms &= ~begunBy_[i] | bitOf(first);
    }
  }
  if (found.end > begin) return found;
  if (isUnclear && !unclear_) unclear_ = begin;
  return std::nullopt;
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

// Whether a datetime may begin there, where no longer word does.
inline bool InLineSplitter::isCandidate(std::size_t at, std::string_view line, Span part) const {
  const std::string_view text = line.substr(at, part.end - at);
  return begins_[static_cast<unsigned char>(text[0])] &&
         (!options_.recognised || isPlausible(text));
}

// The first place from `at` on where a datetime may begin; the part's end where there is none.
std::size_t InLineSplitter::candidateFrom(std::size_t at, std::string_view line, Span part) const {
  if (options_.byPlaces && beginsWithWords_ && part.end - part.begin >= kSixteen)
    return wordFrom(at, line, part);
  for (; at < part.end; ++at) {
    const bool isJoined = at > part.begin && joinsWords(line[at - 1]);
    if (!isJoined && isCandidate(at, line, part)) return at;
  }
  return part.end;
}

// The same where datetimes begin with letters and digits, in a part of sixteen bytes or more: the begins of words among
// sixteen bytes at once. The last sixteen overlap those before.
inline std::size_t InLineSplitter::wordFrom(std::size_t at, std::string_view line,
                                            Span part) const {
  while (at < part.end) {
    const std::size_t block = std::min(at, part.end - kSixteen);
    const bool isJoined = block > part.begin && joinsWords(line[block - 1]);
    const WordBytes bytes = wordBytesAmong(line.data() + block);
    std::uint32_t starts = bytes.words & ~(bytes.joins << 1 | (isJoined ? 1U : 0U));
    for (starts &= ~std::uint32_t{0} << (at - block); starts != 0; starts &= starts - 1) {
      const std::size_t start = block + static_cast<std::size_t>(std::countr_zero(starts));
      if (isCandidate(start, line, part)) return start;
    }
    at = block + kSixteen;
  }
  return part.end;
}

void InLineSplitter::findIn(std::string_view line, Span part) {
  found_.clear();
  unclear_.reset();
  const std::string_view toEnd = line.substr(0, part.end);
  std::size_t at = firstCandidate_ = candidateFrom(part.begin, line, part);
  while (at < part.end) {
    const auto found = this->at(toEnd, at);
    if (found) found_.push_back(*found);
    at = candidateFrom(found ? found->end : at + 1, line, part);
  }
}

// What begins before a place and is none in a format of its shape.
std::optional<Beside> InLineSplitter::wrongBefore(std::size_t end, std::string_view line,
                                                  Span part) const {
  for (std::size_t at = part.begin; (at = candidateFrom(at, line, part)) < end; ++at) {
    const std::string_view text = line.substr(at, part.end - at);
    if (!options_.recognised && isWord(text[0]) && !isDigit(text[0]) && !isName(text)) continue;
    for (const auto& format : options_.formats) {
      if (!format->mayHave(0, text[0])) continue;
      if (auto complaint = wrongInShape(*format, text)) return Beside{at, std::move(*complaint)};
    }
  }
  return std::nullopt;
}

// The one datetime of the line is left in `found_`. Nothing where that is sure, or where the line has none.
std::optional<Beside> InLineSplitter::doubtOf(std::string_view line, Span part) {
  const auto timed = std::ranges::find_if(found_, &FoundInLine::hasTime);
  const bool hasTimed = timed != found_.end();
  const std::size_t first = hasTimed ? timed->begin : part.end;
  if (unclear_ && *unclear_ < first)
    return Beside{*unclear_, {"where the datetime ends is not clear", kAcceptedClear}};
  if (firstCandidate_ < first || !options_.byPlaces) {
    if (auto wrong = wrongBefore(first, line, part)) return wrong;
  }
  // A date alone is no rival of a time.
  if (hasTimed) std::erase_if(found_, [](const FoundInLine& found) { return !found.hasTime; });
  if (found_.empty()) return std::nullopt;
  if (found_.size() > 1)
    return Beside{found_[1].begin,
                  {fmt::format("one of {} datetimes in this line", found_.size()), kAcceptedOne}};
  if (auto beside = besideDatetime(line, found_[0])) return beside;
  if (hasTimed || !options_.usesClock) return std::nullopt;
  const auto time = timeOfDayIn(line, part);
  if (!time) return std::nullopt;
  return Beside{time->begin, {"a time of day stands apart from the date", kAcceptedWithTime}};
}

void InLineSplitter::addLine(std::string_view line, std::size_t begin, Cells& cells) {
  Span part{0, line.size()};
  if (pattern_) part = pattern_->find(line).value_or(Span{0, 0});
  findIn(line, part);
  auto doubt = doubtOf(line, part);
  if (doubt || !found_.empty()) ++cells.present[0];
  if (doubt) {
    cells.wrong.push_back({cells.records.size(), begin + doubt->at, std::move(doubt->complaint)});
  }
  const bool isSure = !doubt && !found_.empty();
  cells.cells.push_back(isSure ? Cell{begin + found_[0].begin, begin + found_[0].end}
                               : Cell{begin, begin});
}

}  // namespace plx
