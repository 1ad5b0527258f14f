// The locale of the process, set and taken from the environment.
#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "host/support.h"
#include "support/cases.h"

namespace {

std::string current() {
  return brel::i18n::RwLocale::global().name(brel::i18n::LocaleNameFormat::icu);
}

void setOrUnset(const char* variable, const char* value) {
  if (value)
    setenv(variable, value, 1);
  else
    unsetenv(variable);
}

std::string fromEnvironment(const char* all, const char* time, const char* lang) {
  setOrUnset("LC_ALL", all);
  setOrUnset("LC_TIME", time);
  setOrUnset("LANG", lang);
  EXPECT_EQ(paSetLocale(nullptr, nullptr), 0);
  return current();
}

TEST(Locale, WhichVariableDecides) {
  const struct {
    const char *all, *time, *lang, *name, *why;
  } rows[] = {
      {nullptr, nullptr, nullptr, "en_US", "nothing set"},
      {"", "", "", "en_US", "empty counts as unset"},
      {nullptr, nullptr, "fi_FI", "fi_FI", "the general one comes last"},
      {nullptr, "da_DK", "fi_FI", "da_DK", "the one for dates before it"},
      {"de_DE", "da_DK", "fi_FI", "de_DE", "the one for everything first"},
      {"", "da_DK", "fi_FI", "da_DK", "an empty one is passed over"},
      {"C", "da_DK", "fi_FI", "en_US", "C is set, so it decides"},
      {nullptr, "POSIX", "fi_FI", "en_US", "so is POSIX"},
  };
  Cases cases(8);
  for (const auto& row : rows) {
    EXPECT_EQ(fromEnvironment(row.all, row.time, row.lang), row.name) << row.why;
    ++cases;
  }
}

TEST(Locale, HowEnvironmentNamesAreRead) {
  const std::string hundred = "de_" + std::string(97, 'X');
  const struct {
    std::string value, name;
    const char* why;
  } rows[] = {
      {"de_DE", "de_DE", "already as ICU writes it"},
      {"de", "de", "a language alone"},
      {"de_DE.UTF-8", "de_DE", "the encoding is dropped"},
      {"de_DE.ISO-8859-15@euro", "de_DE", "and a modifier that chooses nothing"},
      {"de_DE@euro", "de_DE", "the modifier alone"},
      {"sr_RS.UTF-8@latin", "sr_Latn_RS", "a script stands before the country"},
      {"sr@cyrillic", "sr_Cyrl", "or at the end"},
      {"ks_IN@devanagari", "ks_Deva_IN", "the third script"},
      {"C.UTF-8", "en_US", "C with an encoding is C"},
      {"C@euro", "en_US", "and so with a modifier"},
      {"POSIX", "en_US", "POSIX is C"},
      {"Cy_GB", "Cy_GB", "a language that begins with C is not C"},
      {".UTF-8", "en_US", "an encoding of nothing"},
      {"@euro", "en_US", "a modifier of nothing"},
      {"de/DE", "en_US", "no name holds a slash"},
      {"de DE", "en_US", "or a space"},
      {"d\xC3\xA9", "en_US", "or anything but ASCII"},
      {hundred, hundred, "a hundred bytes are accepted"},
      {hundred + "X", "en_US", "one more is not"},
      {"sr_" + std::string(97, 'X') + "@latin", "en_US", "nor where the script makes it longer"},
  };
  Cases cases(20);
  for (const auto& row : rows) {
    EXPECT_EQ(fromEnvironment(nullptr, nullptr, row.value.c_str()), row.name) << row.why;
    ++cases;
  }
}

TEST(Locale, NamesMeanSomethingToTheLibrary) {
  fromEnvironment(nullptr, nullptr, "sr_RS.UTF-8@latin");
  const icu::Locale locale(current().c_str());
  EXPECT_FALSE(locale.isBogus());
  EXPECT_STREQ(locale.getLanguage(), "sr");
  EXPECT_STREQ(locale.getScript(), "Latn");
  EXPECT_STREQ(locale.getCountry(), "RS");
}

TEST(Locale, SetByName) {
  paError error = {"unset", "unset"};
  const std::string hundred(100, 'a');
  for (const std::string& name :
       {std::string("de_DE"), std::string("de_DE@collation=phonebook;numbers=latn"),
        std::string("zh-Hant-TW"), std::string("a.b"), hundred}) {
    EXPECT_EQ(paSetLocale(name.c_str(), &error), 0) << name;
    EXPECT_EQ(current(), name);
    EXPECT_STREQ(error.identifier, "");
    EXPECT_STREQ(error.message, "");
  }
}

TEST(Locale, RefusedNamesChangeNothing) {
  ASSERT_EQ(paSetLocale("fi_FI", nullptr), 0);
  const std::string tooLong(101, 'a');
  for (const std::string& name :
       {std::string(), tooLong, std::string("de/DE"), std::string("de DE"),
        std::string("d\xC3\xA9"), std::string("de\nDE")}) {
    paError error = {};
    EXPECT_EQ(paSetLocale(name.c_str(), &error), 1) << name;
    EXPECT_STREQ(error.identifier, "Pelmor:host:InvalidLocale") << name;
    EXPECT_NE(std::string(error.message).find('"' + name + '"'), std::string::npos);
    EXPECT_EQ(paSetLocale(name.c_str(), nullptr), 1);
    EXPECT_EQ(current(), "fi_FI");
  }
}

TEST(Locale, TheEnvironmentIsReadOnlyWhenAsked) {
  fromEnvironment(nullptr, nullptr, "da_DK");
  setenv("LANG", "fi_FI", 1);
  EXPECT_EQ(current(), "da_DK");
  EXPECT_EQ(paSetLocale(nullptr, nullptr), 0);
  EXPECT_EQ(current(), "fi_FI");
}

TEST(Locale, ThreadsSeeWholeNames) {
  const std::string names[] = {"de_DE", "zh_Hant_TW"};
  ASSERT_EQ(paSetLocale(names[0].c_str(), nullptr), 0);
  std::atomic<int> strange = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([&, thread] {
      for (int i = 0; i < 2000; ++i) {
        if (thread < 2)
          paSetLocale(names[thread].c_str(), nullptr);
        else if (const std::string name = current(); name != names[0] && name != names[1])
          ++strange;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(strange, 0);
}

}  // namespace
