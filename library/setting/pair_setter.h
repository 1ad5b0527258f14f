// Sets pairs of arrays where nothing has to be copied: the module reads the caller's memory and writes it.
#pragma once

#include <cstddef>
#include <optional>

#include "module/module.h"
#include "setting/blocks.h"
#include "setting/job.h"

namespace plx {

class PairSetter : public BlockWorker {
 public:
  // Whether a job is one: whole arrays without a time zone and one value for all that no element can make
  // wrong, since what the module has written by then could not be taken back.
  static bool takes(const SetJob& job);

  // The job is one of those, and outlives the setter.
  explicit PairSetter(const SetJob& job);

  std::optional<Stop> work(std::size_t start, std::size_t count) override;

 private:
  std::optional<Stop> set(std::size_t start, std::size_t count);

  const SetJob& job_;
  const HostArray value_, selector_, zone_;
};

}  // namespace plx
