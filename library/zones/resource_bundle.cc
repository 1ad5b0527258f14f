#include "zones/resource_bundle.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>

namespace zones {

namespace {

enum Type : unsigned { kText = 0, kBytes = 1, kTable = 2, kNumber = 7, kArray = 8, kNumbers = 14 };

// The word of the root, and what follows it: the number of these words, the ends of keys, resources and bundle in
// words, the length of the longest table, and whether items that are missing are looked for elsewhere.
constexpr std::size_t kIndexes = 6, kLongestKeys = 65000;
constexpr std::uint32_t kNoFallback = 1;
constexpr char kPadding = '\xAA';

template <class T>
void append(std::string& bytes, T number) {
  char raw[sizeof number];
  std::memcpy(raw, &number, sizeof number);
  bytes.append(raw, sizeof number);
}

void padTo(std::string& bytes, std::size_t multiple, char padding) {
  while (bytes.size() % multiple != 0) bytes += padding;
}

}  // namespace

ResourceBundle::ResourceBundle(const std::set<std::string>& keys)
    : bytes_((1 + kIndexes) * 4, '\0') {
  for (const std::string& key : keys) {
    if (bytes_.size() + key.size() > kLongestKeys)
      throw std::length_error("too many keys for a resource bundle");
    keys_[key] = static_cast<std::uint16_t>(bytes_.size());
    bytes_.append(key.c_str(), key.size() + 1);
  }
  pad(4);
  keysEnd_ = bytes_.size();
}

void ResourceBundle::addWord(std::uint32_t word) { append(bytes_, word); }
void ResourceBundle::addUnit(std::uint16_t unit) { append(bytes_, unit); }
void ResourceBundle::pad(std::size_t multiple) { padTo(bytes_, multiple, kPadding); }

ResourceBundle::Resource ResourceBundle::here(unsigned type) const {
  const std::size_t word = bytes_.size() / 4;
  if (word >= std::size_t{1} << 28) throw std::length_error("too much for a resource bundle");
  return static_cast<Resource>(type << 28 | word);
}

ResourceBundle::Resource ResourceBundle::number(int value) {
  return static_cast<Resource>(Type::kNumber << 28 |
                               (static_cast<std::uint32_t>(value) & 0x0FFFFFFF));
}

ResourceBundle::Resource ResourceBundle::text(const std::string& ascii) {
  const auto known = texts_.find(ascii);
  if (known != texts_.end()) return known->second;
  const Resource resource = here(kText);
  addWord(static_cast<std::uint32_t>(ascii.size()));
  for (const char c : ascii) addUnit(static_cast<unsigned char>(c));
  addUnit(0);
  pad(4);
  texts_[ascii] = resource;
  return resource;
}

ResourceBundle::Resource ResourceBundle::numbers(const std::vector<std::int32_t>& values) {
  const Resource resource = here(kNumbers);
  addWord(static_cast<std::uint32_t>(values.size()));
  for (const std::int32_t value : values) addWord(static_cast<std::uint32_t>(value));
  return resource;
}

ResourceBundle::Resource ResourceBundle::bytes(std::string_view values) {
  // The bytes themselves begin at a multiple of 16, with the word of their number before.
  while ((bytes_.size() + 4) % 16 != 0) bytes_ += kPadding;
  const Resource resource = here(kBytes);
  addWord(static_cast<std::uint32_t>(values.size()));
  bytes_ += values;
  pad(4);
  return resource;
}

ResourceBundle::Resource ResourceBundle::array(const std::vector<Resource>& items) {
  const Resource resource = here(kArray);
  addWord(static_cast<std::uint32_t>(items.size()));
  for (const Resource item : items) addWord(item);
  return resource;
}

ResourceBundle::Resource ResourceBundle::table(const Table& items) {
  if (items.size() > 0xFFFF)
    throw std::length_error("too many items for a resource bundle's table");
  longestTable_ = std::max(longestTable_, items.size());
  const Resource resource = here(kTable);
  addUnit(static_cast<std::uint16_t>(items.size()));
  for (const auto& [key, item] : items) addUnit(keys_.at(key));
  pad(4);
  for (const auto& [key, item] : items) addWord(item);
  return resource;
}

std::string ResourceBundle::file(const Table& root, std::string_view comment) {
  const Resource rootResource = table(root);
  pad(16);
  const auto words = [](std::size_t bytes) { return static_cast<std::uint32_t>(bytes / 4); };
  const std::uint32_t first[1 + kIndexes] = {
      rootResource,         kIndexes,
      words(keysEnd_),      words(bytes_.size()),
      words(bytes_.size()), static_cast<std::uint32_t>(longestTable_),
      kNoFallback};
  std::memcpy(bytes_.data(), first, sizeof first);

  // What ICU reads of every data file (UDataInfo in unicode/udata.h), and the comment behind it.
  std::string header(2, '\0');
  header += "\xDA\x27";
  append<std::uint16_t>(header, 20);
  append<std::uint16_t>(header, 0);
  header += std::endian::native == std::endian::big ? '\1' : '\0';
  header.append("\0\2\0", 3);  // ASCII; units of two bytes
  header += "ResB";
  header.append("\1\3\0\0", 4);  // the version of the format
  header.append("\1\4\0\0", 4);  // and of the data, as genrb has it
  header += comment;
  header += '\0';
  padTo(header, 16, '\0');
  if (header.size() > 0xFFFF) throw std::length_error("too long a comment for a resource bundle");
  const auto size = static_cast<std::uint16_t>(header.size());
  std::memcpy(header.data(), &size, sizeof size);
  return header + bytes_;
}

}  // namespace zones
