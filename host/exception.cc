// The exceptions' key functions, messages and conversions. Since the first function out of line of
// each class stands here, its type information does too, and hosts catch by these classes.
#include "host/exception.h"

#include <memory>
#include <utility>

#include "catalog.h"
#include "utf.h"

namespace brel::except {

BaseMsgID::BaseMsgID(std::string catalog, std::string name, MessageArguments arguments)
    : messageArgs(std::move(arguments)), catalog_(std::move(catalog)), name_(std::move(name)) {}

BaseMsgID::~BaseMsgID() = default;

// A copy makes a message of its own when it is asked: nothing is shared that a thread might be
// writing.
IException::IException(const IException& other) noexcept
    : clone_base(other), boost::exception(other) {}

IException::~IException() noexcept { delete what_.load(std::memory_order_acquire); }

const char* IException::what() const noexcept {
  if (const std::string* made = what_.load(std::memory_order_acquire)) return made->c_str();
  try {
    const auto* user = dynamic_cast<const IUserException*>(this);
    if (!user) return "An error that has no message.";
    auto message = std::make_unique<const std::string>(user->convert_str(user->ToUstringImpl()));
    const std::string* first = nullptr;
    // Where another thread was faster, its text stays and this one goes.
    if (what_.compare_exchange_strong(first, message.get(), std::memory_order_acq_rel))
      first = message.release();
    return first->c_str();
  } catch (...) {
    return "An error whose message could not be made.";
  }
}

IUserException::~IUserException() noexcept = default;

std::string IUserException::convert_str(const ustring& text) const { return host::toUtf8(text); }

ustring IUserException::convert_str(const std::string& text) const { return host::toUtf16(text); }

IMsgIDException::~IMsgIDException() noexcept = default;

ustring IMsgIDException::ToUstringImpl() const { return GetUnicodeMessageTxt(); }

ustring IMsgIDException::GetUnicodeMessageTxt() const {
  return host::formatMessage(GetBaseMsgIDObj());
}

std::string IMsgIDException::get_error_id(const BaseMsgID& key) {
  return key.catalog() + ':' + key.name();
}

}  // namespace brel::except
