// Comparison, the ASCII converter and the dispatcher of character errors.
#include "host/i18n.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <exception>
#include <new>

#include "host_error.h"
#include "running_call.h"

namespace brel::i18n {
namespace {

// What an exception says of itself. Those that are no failure of a character operation go on
// instead: memory that ran out, and a module that is being left.
std::string describeOrRethrow(const std::exception_ptr& exception) {
  if (!exception) return "no exception is being handled";
  try {
    std::rethrow_exception(exception);
  } catch (const host::LeaveModule&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const except::IException& error) {
    return error.what();
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "an exception of unknown type";
  }
}

// ICU's folding, which for ASCII is that of letters alone; names of zones are ASCII.
UChar32 folded(unsigned short unit) {
  if (unit > 0x7F) return u_foldCase(unit, U_FOLD_CASE_DEFAULT);
  return 'A' <= unit && unit <= 'Z' ? unit - 'A' + 'a' : unit;
}

}  // namespace

int lcctype::compare(const unsigned short* a, std::size_t aLength, const unsigned short* b,
                     std::size_t bLength, case_insensitive_t) {
  if (!a) aLength = 0;
  if (!b) bLength = 0;
  const std::size_t common = std::min(aLength, bLength);
  for (std::size_t i = 0; i < common; ++i) {
    const UChar32 x = folded(a[i]), y = folded(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return aLength == bLength ? 0 : aLength < bLength ? -1 : 1;
}

ustring codecvt_ascii_to_ustring::operator()(const char* text, std::size_t length) const {
  ustring units(text ? length : 0, 0);
  std::transform(text, text + units.size(), units.begin(), [](char c) -> unsigned short {
    const auto byte = static_cast<unsigned char>(c);
    return byte <= 127 ? byte : 0xFFFD;
  });
  return units;
}

void dispatch_char_exception() {
  const std::string reason = describeOrRethrow(std::current_exception());
  do_legacy_pa_error(except::Exception<host::HostMessage, std::exception, void>(
      host::HostMessage("CharacterError", {reason})));
}

}  // namespace brel::i18n
