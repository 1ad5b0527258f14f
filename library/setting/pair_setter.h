// Sets datetimes that are pairs of arrays without a copy: the module reads and writes the caller's memory.
#pragma once

#include <cstddef>
#include <optional>

#include "module/module.h"
#include "setting/blocks.h"
#include "setting/job.h"

namespace plx {

class PairSetter : public BlockWorker {
 public:
  // Whether this setter can do a job: contiguous arrays, no time zone, and one value for all for which no
  // element can fail, since what the module has written by then could not be taken back.
  static bool takes(const SetJob& job);

  // takes() is true for the job, which outlives the setter.
  explicit PairSetter(const SetJob& job);

  std::optional<Stop> work(std::size_t start, std::size_t count) override;

 private:
  std::optional<Stop> set(std::size_t start, std::size_t count);

  const SetJob& job_;
  const HostArray value_, selector_, zone_;
};

}  // namespace plx
