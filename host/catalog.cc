#include "catalog.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "utf.h"

namespace host {
namespace {

using brel::except::BaseMsgID;
using brel::except::MessageArgument;
using brel::except::MessageArguments;
using brel::i18n::ustring;

struct Entry {
  std::string_view identifier;
  std::string_view text;  // UTF-8; {0} to {9} stand for the arguments
};

// One or two sentences each: what was wrong, and what is accepted.
constexpr Entry kEntries[] = {
    {"Pelmor:legacy_two_part:minrhs",
     "Not enough inputs. There are four: the datetimes, the new values, the component selector and "
     "the time zone."},
    {"Pelmor:legacy_two_part:maxrhs",
     "Too many inputs. There are four: the datetimes, the new values, the component selector and "
     "the time zone."},
    {"Pelmor:legacy_two_part:maxlhs", "Too many outputs. There is one: the adjusted datetimes."},

    {"Pelmor:datetime:InvalidInput",
     "An input has the wrong class or shape. Accepted are datetimes of class double, not sparse; "
     "new values of class double, real and not sparse; a selector that is one double; and a time "
     "zone of class char."},
    {"Pelmor:datetime:UnrecognizedComponent",
     "The component selector is greater than 23. Selectors go from 1 to 23."},
    {"Pelmor:datetime:InvalidComponent",
     "The component selector is below 1, not a number, or names a component that cannot be set. Of "
     "1 to 23 these can be set: 3 year, 6 quarter, 7 month, 9 week of year, 11 and 12 day of "
     "month, 13 day of year, 14 day of week, 18 hour, 19 minute, 20 second, 21 time of day."},
    {"Pelmor:datetime:InputSizeMismatch",
     "The new values do not fit the datetimes. Accepted are one value for all of them, or one for "
     "each in an array of the same dimensions."},
    {"Pelmor:datetime:UnknownTimeZone",
     "\"{0}\" is not the name of a time zone. Accepted are an empty text (\"\"), UTC, "
     "UTCLeapSeconds, local, a zone identifier such as Europe/Paris, where letter case matters, or "
     "an offset such as UTC+05:30 or +05:30."},
    {"Pelmor:datetime:MustBeInteger",
     "A new value is not a whole number, or is too large for one. Only the second and the time of "
     "day accept fractions."},
    {"Pelmor:datetime:RangeError",
     "A datetime, a new value or the result is outside the range of the calendar. Datetimes go "
     "from "
     "-140744-08-10T07:30:29.504Z to 144683-05-23T16:29:30.496Z, which is 2^52 milliseconds either "
     "way of 1970, and new values up to 1000000 for the year, 4000000 for the quarter, 12000000 "
     "for the month, 100000000 for the week, and 500000000 for the day and the day of the year, "
     "either way of zero."},
    {"Pelmor:datetime:ICUError",
     "The calendar library failed to {0}: {1}. Any time zone that it knows is accepted, so this "
     "points to its installation or to a lack of memory."},

    {"Pelmor:host:OutOfMemory",
     "There is not enough memory for {0}. Accepted are smaller arrays, or this size after other "
     "arrays have been destroyed."},
    {"Pelmor:host:InvalidArgument", "{0} was called with an argument it refuses. It needs {1}."},
    {"Pelmor:host:ModuleNotFound",
     "The module \"{0}\" cannot be read: {1}. Accepted is the path of a shared library; without a "
     "slash it is a file in the current directory."},
    {"Pelmor:host:NotAModule",
     "\"{0}\" is not a module: {1}. A module is a shared library that exports plxFunction and "
     ""
     "needs nothing that is not there."},
    {"Pelmor:host:WrongInterface",
     "The module \"{0}\" was built against version {1} of the host's interface, and this host has "
     "version {2}. Build the module with this host's headers."},
    {"Pelmor:host:ModuleFailure",
     "The module failed with an exception that is no error report: {0}. What its call computed is "
     "lost; the host goes on."},
    {"Pelmor:host:CharacterError",
     "Characters could not be compared or converted: {0}. Any text in UTF-16 is accepted."},
    {"Pelmor:host:BadZoneRules",
     "The time-zone rules {0} are not used: the file {1}. Rules of {2} are in use. A folder that "
     "plx "
     "rules update has written is accepted."},
    {"Pelmor:host:ZoneRulesTooLate",
     "The time-zone rules {0} are not used: the process has rules of {1} in use already. The call "
     "is "
     "accepted before the first use of a time zone."},
    {"Pelmor:host:InvalidLocale",
     "\"{0}\" cannot name a locale. Accepted are 1 to 100 ASCII letters, digits and characters of "
     "\"_-@=;.\", such as en_US."},
};

struct ArgumentText : boost::static_visitor<ustring> {
  ustring operator()(long long number) const { return toUtf16(std::to_string(number)); }
  ustring operator()(const std::string& text) const { return toUtf16(text); }
  ustring operator()(const ustring& text) const { return text; }
};

ustring putIn(std::string_view text, const MessageArguments& arguments) {
  ustring message;
  while (!text.empty()) {
    const bool placeholder = text.size() >= 3 && text[0] == '{' && text[2] == '}';
    const auto index = placeholder ? static_cast<std::size_t>(text[1] - '0') : arguments.size();
    if (index < arguments.size()) {
      message += boost::apply_visitor(ArgumentText(), arguments[index]);
      text.remove_prefix(3);
    } else {
      const std::size_t next = std::min(text.find('{', 1), text.size());
      message += toUtf16(text.substr(0, next));
      text.remove_prefix(next);
    }
  }
  return message;
}

}  // namespace

ustring formatMessage(const BaseMsgID& key) {
  const std::string identifier = brel::except::IMsgIDException::get_error_id(key);
  const auto* entry =
      std::find_if(std::begin(kEntries), std::end(kEntries),
                   [&](const Entry& candidate) { return candidate.identifier == identifier; });
  if (entry != std::end(kEntries)) return putIn(entry->text, key.arguments());
  ustring message = toUtf16("The error " + identifier + ", of which the catalog has no text.");
  for (const MessageArgument& argument : key.arguments())
    message += toUtf16(" ") + boost::apply_visitor(ArgumentText(), argument);
  return message;
}

}  // namespace host
