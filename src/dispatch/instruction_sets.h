// The instruction sets that the vector code is compiled for. The code is written once and compiled into
// an object of its own for each set (src/CMakeLists.txt); which object runs is decided at run time, by
// what the processor has.
//
//   an object of a set   vector_walk.cc: instruction_set-inl.h, then code in a namespace of the set; its entry
//                        is a specialisation such as  template <> UnzonedWalk unzonedWalkBy<instruction_sets::AVX2>
//   the choice           best_walk.cc: supportedSets() of compiled_sets.h lists the entries, bestOf() takes the
//                        first, and a FoundOnce remembers it
#pragma once

#include <vector>

// One set, with the function that is compiled for it.
template <class Walk>
struct CompiledFor {
  const char* name;  // "AVX3", "AVX2", "SSE4" or "baseline"
  Walk* walk;
};

namespace instruction_sets {

// The instructions that every processor of the architecture has.
struct Baseline {
  static constexpr const char* kName = "baseline";
  static bool isSupported() { return true; }
};

#if defined(__x86_64__)
// Named as in Highway, from the least to the best; each includes the one before. isSupported() asks for
// every extension that Highway's attributes allow the compiler (instruction_set-inl.h).
struct SSE4 {
  static constexpr const char* kName = "SSE4";
  static bool isSupported() { return __builtin_cpu_supports("sse4.2"); }
};

struct AVX2 {
  static constexpr const char* kName = "AVX2";
  static bool isSupported() {
    return SSE4::isSupported() && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
  }
};

struct AVX3 {
  static constexpr const char* kName = "AVX3";
  static bool isSupported() {
    return AVX2::isSupported() && __builtin_cpu_supports("avx512f") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
  }
};
#endif

template <class... Sets>
struct List {
  template <class Walk, class EntryOf>
  static std::vector<CompiledFor<Walk>> supported(EntryOf entryOf) {
    std::vector<CompiledFor<Walk>> found;
    [[maybe_unused]] const auto add = [&](auto set) {
      if (set.isSupported()) found.push_back({set.kName, entryOf(set)});
    };
    (add(Sets{}), ...);
    return found;
  }
};

}  // namespace instruction_sets

// The walk of the first, and so best, of the sets; the fallback `without` where `sets` is empty.
template <class Walk>
Walk* bestOf(const std::vector<CompiledFor<Walk>>& sets, Walk* without) {
  return sets.empty() ? without : sets.front().walk;
}
