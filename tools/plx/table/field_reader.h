// The fields of a table one after the other.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "messages/message.h"
#include "table/table_format.h"

namespace plx {

// A field, as places in the bytes of whole records.
struct Field {
  std::size_t begin, end;  // of its text; the quotes around it stand just outside
  std::size_t next;        // where the next field or record begins
  bool quoted, doubled;    // stands in quotes; has doubled quotes inside
  bool lastOfRecord;
};

// What makes a field uncertain.
struct FieldError {
  std::size_t begin = 0, at = 0;  // of the field, and of the character that is wrong
  Complaint complaint;
  bool unclosed = false;  // the quote that the field begins with is never closed
};

// The field at `begin`, in bytes that end where the last record ends. Nothing, and an error, where
// it can be read in more than one way.
std::optional<Field> readField(std::string_view bytes, std::size_t begin, const TableFormat& format,
                               FieldError& error);

// A text from between quotes, its doubled quotes made single.
std::string undoubled(std::string_view text);

}  // namespace plx
