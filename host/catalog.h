// The host's message catalog: what people read.
#pragma once

#include "host/exception.h"

namespace host {

// The text of a key's message, its arguments put in. A key that the catalog does not know is
// reported by its identifier and its arguments.
brel::i18n::ustring formatMessage(const brel::except::BaseMsgID& key);

}  // namespace host
