/* What a module exports: one function of this name and form, and nothing else.
 *
 *   nlhs   how many outputs the caller asked for
 *   plhs   the output slots; slot 0 always exists
 *   nrhs   how many inputs there are
 *   prhs   the inputs, owned by the caller
 *
 * All slots are null when the call begins. An array stored in a slot belongs to the caller, also
 * when the module then reports an error. The module runs on the thread that calls it and may be
 * called by several threads at once.
 *
 * What a module runs while it is being loaded must not throw: an exception there ends the process.
 *
 * Plain C, from C99 or C++11 on. */
#ifndef PLX_HOST_MODULE_H
#define PLX_HOST_MODULE_H

#include "host/interface.h"

/* Does what the module does. */
#ifdef __cplusplus
extern "C"
#endif
    PA_API void
    plxFunction(int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[]);

#endif
