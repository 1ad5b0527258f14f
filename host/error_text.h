// Errors as embedding programs read them.
#pragma once

#include <string>

#include "host/embed.h"
#include "host/exception.h"

namespace host {

struct ErrorText {
  std::string identifier;
  std::string message;  // UTF-8
};

ErrorText describe(const brel::except::IUserException& error);
ErrorText describe(const brel::except::BaseMsgID& key);

// All of these accept a null error.
void clear(paError* error) noexcept;
void write(paError* error, const ErrorText& text) noexcept;
// Makes and writes the text of a key. Should memory run out on the way, that is the error.
void write(paError* error, const brel::except::BaseMsgID& key);
// These need no memory of their own.
void writeOutOfMemory(paError* error) noexcept;
void writeUnreadable(paError* error) noexcept;

}  // namespace host
