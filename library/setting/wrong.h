// What is wrong with a call or an element, as callers of the library read it.
#pragma once

#include <string>
#include <string_view>

#include "messages/identifiers.h"
#include "messages/message.h"

namespace plx {

struct Wrong {
  std::string identifier;
  // "what is wrong: "text"; accepted: what is accepted", or a part of it.
  std::string message;
  // About a new value, not about the datetime or the result.
  bool isOfValue = false;
};

// The complaint as a Wrong, with the text that it is about, if there is one, in quotes.
inline Wrong wrong(const Complaint& complaint, std::string_view text = {}, bool isOfValue = false) {
  Wrong wrong{"Pelmor:" + std::string(complaint.identifier), complaint.what, isOfValue};
  if (!text.empty()) wrong.message += ": " + quoteText(text);
  if (!complaint.accepted.empty()) wrong.message.append("; accepted: ").append(complaint.accepted);
  return wrong;
}

}  // namespace plx
