// Reporting a failure: the one way out of the module for an error.
#pragma once

#include <exception>

#include "host/exception.h"
#include "host/message_keys.h"

// Reports the key to the host, which leaves the module by unwinding. Should the host come back,
// throws the error for the host's caller of the module. This is the only throw in src, but for
// std::bad_alloc where ICU has no memory for an object.
template <class Key>
[[noreturn]] void raise(const Key& key) {
  const brel::except::Exception<Key, std::exception, void> error(key);
  do_legacy_pa_error(error);
  throw error;
}
