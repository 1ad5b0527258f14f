/* Embedding the host: load a module, call it, read the error.
 *
 *     paError error;
 *     paModule* module = paLoadModule("./plx_datetime.so", &error);
 *     if (!module) { puts(error.message); return 1; }
 *     paArray* out[1];
 *     if (paCallModule(module, 1, out, 4, in, &error) != 0) puts(error.message);
 *     ...
 *     paDestroyArray(out[0]);
 *     paUnloadModule(module);
 *
 * Any number of threads may load, call and unload at once, the same module or different ones, each
 * call with arrays of its own. No C++ exception crosses this interface. Every `paError*` may be
 * null where the details are not wanted.
 *
 * Plain C, from C99 or C++11 on; every name has C linkage. */
#ifndef PLX_HOST_EMBED_H
#define PLX_HOST_EMBED_H

/* A program may open the host library by dlopen and look its functions up, so this header alone makes
 * it refer to nothing. Other headers of the host, for modules, come after this one. */
#ifndef PLX_HOST_PA_ARRAY_H
#define PA_NO_INTERFACE_REFERENCE
#endif
#include "host/components.h"
#include "host/pa_array.h"
#undef PA_NO_INTERFACE_REFERENCE

#ifdef __cplusplus
extern "C" {
#endif

/* The version of the host library, such as "0.1.0". */
PA_API const char* paVersion(void);

/* UTF-8, always terminated; a text cut to fit ends on a whole character. Both texts are empty after
 * a success. */
typedef struct {
  char identifier[128]; /* such as "Pelmor:datetime:UnknownTimeZone" */
  char message[1024];   /* one or two sentences: what was wrong, and what is accepted */
} paError;

/* A handle; no address of anything. */
typedef struct paModule paModule;

/* Loads a module and binds all of its symbols at once. Null and a filled error when it cannot be
 * loaded: `Pelmor:host:ModuleNotFound` (no readable file of this name), `Pelmor:host:NotAModule`
 * (no shared library, one that lacks plxFunction, or one that needs what is not there),
 * `Pelmor:host:WrongInterface` (built against another version of these headers; the message names
 * both). A path without a slash is a file in the current directory. What was loaded stays mapped
 * until the process ends. */
PA_API paModule* paLoadModule(const char* path, paError* error);

/* Gives the handle back; null, and what is no handle or was given back already, is ignored. No call
 * of this handle may be running. Calls that follow are refused: no later load gets the same handle. */
PA_API void paUnloadModule(paModule* module);

/* Calls the module's plxFunction. `plhs` has at least one slot, and max(nlhs, 1) of them are set to
 * null before the module runs. Returns 0 when the module is done, 1 when it reported an error,
 * which `error` then tells; slot 0 may then hold a partly written array. A handle that was given
 * back, or never was one, is such an error: `Pelmor:host:InvalidArgument`. Whatever stands in the
 * slots belongs to the caller, who destroys it. */
PA_API int paCallModule(paModule* module, int nlhs, paArray* plhs[], int nrhs,
                        const paArray* prhs[], paError* error);

/* The same, but the first array of the dimensions and the complexity of `into` that the module makes
 * gets the blocks of `into` as its own, instead of new ones: the result then stands where `into` was
 * borrowed from (paBorrowNumericArray) and nothing is copied. Such a result is to be destroyed, too,
 * before the blocks go. `into` is an array without which the module does as well; null is accepted. */
PA_API int paCallModuleInto(paModule* module, paArray* into, int nlhs, paArray* plhs[], int nrhs,
                            const paArray* prhs[], paError* error);

/* Sets the host's locale for the whole process to an ICU identifier such as "de_DE"; null takes it
 * from the environment again (LC_ALL, else LC_TIME, else LANG; en_US for none, C and POSIX).
 * Returns 0, or 1 and `Pelmor:host:InvalidLocale` for a name that is empty, has more than 100 bytes
 * or holds anything but ASCII letters, digits and "_-@=;." */
PA_API int paSetLocale(const char* name, paError* error);

/* Has ICU use the time-zone rules that `plx rules update` has put into a folder, where they are of a
 * later release than ICU's own: for the whole process, and so before anything in it uses a time zone.
 * With null for the path, the folders are the system's, /var/lib/plx/rules, and the user's, plx/rules
 * in XDG_DATA_HOME or ~/.local/share; of both, the later rules. Where ICU_TIMEZONE_FILES_DIR is set,
 * that decides, and the call only keeps ICU from a file there that is damaged. Not to be called while
 * another thread uses ICU.
 *
 * Returns 0, or 1 and `Pelmor:host:BadZoneRules` (a file is damaged, made for another version of ICU,
 * or cannot be read: other rules are in use, of which the message names the release) or
 * `Pelmor:host:ZoneRulesTooLate` (the process had rules in use already, and keeps them). Without a
 * path, folders that are not there are no error. */
PA_API int paUseZoneRules(const char* path, paError* error);

/* Memory of large arrays that were destroyed is kept for others of about their size; this gives it
 * back to the system and returns how many bytes it was. At most an eighth of the machine's memory is
 * kept, or 256 MiB where that is more; all but 256 MiB of it the system may take by itself. */
PA_API size_t paReleaseMemory(void);

/* For testing modules: while on, the host's error call records an error and comes back instead of
 * leaving the module, so that the module's own throw is exercised. Holds for the calling thread. */
PA_API void paSetErrorsReturn(bool on);

#ifdef __cplusplus
}
#endif

#endif
