#include "datetime/layout.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "datetime/day_number.h"
#include "datetime/eight_bytes.h"
#include "datetime/scanner.h"
#include "messages/calendar_names.h"
#include "messages/letters.h"

namespace plx {

namespace {

// Of texts such as 2014-05-10T08:30:15: constants, so that a loop over them asks for nothing that they have not.
struct IsoPlaces {
  static constexpr std::uint8_t kNowhere = 0xFF, year = 0, month = 5, day = 8, separator = 10,
                                hour = 11, minute = 14, second = 17, yearOfCentury = kNowhere,
                                monthName = kNowhere, weekday = kNowhere;
};

constexpr std::int64_t kDay = 86400;  // seconds

int twoDigitsAt(const char* text) { return text[0] * 10 + text[1] - '0' * 11; }

constexpr auto kPairsOfDigits = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

void putTwoDigits(char* to, int number) {
  std::memcpy(to, &kPairsOfDigits[2 * static_cast<std::size_t>(number)], 2);
}

// Three letters as one number.
constexpr std::uint32_t keyOf3(const char* name) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(name[0])) |
         static_cast<std::uint32_t>(static_cast<unsigned char>(name[1])) << 8 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(name[2])) << 16;
}

// The numbers of names by their first three letters, without comparing one after the other: each key has a slot of its
// own, which the constructor finds a factor for.
template <std::size_t N>
class NamesByKey {
 public:
  consteval explicit NamesByKey(const std::array<std::string_view, N>& names) {
    while (!fill(names)) factor_ += 2;
  }
  // From 1; 0 for none.
  int at(const char* name) const {
    const std::uint32_t key = keyOf3(name);
    const Slot& slot = slots_[slotOf(key)];
    return slot.key == key ? slot.number : 0;
  }

 private:
  struct Slot {
    std::uint32_t key = 0;
    int number = 0;
  };
  constexpr std::size_t slotOf(std::uint32_t key) const { return key * factor_ >> 27; }
  consteval bool fill(const std::array<std::string_view, N>& names) {
    slots_ = {};
    for (std::size_t i = 0; i < N; ++i) {
      const std::uint32_t key = keyOf3(names[i].data());
      Slot& slot = slots_[slotOf(key)];
      if (slot.number != 0) return false;
      slot = {key, static_cast<int>(i) + 1};
    }
    return true;
  }

  std::uint32_t factor_ = 0x9E3779B1;  // 2^32 by the golden ratio, to begin with
  std::array<Slot, 32> slots_{};
};

constexpr NamesByKey kMonthsByKey(kMonthNames);
constexpr NamesByKey kWeekdaysByKey(kWeekdayNames);

// From Sunday 0. 1970-01-01 was a Thursday; 719530 days are whole weeks, before the first plain day.
int weekdayOf(int day) { return (day + 719530 + 4) % 7; }

constexpr bool isAsciiLetter(char c) { return 'a' <= lowerCase(c) && lowerCase(c) <= 'z'; }

}  // namespace

Layout::Layout(const std::vector<FormatPart>& parts, std::string_view literals,
               std::optional<int> year)
    : ofAll_(year.value_or(0)) {
  bool hasAll = true;
  for (const FormatPart& part : parts) {
    hasAll = add(part, literals.substr(part.begin, part.size));
    if (!hasAll) break;
  }
  makeWords();
  const bool hasYear = year || (places_.year == kNowhere) != (places_.yearOfCentury == kNowhere);
  const bool hasMonth = places_.month != kNowhere || places_.monthName != kNowhere;
  isWhole_ = hasAll && wordCount_ > 0 && hasYear && hasMonth && places_.day != kNowhere;
}

// One of the format's parts, behind which others may follow; false where it has no place.
bool Layout::add(const FormatPart& part, std::string_view literal) {
  if (offset_ != Offset::none) return false;
  switch (part.letter) {
    case Letter::literal:
      if (size_ + literal.size() > kMost) return false;
      for (const char c : literal) {
        literals_[size_] = c;
        put(Kind::literal, 1);
      }
      return true;
    case Letter::year:
      return putNumber(part, places_.year, 4);
    case Letter::yearOfCentury:
      return putNumber(part, places_.yearOfCentury, 2);
    case Letter::month:
      return putNumber(part, places_.month, 2);
    case Letter::monthAbbreviation:
      return putName(places_.monthName);
    case Letter::day:
      blankDay_ = part.padding == Padding::blanks;
      if (part.padding == Padding::none) return false;
      places_.day = static_cast<std::uint8_t>(size_);
      return put(Kind::digit, 2);
    case Letter::weekdayAbbreviation:
      return putName(places_.weekday);
    case Letter::hour:
      return putNumber(part, places_.hour, 2);
    case Letter::minute:
      return putNumber(part, places_.minute, 2);
    case Letter::second:
      return putNumber(part, places_.second, 2);
    case Letter::offset:
    case Letter::offsetWithColon:
      offset_ = Offset::ofFormat;
      return true;
    default:
      return false;
  }
}

bool Layout::put(Kind kind, std::size_t count) {
  if (size_ + count > kMost) return false;
  for (; count > 0; --count) kinds_[size_++] = kind;
  return true;
}

bool Layout::putNumber(const FormatPart& part, std::uint8_t& place, std::size_t digits) {
  if (part.padding != Padding::zeros) return false;
  place = static_cast<std::uint8_t>(size_);
  const bool isYear = part.letter == Letter::year || part.letter == Letter::yearOfCentury;
  return put(isYear ? Kind::digitOfYear : Kind::digit, digits);
}

bool Layout::putName(std::uint8_t& place) {
  place = static_cast<std::uint8_t>(size_);
  return put(Kind::letter, 3);
}

// The last word may overlap the one before it, so that none reaches behind the last place.
void Layout::makeWords() {
  if (size_ < kEight) return;
  wordCount_ = (size_ + kEight - 1) / kEight;
  for (std::size_t i = 0; i < wordCount_; ++i) {
    const std::size_t at = std::min(i * kEight, size_ - kEight);
    Word word{at, 0, 0, 0};
    const auto put = [&](std::size_t k, std::uint64_t expected, std::uint64_t sum,
                         std::uint64_t mask) {
      word.expected |= expected << 8 * k;
      word.sum |= sum << 8 * k;
      word.mask |= mask << 8 * k;
    };
    for (std::size_t k = 0; k < kEight; ++k) {
      if (isDigitAt(at + k)) put(k, '0', 0x7F - 9, 0x80);
      if (kinds_[at + k] == Kind::literal)
        put(k, static_cast<unsigned char>(literals_[at + k]), 0, 0xFF);
    }
    words_[i] = word;
  }
}

// Adds parts by the letters that formats have for them, and what stands between them.
void Layout::addAll(std::string_view text) {
  constexpr std::pair<char, Letter> kLetters[] = {{'Y', Letter::year},   {'m', Letter::month},
                                                  {'d', Letter::day},    {'H', Letter::hour},
                                                  {'M', Letter::minute}, {'S', Letter::second}};
  for (const char& c : text) {
    FormatPart part;
    for (const auto& [letter, meaning] : kLetters)
      if (letter == c) part.letter = meaning;
    add(part, {&c, 1});
  }
  makeWords();
}

const Layout& Layout::ofIsoDates() {
  static const Layout layout = [] {
    Layout made;
    made.addAll("Y-m-d");
    made.isWhole_ = true;
    return made;
  }();
  return layout;
}

const Layout& Layout::ofIsoDatetimes() {
  static const Layout layout = [] {
    Layout made = ofIsoDates();
    made.places_.separator = static_cast<std::uint8_t>(made.size_);
    made.put(Kind::separator, 1);
    made.addAll("H:M:S");
    made.offset_ = Offset::ofIso;
    made.isIsoDatetime_ = true;
    return made;
  }();
  return layout;
}

// False for what does not exist, and for names in other letters.
template <class P>
inline bool Layout::readFields(const P& places, const char* text, PlainTime& time) const {
  int year = ofAll_;
  if (places.year != kNowhere) {
    year = twoDigitsAt(text + places.year) * 100 + twoDigitsAt(text + places.year + 2);
  } else if (places.yearOfCentury != kNowhere) {
    year = twoDigitsAt(text + places.yearOfCentury);
    year += year < 69 ? 2000 : 1900;
  }
  const int month = places.month != kNowhere ? twoDigitsAt(text + places.month)
                                             : kMonthsByKey.at(text + places.monthName);
  const int day = twoDigitsAt(text + places.day);
  if (month < 1 || month > 12 || day < 1 || (day > 28 && day > daysInMonth(year, month)))
    return false;
  const int dayNumber = dayOfPlain(year, month, day);
  if (places.weekday != kNowhere &&
      kWeekdaysByKey.at(text + places.weekday) != weekdayOf(dayNumber) + 1)
    return false;
  if (places.separator != kNowhere) {
    const char separator = text[places.separator];
    if (separator != 'T' && separator != 't' && separator != ' ') return false;
  }
  const int hour = places.hour == kNowhere ? 0 : twoDigitsAt(text + places.hour);
  const int minute = places.minute == kNowhere ? 0 : twoDigitsAt(text + places.minute);
  const int second = places.second == kNowhere ? 0 : twoDigitsAt(text + places.second);
  time.wall = dayNumber * kDay + hour * 3600 + minute * 60 + second;
  return hour <= 23 && minute <= 59 && second <= 59;
}

Layout::Front Layout::readFront(std::string_view text, PlainTime& time) const {
  if (wordCount_ == 0 || text.size() < size_) return {Reads::unknown};
  for (std::size_t i = 0; i < wordCount_; ++i) {
    const Word& word = words_[i];
    const std::uint64_t bytes = eightBytesAt(text.data() + word.at) ^ word.expected;
    const std::uint64_t wrong = (bytes | (bytes + word.sum)) & word.mask;
    if (wrong == 0) continue;
    // Up to there the format's reader goes from place to place: each number has all its digits. What is no digit of a
    // number may be a blank or the end of a shorter one; a literal stands there or not.
    const std::size_t place = word.at + firstByte(wrong);
    return {kinds_[place] == Kind::digit ? Reads::unknown : Reads::no};
  }
  const bool isRead = isIsoDatetime_ ? readFields(IsoPlaces(), text.data(), time)
                                     : isWhole_ && readFields(places_, text.data(), time);
  if (!isRead) return {Reads::unknown};
  time.offset = OffsetForm::none;
  time.offsetSeconds = 0;
  if (offset_ == Offset::none || (offset_ == Offset::ofIso && text.size() == size_))
    return {Reads::yes, size_};
  return readOffset(text, time);
}

// Z, +hhmm or +hh:mm, of ISO 8601 only the latter, behind the other parts.
Layout::Front Layout::readOffset(std::string_view text, PlainTime& time) const {
  const std::string_view rest = text.substr(size_);
  const char sign = rest.empty() ? '\0' : rest[0];
  if (sign == 'Z') {
    time.offset = OffsetForm::z;
    return {Reads::yes, size_ + 1};
  }
  if (sign != '+' && sign != '-')
    return {sign == 'z' || offset_ == Offset::ofIso ? Reads::unknown : Reads::no};
  const bool hasColon = rest.size() > 3 && rest[3] == ':';
  const std::size_t minutesAt = hasColon ? 4 : 3, end = minutesAt + 2;
  const bool isShort = rest.size() < end || (offset_ == Offset::ofIso && !hasColon);
  if (isShort || !isDigit(rest[1]) || !isDigit(rest[2]) || !isDigit(rest[minutesAt]) ||
      !isDigit(rest[minutesAt + 1]))
    return {Reads::unknown};
  if (rest.size() > end && (isDigit(rest[end]) || rest[end] == ':')) return {Reads::unknown};
  const int hours = twoDigitsAt(rest.data() + 1), minutes = twoDigitsAt(&rest[minutesAt]);
  const int magnitude = hours * 3600 + minutes * 60;
  if (hours > 23 || minutes > 59 || (sign == '-' && magnitude == 0)) return {Reads::unknown};
  time.offset = OffsetForm::numeric;
  time.offsetSeconds = sign == '-' ? -magnitude : magnitude;
  return {Reads::yes, size_ + end};
}

// False where something would be lost that the texts have no place for.
template <class P>
inline bool Layout::writeFields(const P& places, char* to, int day, int clock) const {
  const PlainDate date = plainDateOf(day);
  if (places.year != kNowhere) {
    putTwoDigits(to + places.year, date.year / 100);
    putTwoDigits(to + places.year + 2, date.year % 100);
  } else if (places.yearOfCentury != kNowhere) {
    if (date.year < 1969 || date.year > 2068) return false;
    putTwoDigits(to + places.yearOfCentury, date.year % 100);
  } else if (date.year != ofAll_) {
    return false;
  }
  if (places.month != kNowhere) {
    putTwoDigits(to + places.month, date.month);
  } else {
    std::memcpy(to + places.monthName, kMonthNames[static_cast<std::size_t>(date.month - 1)].data(),
                3);
  }
  const bool hasZero = to[places.day] == '0';  // 05, which then is how it is spelled
  putTwoDigits(to + places.day, date.day);
  if (blankDay_ && !hasZero && date.day < 10) to[places.day] = ' ';
  if (places.weekday != kNowhere)
    std::memcpy(to + places.weekday, kWeekdayNames[static_cast<std::size_t>(weekdayOf(day))].data(),
                3);
  if (places.hour != kNowhere) {
    putTwoDigits(to + places.hour, clock / 3600);
    clock %= 3600;
  }
  if (places.minute != kNowhere) {
    putTwoDigits(to + places.minute, clock / 60);
    clock %= 60;
  }
  if (places.second == kNowhere) return clock == 0;
  putTwoDigits(to + places.second, clock);
  return true;
}

// The end of what is written; null where the offset has seconds, or the texts no place for what is to be told.
inline char* Layout::writeOffset(char* to, std::string_view text, const PlainTime& time) const {
  bool hasColon = true;
  if (offset_ == Offset::ofIso) {
    if (time.offset == OffsetForm::none) return to;
    if (time.offset == OffsetForm::z) {
      *to = 'Z';
      return to + 1;
    }
  } else {
    if (time.offset == OffsetForm::none) return nullptr;
    if (text[size_] == 'Z') {
      *to = 'Z';
      return time.offset == OffsetForm::numeric ? nullptr : to + 1;
    }
    hasColon = text[size_ + 3] == ':';
  }
  const bool isWest = time.offsetSeconds < 0;
  const auto seconds = static_cast<unsigned>(isWest ? -time.offsetSeconds : time.offsetSeconds);
  const unsigned minutes = seconds / 60;
  if (minutes * 60 != seconds) return nullptr;
  *to = isWest ? '-' : '+';
  putTwoDigits(to + 1, static_cast<int>(minutes / 60));
  to[3] = ':';
  to += hasColon ? 4 : 3;
  putTwoDigits(to, static_cast<int>(minutes % 60));
  return to + 2;
}

std::size_t Layout::write(char* to, std::string_view text, const PlainTime& time) const {
  constexpr std::int64_t kFirst = kFirstPlainDay * kDay, kEnd = (kLastPlainDay + 1) * kDay;
  if (time.wall < kFirst || time.wall >= kEnd) return 0;
  const auto sinceFirst = static_cast<std::uint64_t>(time.wall - kFirst);
  const auto days = static_cast<int>(sinceFirst / kDay);
  const auto clock = static_cast<int>(sinceFirst % kDay);
  for (std::size_t i = 0; i < wordCount_; ++i)
    std::memcpy(to + words_[i].at, text.data() + words_[i].at, kEight);
  const int day = days + kFirstPlainDay;
  const bool isWritten = isIsoDatetime_ ? writeFields(IsoPlaces(), to, day, clock)
                                        : writeFields(places_, to, day, clock);
  if (!isWritten) return 0;
  if (offset_ == Offset::none) return size_;
  const char* const end = writeOffset(to + size_, text, time);
  return end == nullptr ? 0 : static_cast<std::size_t>(end - to);
}

bool Layout::refusesAllOf(const Layout& other) const {
  for (std::size_t k = 0; k < size_; ++k) {
    const bool isLiteral = kinds_[k] == Kind::literal;
    const char literal = literals_[k];
    if (k == other.size_) {
      // The other's texts end here, or with an offset.
      if (other.offset_ == Offset::none) return true;
      return isLiteral && std::string_view("Zz+-").find(literal) == std::string_view::npos;
    }
    const Kind theirs = other.kinds_[k];
    if (theirs == Kind::separator) return false;
    if (isLiteral) {
      if (theirs == Kind::literal && other.literals_[k] != literal) return true;
      if (other.isDigitAt(k)) return !isDigit(literal);
      if (theirs == Kind::letter) return !isAsciiLetter(literal);
    } else if (isDigitAt(k) && !other.isDigitAt(k)) {
      // A digit that stands for itself there may be all of a number here, and then what follows has other places.
      const bool mayBeDigit = theirs == Kind::literal && isDigit(other.literals_[k]);
      return kinds_[k] == Kind::digitOfYear && !mayBeDigit;
    }
  }
  const bool isLonger = other.size_ > size_ || other.offset_ == Offset::ofFormat;
  return isWhole_ && offset_ == Offset::none && isLonger;
}

}  // namespace plx
