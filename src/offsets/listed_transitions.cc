#include "offsets/listed_transitions.h"

#include <unicode/localpointer.h>
#include <unicode/unistr.h>
#include <unicode/ures.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

using Resource = icu::LocalUResourceBundlePointer;

// The index of a name among the sorted names of all zones; -1 where it is none of them.
int32_t placeOf(const icu::UnicodeString& name, const UResourceBundle* names, UErrorCode& status) {
  int32_t low = 0, high = ures_getSize(names);
  while (low < high && U_SUCCESS(status)) {
    const int32_t middle = low + (high - low) / 2;
    int32_t length = 0;
    const UChar* const text = ures_getStringByIndex(names, middle, &length, &status);
    if (U_FAILURE(status)) break;
    const int order = name.compare(text, length);
    if (order == 0) return middle;
    if (order < 0) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return -1;
}

}  // namespace

std::optional<std::vector<double>> listedTransitions(const icu::TimeZone& zone) {
  icu::UnicodeString name;
  zone.getID(name);
  UErrorCode status = U_ZERO_ERROR;
  const Resource data(ures_openDirect(nullptr, "zoneinfo64", &status));
  const Resource part(ures_getByKey(data.getAlias(), "Names", nullptr, &status));
  if (U_FAILURE(status)) return std::nullopt;
  const int32_t place = placeOf(name, part.getAlias(), status);
  if (place < 0) return std::nullopt;
  ures_getByKey(data.getAlias(), "Zones", part.getAlias(), &status);
  const Resource listed(ures_getByIndex(part.getAlias(), place, nullptr, &status));
  if (U_SUCCESS(status) && ures_getType(listed.getAlias()) == URES_INT) {  // it stands for another
    const int32_t other = ures_getInt(listed.getAlias(), &status);
    ures_getByIndex(part.getAlias(), other, listed.getAlias(), &status);
  }
  if (U_FAILURE(status)) return std::nullopt;

  // Most zones have only some of these. Those beyond what 32 bits hold are pairs of halves, the upper
  // one first.
  std::vector<double> all;
  for (const auto& [key, arePairs] :
       {std::pair{"transPre32", true}, {"trans", false}, {"transPost32", true}}) {
    UErrorCode found = U_ZERO_ERROR;
    ures_getByKey(listed.getAlias(), key, part.getAlias(), &found);
    if (found == U_MISSING_RESOURCE_ERROR) continue;
    int32_t length = 0;
    const int32_t* const numbers = ures_getIntVector(part.getAlias(), &length, &found);
    if (U_FAILURE(found) || (arePairs && length % 2 != 0)) return std::nullopt;
    all.reserve(all.size() + static_cast<std::size_t>(length));
    for (int32_t i = 0; i < length; i += arePairs ? 2 : 1) {
      const double second =
          arePairs ? numbers[i] * 0x1p32 + static_cast<std::uint32_t>(numbers[i + 1]) : numbers[i];
      all.push_back(second * U_MILLIS_PER_SECOND);
    }
  }
  return all;
}
