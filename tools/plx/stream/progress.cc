#include "stream/progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "stream/signals.h"

namespace plx {

namespace {

using namespace std::chrono_literals;

constexpr auto kUntilShown = 1s;
constexpr auto kBetweenDraws = 100ms;
constexpr std::size_t kUsualWidth = 80;
constexpr std::size_t kShortestBar = 10, kLongestBar = 40;  // with its brackets

bool isDumb() {
  const char* terminal = std::getenv("TERM");
  return terminal == nullptr || std::string_view(terminal) == "dumb";
}

bool isShown(ShowProgress show, int descriptor, int results) {
  if (show != ShowProgress::automatic) return show == ShowProgress::always;
  return ::isatty(descriptor) != 0 && ::isatty(results) == 0 && !isDumb();
}

// A job in the background leaves the terminal to the one in the foreground.
bool isInBackground(int descriptor) {
  const pid_t foreground = ::tcgetpgrp(descriptor);
  return foreground >= 0 && foreground != ::getpgrp();
}

std::size_t widthOf(int descriptor) {
  struct winsize size = {};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualWidth;
  return size.ws_col;
}

// A progress line that cannot be written is not worth an error.
void writeTo(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

struct Unit {
  double bytes;
  const char* name;
};

Unit unitOf(double bytes) {
  constexpr Unit kUnits[] = {{1e12, "TB"}, {1e9, "GB"}, {1e6, "MB"}, {1e3, "kB"}};
  for (const Unit& unit : kUnits) {
    if (bytes >= unit.bytes) return unit;
  }
  return {1, "B"};
}

// Two digits or more: 0.3, 9.9, 10, 312.
std::string number(double value) {
  const double tenths = std::floor(value * 10) / 10;
  return tenths < 10 && tenths != std::floor(value) ? fmt::format("{:.1f}", tenths)
                                                    : fmt::format("{:.0f}", std::floor(value));
}

std::string amount(double bytes) {
  const Unit unit = unitOf(bytes);
  return number(bytes / unit.bytes) + " " + unit.name;
}

// 0:05, 12:34, 1:02:03.
std::string duration(double seconds) {
  const auto total = static_cast<std::int64_t>(std::min(std::ceil(seconds), 359'999.0));
  const auto hours = total / 3600, minutes = total / 60 % 60;
  return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, minutes, total % 60)
                   : fmt::format("{}:{:02}", minutes, total % 60);
}

// As many of the parts as fit, two spaces between them.
std::string joined(const std::vector<std::string>& parts, std::size_t width) {
  std::string line;
  for (const std::string& part : parts) {
    const std::size_t gap = line.empty() ? 0 : 2;
    if (line.size() + gap + part.size() > width) break;
    line.append(gap, ' ').append(part);
  }
  return line;
}

// "[#####.....]"
std::string bar(double share, std::size_t size) {
  const auto full = static_cast<std::size_t>(share * static_cast<double>(size - 2));
  return fmt::format("[{:.<{}}]", std::string(full, '#'), size - 2);
}

}  // namespace

std::string progressLine(std::uint64_t done, std::optional<std::uint64_t> total, double seconds,
                         std::size_t width) {
  const auto bytes = static_cast<double>(done);
  const double rate = bytes / std::max(seconds, 1e-3);
  if (!total) return joined({amount(bytes), amount(rate) + "/s", duration(seconds)}, width);

  // A file may grow while it is read.
  const double all = std::max({static_cast<double>(*total), bytes, 1.0});
  const double share = bytes / all;
  const Unit unit = unitOf(all);
  std::vector<std::string> parts = {
      fmt::format("{:3.0f}%", std::floor(100 * share)),
      fmt::format("{} of {} {}", number(bytes / unit.bytes), number(all / unit.bytes), unit.name),
      amount(rate) + "/s"};
  if (done > 0) parts.push_back(duration((all - bytes) / rate) + " left");
  const std::size_t used = joined(parts, width).size() + 1;
  if (used + kShortestBar <= width)
    parts[0].append(1, ' ').append(bar(share, std::min(width - used, kLongestBar)));
  return joined(parts, width);
}

Progress::Progress(ShowProgress show, int descriptor, int results,
                   std::optional<std::uint64_t> total)
    : show_(isShown(show, descriptor, results) ? show : ShowProgress::never),
      descriptor_(descriptor),
      total_(total),
      start_(Clock::now()),
      nextDraw_(show == ShowProgress::always ? start_ : start_ + kUntilShown) {}

Progress::~Progress() { clear(); }

void Progress::advance(std::uint64_t bytes) {
  done_ += bytes;
  if (show_ == ShowProgress::never) return;
  const auto now = Clock::now();
  if (now >= nextDraw_) draw(now);
}

void Progress::draw(Clock::time_point now) {
  nextDraw_ = now + kBetweenDraws;
  if (show_ == ShowProgress::automatic && isInBackground(descriptor_)) return;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  // In the last column some terminals would begin a new line.
  const std::string line = progressLine(done_, total_, seconds, widthOf(descriptor_) - 1);
  if (!drawn_) clearOnSignal(descriptor_);
  drawn_ = true;
  writeTo(descriptor_, fmt::format("\r{}\x1b[K", line));
}

void Progress::clear() {
  if (!drawn_) return;
  writeTo(descriptor_, kClearLine);
  clearOnSignal(-1);
  drawn_ = false;
}

}  // namespace plx
