// Texts that end where readable memory does.
#pragma once

#include <algorithm>
#include <string_view>

#include "support/guarded_array.h"

class AtTheEnd {
 public:
  // A copy of a text of up to 4096 bytes, until the next call.
  std::string_view operator()(std::string_view text) {
    char* const begin = page_.data() + page_.size() - text.size();
    std::ranges::copy(text, begin);
    return {begin, text.size()};
  }

 private:
  GuardedArray<char> page_{4096};
};
