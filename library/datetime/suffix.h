// What RFC 9557 appends to a datetime in brackets: a time zone, then further tags.
//
//   [America/New_York] [!Europe/Paris] [+05:30] [u-ca=gregory]
//
// An exclamation mark makes a tag critical: who does not know what it means must refuse it.
#pragma once

#include <string>
#include <string_view>

#include "datetime/scanner.h"

namespace plx {

struct Suffix {
  std::string_view zone;      // a name or an offset; empty where there is none
  bool criticalZone = false;  // with an exclamation mark, which changes nothing here
  std::string_view tags;      // the others as they stand, brackets and all
};

// Reads the tags that stand here, none being a suffix too. False where they are none; `why` then
// stays empty where the shape is wrong and else says what is.
bool readSuffix(Scanner& scan, Suffix& suffix, std::string& why);

// Appends a zone in brackets and the other tags. No zone where it is empty.
void writeSuffix(std::string& out, std::string_view zone, const Suffix& suffix);

}  // namespace plx
