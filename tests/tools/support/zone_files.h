// Files of time zones as the C library reads them (RFC 8536), put together by hand: what stands in the
// tests is then all that a zone has, whatever the system's own files say.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Numbers as such a file has them, the highest byte first.
inline std::string bigEndian(std::int64_t number, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(number >> 8 * i & 0xFF);
  return text;
}

// A zone of changes: from each second on, in order, so many seconds east of UTC. The first offset is that
// of all time before, and the last change's goes on for ever unless a rule says what follows it.
inline std::string zoneFile(int first, const std::vector<std::pair<std::int64_t, int>>& changes,
                            const std::string& rule = "") {
  const auto count = static_cast<std::int64_t>(changes.size());
  const auto header = [](std::int64_t transitions, std::int64_t types, std::int64_t letters) {
    std::string text = "TZif2" + std::string(15, '\0');
    for (const std::int64_t n :
         {std::int64_t{0}, std::int64_t{0}, std::int64_t{0}, transitions, types, letters})
      text += bigEndian(n, 4);
    return text;
  };
  const auto type = [](int offset) { return bigEndian(offset, 4) + std::string(2, '\0'); };
  // The part for 32 bits has nothing but what it must have.
  std::string file = header(0, 1, 4) + type(first) + std::string("LMT\0", 4);
  file += header(count, count + 1, 4);
  for (const auto& [second, offset] : changes) file += bigEndian(second, 8);
  for (std::int64_t i = 1; i <= count; ++i) file += static_cast<char>(i);
  file += type(first);
  for (const auto& [second, offset] : changes) file += type(offset);
  return file + std::string("LMT\0", 4) + '\n' + rule + '\n';
}
