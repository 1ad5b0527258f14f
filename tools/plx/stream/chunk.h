// A piece of a file or a pipe that holds whole records, and its position there.
//
//   line    what a LF ends; of a file or inside a quoted field
//   record  a line; in a table, a row, which quoted fields may spread over several lines
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace plx {

struct Chunk {
  // What stands behind the chunk's last byte.
  enum class End {
    record,  // the next record, or nothing: the chunk ends with a LF
    source,  // nothing, though the last record has no line end
    limit,   // more of a record that is longer than the reader's limit and is not read on
  };

  std::string_view bytes() const { return {storage.data(), size}; }

  std::string_view source;   // the name to begin messages with; the reader keeps it
  std::uint64_t offset = 0;  // bytes of the source before the chunk
  std::size_t record = 1;    // number of its first record, from 1
  std::size_t line = 1;      // number of its first line, from 1
  std::size_t records = 0;   // how many it has, including one without a line end
  bool first = false;        // whether it begins the source, where a byte-order mark may be
  End end = End::record;

  std::vector<char> storage;  // kept from one chunk to the next
  std::size_t size = 0;       // bytes of storage in use
};

// Gives chunks one after the other, to one thread at a time.
class Chunks {
 public:
  virtual ~Chunks() = default;
  // False at the end. Throws a Failure where reading fails.
  virtual bool read(Chunk& chunk) = 0;

  // From here on another thread may call wakeUp, which ends all waiting in read, now and later.
  virtual void allowWakeUp() = 0;
  virtual void wakeUp() = 0;
};

inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// How many bytes of a chunk are a byte-order mark: 3 or 0.
inline std::size_t byteOrderMark(const Chunk& chunk) {
  return chunk.first && chunk.bytes().starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
}

}  // namespace plx
