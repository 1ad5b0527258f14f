#include "timezone/text_constants.h"

#include <boost/thread/once.hpp>
#include <boost/unordered_map.hpp>

namespace {

using brel::i18n::codecvt_ascii_to_ustring;
using brel::i18n::ustring;

using Cache = boost::unordered_map<std::string, ustring>;

// Both are never freed: texts handed out must outlive every handle on the module.
Cache* cache = nullptr;
boost::once_flag cacheOnce = BOOST_ONCE_INIT;
const codecvt_ascii_to_ustring* converter = nullptr;
boost::once_flag converterOnce = BOOST_ONCE_INIT;

void createCache() {
  cache = new Cache(11);  // buckets at least
  cache->max_load_factor(1.0f);
}

void createConverter() { converter = new codecvt_ascii_to_ustring; }

}  // namespace

const ustring& stringToUString(const std::string& text) {
  boost::call_once(cacheOnce, createCache);
  if (!cache->empty()) {
    const auto found = cache->find(text);
    if (found != cache->end()) return found->second;
  }
  boost::call_once(converterOnce, createConverter);
  cache->emplace(text, (*converter)(text.data(), text.size()));
  return (*cache)[text];
}

const ustring kUtcName = stringToUString("UTC");
const ustring kUtcLeapSecondsName = stringToUString("UTCLeapSeconds");
const ustring kUnknownZoneName = stringToUString("Etc/Unknown");
const ustring kLocalName = stringToUString("local");
const ustring kUnzonedName = stringToUString("unzoned");
const ustring kIsoInstantFormat = stringToUString("uuuu-MM-dd'T'HH:mm:ss.SSS'Z'");
