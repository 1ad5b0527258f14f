// A line on a terminal that tells how far the work is.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace plx {

enum class ShowProgress {
  automatic,  // on a terminal, unless the results go to a terminal, too
  always,     // and at once
  never,
};

class Progress {
 public:
  // On `descriptor`. `results`: where the results go; on a terminal, they would mix with the line.
  // `total`: bytes of input in all, where that is known.
  Progress(ShowProgress show, int descriptor, int results, std::optional<std::uint64_t> total);
  // Clears the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // That many more bytes of input are done. Draws when a second has passed since the start, then up
  // to ten times a second.
  void advance(std::uint64_t bytes);

  // Clears the line; to be called before anything else is written to the terminal.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  void draw(Clock::time_point now);

  const ShowProgress show_;  // `never` where a line cannot be shown
  const int descriptor_;
  const std::optional<std::uint64_t> total_;
  const Clock::time_point start_;
  Clock::time_point nextDraw_;
  std::uint64_t done_ = 0;
  bool drawn_ = false;
};

// The line, at most `width` characters of ASCII:
//   " 42% [#####.......]  1.2 of 2.9 GB  312 MB/s  0:05 left"  with a total
//   "1.2 GB  312 MB/s  0:04"                                   without
// In narrow terminals first the bar goes, then what stands at the end.
std::string progressLine(std::uint64_t done, std::optional<std::uint64_t> total, double seconds,
                         std::size_t width);

}  // namespace plx
