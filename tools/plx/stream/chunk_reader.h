// Cuts a source into chunks of whole records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "stream/boundaries.h"
#include "stream/chunk.h"
#include "stream/source.h"

namespace plx {

// Bytes to read of a file at a time; a pipe gives what is there. What is kept of short rows while they are worked on is
// ten times as large, and stays within the 2 MiB of cache that many cores have.
inline constexpr std::size_t kFileChunk = std::size_t{1} << 17;

class ChunkReader : public Chunks {
 public:
  // `quotes`: as of a table, a LF between two quotes ends no record. `longest`: how long a record may be,
  // in bytes with its line end; a longer one ends the chunks, with Chunk::End::limit. The source
  // outlives the reader.
  ChunkReader(Source& source, bool quotes, std::size_t longest);

  // Waits for a whole record, and gives all records that are there by then: of a file some
  // kFileChunk bytes. False at the end. Throws a Failure where reading fails.
  bool read(Chunk& chunk) override;

  // The first chunk, which the first `read` gives again; null where there is none. To be called
  // before that.
  const Chunk* peek();

  void allowWakeUp() override { source_.allowWakeUp(); }
  void wakeUp() override { source_.wakeUp(); }

  Source& source() { return source_; }

 private:
  bool fill(Chunk& chunk);
  void give(Chunk& chunk, std::size_t size, Chunk::End end);

  Source& source_;
  const std::size_t longest_;
  Boundaries boundaries_;
  std::vector<char> rest_;       // the record that is not complete yet
  std::optional<Chunk> peeked_;  // the next one to give
  std::uint64_t offset_ = 0;     // where the next chunk stands
  std::size_t record_ = 1, line_ = 1;
  bool atEnd_ = false;
};

}  // namespace plx
