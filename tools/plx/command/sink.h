// Where the results of a run go, and what is told of the run meanwhile and at its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "command/text_command.h"
#include "set/chunk_editor.h"
#include "stream/output.h"
#include "stream/output_file.h"
#include "stream/pipeline.h"
#include "stream/progress.h"

namespace plx {

class Sink {
 public:
  // To the file that the options name, else to `standard`; where files are changed in place, to those
  // that `replace` names. `total`: bytes of input, where that is known. Throws a Failure of
  // Status::inputOutput.
  Sink(const TextOptions& options, Output& standard, std::optional<std::uint64_t> total);

  // Where files are changed in place: begins the next file, before it is read; the one before is done.
  void replace(const std::string& input);

  // Writes what became of a chunk of `bytes` bytes. Throws a Failure where writing fails.
  void take(const Piece& piece, std::size_t bytes);
  void put(std::string_view bytes, std::size_t inputBytes);

  // Tells it, unless it has been told. The text outlives the sink.
  void tellOnce(std::string_view message);

  // Where results are written.
  int descriptor() const { return out_->descriptor(); }

  // Whether something has been written; in place, to the file that is being changed.
  bool begun() const { return begun_; }

  // Puts files in their places, none before all are on the disk. Throws a Failure of Status::badData where errors were passed over.
  void finish(OnError onError, OnFinding onFinding);

 private:
  void tell(std::string_view message);
  std::string replaced() const;
  void commit();

  const std::optional<InPlace> inPlace_;
  std::vector<std::unique_ptr<OutputFile>> files_;
  std::optional<Output> ownOutput_;
  Output* out_;
  std::optional<Progress> progress_;
  std::size_t told_ = 0, errors_ = 0, findings_ = 0;
  std::set<std::string_view> toldOnce_;
  bool begun_ = false;
  bool isNew_ = false;  // the file of --output
};

}  // namespace plx
