// The layouts of a notation: which texts can be read and written by the places of their parts.
#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

#include "datetime/layout.h"
#include "datetime/notation.h"

namespace plx {

// For one thread at a time: keeps which layout the last text had, as the next one most often has it too.
class LayoutReader {
 public:
  // The notation outlives the reader.
  explicit LayoutReader(const Notation& notation);

  // The layout that reads a text as reading.h reads it in the notation, and writes it likewise; null for texts that are
  // left to that.
  const Layout* read(std::string_view text, PlainTime& time) {
    if (last_ != nullptr && last_->read(text, time) && !isMissing(text)) return last_;
    return readOther(text, time);
  }

 private:
  const Layout* readOther(std::string_view text, PlainTime& time);
  bool isMissing(std::string_view text) const {
    return !notation_.missing.empty() &&
           std::ranges::find(notation_.missing, text) != notation_.missing.end();
  }

  const Notation& notation_;
  std::vector<const Layout*> layouts_;
  const Layout* last_ = nullptr;
};

}  // namespace plx
