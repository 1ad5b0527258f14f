// host_in_cxx DATETIME-MODULE: a refused call and its error, in C++.
#include <host/embed.h>

#include <cstring>
#include <memory>

int main(int argc, char** argv) {
  if (argc < 2) return 1;
  paError error;
  const std::unique_ptr<paModule, void (*)(paModule*)> module(paLoadModule(argv[1], &error),
                                                              paUnloadModule);
  if (!module) return 1;
  paArray* out[1];
  if (paCallModule(module.get(), 1, out, 0, nullptr, &error) != 1 || out[0] != nullptr) return 1;
  return std::strcmp(error.identifier, "Pelmor:legacy_two_part:minrhs") != 0;
}
