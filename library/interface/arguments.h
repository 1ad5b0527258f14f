// The arguments of the library's functions, read and checked.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "plx/plx.h"
#include "setting/get.h"
#include "setting/job.h"
#include "setting/wrong.h"

namespace plx {

// Whether an enumerator that counts from 0 to `last` stands there. A caller in C may have written any number, and to
// read that as an enumerator would be undefined here.
template <class Enum>
bool isAmong(const Enum& written, Enum last) {
  std::make_unsigned_t<std::underlying_type_t<Enum>> number;
  std::memcpy(&number, &written, sizeof number);
  return number <= static_cast<decltype(number)>(last);
}

// Each throws a Wrong for what is not accepted. `what` names the argument.

DatetimeArray readDatetimes(const plxArray* array, std::string_view what);
// Numbers of the shape of other elements.
NewValues readNewValues(const plxArray& array, const plxArray& shape, std::string_view what);
plxOptions readOptions(const plxOptions* options);
// The component of a selector.
const ComponentFacts& factsOfSelector(int selector);
GetJob readGetJob(const plxArray* datetimes, int component, const plxOptions* options,
                  const plxArray* numbers);
ConvertJob readConvertJob(const plxArray* datetimes, const plxOptions* options,
                          const plxArray* results);
SetJob readSetJob(const Module& module, const plxArray* datetimes, const plxSetting* settings,
                  std::size_t count, const plxOptions* options, const plxArray* results);

}  // namespace plx
