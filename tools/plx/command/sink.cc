#include "command/sink.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "inspect/leap_table.h"
#include "messages/message.h"

namespace plx {

namespace {

constexpr std::string_view kCutDigits =
    "digits of seconds that a result cannot hold were cut: as a rule from the twenty-third on, "
    "in a time zone from the nineteenth on";
constexpr std::string_view kCarriedOnTheWay =
    "one setting after the other leads by way of a date that does not exist; --together resolves "
    "those of the date as one";

ShowProgress showProgress(const TextOptions& options) {
  if (options.quiet) return ShowProgress::never;
  return options.progress ? ShowProgress::always : ShowProgress::automatic;
}

std::string datetimes(std::size_t count) {
  return fmt::format("{} {}", count, count == 1 ? "datetime" : "datetimes");
}

std::string_view were(std::size_t count) { return count == 1 ? "was" : "were"; }

}  // namespace

Sink::Sink(const TextOptions& options, Output& standard, std::optional<std::uint64_t> total)
    : inPlace_(options.changesInPlace()), out_(&standard) {
  if (options.output) {
    isNew_ = ::access(options.output->c_str(), F_OK) != 0;
    files_.push_back(std::make_unique<OutputFile>(*options.output));
    out_ = &ownOutput_.emplace(files_.back()->descriptor(), files_.back()->name());
  }
  const int elsewhere = -1;  // no terminal
  const int results = inPlace_         ? elsewhere
                      : files_.empty() ? STDOUT_FILENO
                                       : files_[0]->descriptor();
  progress_.emplace(showProgress(options), STDERR_FILENO, results, total);
}

void Sink::replace(const std::string& input) {
  if (!files_.empty()) files_.back()->prepare();
  files_.push_back(std::make_unique<OutputFile>(input, *inPlace_));
  out_ = &ownOutput_.emplace(files_.back()->descriptor(), files_.back()->name());
  begun_ = false;
}

void Sink::take(const Piece& piece, std::size_t bytes) {
  for (const std::string& message : piece.messages) {
    if (told_++ < kMostMessages) tell(message);
  }
  errors_ += piece.errors;
  findings_ += piece.findings;
  if (piece.warnings > 0) tellOnce(kPastLeapTable);
  if (piece.cutDigits) tellOnce(kCutDigits);
  if (piece.carriedOnTheWay) tellOnce(kCarriedOnTheWay);
  put(piece.bytes(), bytes);
}

void Sink::tellOnce(std::string_view message) {
  if (toldOnce_.insert(message).second) tell(message);
}

void Sink::put(std::string_view bytes, std::size_t inputBytes) {
  begun_ = begun_ || !bytes.empty();
  out_->write(bytes);
  progress_->advance(inputBytes);
}

void Sink::finish(OnError onError, OnFinding onFinding) {
  commit();
  progress_.reset();
  if (const std::size_t all = errors_ + findings_; all > kMostMessages)
    tell(fmt::format("{} more such messages are not shown", all - kMostMessages));
  if (findings_ > 0) {
    tell(
        fmt::format("{} {} from what was asked", datetimes(findings_),
                    findings_ == 1 ? "differs" : "differ") +
        (onFinding == OnFinding::blank ? fmt::format(", and {} left blank", were(findings_)) : ""));
  }
  if (errors_ == 0) return;
  const std::string_view asBefore = errors_ == 1 ? "as it stood" : "as they stood";
  throw Failure{Status::badData,
                fmt::format("{0} {1} wrong and {1} left {2}{3}", datetimes(errors_), were(errors_),
                            onError == OnError::blank ? "blank" : asBefore, replaced())};
}

// What became of the files, which errors that are passed over do not keep from being written.
std::string Sink::replaced() const {
  if (files_.empty()) return {};
  if (files_.size() > 1) return fmt::format("; all {} files were replaced", files_.size());
  return fmt::format("; {} was {}", files_[0]->name(), isNew_ ? "written" : "replaced");
}

void Sink::commit() {
  if (!files_.empty()) files_.back()->prepare();
  std::size_t done = 0;
  try {
    for (; done < files_.size(); ++done) files_[done]->commit();
  } catch (Failure& failure) {
    if (done > 0)
      failure.message +=
          fmt::format("; {} before it {} changed", done == 1 ? "the file" : "the files",
                      done == 1 ? "is" : "are");
    throw;
  }
}

void Sink::tell(std::string_view message) {
  if (progress_) progress_->clear();
  std::fprintf(stderr, "plx: %.*s\n", static_cast<int>(message.size()), message.data());
}

}  // namespace plx
