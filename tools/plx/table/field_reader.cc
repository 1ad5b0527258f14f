#include "table/field_reader.h"

#include <algorithm>

namespace plx {

namespace {

constexpr std::string_view kAcceptedQuotes =
    "quotes around the whole field, and those inside doubled";

// A field that begins with a quote and ends with one, behind which the record or the next field
// begins. `end` is where the closing quote stands; at the end of the bytes if there is none.
struct Quotation {
  std::size_t end;
  bool doubled;
};

Quotation quotationAt(std::string_view bytes, std::size_t begin) {
  bool doubled = false;
  std::size_t at = begin + 1;
  for (;;) {
    const std::size_t quote = std::min(bytes.find('"', at), bytes.size());
    if (quote + 1 >= bytes.size() || bytes[quote + 1] != '"') return {quote, doubled};
    doubled = true;
    at = quote + 2;
  }
}

// The first separator or line end; a CR before a LF is part of the line end.
std::size_t plainEnd(std::string_view bytes, std::size_t begin, char separator) {
  std::size_t at = begin;
  while (at < bytes.size() && bytes[at] != separator && bytes[at] != '\n' && bytes[at] != '\r')
    ++at;
  return at;
}

}  // namespace

std::optional<Field> readField(std::string_view bytes, std::size_t begin, const TableFormat& format,
                               FieldError& error) {
  Field field{begin, begin, begin, false, false, false};
  std::size_t at = begin;
  if (at < bytes.size() && bytes[at] == '"') {
    const Quotation quotation = quotationAt(bytes, at);
    if (quotation.end == bytes.size()) {
      error = {begin, begin, {"the quote is never closed", kAcceptedQuotes}, true};
      return std::nullopt;
    }
    at = quotation.end + 1;
    field.quoted = true;
    field.doubled = quotation.doubled;
  }
  const std::size_t behindQuotes = at;
  at = plainEnd(bytes, at, format.separator);

  if (at < bytes.size() && bytes[at] == '\r' && bytes.substr(at, 2) != "\r\n") {
    error = {
        begin,
        at,
        {"there is a carriage return without a line feed", "records that end with LF or CRLF"}};
    return std::nullopt;
  }
  const std::string_view plain = bytes.substr(behindQuotes, at - behindQuotes);
  if (std::count(plain.begin(), plain.end(), '"') % 2 != 0) {
    error = {begin,
             behindQuotes + plain.find('"'),
             {field.quoted ? "there is one more quote behind the closing quote"
                           : "there is a quote inside a field that does not begin with one",
              kAcceptedQuotes}};
    return std::nullopt;
  }

  if (!plain.empty()) field.quoted = field.doubled = false;  // taken as it stands, quotes and all
  field.begin = field.quoted ? begin + 1 : begin;
  field.end = field.quoted ? at - 1 : at;
  field.lastOfRecord = at == bytes.size() || bytes[at] != format.separator;
  if (at < bytes.size()) at += bytes[at] == '\r' ? 2 : 1;
  field.next = at;
  return field;
}

std::string undoubled(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    plain += text[at];
    if (text.substr(at, 2) == "\"\"") ++at;
  }
  return plain;
}

}  // namespace plx
