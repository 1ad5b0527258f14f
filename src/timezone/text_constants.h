// The time-zone names that the module compares against, as UTF-16, since that is how hosts hand
// text over. They are built once, when the module is loaded, so that a call converts and allocates
// nothing for them; after that they are read-only and may be read from any thread.
#pragma once

#include <string>

#include "host/i18n.h"

// The UTF-16 form of an ASCII text, from a cache that lives until the process ends; so does the
// reference. Not for two threads at once: it runs while the module is being loaded.
const brel::i18n::ustring& stringToUString(const std::string& text);

extern const brel::i18n::ustring kUtcName;             // "UTC"
extern const brel::i18n::ustring kUtcLeapSecondsName;  // "UTCLeapSeconds"
extern const brel::i18n::ustring kUnknownZoneName;     // "Etc/Unknown", ICU's own unknown zone
extern const brel::i18n::ustring kLocalName;           // "local"

// Nothing reads these two; they are kept so that the set of datetime texts stays complete.
extern const brel::i18n::ustring kUnzonedName;       // "unzoned"
extern const brel::i18n::ustring kIsoInstantFormat;  // "uuuu-MM-dd'T'HH:mm:ss.SSS'Z'"
