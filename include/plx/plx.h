/* Setting and reading components of datetimes that stand in memory of anybody's.
 *
 *     double values[] = {13};
 *     size_t shape[] = {1000};
 *     plxArray datetimes = {counts, "<M8[ns]", 1, shape, NULL, NULL, NULL};
 *     plxSetting month = {paMONTH, {values, "<f8", 0, NULL, NULL, NULL, NULL}, NULL};
 *     plxError error;
 *     if (plxSet(&datetimes, &month, 1, NULL, &datetimes, &error) != 0)
 *       printf("element %zu: %s\n", error.index, error.message);
 *
 * Units     Datetimes are milliseconds or counts of a unit since 1970-01-01T00:00:00: instants of UTC
 *           in a time zone, counting inserted seconds with UTCLeapSeconds, wall times without a zone.
 * Ranges    2^52 days to both sides of 1970; in a time zone 2^52 milliseconds, some 142,700 years.
 * Owners    All arrays and texts given here stay the caller's, and have to live until the function
 *           returns. Texts that come back say themselves whose they are.
 * Errors    A function that fails returns 1 or null and fills its `plxError`, which may be null.
 * Threads   Any number may call at once, each for results of its own. No C++ exception gets out.
 *
 * Plain C, from C99 or C++11 on; every name has C linkage. Link `plx::library` (CMake) or
 * `plx` (pkg-config): libplx.so. */
#ifndef PLX_PLX_H
#define PLX_PLX_H

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

#include "host/components.h"

/* What the library lends to others; everything else in it stays hidden. */
#define PLX_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Arrays and errors ---- */

/* Elements at equal distances in each dimension, as NumPy's arrays have them. `type` is written as in
 * NumPy's array interface, the byte order first: < little-endian, > big-endian, = or | the machine's.
 *
 *   "<M8[ns]", ">M8[25s]"   datetimes: counts of a unit from Y to as, or of a multiple of it;
 *                           the least count is NaT, no datetime
 *   "<c16"                  datetimes: milliseconds, the high part first, then the low part
 *   "<f8"                   datetimes: milliseconds; with `low`, the high parts, whose low parts stand
 *                           in an array of the same type
 *   "<f8" "<f4" "<i1" to "<i8" "<u1" to "<u8"   numbers: new values, and what plxGet writes */
typedef struct {
  void* data;               /* the element with index 0 in each dimension; of any alignment */
  const char* type;         /* as above */
  size_t ndim;              /* 0: a single element */
  const size_t* shape;      /* `ndim` lengths, 0 among them for an array without elements */
  const ptrdiff_t* strides; /* `ndim` distances in bytes, of either sign or 0; null: elements follow
                               each other, the last dimension varying fastest */
  void* low;                /* low parts, null where the type has them inside or has none */
  const ptrdiff_t* lowStrides; /* null: the distances of the high parts */
} plxArray;

/* `index` and `done` where an error is not about an element. */
#define PLX_NO_INDEX SIZE_MAX

/* Texts are UTF-8, always terminated, and empty after a success. Identifiers:
 *
 *   Pelmor:library:InvalidArgument    null where it must not be, an option that is none
 *   Pelmor:library:UnknownType        an element type that is not read here, or not here
 *   Pelmor:library:UnknownComponent   a selector of no component
 *   Pelmor:library:ShapeMismatch      arrays of different shapes
 *   Pelmor:library:UnknownValue       a word that is no value of the component
 *   Pelmor:library:ValueNotExact      a whole number beyond 2^53
 *   Pelmor:library:OutOfRange         a datetime or a result more than 2^52 days from 1970
 *   Pelmor:library:NotFinite          a low part, or a result, that has to be finite
 *   Pelmor:library:CannotHold         a result that the element type cannot hold
 *   Pelmor:library:Refused            a finding, a fold or a gap that was asked to be an error
 *   Pelmor:library:OtherClock         local, where the system's clock and the rules differ
 *   Pelmor:library:Stopped            `progress` said so
 *   Pelmor:datetime:UnknownTimeZone   a text that names no time zone
 *   Pelmor:datetime:MustBeInteger     a fraction, for a component that takes none
 *   Pelmor:datetime:RangeError        a datetime, value or result that a time zone cannot take
 *   Pelmor:datetime:ICUError          ICU failed
 *   Pelmor:host:...                   the module could not be loaded, memory ran out */
typedef struct {
  /* One of the above. */
  char identifier[128];
  /* One or two sentences: what was wrong, and what is accepted. */
  char message[1024];
  /* Of the first wrong element, in the order of elements: the last dimension varies fastest, whatever the
   * strides and threads. */
  size_t index;
  /* How many elements before it were set: all of them; with PLX_NO_INDEX the elements before `done`. */
  size_t done;
  /* During which of several settings, counted from 0; 0, too, where it is about the result of all. */
  size_t setting;
} plxError;

/* ---- Setting and reading ---- */

/* One component to set. */
typedef struct {
  int component; /* a selector of host/components.h, such as paMONTH */
  plxArray
      values; /* numbers: one for all (ndim 0), or of the shape of the datetimes, to which zero strides
                      spread them. Ignored where there is a word */
  const char* word; /* null, or one for all as people write it: "13", "last", "feb", "mon", "q2" */
} plxSetting;

/* A wall time that comes twice, as a clock goes back. */
typedef enum {
  plxFOLD_LATER = 0, /* the second time */
  plxFOLD_EARLIER,   /* the first */
  plxFOLD_SAME, /* the one with the offset that the datetime had before; without one, the second */
  plxFOLD_ERROR
} plxFold;

/* A wall time that is skipped, as a clock goes forward. */
typedef enum {
  plxGAP_SHIFT = 0, /* as late as it would be had the clock not gone forward: 02:30 is 03:30 */
  plxGAP_ERROR,
  plxGAP_START, /* the last second before */
  plxGAP_END    /* the first second after */
} plxGap;

/* What became of an element, for `findings`. */
enum {
  plxCARRIED = 1,      /* the value carried into larger units: month 13 */
  plxNO_SUCH_DATE = 2, /* so did the day that was kept: 31 April */
  plxSHIFTED = 4,      /* the wall time that was asked for is skipped, whatever `gap` made of it */
  plxTWICE = 8,        /* the wall time of the result comes twice */
  plxMOVED = 16        /* and the result is the second one, the datetime having been the first */
};

/* What else is worth telling, for `notes`. */
enum {
  plxPAST_LEAP_TABLE = 1 /* with UTCLeapSeconds, what was set or read is after the last leap second
                            that is known */
};

/* All zero: the defaults. */
typedef struct {
  size_t size; /* sizeof(plxOptions): later versions add to the end */
  /* Null or "": none. Else "UTC", "UTCLeapSeconds", "local", an identifier such as "Europe/Paris", or an
   * offset such as "+05:30". */
  const char* zone;
  /* Which of two instants is meant where clocks show a time twice. */
  plxFold fold;
  /* What becomes of a time that clocks skip. */
  plxGap gap;
  /* Null, or a byte for each element, of which the bits of what became of it are written. */
  uint8_t* findings;
  /* Null: in the order of elements. */
  const ptrdiff_t* findingStrides;
  /* Bits of findings that are errors. */
  unsigned refused;
  /* Null, or a byte for each element: those of 0 are not read, never an error, and their results not written. */
  const uint8_t* where;
  /* Null: in the order of elements. */
  const ptrdiff_t* whereStrides;
  /* How many work; 0 and 1: the one that calls. Small arrays take fewer. */
  unsigned threads;
  /* Null, or called now and then, by the calling thread: so many elements of all are set. Another
   * result than 0 stops; the elements before `error.done` are set then. Little work ends without a call. */
  int (*progress)(void* context, size_t done, size_t all);
  /* Handed to `progress`. */
  void* context;
  /* Null, or where bits are written of what is worth telling. */
  unsigned* notes;
} plxOptions;

/* Sets components of all datetimes, one after the other, each as a call of its own would. `results` has
 * the type and the shape of the datetimes; it may be the same memory with the same strides, and does not
 * overlap them otherwise, nor the values, nor what the options point to. No two of its elements overlap.
 *
 * What is finer than a millisecond stays exactly as it is, unless the second or the time of day is set. NaN
 * and NaT stay, and a value of NaN makes them. Pairs of "<f8" arrays come out as the module sets them,
 * however far they are.
 *
 * After an error the elements before `error.index` are set, and those from it on are as they were. With
 * several threads, some of those that follow it may be set, too, each with its finding.
 * Returns 0, or 1. */
PLX_API int plxSet(const plxArray* datetimes, const plxSetting* settings, size_t count,
                   const plxOptions* options, const plxArray* results, plxError* error);

/* Reads a component of all datetimes, by the rules that setting it uses, as numbers of any type "<f8" of
 * the same shape. Seconds and times of day have their fraction, rounded to the nearest double. NaN for
 * what is no datetime. Of the options, zone, where, threads, progress and notes count. */
PLX_API int plxGet(const plxArray* datetimes, int component, const plxOptions* options,
                   const plxArray* numbers, plxError* error);

/* Writes datetimes as another type, in which each of them has to be exact: of pairs and "<c16" no more than
 * they can say of it, so that counts become pairs and the same counts again. The arrays have the same shape
 * and do not overlap. Of the options, where, threads and progress count. */
PLX_API int plxConvert(const plxArray* datetimes, const plxOptions* options,
                       const plxArray* results, plxError* error);

/* ---- Telling ---- */

/* How a text is marked up. Its weeks are those of plxGet, from which those of `plx explain` differ in time zones. */
typedef enum {
  plxPLAIN_TEXT = 0, /* lines of at most 80 columns, as `plx explain` prints them */
  plxCOLOURED_TEXT,  /* the same with the escapes of a terminal */
  plxHTML            /* an element <div class="plx"> with a style and a calendar of its own */
} plxTextForm;

/* What one setting does to one datetime, and why, in UTF-8. The array has one element. To be given back by
 * plxFreeText; null where it fails. Of the options the zone, fold and gap count. */
PLX_API char* plxExplain(const plxArray* datetime, const plxSetting* setting,
                         const plxOptions* options, plxTextForm form, plxError* error);

/* The names of time zones that match a pattern, sorted, each with LF at its end: all of a name with *, ? or
 * [, otherwise a part of it, in any letter case. Null stands for all. To be given back by plxFreeText. */
PLX_API char* plxZones(const char* pattern, plxError* error);

/* Null is ignored. */
PLX_API void plxFreeText(char* text);

/* A component. The texts live as long as the program. */
typedef struct {
  int component;         /* its selector */
  const char* name;      /* "day-of-year" */
  const char* values;    /* its usual values: "1 to 366" */
  bool takesFractions;   /* others take whole numbers */
  const char* arguments; /* an example of the command line: "set day-of-year 60 2016-12-24" */
  const char* result;    /* and what it prints */
} plxComponentFacts;

/* All of them, and in `count` how many. */
PLX_API const plxComponentFacts* plxComponents(size_t* count);

/* The selector of a component by its name, with hyphens or underscores, or by the text of its number; 0
 * for anything else. */
PLX_API int plxFindComponent(const char* name);

/* The texts live as long as the program. */
typedef struct {
  const char* library;        /* "0.1.0" */
  const char* module;         /* the path of the module that is loaded */
  const char* icu;            /* "72.1" */
  const char* rules;          /* the release of the time-zone rules in use: "2022e" */
  const char* rulesFrom;      /* where those are from: "ICU's own", or a folder */
  const char* lastLeapSecond; /* the last that is known: "2012-06-30T23:59:60Z" */
} plxVersionTexts;

/* Tells what is at work; loads the module where it has not been. */
PLX_API int plxVersions(plxVersionTexts* versions, plxError* error);

/* Loads the module, which the first call that needs it would do otherwise. Null for the path is the file of
 * the environment's PLX_MODULE or, without one, the module beside this library: in its folder, or in the folder
 * plx there. What was loaded once stays.
 *
 * Has the process read offsets as with the locale en_US (paSetLocale), and use the system's time-zone
 * rules where `plx rules update` has converted them (paUseZoneRules): so the first call must not
 * come while another thread uses ICU. */
PLX_API int plxLoad(const char* module, plxError* error);

#ifdef __cplusplus
}
#endif

#endif
