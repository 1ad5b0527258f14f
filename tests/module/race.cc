// A race that the thread sanitizer has to see: otherwise its silence about the other tests means nothing.

#include <thread>

int main() {
  int shared = 0;
  std::thread other([&] { shared = 1; });
  shared = 2;
  other.join();
  return shared == 3;
}
