// Highway for the one instruction set of this object, PLX_INSTRUCTION_SET: between
// HWY_BEFORE_NAMESPACE() and HWY_AFTER_NAMESPACE() the compiler may use the instructions of the set, and
// HWY_NAMESPACE is the set's namespace. To be included before any other header of Highway.
#pragma once

// The compiler's options stay those of the baseline processor; attributes of functions alone select the
// set. For the linker keeps one copy of an inline function of the standard library, and a copy compiled
// for a newer processor would be called, and fail, on older ones.

// Keep Highway from allowing instructions that instruction_sets.h does not ask the processor for. No
// vector code here needs them.
#define HWY_DISABLE_PCLMUL_AES
#define HWY_DISABLE_F16C

#include <hwy/detect_targets.h>

#ifndef PLX_INSTRUCTION_SET  // where an editor parses this header alone
#define PLX_INSTRUCTION_SET Baseline
#endif

#define PLX_TARGET_AVX3 HWY_AVX3
#define PLX_TARGET_AVX2 HWY_AVX2
#define PLX_TARGET_SSE4 HWY_SSE4
#define PLX_TARGET_Baseline HWY_STATIC_TARGET
#define PLX_JOIN_(a, b) a##b
#define PLX_JOIN(a, b) PLX_JOIN_(a, b)

// As Highway itself does where it includes a file once for each target.
#undef HWY_TARGET
#define HWY_TARGET PLX_JOIN(PLX_TARGET_, PLX_INSTRUCTION_SET)

#include <hwy/highway.h>

#include "dispatch/instruction_sets.h"
