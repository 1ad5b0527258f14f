// The output of a command.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

inline std::vector<std::string> linesOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::vector<std::string> lines;
  char buffer[4096];
  while (fgets(buffer, sizeof buffer, pipe.get())) {
    std::string line = buffer;
    while (!line.empty() && line.back() == '\n') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}
