// The same in C++: components read and explained.
#include <plx/plx.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

int main() {
  std::int64_t second = 1399710615;
  double hour = 0;
  const plxArray datetime{&second, "=M8[s]", 0, nullptr, nullptr, nullptr, nullptr};
  const plxArray number{&hour, "=f8", 0, nullptr, nullptr, nullptr, nullptr};
  plxOptions options{};
  options.size = sizeof options;
  options.zone = "Asia/Kolkata";
  plxError error;
  if (plxGet(&datetime, plxFindComponent("hour"), &options, &number, &error) != 0 || hour != 14) {
    std::printf("%s: hour %g\n", error.message, hour);
    return 1;
  }
  const plxSetting last{paDAY_OF_MONTH, {}, "last"};
  const std::unique_ptr<char, decltype(&plxFreeText)> text(
      plxExplain(&datetime, &last, &options, plxPLAIN_TEXT, &error), plxFreeText);
  if (!text || std::string(text.get()).find("2014-05-31") == std::string::npos) {
    std::printf("%s\n", text ? text.get() : error.message);
    return 1;
  }
  return 0;
}
