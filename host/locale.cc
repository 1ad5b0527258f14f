// The locale of the process.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "error_text.h"
#include "host/embed.h"
#include "host/i18n.h"
#include "host_error.h"

namespace {

constexpr std::size_t kLongestName = 100;
constexpr char kDefault[] = "en_US";

// A name that the locale has or had. There are as many as there were different ones, and they stay
// until the process ends: so whoever reads the current one needs no lock, which a child after fork()
// might find taken for ever.
struct Name {
  std::string text;
  const Name* next;
};
constinit std::atomic<const Name*> names = nullptr;
constinit std::atomic<const Name*> current = nullptr;  // null: the environment's, at the next use

// The name of that text. Two threads at once may make two, of which either will do.
const Name* nameOf(const std::string& text) {
  const Name* const first = names.load();
  for (const Name* name = first; name; name = name->next)
    if (name->text == text) return name;
  auto added = std::make_unique<Name>(Name{text, first});
  while (!names.compare_exchange_weak(added->next, added.get())) {
  }
  return added.release();
}

bool usable(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName &&
         std::all_of(name.begin(), name.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  std::string_view("_-@=;.").find(c) != std::string_view::npos;
         });
}

// The first that is set and not empty decides for dates and times.
std::string_view environmentLocale() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value && *value) return value;
  }
  return "";
}

// ICU writes the script between the language and the country: sr_RS@latin is sr_Latn_RS.
std::string_view scriptOf(std::string_view modifier) {
  if (modifier == "latin") return "_Latn";
  if (modifier == "cyrillic") return "_Cyrl";
  if (modifier == "devanagari") return "_Deva";
  return "";  // others, such as euro, choose nothing that matters to dates
}

// language[_country][.encoding][@modifier] as ICU writes it.
std::string toIcuName(std::string_view posixName) {
  const std::size_t at = posixName.find('@');
  const std::string_view modifier =
      at == std::string_view::npos ? std::string_view() : posixName.substr(at + 1);
  const std::string_view name = posixName.substr(0, std::min(posixName.find('.'), at));
  if (name == "C" || name == "POSIX") return kDefault;
  const std::size_t languageEnd = std::min(name.find('_'), name.size());
  std::string icuName(name.substr(0, languageEnd));
  icuName += scriptOf(modifier);
  icuName += name.substr(languageEnd);
  return usable(icuName) ? icuName : kDefault;
}

const Name* environmentName() { return nameOf(toIcuName(environmentLocale())); }

}  // namespace

namespace brel::i18n {

RwLocale& RwLocale::global() {
  static RwLocale locale;
  return locale;
}

std::string RwLocale::name(LocaleNameFormat) const {
  const Name* name = current.load();
  if (!name) {
    const Name* const found = environmentName();
    // Unless another thread has set the locale meanwhile.
    name = current.compare_exchange_strong(name, found) ? found : name;
  }
  return name->text;
}

}  // namespace brel::i18n

int paSetLocale(const char* name, paError* error) {
  try {
    if (name && !usable(name)) {
      host::write(error, host::HostMessage("InvalidLocale", {std::string(name)}));
      return 1;
    }
    current.store(name ? nameOf(name) : environmentName());
  } catch (const std::bad_alloc&) {
    host::writeOutOfMemory(error);
    return 1;
  }
  host::clear(error);
  return 0;
}
