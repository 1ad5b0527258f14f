#include "datetime/suffix.h"

#include <algorithm>
#include <cstddef>

namespace plx {

namespace {

bool isLower(char c) { return 'a' <= c && c <= 'z'; }
bool isAlphanumeric(char c) { return isDigit(c) || isLower(c) || ('A' <= c && c <= 'Z'); }
bool isOfKey(char c) { return isLower(c) || isDigit(c) || c == '-' || c == '_'; }

bool isKey(std::string_view text) {
  return !text.empty() && (isLower(text.front()) || text.front() == '_') &&
         std::all_of(text.begin(), text.end(), isOfKey);
}

// Of identifiers and offsets. ICU takes a byte of zero for the end of one.
bool isOfZone(char c) {
  return isAlphanumeric(c) || std::string_view("._-+/:").find(c) != std::string_view::npos;
}

// Letters and digits in groups, with a dash between them.
bool isValue(std::string_view text) {
  bool wasLetter = false;
  for (const char c : text) {
    if (c == '-' ? !wasLetter : !isAlphanumeric(c)) return false;
    wasLetter = c != '-';
  }
  return wasLetter;
}

}  // namespace

bool readSuffix(Scanner& scan, Suffix& suffix, std::string& why) {
  const std::string_view all = scan.rest();
  std::size_t ofZone = 0;
  for (bool first = true; scan.skip('['); first = false) {
    const bool critical = scan.skip('!');
    bool closed = false;
    const std::string_view tag = scan.until(']', closed);
    if (!closed || tag.empty()) return false;
    const std::size_t equals = tag.find('=');
    if (equals == std::string_view::npos) {
      if (!first || !std::all_of(tag.begin(), tag.end(), isOfZone)) return false;
      suffix.zone = tag;
      suffix.criticalZone = critical;
      ofZone = all.size() - scan.rest().size();
    } else if (!isKey(tag.substr(0, equals)) || !isValue(tag.substr(equals + 1))) {
      return false;
    } else if (critical) {
      why = "the critical tag " + std::string(tag) + " has no meaning here";
      return false;
    }
  }
  suffix.tags = all.substr(ofZone, all.size() - scan.rest().size() - ofZone);
  return true;
}

void writeSuffix(std::string& out, std::string_view zone, const Suffix& suffix) {
  if (!zone.empty()) {
    out += suffix.criticalZone ? "[!" : "[";
    out += zone;
    out += ']';
  }
  out += suffix.tags;
}

}  // namespace plx
