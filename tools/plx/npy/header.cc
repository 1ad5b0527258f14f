#include "npy/header.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "messages/message.h"

namespace plx {

namespace {

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::int64_t>::max();

constexpr std::string_view kAcceptedFiles =
    "a file of NumPy's .npy format, version 1.0, 2.0 or 3.0, holding one array";
constexpr std::string_view kAcceptedHeaders =
    "{'descr': '<c16', 'fortran_order': False, 'shape': (3, 4), } with each of the keys once";
constexpr std::string_view kAcceptedShapes =
    "a tuple of whole numbers from 0 such as (), (3,) or (3, 4)";
constexpr std::string_view kAcceptedData = "as many bytes as the elements of the shape have";

constexpr std::size_t kShownBytes = 24;

[[noreturn]] void failAt(std::string_view name, std::size_t byte, const Complaint& complaint,
                         std::string_view text) {
  throw Failure{Status::badData, describe(fmt::format("{}: byte {}", name, byte), complaint, text)};
}

// Walks over the dictionary. `at` counts bytes of the file, so that messages can tell them.
class HeaderScanner {
 public:
  HeaderScanner(std::string_view file, std::size_t at, std::size_t end, std::string_view name)
      : file_(file.substr(0, end)), at_(at), name_(name) {}

  std::size_t at() const { return at_; }
  std::string_view name() const { return name_; }
  bool atEnd() const { return at_ == file_.size(); }
  char next() const { return atEnd() ? '\0' : file_[at_]; }

  void skipSpace() {
    while (!atEnd() && std::string_view(" \t\n\r\f").find(file_[at_]) != std::string_view::npos)
      ++at_;
  }
  // The character, with white space before it.
  bool skip(char c) {
    skipSpace();
    if (atEnd() || file_[at_] != c) return false;
    ++at_;
    return true;
  }
  bool skipWord(std::string_view word) {
    skipSpace();
    if (!file_.substr(at_).starts_with(word)) return false;
    at_ += word.size();
    return true;
  }
  void expect(char c, std::string_view accepted = kAcceptedHeaders) {
    if (!skip(c)) fail({fmt::format("expected {}", c), accepted});
  }
  // A text in single or double quotes.
  std::string_view quoted() {
    skipSpace();
    const char quote = next();
    if (quote != '\'' && quote != '"') fail({"expected a text in quotes", kAcceptedHeaders});
    const std::size_t end = file_.find(quote, at_ + 1);
    const std::string_view text = file_.substr(at_ + 1, end - at_ - 1);
    if (end == std::string_view::npos || text.find('\n') != std::string_view::npos)
      fail({"a text without its closing quote", kAcceptedHeaders});
    if (text.find('\\') != std::string_view::npos)
      fail({"a text with a backslash", kAcceptedHeaders});
    at_ = end + 1;
    return text;
  }
  std::string_view digits() {
    skipSpace();
    const std::size_t start = at_;
    while ('0' <= next() && next() <= '9') ++at_;
    return file_.substr(start, at_ - start);
  }

  [[noreturn]] void fail(const Complaint& complaint) const { failBefore(at_, complaint); }
  [[noreturn]] void failBefore(std::size_t at, const Complaint& complaint) const {
    failAt(name_, at, complaint, file_.substr(at, kShownBytes));
  }

 private:
  std::string_view file_;
  std::size_t at_;
  std::string_view name_;
};

ElementType readDescr(HeaderScanner& scan) {
  scan.skipSpace();
  const std::size_t start = scan.at();
  if (scan.next() == '[' || scan.next() == '(') {
    scan.fail({"an array of records", "elements of one simple type, such as '<c16'"});
  }
  const std::string_view text = scan.quoted();
  Complaint complaint;
  const auto type = readElementType(text, complaint);
  if (!type) failAt(scan.name(), start, complaint, text);
  return *type;
}

bool readFlag(HeaderScanner& scan) {
  if (scan.skipWord("True")) return true;
  if (scan.skipWord("False")) return false;
  scan.fail({"fortran_order is no truth value", "True or False"});
}

std::uint64_t readLength(HeaderScanner& scan) {
  scan.skipSpace();
  const std::size_t start = scan.at();
  const std::string_view digits = scan.digits();
  if (digits.empty() || (digits.size() > 1 && digits.front() == '0'))
    scan.failBefore(start, {"expected a length", kAcceptedShapes});
  std::uint64_t length = 0;
  for (const char c : digits) {
    const auto digit = static_cast<std::uint64_t>(c - '0');
    if (length > (kMostBytes - digit) / 10)
      scan.failBefore(start, {"the length is too large", "lengths below 2^63"});
    length = length * 10 + digit;
  }
  if (scan.next() == 'L') scan.skip('L');
  return length;
}

std::vector<std::uint64_t> readShape(HeaderScanner& scan) {
  std::vector<std::uint64_t> shape;
  scan.expect('(', kAcceptedShapes);
  while (!scan.skip(')')) {
    if (!shape.empty()) scan.expect(',', kAcceptedShapes);
    if (!shape.empty() && scan.skip(')')) return shape;
    shape.push_back(readLength(scan));
    // In Python, (3) is a number.
    if (shape.size() == 1 && scan.skip(')'))
      scan.failBefore(scan.at() - 1, {"expected , before )", kAcceptedShapes});
  }
  return shape;
}

// A value of the dictionary, which may be there once.
template <class T>
void assignOnce(std::optional<T>& slot, T value, std::string_view key, std::size_t at,
                const HeaderScanner& scan) {
  if (slot) scan.failBefore(at, {fmt::format("the key {} is there twice", key), kAcceptedHeaders});
  slot = std::move(value);
}

// The number of elements; nothing where they have more than 2^63 - 1 bytes.
std::optional<std::uint64_t> countOf(const std::vector<std::uint64_t>& shape, std::size_t bytes) {
  if (std::find(shape.begin(), shape.end(), 0u) != shape.end()) return 0;
  std::uint64_t count = 1;
  for (const std::uint64_t length : shape) {
    if (count > kMostBytes / bytes / length) return std::nullopt;
    count *= length;
  }
  return count;
}

void readDictionary(HeaderScanner& scan, NpyHeader& header) {
  std::optional<ElementType> type;
  std::optional<bool> order;
  std::optional<std::vector<std::uint64_t>> shape;
  std::size_t shapeStart = scan.at();
  scan.expect('{');
  while (!scan.skip('}')) {
    scan.skipSpace();
    const std::size_t start = scan.at();
    const std::string_view key = scan.quoted();
    scan.expect(':');
    if (key == "descr") {
      assignOnce(type, readDescr(scan), key, start, scan);
    } else if (key == "fortran_order") {
      assignOnce(order, readFlag(scan), key, start, scan);
    } else if (key == "shape") {
      shapeStart = scan.at();
      assignOnce(shape, readShape(scan), key, start, scan);
    } else {
      scan.failBefore(start, {"an unknown key", kAcceptedHeaders});
    }
    if (scan.skip(',')) continue;
    scan.expect('}');
    break;
  }
  const std::size_t end = scan.at();
  scan.skipSpace();
  if (!scan.atEnd()) scan.fail({"expected nothing more in the header", kAcceptedHeaders});
  if (!type || !order || !shape) {
    const char* missing = !type ? "descr" : !order ? "fortran_order" : "shape";
    scan.failBefore(end, {fmt::format("the key {} is missing", missing), kAcceptedHeaders});
  }
  const auto count = countOf(*shape, type->bytes);
  if (!count)
    scan.failBefore(shapeStart, {"the shape is too large", "arrays of fewer than 2^63 bytes"});
  header.type = *type;
  header.fortranOrder = *order;
  header.shape = std::move(*shape);
  header.count = *count;
}

std::size_t littleEndian(std::string_view bytes) {
  std::size_t number = 0;
  for (std::size_t i = bytes.size(); i-- > 0;)
    number = number << 8 | static_cast<unsigned char>(bytes[i]);
  return number;
}

std::string bytesOf(std::size_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFF);
  return bytes;
}

std::size_t bytesOfLength(int version) { return version == 1 ? 2 : 4; }

std::string dictionaryText(const NpyHeader& header) {
  std::string shape;
  for (const std::uint64_t length : header.shape)
    shape += fmt::format("{}{}", shape.empty() ? "" : ", ", length);
  if (header.shape.size() == 1) shape += ',';
  std::string text =
      fmt::format("{{'descr': '{}', 'fortran_order': {}, 'shape': ({}), }}",
                  typeString(header.type), header.fortranOrder ? "True" : "False", shape);
  // Room for the length that grows when elements are appended.
  if (!header.shape.empty()) {
    const auto growing = header.fortranOrder ? header.shape.back() : header.shape.front();
    text.append(21 - std::min<std::size_t>(21, std::to_string(growing).size()), ' ');
  }
  return text;
}

}  // namespace

NpyLayout readNpyHeader(std::string_view file, std::string_view name) {
  const std::size_t versionAt = kNpyMagic.size();
  if (!file.starts_with(kNpyMagic) || file.size() < versionAt + 2)
    failAt(name, 0, {"not an .npy file", kAcceptedFiles}, file.substr(0, versionAt));
  NpyLayout layout{{}, 0};
  layout.header.version = static_cast<unsigned char>(file[versionAt]);
  const int minor = static_cast<unsigned char>(file[versionAt + 1]);
  if (layout.header.version < 1 || layout.header.version > 3 || minor != 0) {
    failAt(name, versionAt, {"an unknown version of the format", kAcceptedFiles},
           fmt::format("{}.{}", layout.header.version, minor));
  }

  const std::size_t lengthAt = versionAt + 2;
  const std::size_t start = lengthAt + bytesOfLength(layout.header.version);
  const std::size_t length =
      file.size() < start ? 0 : littleEndian(file.substr(lengthAt, start - lengthAt));
  if (file.size() < start || length > file.size() - start) {
    failAt(name, lengthAt, {"the file ends within its header", kAcceptedFiles},
           fmt::format("{} bytes", file.size()));
  }
  layout.dataStart = start + length;
  HeaderScanner scan(file, start, layout.dataStart, name);
  readDictionary(scan, layout.header);

  const std::uint64_t expected = layout.header.count * layout.header.type.bytes;
  const std::uint64_t found = file.size() - layout.dataStart;
  if (found != expected) {
    failAt(name, layout.dataStart,
           {fmt::format("the data are {} than the shape says, {} elements of {}",
                        found < expected ? "shorter" : "longer", layout.header.count,
                        typeName(layout.header.type)),
            kAcceptedData},
           fmt::format("{} bytes, not {}", found, expected));
  }
  return layout;
}

std::string npyHeaderText(const NpyHeader& header) {
  constexpr std::size_t kAlignment = 64;
  std::string text = dictionaryText(header);
  int version = header.version;
  for (;;) {
    const std::size_t before = kNpyMagic.size() + 2 + bytesOfLength(version);
    const std::size_t used = before + text.size() + 1;
    const std::size_t length = text.size() + 1 + kAlignment - used % kAlignment;
    if (version == 1 && length > 0xFFFF) {
      version = 2;
      continue;
    }
    text.resize(length - 1, ' ');
    return std::string(kNpyMagic) + static_cast<char>(version) + '\0' +
           bytesOf(length, bytesOfLength(version)) + text + '\n';
  }
}

}  // namespace plx
