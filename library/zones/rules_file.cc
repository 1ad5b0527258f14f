#include "zones/rules_file.h"

#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace zones {

namespace {

constexpr std::string_view kBegin = "plx rules 1; ICU ", kSum = "; sum ",
                           kZeros = "0000000000000000";
constexpr std::size_t kCommentAt = 24;  // behind UDataInfo
// UDataInfo's first fields, as this machine has them.
constexpr std::size_t kEndianAt = 8, kFormatAt = 12;

// Each step gives other sums for other sums and for other bytes, so that one changed row of up to eight bytes always
// shows, and any other change but for one in 2^64.
std::uint64_t sumOf(std::string_view bytes) {
  std::uint64_t sum = bytes.size();
  for (std::size_t i = 0; i < bytes.size(); i += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data() + i, bytes.size() - i < 8 ? bytes.size() - i : 8);
    sum = std::rotl((sum ^ word) * 0x9E3779B97F4A7C15u, 29);
  }
  return sum;
}

std::string hexadecimal(std::uint64_t number) {
  std::string text;
  for (int shift = 60; shift >= 0; shift -= 4) text += "0123456789abcdef"[number >> shift & 15];
  return text;
}

// The comment of a file; empty where there is none of ours.
std::string_view commentIn(std::string_view file) {
  if (file.size() <= kCommentAt) return {};
  const std::string_view rest = file.substr(kCommentAt);
  const std::string_view comment = rest.substr(0, rest.find('\0'));
  return comment.starts_with(kBegin) ? comment : std::string_view();
}

// Where the sum's digits stand in a file; nothing where they are missing.
std::optional<std::size_t> placeOfSum(std::string_view file) {
  const std::string_view comment = commentIn(file);
  const std::size_t at = comment.find(kSum);
  if (at == std::string_view::npos || at + kSum.size() + kZeros.size() > comment.size())
    return std::nullopt;
  return kCommentAt + at + kSum.size();
}

std::uint64_t sumWithout(std::string file, std::size_t place) {
  file.replace(place, kZeros.size(), kZeros);
  return sumOf(file);
}

// Of what every file of ICU's begins with; empty for nothing.
std::string problemOfHeader(std::string_view file) {
  if (file.size() <= kCommentAt) return "is cut short";
  if (file.substr(2, 2) != "\xDA\x27" || file.substr(kFormatAt, 4) != "ResB")
    return "is no file of ICU's, or damaged";
  if (file[kEndianAt] != (std::endian::native == std::endian::big ? 1 : 0))
    return "is of a machine with another order of bytes, or damaged";
  return {};
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "key value" behind "; ", up to the next one or the end.
std::string_view fieldOf(std::string_view comment, std::string_view key) {
  const std::size_t at = comment.find(key);
  if (at == std::string_view::npos) return {};
  const std::string_view rest = comment.substr(at + key.size());
  return rest.substr(0, rest.find(';'));
}

}  // namespace

std::string userRulesFolder() {
  const char* const data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return std::string(data) + "/plx/rules";
  const char* const home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return std::string(home) + "/.local/share/plx/rules";
  return {};
}

std::string commentOf(const RulesLabel& label) {
  std::string from;
  for (const char c : label.from.substr(0, 1000)) {
    if (c >= ' ' && c <= '~') from += c;
  }
  return std::string(kBegin) + std::to_string(label.icuMajor) + "; release " + label.release +
         std::string(kSum) + std::string(kZeros) + "; from " + from;
}

void sealRules(std::string& file) {
  if (const auto place = placeOfSum(file))
    file.replace(*place, kZeros.size(), hexadecimal(sumWithout(file, *place)));
}

CheckedRules checkRules(std::string_view file) {
  CheckedRules checked;
  const auto refuse = [&](std::string problem) {
    checked.problem = std::move(problem);
    return checked;
  };
  if (std::string problem = problemOfHeader(file); !problem.empty()) return refuse(problem);
  const auto place = placeOfSum(file);
  if (!place) return refuse("is not one that plx rules update writes, or damaged");
  if (file.substr(*place, kZeros.size()) != hexadecimal(sumWithout(std::string(file), *place)))
    return refuse("is cut short or damaged");
  const std::string_view comment = commentIn(file), major = comment.substr(kBegin.size());
  std::from_chars(major.data(), major.data() + major.size(), checked.label.icuMajor);
  checked.label.release = fieldOf(comment, "; release ");
  const std::size_t from = comment.find("; from ");
  if (from != std::string_view::npos) checked.label.from = comment.substr(from + 7);
  if (!isRelease(checked.label.release)) return refuse("does not tell its release");
  return checked;
}

std::string problemForIcu(std::string_view file) {
  std::string problem = problemOfHeader(file);
  if (!problem.empty()) return problem;
  if (!commentIn(file).empty()) return checkRules(file).problem;
  // Behind the header, whose length it begins with, the word of the root and the indexes: of these the fourth is the
  // bundle's length in words.
  constexpr std::size_t kLengthAt = 16;
  std::uint16_t header = 0;
  std::uint32_t words = 0;
  std::memcpy(&header, file.data(), sizeof header);
  if (header > file.size() || file.size() - header < kLengthAt + sizeof words)
    return "is cut short or damaged";
  std::memcpy(&words, file.data() + header + kLengthAt, sizeof words);
  return words > (file.size() - header) / 4 ? "is cut short or damaged" : "";
}

bool isRelease(std::string_view text) {
  if (text.size() < 5 || text.size() > 6) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i < 4 ? !isDigit(text[i]) : text[i] < 'a' || text[i] > 'z') return false;
  }
  return true;
}

bool isNewer(std::string_view release, std::string_view than) {
  if (!isRelease(release) || !isRelease(than)) return false;
  const auto year = release.substr(0, 4).compare(than.substr(0, 4));
  if (year != 0) return year > 0;
  // Behind z comes za.
  if (release.size() != than.size()) return release.size() > than.size();
  return release > than;
}

}  // namespace zones
