// Any text as a time zone, in locales that spell offsets differently: a zone in which a datetime can be set, or the
// error for an unknown one with the text in its message; the same each time, and with a fraction of the text's
// length read past neither end.

#include <iterator>
#include <memory>
#include <string>

#include "fuzz/input.h"
#include "host/embed.h"
#include "host/exception.h"
#include "host/pa_text.h"
#include "support/datetime_arrays.h"
#include "timezone/time_zone.h"
#include "zoned/calendar.h"
#include "zoned/set_field.h"

namespace {

constexpr const char* kLocales[] = {"en_US", "fi_FI",     "ar_EG", "th_TH_TRADITIONAL",
                                    "fa_IR", "zh_Hant_TW"};

constexpr double kDay = 86400000.0;

struct Answer {
  std::unique_ptr<icu::TimeZone> zone;  // null without one
  bool leapSeconds = false;
  std::string error;
};

Answer answerTo(const paArray* text) {
  Answer answer;
  try {
    answer.zone.reset(getTimeZone(text, answer.leapSeconds));
  } catch (const brel::except::IMsgIDException& error) {
    answer.error = error.GetID();
    const auto& arguments = error.GetBaseMsgIDObj().arguments();
    require(arguments.size() == 1 && boost::get<std::string>(arguments[0]) == paArray2String(text),
            "the message bears the text");
  }
  return answer;
}

// As UTF-16: bytes, each a unit, or units of any kind.
std::u16string anyText(Input& in) {
  if (in.oneIn(4)) {
    std::u16string units;
    while (in.left() > 0) units.push_back(in.bits<std::uint16_t>());
    return units;
  }
  const std::string bytes = in.rest();
  std::u16string units;
  for (const char c : bytes) units.push_back(static_cast<unsigned char>(c));
  return units;
}

// Offsets are at most a day; a zone of whatever kind can set a datetime and keeps the day at most one off.
void requireUsable(const Answer& answer) {
  const Array t = doubles({1399710615250.25}), v = scalar(12.0);
  const std::vector<double> zero{0.0};
  const Array result = doubles(zero, &zero);
  setField(t.get(), v.get(), UCAL_HOUR_OF_DAY, result.get(),
           createCalendar(boost::unique_ptr<icu::TimeZone>(answer.zone->clone())));
  const double set = paGetRealData(result.get())[0];
  require(std::fabs(set - 1399710615250.25) <= kDay, "an hour moves by a day at most");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  paSetLocale(kLocales[in.below(std::size(kLocales))], nullptr);
  const Array zoneText = text(anyText(in));
  const Answer answer = answerTo(zoneText.get());
  require(answer.error.empty() || answer.error == "Pelmor:datetime:UnknownTimeZone",
          "the only error is that of an unknown zone:", answer.error);
  require(!answer.leapSeconds || !answer.zone, "the line with leap seconds is no zone");
  if (answer.zone) requireUsable(answer);

  const Answer again = answerTo(zoneText.get());
  require(again.error == answer.error && again.leapSeconds == answer.leapSeconds &&
              (again.zone == nullptr) == (answer.zone == nullptr) &&
              (!answer.zone || *again.zone == *answer.zone),
          "the same answer each time");
  return 0;
}
