/* Arrays of the host, as a module and an embedding program see them.
 *
 * An array is opaque. Its data are column-major; the real and the imaginary parts stand in two
 * separate blocks, each aligned to 64 bytes unless it was borrowed. Character arrays hold UTF-16 code units. Sparse arrays
 * can be made and asked about, so that they can be refused; they have no data pointers.
 *
 * Every query accepts a null array and answers 0, false or null. Queries may run on any number of
 * threads; an array that is written to belongs to one thread at a time. No error leaves a query.
 *
 * Plain C, from C99 or C++11 on; every name has C linkage.
 */
#ifndef PLX_HOST_PA_ARRAY_H
#define PLX_HOST_PA_ARRAY_H

#ifdef __cplusplus
#if __cplusplus < 201103L
#error "this header needs C++11 or later (-std=c++11)"
#endif
#elif !defined(__STDC_VERSION__) || __STDC_VERSION__ < 199901L
#error "this header needs C99 or later (-std=c99), or C++11"
#endif

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* What the host library lends to others; everything else in it stays hidden. */
#define PA_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define PA_ENUM(name) enum name : int /* any code may come from outside; all are representable */
extern "C" {
#else
#define PA_ENUM(name) enum name
#endif

/* The version of the interface that these headers describe. The host defines one symbol that bears
 * its own version, and modules refer to the symbol of the version they were compiled against, since
 * every header but embed.h makes them (interface.h). Raise the number in both places with every
 * incompatible change. */
#define PA_INTERFACE_VERSION 1
#define PA_INTERFACE_SYMBOL paHostInterface_1
extern PA_API const int PA_INTERFACE_SYMBOL;

/* An array; only the host knows what it consists of. */
typedef struct paArray paArray;

/* What an array holds: UTF-16 code units, or doubles. */
typedef PA_ENUM(paClassID){paCHAR_CLASS = 4, paDOUBLE_CLASS = 6} paClassID;
/* Whether an array of numbers has an imaginary part. */
typedef PA_ENUM(paComplexity){paREAL = 0, paCOMPLEX = 1} paComplexity;

/* ---- Reading arrays ---- */

/* What the array holds. */
PA_API paClassID paGetClassID(const paArray* array);
/* Made by paCreateSparseArray. */
PA_API bool paIsSparse(const paArray* array);
/* With an imaginary part. */
PA_API bool paIsComplex(const paArray* array);
/* Exactly one element. */
PA_API bool paIsScalar(const paArray* array);
/* No element. */
PA_API bool paIsEmpty(const paArray* array);
/* The real part of the first element; 0 where there is none (empty, char and sparse arrays). */
PA_API double paGetScalar(const paArray* array);
/* The product of the dimensions. */
PA_API size_t paGetNumberOfElements(const paArray* array);
/* At least 2; dimensions are kept as given, trailing ones of 1 included. */
PA_API size_t paGetNumberOfDimensions(const paArray* array);
/* Owned by the array, valid as long as it lives. */
PA_API const size_t* paGetDimensions(const paArray* array);
/* Owned by the array, valid as long as it lives; null for char and sparse arrays. Never null
 * otherwise, not even for an empty array. */
PA_API double* paGetRealData(const paArray* array);
/* The same for the imaginary parts; null for real arrays too. */
PA_API double* paGetImagData(const paArray* array);
/* The UTF-16 code units of a char array, as many as it has elements; no terminator follows them.
 * Owned by the array, valid as long as it lives; null for an empty array and for one of numbers. */
PA_API const uint16_t* paGetCharData(const paArray* array);
/* Writes the text of a char array as UTF-8, always terminated, where `size` is not 0; a text cut to
 * fit ends on a whole character. A surrogate without its partner becomes U+FFFD, and so does U+0000,
 * which would end the text. Returns the bytes of the whole text without the terminator: as much was
 * written where it is less than `size`. */
PA_API size_t paGetUTF8(const paArray* array, char* to, size_t size);

/* ---- Making arrays ----
 *
 * The caller owns what it gets and hands it to paDestroyArray, unless it passes it on (a module
 * that stores it in an output slot does). `dims` holds `ndim` extents and is copied; fewer than two
 * dimensions are refused. Refused arguments, sizes whose product overflows and memory that cannot
 * be had: null outside a module call; inside one, the host's error is raised and does not return.
 */

/* Zero-filled. The class is paDOUBLE_CLASS. */
PA_API paArray* paCreateNumericArray(size_t ndim, const size_t* dims, paClassID, paComplexity);
/* The same with contents left undefined. */
PA_API paArray* paCreateUninitNumericArray(size_t ndim, const size_t* dims, paClassID,
                                           paComplexity);
/* Wraps the caller's blocks without copying them: `imaginary` is null for an array of real numbers. They
 * stay the caller's, hold as many doubles as the dimensions say, and outlive the array. Blocks that are
 * aligned to 64 bytes are worked on faster. A null `real` is refused. */
PA_API paArray* paBorrowNumericArray(size_t ndim, const size_t* dims, double* real,
                                     double* imaginary);
/* `units`: as many UTF-16 code units as the dimensions say, copied; null only for an empty array.
 */
PA_API paArray* paCreateCharArray(size_t ndim, const size_t* dims, const uint16_t* units);
/* All elements zero and none stored; for asking and refusing. The class is paDOUBLE_CLASS. */
PA_API paArray* paCreateSparseArray(size_t rows, size_t columns, paClassID, paComplexity);
/* Null is accepted and ignored. */
PA_API void paDestroyArray(paArray* array);

#ifdef __cplusplus
}
#endif

#ifndef PA_NO_INTERFACE_REFERENCE
#include "host/interface.h"
#endif

#endif
