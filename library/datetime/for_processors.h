// Loops over chunks that are compiled for several generations of processors, of which one is chosen when the program
// starts. The results are the same: nothing but additions, products and so on that IEEE defines, and none fused.
// The sanitizers see the plain loops, as they are not ready when the choice is made.
#pragma once

#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && \
    !defined(__SANITIZE_THREAD__)
#define PLX_FOR_PROCESSORS \
  __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define PLX_FOR_PROCESSORS
#endif
