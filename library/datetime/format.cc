#include "datetime/format.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "datetime/day_number.h"
#include "datetime/scanner.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedLetters =
    "%Y %y %m %b %B %d %e %j, %G %V %u %w %a %A, %H %k %I %l %p %P %M %S %f, %z %:z %Z, %s, %F %T "
    "%R "
    "%D %r %n %t %%";
constexpr std::string_view kAcceptedDates =
    "a year with a month and day (%Y-%m-%d), a day of the year (%Y-%j), a week and a weekday "
    "(%G-W%V-%u), or %s";
constexpr std::string_view kAcceptedOnce = "each part of a datetime once";

// Styles have 64 bits.
constexpr std::size_t kMostParts = 16;
constexpr std::size_t kLongestFormat = 1000;

// What a letter stands for that is short for several, which are then read in its place.
std::string_view shortFor(char letter) {
  switch (letter) {
    case 'F':
      return "%Y-%m-%d";
    case 'T':
      return "%H:%M:%S";
    case 'R':
      return "%H:%M";
    case 'D':
      return "%m/%d/%y";
    case 'r':
      return "%I:%M:%S %p";
    case 'n':
      return "\n";
    case 't':
      return "\t";
    default:
      return {};
  }
}

// Letter::literal for a character that is none.
Letter letterOf(char letter) {
  constexpr std::pair<char, Letter> kLetters[] = {
      {'Y', Letter::year},
      {'y', Letter::yearOfCentury},
      {'m', Letter::month},
      {'b', Letter::monthAbbreviation},
      {'h', Letter::monthAbbreviation},
      {'B', Letter::monthName},
      {'d', Letter::day},
      {'e', Letter::day},
      {'j', Letter::dayOfYear},
      {'G', Letter::weekYear},
      {'V', Letter::week},
      {'u', Letter::weekday},
      {'w', Letter::weekdayFromSunday},
      {'a', Letter::weekdayAbbreviation},
      {'A', Letter::weekdayName},
      {'H', Letter::hour},
      {'k', Letter::hour},
      {'I', Letter::hourOfTwelve},
      {'l', Letter::hourOfTwelve},
      {'p', Letter::half},
      {'P', Letter::half},
      {'M', Letter::minute},
      {'S', Letter::second},
      {'f', Letter::fraction},
      {'z', Letter::offset},
      {'Z', Letter::zone},
      {'s', Letter::count},
  };
  const auto* const found =
      std::ranges::find(kLetters, letter, [](const auto& known) { return known.first; });
  return found == std::end(kLetters) ? Letter::literal : found->second;
}

constexpr Letters kNumbers =
    lettersOf(Letter::year, Letter::yearOfCentury, Letter::month, Letter::day, Letter::dayOfYear,
              Letter::weekYear, Letter::week, Letter::weekday, Letter::weekdayFromSunday,
              Letter::hour, Letter::hourOfTwelve, Letter::minute, Letter::second, Letter::fraction);
constexpr Letters kPadded =
    lettersOf(Letter::month, Letter::day, Letter::dayOfYear, Letter::week, Letter::hour,
              Letter::hourOfTwelve, Letter::minute, Letter::second);
constexpr Letters kMonths = lettersOf(Letter::month, Letter::monthAbbreviation, Letter::monthName);
constexpr Letters kWeekdays = lettersOf(Letter::weekday, Letter::weekdayFromSunday,
                                        Letter::weekdayAbbreviation, Letter::weekdayName);
constexpr Letters kYears = lettersOf(Letter::year, Letter::yearOfCentury);
constexpr Letters kOffsets = lettersOf(Letter::offset, Letter::offsetWithColon);
constexpr Letters kClock = lettersOf(Letter::hour, Letter::hourOfTwelve, Letter::half,
                                     Letter::minute, Letter::second, Letter::fraction);

constexpr bool isOneOf(Letter letter, Letters letters) {
  return (lettersOf(letter) & letters) != 0;
}

// The bytes that a part takes at most; a fraction and a zone have no bound.
std::size_t mostBytes(const FormatPart& part) {
  switch (part.letter) {
    case Letter::literal:
      return part.size;
    case Letter::count:
      return 40;
    default:
      return 10;  // "+hh:mm:ss", "September", "Wednesday"
  }
}

}  // namespace

class Format::Compiler {
 public:
  Compiler(Format& format, Complaint& complaint) : format_(format), complaint_(complaint) {}

  bool compile(std::string_view text) {
    format_.text_ = text;
    if (text.empty()) return fail("the format is empty", kAcceptedLetters);
    if (text.size() > kLongestFormat) return fail("the format is too long", "up to 1000 bytes");
    if (!addAll(text)) return false;
    if (format_.letters_ == 0)
      return fail("the format has no letters behind a %", kAcceptedLetters);
    joinNeighbours();
    return true;
  }

  // Whether what it tells is enough for a datetime, and can be taken apart in one way.
  bool mayRead() {
    if (hasTwice_) return fail("a part stands twice in the format", kAcceptedOnce);
    if (parts_ > kMostParts) return fail("the format has more than 16 parts", kAcceptedOnce);
    return tellsDate() && tellsClock() && isDelimited();
  }

 private:
  bool addAll(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
      if (text[at] != '%') {
        addLiteral(text[at++]);
        continue;
      }
      const std::size_t begin = at++;
      FormatPart part;
      const bool hasFlag =
          at < text.size() && std::string_view("-_0").find(text[at]) != std::string_view::npos;
      const char flag = hasFlag ? text[at++] : 0;
      const bool hasColon = at < text.size() && text[at] == ':';
      if (hasColon) ++at;
      const char letter = at < text.size() ? text[at++] : 0;
      const std::string_view sequence = text.substr(begin, at - begin);
      if (!hasFlag && !hasColon && letter == '%') {
        addLiteral('%');
        continue;
      }
      if (const auto all = shortFor(letter); !all.empty() && sequence.size() == 2) {
        if (!addAll(all)) return false;
        continue;
      }
      part.letter = letterOf(letter);
      const bool takesFlag = !hasFlag || isOneOf(part.letter, kPadded);
      const bool takesColon = !hasColon || part.letter == Letter::offset;
      if (part.letter == Letter::literal || !takesFlag || !takesColon)
        return fail(fmt::format("{} is not known in formats", quoteText(sequence)),
                    kAcceptedLetters);
      if (hasColon) part.letter = Letter::offsetWithColon;
      if (letter == 'e' || letter == 'k' || letter == 'l' || flag == '_')
        part.padding = Padding::blanks;
      part.smallLetters = letter == 'P';
      if (flag == '0') part.padding = Padding::zeros;
      if (flag == '-') part.padding = Padding::none;
      add(part);
    }
    return true;
  }

  void addLiteral(char c) {
    const bool goesOn = !format_.parts_.empty() && format_.parts_.back().letter == Letter::literal;
    if (!goesOn) {
      FormatPart part;
      part.begin = static_cast<std::uint16_t>(format_.literals_.size());
      format_.parts_.push_back(part);
    }
    format_.literals_ += c;
    ++format_.parts_.back().size;
  }

  void add(FormatPart part) {
    Letters same = lettersOf(part.letter);
    for (const Letters group : {kMonths, kWeekdays, kOffsets}) {
      if (isOneOf(part.letter, group)) same = group;
    }
    hasTwice_ = hasTwice_ || format_.hasAny(same);
    // Of what is written alone, parts have no styles.
    if (parts_ < kMostParts) part.shift = static_cast<std::uint8_t>(4 * parts_);
    ++parts_;
    format_.letters_ |= lettersOf(part.letter);
    format_.parts_.push_back(part);
  }

  bool beginsWithDigit(const FormatPart& part) const {
    if (part.letter == Letter::literal) return isDigit(format_.literals_[part.begin]);
    return isOneOf(part.letter, kNumbers | lettersOf(Letter::count));
  }

  void joinNeighbours() {
    std::vector<FormatPart>& parts = format_.parts_;
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
      parts[i].touches = beginsWithDigit(parts[i + 1]);
      if (parts[i].letter == Letter::count && i + 2 < parts.size() &&
          parts[i + 2].letter == Letter::fraction && literalOf(parts[i + 1]) == ".")
        parts[i].ofCount = parts[i + 2].ofCount = true;
    }
    for (const FormatPart& part : parts) format_.mostBytes_ += mostBytes(part);
  }

  bool tellsDate() {
    const bool hasYear = format_.hasAny(kYears) || format_.year_.has_value();
    const bool hasWeek = format_.has(Letter::weekYear) && format_.has(Letter::week);
    if (format_.has(Letter::count)) return tellsCount();
    if (format_.year_ && (format_.hasAny(kYears) || format_.has(Letter::weekYear)))
      return fail("the format has a year of its own", "--year for formats without %Y, %y and %G");
    constexpr Letters kWeeks = kWeekdays | lettersOf(Letter::weekYear, Letter::week);
    // A year alone means its first day.
    const bool isYearAlone =
        !format_.hasAny(kWeeks | lettersOf(Letter::day) | lettersOf(Letter::dayOfYear));
    const bool tellsDay = format_.has(Letter::day) || !format_.has(Letter::dayOfYear);
    if (hasYear && ((format_.hasAny(kMonths) && tellsDay) || isYearAlone)) {
      format_.date_ = Date::monthAndDay;
    } else if (hasYear && format_.has(Letter::dayOfYear)) {
      format_.date_ = Date::dayOfYear;
    } else if (hasWeek && format_.hasAny(kWeekdays)) {
      format_.date_ = Date::week;
    } else if (!hasYear && format_.hasAny(kMonths | lettersOf(Letter::dayOfYear))) {
      return fail("the format has no year", "%Y or %y, or --year for all datetimes");
    } else {
      return fail("the format tells no date", kAcceptedDates);
    }
    if (format_.date_ == Date::monthAndDay && format_.hasAny(kWeeks) && !format_.has(Letter::day))
      return fail("the format tells a weekday and no day",
                  "%d or %e beside a weekday, or %G-W%V-%u");
    format_.isRedundant_ = isRedundant();
    return true;
  }

  bool isRedundant() const {
    const auto firstOf = [&](Letters letters) {
      const Letters there = format_.letters_ & letters;
      return there & (~there + 1);
    };
    Letters needed = lettersOf(Letter::weekYear, Letter::week) | firstOf(kWeekdays);
    if (format_.date_ != Date::week) {
      needed = firstOf(kYears);
      needed |= format_.date_ == Date::dayOfYear ? lettersOf(Letter::dayOfYear)
                                                 : firstOf(kMonths) | lettersOf(Letter::day);
    }
    const Letters dates = kYears | kMonths | kWeekdays |
                          lettersOf(Letter::day, Letter::dayOfYear, Letter::weekYear, Letter::week);
    return (format_.letters_ & dates & ~needed) != 0;
  }

  // A count tells everything but the fraction behind its point and the offset.
  bool tellsCount() {
    constexpr std::string_view kAccepted = "%s, %s.%f, and %z behind them";
    format_.date_ = Date::count;
    constexpr Letters kBeside = lettersOf(Letter::count, Letter::fraction) | kOffsets;
    if ((format_.letters_ & ~kBeside) != 0 || format_.year_)
      return fail("%s tells date and time alone", kAccepted);
    const auto isOwn = [](const FormatPart& part) {
      return part.letter != Letter::fraction || part.ofCount;
    };
    if (!std::ranges::all_of(format_.parts_, isOwn))
      return fail("the fraction of %s does not stand behind its point", kAccepted);
    return true;
  }

  bool tellsClock() {
    const bool hasTwelve = format_.has(Letter::hourOfTwelve), hasHalf = format_.has(Letter::half);
    if (hasTwelve && !hasHalf && !format_.has(Letter::hour))
      return fail("%I tells no hour without %p", "%I with %p, or %H");
    if (hasHalf && !hasTwelve && !format_.has(Letter::hour))
      return fail("%p tells no hour without %I", "%I with %p, or %H");
    const bool hasHour = hasTwelve || format_.has(Letter::hour);
    if (format_.date_ == Date::count) return true;
    if ((!hasHour && format_.hasAny(kClock)) ||
        (!format_.has(Letter::minute) && format_.has(Letter::second)))
      return fail("the format has a smaller part of the time without the larger one",
                  "%H, %H:%M, %H:%M:%S or %H:%M:%S.%f");
    if (format_.has(Letter::fraction) && !format_.has(Letter::second))
      return fail("the format has a fraction without its second", "%S.%f");
    return true;
  }

  bool isDelimited() {
    const std::vector<FormatPart>& parts = format_.parts_;
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
      const FormatPart &part = parts[i], &next = parts[i + 1];
      const bool isEndless =
          isOneOf(part.letter, lettersOf(Letter::fraction, Letter::count) | kOffsets);
      if (isEndless && part.touches)
        return fail("where a part ends is not told, as a digit follows",
                    "another character between them");
      if (isOneOf(part.letter, kOffsets) && beginsWithColonAndDigit(i + 1))
        return fail("where the offset ends is not told, as a colon and a digit follow",
                    "another character between them");
      // Of a zone's name everything may be a part but these.
      const bool endsZone = next.letter == Letter::literal &&
                            std::string_view(" ,;()[]\"'|\t").find(format_.literals_[next.begin]) !=
                                std::string_view::npos;
      if (part.letter == Letter::zone && !endsZone)
        return fail("where the zone's name ends is not told", "a space behind %Z, or a bracket");
      // To take it for a character would drop the offset without a word.
      const bool isZ = next.letter == Letter::literal && literalOf(next).front() == 'Z';
      if (isOneOf(part.letter, kClock) && isZ && !format_.hasOffset())
        return fail("the Z behind a time says that it is UTC", "%z, which reads Z, too");
    }
    return true;
  }

  // What stands from a part on.
  bool beginsWithColonAndDigit(std::size_t at) const {
    const std::vector<FormatPart>& parts = format_.parts_;
    if (parts[at].letter != Letter::literal) return false;
    const std::string_view literal = literalOf(parts[at]);
    if (literal.front() != ':') return false;
    return literal.size() > 1 ? isDigit(literal[1])
                              : at + 1 < parts.size() && beginsWithDigit(parts[at + 1]);
  }

  std::string_view literalOf(const FormatPart& part) const {
    return std::string_view(format_.literals_).substr(part.begin, part.size);
  }

  bool fail(std::string what, std::string_view accepted) {
    complaint_ = {std::move(what), accepted, Status::usage};
    return false;
  }

  Format& format_;
  Complaint& complaint_;
  std::size_t parts_ = 0;
  bool hasTwice_ = false;
};

std::optional<Format> Format::forReading(std::string_view text, std::optional<int> year,
                                         Complaint& complaint) {
  std::optional<Format> format(std::in_place);
  format->year_ = year;
  Compiler compiler(*format, complaint);
  if (!compiler.compile(text) || !compiler.mayRead()) return std::nullopt;
  format->findFronts(0, 0);
  format->makeExample();
  format->layout_ = Layout(format->parts_, format->literals_, year);
  return format;
}

std::optional<Format> Format::forWriting(std::string_view text, Complaint& complaint) {
  std::optional<Format> format(std::in_place);
  if (!Compiler(*format, complaint).compile(text)) return std::nullopt;
  return format;
}

void Format::allow(std::size_t place, std::string_view bytes) {
  for (const char c : bytes) fronts_[place][static_cast<unsigned char>(c)] = true;
}

// Allows what a part may have that begins at a place, and what then may follow.
void Format::findFronts(std::size_t part, std::size_t place) {
  if (place >= kFronts) return;
  const auto allowAll = [&](std::size_t from) {
    for (std::size_t i = from; i < kFronts; ++i) fronts_[i].fill(true);
  };
  if (part == parts_.size()) return allowAll(place);
  const FormatPart& here = parts_[part];
  const auto allowEach = [&](std::string_view bytes, std::size_t least, std::size_t most) {
    for (std::size_t i = 0; i < most && place + i < kFronts; ++i) allow(place + i, bytes);
    for (std::size_t size = least; size <= most; ++size) findFronts(part + 1, place + size);
  };
  if (here.letter == Letter::literal) {
    const std::string_view text = std::string_view(literals_).substr(here.begin, here.size);
    for (std::size_t i = 0; i < text.size() && place + i < kFronts; ++i)
      allow(place + i, text.substr(i, 1));
    return findFronts(part + 1, place + text.size());
  }
  constexpr std::string_view kDigits = "0123456789", kDigitsOrBlank = " 0123456789";
  constexpr std::string_view kAllLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  constexpr std::size_t kLongestName = 9;
  switch (here.letter) {
    case Letter::year:
    case Letter::weekYear:
      return allowEach(kDigits, 4, 4);
    case Letter::yearOfCentury:
      return allowEach(kDigits, 2, 2);
    case Letter::weekday:
    case Letter::weekdayFromSunday:
      return allowEach(kDigits, 1, 1);
    case Letter::dayOfYear:
      return allowEach(kDigitsOrBlank, 1, 3);
    case Letter::monthAbbreviation:
    case Letter::weekdayAbbreviation:
      return allowEach(kAllLetters, 3, 3);
    case Letter::monthName:
    case Letter::weekdayName:
      return allowEach(kAllLetters, 3, kLongestName);
    case Letter::half:
      return allowEach(kAllLetters, 2, 2);
    case Letter::fraction:
      allow(place, kDigits);
      return allowAll(place + 1);
    case Letter::count:
      allow(place, "+-0123456789");
      return allowAll(place + 1);
    case Letter::offset:
    case Letter::offsetWithColon:
      allow(place, "+-Zz");
      return allowAll(place + 1);
    case Letter::zone:
      // Some begin with a digit or a sign behind other parts, but none stands first in a text.
      allow(place, kAllLetters);
      if (place > 0) allowAll(place);
      return allowAll(place + 1);
    default:
      return allowEach(kDigitsOrBlank, 1, 2);
  }
}

void Format::makeExample() {
  const std::int64_t day = dayOf(year_.value_or(2014), 5, 10), second = day * 86400 + 30615;
  const DecimalSeconds decimal{second, "25"};
  const WallTime wall{second, false, OffsetForm::z, 0};
  Complaint none;
  write(example_, {decimal, wall, "UTC", 1}, nullptr, none);
}

}  // namespace plx
