// The host's current locale, as ICU takes it.
#pragma once

#include <unicode/locid.h>

#include <string>

#include "host/i18n.h"

inline std::string hostLocaleName() {
  using namespace brel::i18n;
  return RwLocale::global().name(LocaleNameFormat::icu);
}

inline icu::Locale hostLocale() {
  return icu::Locale(hostLocaleName().c_str(), nullptr, nullptr, nullptr);
}

// Whether ICU reads and writes in this locale by its own data or those of its language. For a language that
// it has no data of, it takes its default locale's, which can change at any time.
bool hasOwnData(const std::string& locale);
