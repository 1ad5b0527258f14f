// Keyed errors: a key of the host's message catalog, wrapped in an exception, handed to the host.
//
// A module makes a key, wraps it in Exception<Key, std::exception, void> and gives that to
// do_legacy_pa_error. The texts that people see, and the identifiers, belong to the host's catalog.
//
// Hosts catch by IUserException or IMsgIDException, whose type information lives in the host
// library, never by the template, of which every module has an instance of its own.
#pragma once

#if __cplusplus < 201703L
#error "this header needs C++17 or later (-std=c++17)"
#endif

#include <atomic>
#include <boost/exception/exception.hpp>
#include <boost/variant.hpp>
#include <exception>
#include <string>
#include <vector>

#include "host/i18n.h"
#include "host/pa_array.h"

namespace brel::except {

using i18n::ustring;

// An argument of a message, in the order of the message's placeholders.
using MessageArgument = boost::variant<long long, std::string, ustring>;
// All of them.
using MessageArguments = std::vector<MessageArgument>;
// What a key's constructor takes for a text: UTF-8, or UTF-16 code units.
using TextArgument = boost::variant<std::string, ustring>;

// A message of the catalog together with its arguments. Made only by the constructors of the keys.
class PA_API BaseMsgID {
 public:
  virtual ~BaseMsgID();
  BaseMsgID(const BaseMsgID&) = default;
  BaseMsgID& operator=(const BaseMsgID&) = default;

  const MessageArguments& arguments() const { return messageArgs; }  // for the placeholders
  const std::string& catalog() const { return catalog_; }            // "Pelmor:datetime"
  const std::string& name() const { return name_; }                  // "UnknownTimeZone"

 protected:
  // For the keys: where the message stands, and what is put into it.
  BaseMsgID(std::string catalog, std::string name, MessageArguments arguments = {});

 private:
  MessageArguments messageArgs;
  std::string catalog_;
  std::string name_;
};

// The order of the virtual functions below is part of the interface: every module carries tables of
// its own for its exceptions, and the host calls through them. A test reads the slots.

// Anything the host reports. Carries Boost's error information and can be cloned and rethrown.
class PA_API IException : public boost::exception_detail::clone_base, public boost::exception {
 public:
  ~IException() noexcept override;
  // The message in UTF-8, made on first use and valid as long as this exception lives. Safe from
  // several threads at once.
  virtual const char* what() const noexcept;

 protected:
  IException() = default;
  IException(const IException& other) noexcept;  // shares the error information

 private:
  mutable std::atomic<const std::string*> what_{nullptr};  // owned
};

// An exception with a message for the user.
class PA_API IUserException : public IException {
 public:
  ~IUserException() noexcept override;
  // UTF-16 to UTF-8, as messages need it; a lone surrogate becomes U+FFFD.
  virtual std::string convert_str(const ustring& text) const;
  // And back.
  virtual ustring convert_str(const std::string& text) const;
  // The message.
  virtual ustring ToUstringImpl() const = 0;

 protected:
  IUserException() = default;
  IUserException(const IUserException&) = default;
};

// An exception whose message stands in the catalog under a key.
class PA_API IMsgIDException : public IUserException {
 public:
  ~IMsgIDException() noexcept override;
  ustring ToUstringImpl() const override;
  // The identifier that users see and programs test for: "Pelmor:datetime:UnknownTimeZone".
  virtual std::string GetID() const = 0;
  // The catalog's text with the key's arguments put in.
  virtual ustring GetUnicodeMessageTxt() const;
  // The key.
  virtual const BaseMsgID& GetBaseMsgIDObj() const = 0;

  // The identifier of a key's message.
  static std::string get_error_id(const BaseMsgID& key);

 protected:
  IMsgIDException() = default;
  IMsgIDException(const IMsgIDException&) = default;
};

template <class Key, class Base, class Tag>
class Exception;

// A key as an exception: what modules give to do_legacy_pa_error.
template <class Key>
class Exception<Key, std::exception, void> : public IMsgIDException, public std::exception {
 public:
  // Holds a copy of the key, and the identifier of its message.
  explicit Exception(const Key& key) : key_(key), identifier_(get_error_id(key)) {}
  Exception(const Exception&) = default;  // shares the error information, copies the rest

  // A heap copy, which the caller deletes.
  const boost::exception_detail::clone_base* clone() const override { return new Exception(*this); }
  // Throws a copy.
  [[noreturn]] void rethrow() const override { throw Exception(*this); }
  const char* what() const noexcept override { return IException::what(); }
  std::string GetID() const override { return identifier_; }
  const BaseMsgID& GetBaseMsgIDObj() const override { return key_; }  // the key as it was given

 private:
  Key key_;
  std::string identifier_;
};

}  // namespace brel::except

// Reports an error to the caller of the running module. Under the host this does not come back: the
// module is left by unwinding. With paSetErrorsReturn on, it returns. Where no module is running,
// there is no caller to report to, and the error itself is thrown (or, with the switch on,
// ignored).
PA_API void do_legacy_pa_error(const brel::except::IUserException& error);
