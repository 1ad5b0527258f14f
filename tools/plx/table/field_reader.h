// The fields of a table one after the other.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "table/table_format.h"

namespace plx {

// A field, as places in the bytes of whole records.
struct Field {
  std::size_t begin, end;     // of its text; the quotes around it stand just outside
  std::size_t next;           // where the next field or record begins
  bool quoted, doubled;       // stands in quotes; has doubled quotes inside
  bool lastOfRecord;
};

// What makes the fields of a record uncertain, and where. Kept in static storage.
struct FieldError {
  std::size_t begin, at;       // of the field, and of the character that is wrong
  std::string_view what, accepted;
};

// The field at `begin`, in bytes that end where the last record ends. Nothing, and an error, where
// it can be read in more than one way.
std::optional<Field> readField(std::string_view bytes, std::size_t begin, const TableFormat& format,
                               FieldError& error);

}  // namespace plx
