// Writes a resource bundle in the binary form that ICU reads (a file .res), of the kinds of resources that
// time-zone rules have.
//
// The form is format version 1.3, which every ICU since 4.4 reads, and which `genrb --formatVersion 1` writes. The
// order of bytes is that of the machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zones {

// A bundle whose root is a table. Resources are added first and then put into arrays and tables.
class ResourceBundle {
 public:
  // Refers to a resource of this bundle.
  using Resource = std::uint32_t;
  using Table = std::map<std::string, Resource>;

  // All keys of all tables, which may have 65,000 bytes together. Throws std::length_error.
  explicit ResourceBundle(const std::set<std::string>& keys);

  static Resource number(int value);  // of 28 bits with its sign
  // Of equal texts, all but the first cost nothing.
  Resource text(const std::string& ascii);
  Resource numbers(const std::vector<std::int32_t>& values);
  Resource bytes(std::string_view values);
  Resource array(const std::vector<Resource>& items);
  Resource table(const Table& items);

  // The whole file, with this table as its root. `comment` is ASCII and stands near the beginning, for those who
  // look at it.
  std::string file(const Table& root, std::string_view comment);

 private:
  Resource here(unsigned type) const;
  void addWord(std::uint32_t word);
  void addUnit(std::uint16_t unit);
  void pad(std::size_t multiple);

  std::string bytes_;  // from the root's word on
  std::size_t keysEnd_, longestTable_ = 0;
  std::map<std::string, std::uint16_t> keys_;  // where they stand
  std::map<std::string, Resource> texts_;
};

}  // namespace zones
