// What goes wrong in the library, as programs test for it: behind "Pelmor:".
#pragma once

#include <string_view>

namespace plx::id {

inline constexpr std::string_view kInvalidArgument = "library:InvalidArgument";
inline constexpr std::string_view kUnknownType = "library:UnknownType";
inline constexpr std::string_view kUnknownComponent = "library:UnknownComponent";
inline constexpr std::string_view kShapeMismatch = "library:ShapeMismatch";
inline constexpr std::string_view kUnknownValue = "library:UnknownValue";
inline constexpr std::string_view kValueNotExact = "library:ValueNotExact";
inline constexpr std::string_view kOutOfRange = "library:OutOfRange";
inline constexpr std::string_view kNotFinite = "library:NotFinite";
inline constexpr std::string_view kCannotHold = "library:CannotHold";
inline constexpr std::string_view kRefused = "library:Refused";
inline constexpr std::string_view kOtherClock = "library:OtherClock";
inline constexpr std::string_view kStopped = "library:Stopped";
inline constexpr std::string_view kUnknownTimeZone = "datetime:UnknownTimeZone";
inline constexpr std::string_view kMustBeInteger = "datetime:MustBeInteger";
inline constexpr std::string_view kRangeError = "datetime:RangeError";

}  // namespace plx::id
