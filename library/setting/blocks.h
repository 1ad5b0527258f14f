// Work on an array in blocks, by one thread or several.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>

#include "plx/plx.h"
#include "setting/wrong.h"

namespace plx {

// The first element that is wrong, in the order of elements.
struct Stop {
  Wrong wrong;
  std::size_t index = PLX_NO_INDEX;  // PLX_NO_INDEX: no element is at fault
  std::size_t done = 0;              // how many elements are set
  std::size_t setting = 0;           // during which of several, counted from 0
};

// What a worker threw, and how many elements were done before.
struct CutShort {
  std::exception_ptr cause;
  std::size_t done;
};

// One for each thread.
class BlockWorker {
 public:
  virtual ~BlockWorker() = default;
  // Works on `count` elements from `start` on. Nothing, or where it stopped: the elements before are done.
  virtual std::optional<Stop> work(std::size_t start, std::size_t count) = 0;
  // What is worth telling of all blocks so far: bits for plxOptions::notes.
  virtual unsigned notes() const { return 0; }
};

// Works on `all` elements in blocks of `block` elements, with the threads and the progress of the options. An
// empty array is one empty block, for checks that come before any element. Throws CutShort where a worker throws.
// `notes` is set to the notes of all workers.
std::optional<Stop> runBlocks(std::size_t all, std::size_t block, const plxOptions& options,
                              const std::function<std::unique_ptr<BlockWorker>()>& makeWorker,
                              unsigned& notes);

}  // namespace plx
