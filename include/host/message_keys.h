// The eleven keys of the datetime module, in the three families of the host's catalog: argument
// counts, the module's own errors, and the datetime catalog. Only the host constructs what a key
// holds.
#pragma once

#if __cplusplus < 201703L
#error "this header needs C++17 or later (-std=c++17)"
#endif

#include "host/exception.h"

namespace Pelmor::legacy_two_part {

// Too few inputs.
class PA_API minrhs : public brel::except::BaseMsgID {
 public:
  minrhs();
};

// Too many inputs.
class PA_API maxrhs : public brel::except::BaseMsgID {
 public:
  maxrhs();
};

// Too many outputs.
class PA_API maxlhs : public brel::except::BaseMsgID {
 public:
  maxlhs();
};

}  // namespace Pelmor::legacy_two_part

namespace Pelmor::datetime::plxErrors {

// An input of the wrong class or shape.
class PA_API InvalidInput : public brel::except::BaseMsgID {
 public:
  InvalidInput();
};

// A component selector above the last one.
class PA_API UnrecognizedComponent : public brel::except::BaseMsgID {
 public:
  UnrecognizedComponent();
};

// A component that cannot be set.
class PA_API InvalidComponent : public brel::except::BaseMsgID {
 public:
  InvalidComponent();
};

// A time outside the range of the calendar.
class PA_API RangeError : public brel::except::BaseMsgID {
 public:
  RangeError();
};

// A failure of the calendar library.
class PA_API ICUError : public brel::except::BaseMsgID {
 public:
  // What was done, and the library's name for the failure.
  ICUError(const brel::except::TextArgument& operation,
           const brel::except::TextArgument& errorName);
};

}  // namespace Pelmor::datetime::plxErrors

namespace component_Pelmor::catalog_datetime {

// New values that fit the datetimes neither as one for all nor one for each.
class PA_API key_InputSizeMismatch : public brel::except::BaseMsgID {
 public:
  key_InputSizeMismatch();
};

// A text that names no time zone.
class PA_API key_UnknownTimeZone : public brel::except::BaseMsgID {
 public:
  // The text as it was given.
  explicit key_UnknownTimeZone(const brel::except::TextArgument& timeZone);
};

// A fraction where a whole number is needed.
class PA_API key_MustBeInteger : public brel::except::BaseMsgID {
 public:
  key_MustBeInteger();
};

}  // namespace component_Pelmor::catalog_datetime
