// Standard input that arrives in pieces of known sizes.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string_view>
#include <vector>

// Each read of standard input gives one piece, as long as this lives. Some hundred short ones.
class Packets {
 public:
  explicit Packets(const std::vector<std::string_view>& pieces) : before_(::dup(STDIN_FILENO)) {
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    for (const std::string_view piece : pieces) {
      if (!piece.empty()) {
        EXPECT_EQ(::send(ends[1], piece.data(), piece.size(), MSG_DONTWAIT),
                  static_cast<ssize_t>(piece.size()));
      }
    }
    ::close(ends[1]);
    ::dup2(ends[0], STDIN_FILENO);
    ::close(ends[0]);
  }
  ~Packets() {
    ::dup2(before_, STDIN_FILENO);
    ::close(before_);
  }
  Packets(const Packets&) = delete;
  Packets& operator=(const Packets&) = delete;

 private:
  int before_;
};
