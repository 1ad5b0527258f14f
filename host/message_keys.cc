// What the keys hold: their place in the catalog, and their arguments in the order of its text.
#include "host/message_keys.h"

namespace {

using brel::except::MessageArgument;
using brel::except::MessageArguments;
using brel::except::TextArgument;

constexpr char kCounts[] = "Pelmor:legacy_two_part";
constexpr char kDatetime[] = "Pelmor:datetime";

MessageArgument widen(const TextArgument& text) {
  return boost::apply_visitor([](const auto& t) { return MessageArgument(t); }, text);
}

}  // namespace

namespace Pelmor::legacy_two_part {

minrhs::minrhs() : BaseMsgID(kCounts, "minrhs") {}
maxrhs::maxrhs() : BaseMsgID(kCounts, "maxrhs") {}
maxlhs::maxlhs() : BaseMsgID(kCounts, "maxlhs") {}

}  // namespace Pelmor::legacy_two_part

namespace Pelmor::datetime::plxErrors {

InvalidInput::InvalidInput() : BaseMsgID(kDatetime, "InvalidInput") {}
UnrecognizedComponent::UnrecognizedComponent() : BaseMsgID(kDatetime, "UnrecognizedComponent") {}
InvalidComponent::InvalidComponent() : BaseMsgID(kDatetime, "InvalidComponent") {}
RangeError::RangeError() : BaseMsgID(kDatetime, "RangeError") {}
ICUError::ICUError(const TextArgument& operation, const TextArgument& errorName)
    : BaseMsgID(kDatetime, "ICUError", {widen(operation), widen(errorName)}) {}

}  // namespace Pelmor::datetime::plxErrors

namespace component_Pelmor::catalog_datetime {

key_InputSizeMismatch::key_InputSizeMismatch() : BaseMsgID(kDatetime, "InputSizeMismatch") {}
key_UnknownTimeZone::key_UnknownTimeZone(const TextArgument& timeZone)
    : BaseMsgID(kDatetime, "UnknownTimeZone", {widen(timeZone)}) {}
key_MustBeInteger::key_MustBeInteger() : BaseMsgID(kDatetime, "MustBeInteger") {}

}  // namespace component_Pelmor::catalog_datetime
