#include "setting/job.h"

#include <algorithm>
#include <memory>

#include "setting/block_setter.h"
#include "setting/pair_setter.h"

namespace plx {

namespace {

// Elements per block: few enough for all arrays of a block to stay in the level-2 cache.
constexpr std::size_t kBlock = std::size_t{1} << 13;

// Elements per block of pairs: enough for the module to use non-temporal stores.
constexpr std::size_t kPairBlock = std::size_t{1} << 20;

}  // namespace

std::optional<Stop> run(const SetJob& job, unsigned& notes) {
  if (PairSetter::takes(job)) {
    const bool isOne = job.options.threads <= 1 && job.options.progress == nullptr;
    return runBlocks(
        job.datetimes.count, isOne ? std::max<std::size_t>(1, job.datetimes.count) : kPairBlock,
        job.options, [&] { return std::make_unique<PairSetter>(job); }, notes);
  }
  return runBlocks(
      job.datetimes.count, kBlock, job.options, [&] { return std::make_unique<BlockSetter>(job); },
      notes);
}

}  // namespace plx
