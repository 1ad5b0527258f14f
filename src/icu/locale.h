// The host's current locale, as ICU takes it.
#pragma once

#include <unicode/locid.h>

#include "host/i18n.h"

inline icu::Locale hostLocale() {
  using namespace brel::i18n;
  return icu::Locale(RwLocale::global().name(LocaleNameFormat::icu).c_str(), nullptr, nullptr,
                     nullptr);
}
