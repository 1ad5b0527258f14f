#include "error_text.h"

#include <string_view>

#include "catalog.h"
#include "utf.h"

namespace host {
namespace {

void writeTexts(paError* error, std::string_view identifier, std::string_view message) noexcept {
  if (!error) return;
  copyUtf8(error->identifier, sizeof error->identifier, identifier);
  copyUtf8(error->message, sizeof error->message, message);
}

}  // namespace

ErrorText describe(const brel::except::IUserException& error) {
  const auto* keyed = dynamic_cast<const brel::except::IMsgIDException*>(&error);
  return {keyed ? keyed->GetID() : "Pelmor:host:ModuleFailure", toUtf8(error.ToUstringImpl())};
}

ErrorText describe(const brel::except::BaseMsgID& key) {
  return {brel::except::IMsgIDException::get_error_id(key), toUtf8(formatMessage(key))};
}

void clear(paError* error) noexcept { writeTexts(error, "", ""); }

void write(paError* error, const ErrorText& text) noexcept {
  writeTexts(error, text.identifier, text.message);
}

void write(paError* error, const brel::except::BaseMsgID& key) { write(error, describe(key)); }

void writeOutOfMemory(paError* error) noexcept {
  writeTexts(error, "Pelmor:host:OutOfMemory",
             "There is not enough memory for the call. Accepted are smaller arrays, or this size "
             "after other arrays have been destroyed.");
}

void writeUnreadable(paError* error) noexcept {
  writeTexts(error, "Pelmor:host:ModuleFailure", "The module's error could not be read.");
}

}  // namespace host
