// Work on an array in blocks, by one thread or several.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

#include "plx/plx.h"
#include "setting/wrong.h"

namespace plx {

// The first element that is wrong, in the order of elements.
struct Stop {
  Wrong wrong;
  std::size_t index = PLX_NO_INDEX;  // nothing about an element
  std::size_t done = 0;              // with PLX_NO_INDEX: so many are set
  std::size_t step = 0;
};

// One for each thread.
class BlockWorker {
 public:
  virtual ~BlockWorker() = default;
  // Works on some elements; nothing, or where it stopped: all elements before are done then.
  virtual std::optional<Stop> work(std::size_t start, std::size_t count) = 0;
  // Bits of what is worth telling of all blocks so far.
  virtual unsigned notes() const { return 0; }
};

// Works on all elements in blocks of so many, with the threads and the progress of the options. An array
// without elements is one block, for what is checked before any. Throws what a worker throws. In `notes` come
// the bits of all workers.
std::optional<Stop> runBlocks(std::size_t all, std::size_t block, const plxOptions& options,
                              const std::function<std::unique_ptr<BlockWorker>()>& makeWorker,
                              unsigned& notes);

}  // namespace plx
