#include "stream/chunk_reader.h"

#include <algorithm>
#include <utility>

namespace plx {

namespace {

// The least room that a read is given: as much as a pipe holds.
constexpr std::size_t kLeastRoom = std::size_t{1} << 16;

}  // namespace

ChunkReader::ChunkReader(Source& source, bool quotes, std::size_t longest)
    : source_(source), longest_(longest), boundaries_(quotes) {}

const Chunk* ChunkReader::peek() {
  if (!peeked_) {
    peeked_.emplace();
    if (!fill(*peeked_)) peeked_.reset();
  }
  return peeked_ ? &*peeked_ : nullptr;
}

bool ChunkReader::read(Chunk& chunk) {
  if (!peeked_) return fill(chunk);
  chunk = *std::exchange(peeked_, std::nullopt);
  return true;
}

bool ChunkReader::fill(Chunk& chunk) {
  std::size_t filled = rest_.size();
  chunk.storage.resize(std::max({chunk.storage.size(), kFileChunk, filled + kLeastRoom}));
  std::copy(rest_.begin(), rest_.end(), chunk.storage.begin());
  while (!atEnd_) {
    if (filled > longest_) {
      atEnd_ = true;
      rest_.clear();
      give(chunk, filled, Chunk::End::limit);
      return true;
    }
    if (chunk.storage.size() - filled < kLeastRoom) chunk.storage.resize(2 * chunk.storage.size());
    const std::size_t count = source_.receive(chunk.storage.data() + filled,
                                              std::min(chunk.storage.size() - filled, kFileChunk));
    atEnd_ = count == 0;
    filled += count;
    boundaries_.scan({chunk.storage.data(), filled});
    if (const std::size_t boundary = boundaries_.boundary(); boundary > 0) {
      rest_.assign(chunk.storage.data() + boundary, chunk.storage.data() + filled);
      give(chunk, boundary, Chunk::End::record);
      return true;
    }
  }
  rest_.clear();
  if (filled == 0) return false;
  give(chunk, filled, Chunk::End::source);
  return true;
}

void ChunkReader::give(Chunk& chunk, std::size_t size, Chunk::End end) {
  chunk.source = source_.name();
  chunk.offset = offset_;
  chunk.record = record_;
  chunk.line = line_;
  chunk.records = boundaries_.records() + (end == Chunk::End::record ? 0 : 1);
  chunk.first = offset_ == 0;
  chunk.end = end;
  chunk.size = size;
  offset_ += size;
  record_ += chunk.records;
  line_ += boundaries_.lines();
  boundaries_.restart();
}

}  // namespace plx
