/* plx._plx: the functions of plx/plx.h over arrays that Python holds.
 *
 * It is written in CPython's limited API, so that one file serves every Python from 3.11 on, and knows nothing of
 * NumPy's own interface in C, so that it serves every NumPy. Arrays are read where they stand through
 * `__array_struct__`, the array interface's structure: NumPy lends buffers (PEP 3118) of every type but datetime64.
 *
 * It is plain C, since a thread that comes back from a call while the interpreter ends is ended by CPython on the spot:
 * here that unwinds frames in which nothing needs to run.
 *
 * What goes wrong with the data comes back as a tuple (identifier, message, index or None, elements done), of which the
 * package makes exceptions of its own; what goes wrong with Python is raised. The package checks types, shapes and
 * overlaps before it calls. */
#define _GNU_SOURCE
#define PY_SSIZE_T_CLEAN
#define Py_LIMITED_API 0x030B0000
#include <Python.h>

#include <plx/plx.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

/* NumPy's documents give this layout of what `__array_struct__` holds, and keep it. */
typedef struct {
  int two;
  int nd;
  char typekind;
  int itemsize;
  int flags;
  Py_ssize_t* shape;
  Py_ssize_t* strides;
  void* data;
  PyObject* descr;
} ArrayStruct;

enum { kNotSwapped = 0x200, kWriteable = 0x400 };

/* From so many elements on, other threads of Python run meanwhile; changing over costs as much as some elements. */
static const size_t kElementsToReleaseAt = 256;
/* From so many elements on, a signal such as Ctrl-C stops a call. */
static const size_t kElementsToListenAt = 1000000;
static const long kNanosecondsBetweenLooks = 50000000;

static PyObject* arrayStructName;

/* ---- Arrays ---- */

/* An array that is read or written where it stands, for as long as `holder` is kept. */
typedef struct {
  PyObject* holder;
  plxArray array;
  char type[8];
} Borrowed;

static void giveBack(Borrowed* borrowed) { Py_CLEAR(borrowed->holder); }

static size_t countOf(const plxArray* array) {
  size_t count = 1;
  for (size_t d = 0; d < array->ndim; ++d) count *= array->shape[d];
  return count;
}

static const ArrayStruct* structOf(PyObject* array, PyObject** holder) {
  *holder = PyObject_GetAttr(array, arrayStructName);
  if (*holder == NULL) return NULL;
  const ArrayStruct* given = PyCapsule_GetPointer(*holder, NULL);
  if (given != NULL && given->two == 2) return given;
  if (given != NULL) PyErr_SetString(PyExc_TypeError, "__array_struct__ is of another version");
  Py_CLEAR(*holder);
  return NULL;
}

/* `type` is a str that outlives what is borrowed, or null for numbers, whose type the array itself says. */
static int borrow(PyObject* array, PyObject* type, int isWritten, Borrowed* borrowed) {
  const ArrayStruct* given = structOf(array, &borrowed->holder);
  if (given == NULL) return -1;
  if (isWritten && (given->flags & kWriteable) == 0) {
    PyErr_SetString(PyExc_ValueError, "output array is read-only");
    return -1;
  }
  const char* text = borrowed->type;
  if (type != NULL) {
    text = PyUnicode_AsUTF8AndSize(type, NULL);
    if (text == NULL) return -1;
  } else {
    snprintf(borrowed->type, sizeof borrowed->type, "%c%c%d",
             (given->flags & kNotSwapped) != 0           ? '='
             : __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? '>'
                                                         : '<',
             given->typekind, given->itemsize);
  }
  borrowed->array.data = given->data;
  borrowed->array.type = text;
  borrowed->array.ndim = (size_t)given->nd;
  borrowed->array.shape = (const size_t*)given->shape;
  borrowed->array.strides = given->strides;
  return 0;
}

/* Datetimes, whose low parts stand in an array of their own, or None. */
static int borrowDatetimes(PyObject* array, PyObject* low, PyObject* type, int isWritten,
                           Borrowed* borrowed, Borrowed* borrowedLow) {
  if (borrow(array, type, isWritten, borrowed) != 0) return -1;
  if (low == Py_None) return 0;
  if (borrow(low, type, isWritten, borrowedLow) != 0) return -1;
  borrowed->array.low = borrowedLow->array.data;
  borrowed->array.lowStrides = borrowedLow->array.strides;
  return 0;
}

/* ---- Calls ---- */

/* Looks now and then whether a signal came, for which the thread needs the interpreter. */
typedef struct {
  PyThreadState* released;
  struct timespec looked;
  int isStopped;
} Listener;

static int listen(void* context, size_t done, size_t all) {
  Listener* listener = context;
  (void)done;
  (void)all;
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  const long seconds = (long)(now.tv_sec - listener->looked.tv_sec);
  if (seconds < 2 &&
      seconds * 1000000000L + now.tv_nsec - listener->looked.tv_nsec < kNanosecondsBetweenLooks)
    return 0;
  listener->looked = now;
  PyEval_RestoreThread(listener->released);
  listener->isStopped = PyErr_CheckSignals();
  listener->released = PyEval_SaveThread();
  return listener->isStopped;
}

/* What Python is released for. */
typedef struct {
  Listener listener;
  int isReleased;
} Release;

static void release(Release* release, size_t count, plxOptions* options) {
  release->isReleased = count >= kElementsToReleaseAt;
  if (!release->isReleased) return;
  /* Python handles signals in the main thread, the only one that is not ended as the interpreter ends. */
  if (count >= kElementsToListenAt && gettid() == getpid()) {
    clock_gettime(CLOCK_MONOTONIC, &release->listener.looked);
    options->progress = &listen;
    options->context = &release->listener;
  }
  release->listener.released = PyEval_SaveThread();
}

static void takeBack(Release* release) {
  if (release->isReleased) PyEval_RestoreThread(release->listener.released);
}

/* The tuple that tells of a failure, or null where Python raises. */
static PyObject* failureOf(const plxError* error) {
  if (PyErr_Occurred()) return NULL;
  if (strcmp(error->identifier, "Pelmor:host:OutOfMemory") == 0) return PyErr_NoMemory();
  PyObject* index = Py_None;
  if (error->index == PLX_NO_INDEX)
    Py_INCREF(index);
  else
    index = PyLong_FromSize_t(error->index);
  return index == NULL ? NULL
                       : Py_BuildValue("(ssNn)", error->identifier, error->message, index,
                                       (Py_ssize_t)error->done);
}

static int hasCount(const char* name, Py_ssize_t count, Py_ssize_t expected) {
  if (count == expected) return 1;
  PyErr_Format(PyExc_TypeError, "%s takes %zd arguments, not %zd", name, expected, count);
  return 0;
}

/* Null for None. Raises for a text that would end early for the library. */
static int textOf(PyObject* object, const char** text) {
  *text = NULL;
  if (object == Py_None) return 0;
  Py_ssize_t length = 0;
  *text = PyUnicode_AsUTF8AndSize(object, &length);
  if (*text == NULL) return -1;
  if (strlen(*text) == (size_t)length) return 0;
  PyErr_SetString(PyExc_ValueError, "embedded null character");
  return -1;
}

/* A bool or uint8 array of the datetimes' shape, or None. */
static int borrowBytes(PyObject* array, int isWritten, Borrowed* borrowed, uint8_t** bytes,
                       const ptrdiff_t** strides) {
  if (array == Py_None) return 0;
  if (borrow(array, NULL, isWritten, borrowed) != 0) return -1;
  *bytes = borrowed->array.data;
  *strides = borrowed->array.strides;
  return 0;
}

/* A single new value. */
typedef union {
  double number;
  long long whole;
} Single;

/* The new value: a str is a word, an array numbers, and what else there is a number for all. */
static int readValue(PyObject* value, plxSetting* setting, Single* single, Borrowed* borrowed) {
  if (PyUnicode_Check(value)) return textOf(value, &setting->word);
  if (PyFloat_Check(value)) {
    single->number = PyFloat_AsDouble(value);
    setting->values.data = &single->number;
    setting->values.type = "=f8";
    return 0;
  }
  if (PyLong_Check(value)) {
    single->whole = PyLong_AsLongLong(value);
    setting->values.data = &single->whole;
    setting->values.type = "=i8";
    return single->whole == -1 && PyErr_Occurred() ? -1 : 0;
  }
  if (borrow(value, NULL, 0, borrowed) != 0) return -1;
  setting->values = borrowed->array;
  return 0;
}

PyDoc_STRVAR(setDoc,
             "set(datetimes, low, type, component, value, zone, fold, gap, results, results_low, "
             "findings, refused, "
             "where, threads, /)\n--\n\n"
             "Returns an int, bits of what is worth telling, or a tuple that tells what is wrong.");
static PyObject* set(PyObject* module, PyObject* const* arguments, Py_ssize_t count) {
  (void)module;
  if (!hasCount("set", count, 14)) return NULL;
  Borrowed datetimes = {0}, low = {0}, values = {0}, results = {0}, resultsLow = {0},
           findings = {0}, where = {0};
  Single single;
  unsigned notes = 0;
  plxSetting setting = {0};
  plxOptions options = {.size = sizeof options, .notes = &notes};
  PyObject* told = NULL;
  PyObject* const type = arguments[2];
  setting.component = (int)PyLong_AsLong(arguments[3]);
  options.fold = (plxFold)PyLong_AsLong(arguments[6]);
  options.gap = (plxGap)PyLong_AsLong(arguments[7]);
  options.refused = (unsigned)PyLong_AsUnsignedLong(arguments[11]);
  options.threads = (unsigned)PyLong_AsUnsignedLong(arguments[13]);
  if (PyErr_Occurred()) return NULL;
  if (borrowDatetimes(arguments[0], arguments[1], type, 0, &datetimes, &low) == 0 &&
      readValue(arguments[4], &setting, &single, &values) == 0 &&
      textOf(arguments[5], &options.zone) == 0 &&
      borrowDatetimes(arguments[8], arguments[9], type, 1, &results, &resultsLow) == 0 &&
      borrowBytes(arguments[10], 1, &findings, &options.findings, &options.findingStrides) == 0 &&
      borrowBytes(arguments[12], 0, &where, (uint8_t**)&options.where, &options.whereStrides) ==
          0) {
    plxError error;
    Release released;
    release(&released, countOf(&datetimes.array), &options);
    const int failed = plxSet(&datetimes.array, &setting, 1, &options, &results.array, &error);
    takeBack(&released);
    told = failed ? failureOf(&error) : PyLong_FromUnsignedLong(notes);
  }
  giveBack(&datetimes);
  giveBack(&low);
  giveBack(&values);
  giveBack(&results);
  giveBack(&resultsLow);
  giveBack(&findings);
  giveBack(&where);
  return told;
}

PyDoc_STRVAR(getDoc,
             "get(datetimes, low, type, component, zone, numbers, where, threads, /)\n--\n\n"
             "Returns an int, bits of what is worth telling, or a tuple that tells what is wrong.");
static PyObject* get(PyObject* module, PyObject* const* arguments, Py_ssize_t count) {
  (void)module;
  if (!hasCount("get", count, 8)) return NULL;
  Borrowed datetimes = {0}, low = {0}, numbers = {0}, where = {0};
  unsigned notes = 0;
  plxOptions options = {.size = sizeof options, .notes = &notes};
  PyObject* told = NULL;
  const int component = (int)PyLong_AsLong(arguments[3]);
  options.threads = (unsigned)PyLong_AsUnsignedLong(arguments[7]);
  if (PyErr_Occurred()) return NULL;
  if (borrowDatetimes(arguments[0], arguments[1], arguments[2], 0, &datetimes, &low) == 0 &&
      textOf(arguments[4], &options.zone) == 0 && borrow(arguments[5], NULL, 1, &numbers) == 0 &&
      borrowBytes(arguments[6], 0, &where, (uint8_t**)&options.where, &options.whereStrides) == 0) {
    plxError error;
    Release released;
    release(&released, countOf(&datetimes.array), &options);
    const int failed = plxGet(&datetimes.array, component, &options, &numbers.array, &error);
    takeBack(&released);
    told = failed ? failureOf(&error) : PyLong_FromUnsignedLong(notes);
  }
  giveBack(&datetimes);
  giveBack(&low);
  giveBack(&numbers);
  giveBack(&where);
  return told;
}

PyDoc_STRVAR(
    convertDoc,
    "convert(datetimes, low, type, results, results_low, results_type, where, threads, /)\n--\n\n"
    "Returns None, or a tuple that tells what is wrong.");
static PyObject* convert(PyObject* module, PyObject* const* arguments, Py_ssize_t count) {
  (void)module;
  if (!hasCount("convert", count, 8)) return NULL;
  Borrowed datetimes = {0}, low = {0}, results = {0}, resultsLow = {0}, where = {0};
  plxOptions options = {.size = sizeof options};
  PyObject* told = NULL;
  options.threads = (unsigned)PyLong_AsUnsignedLong(arguments[7]);
  if (PyErr_Occurred()) return NULL;
  if (borrowDatetimes(arguments[0], arguments[1], arguments[2], 0, &datetimes, &low) == 0 &&
      borrowDatetimes(arguments[3], arguments[4], arguments[5], 1, &results, &resultsLow) == 0 &&
      borrowBytes(arguments[6], 0, &where, (uint8_t**)&options.where, &options.whereStrides) == 0) {
    plxError error;
    Release released;
    release(&released, countOf(&datetimes.array), &options);
    const int failed = plxConvert(&datetimes.array, &options, &results.array, &error);
    takeBack(&released);
    told = failed ? failureOf(&error) : Py_BuildValue("");
  }
  giveBack(&datetimes);
  giveBack(&low);
  giveBack(&results);
  giveBack(&resultsLow);
  giveBack(&where);
  return told;
}

PyDoc_STRVAR(explainDoc,
             "explain(datetime, low, type, component, value, zone, fold, gap, form, /)\n--\n\n"
             "Returns a str, or a tuple that tells what is wrong.");
static PyObject* explain(PyObject* module, PyObject* const* arguments, Py_ssize_t count) {
  (void)module;
  if (!hasCount("explain", count, 9)) return NULL;
  Borrowed datetime = {0}, low = {0}, values = {0};
  Single single;
  plxSetting setting = {0};
  plxOptions options = {.size = sizeof options};
  PyObject* told = NULL;
  setting.component = (int)PyLong_AsLong(arguments[3]);
  options.fold = (plxFold)PyLong_AsLong(arguments[6]);
  options.gap = (plxGap)PyLong_AsLong(arguments[7]);
  const plxTextForm form = (plxTextForm)PyLong_AsLong(arguments[8]);
  if (PyErr_Occurred()) return NULL;
  if (borrowDatetimes(arguments[0], arguments[1], arguments[2], 0, &datetime, &low) == 0 &&
      readValue(arguments[4], &setting, &single, &values) == 0 &&
      textOf(arguments[5], &options.zone) == 0) {
    plxError error;
    char* text = plxExplain(&datetime.array, &setting, &options, form, &error);
    told = text == NULL ? failureOf(&error) : PyUnicode_FromString(text);
    plxFreeText(text);
  }
  giveBack(&datetime);
  giveBack(&low);
  giveBack(&values);
  return told;
}

PyDoc_STRVAR(zonesDoc,
             "zones(pattern, /)\n--\n\n"
             "Returns a str of lines, or a tuple that tells what is wrong.");
static PyObject* zones(PyObject* module, PyObject* pattern) {
  (void)module;
  const char* given = NULL;
  if (textOf(pattern, &given) != 0) return NULL;
  plxError error;
  char* text = plxZones(given, &error);
  PyObject* told = text == NULL ? failureOf(&error) : PyUnicode_FromString(text);
  plxFreeText(text);
  return told;
}

PyDoc_STRVAR(
    componentsDoc,
    "components()\n--\n\n"
    "Returns tuples (selector, name, values, whether it takes fractions, arguments, result).");
static PyObject* components(PyObject* module, PyObject* none) {
  (void)module;
  (void)none;
  size_t count = 0;
  const plxComponentFacts* facts = plxComponents(&count);
  PyObject* all = PyList_New(0);
  for (size_t i = 0; all != NULL && i < count; ++i) {
    PyObject* one = Py_BuildValue("(issNss)", facts[i].component, facts[i].name, facts[i].values,
                                  PyBool_FromLong(facts[i].takesFractions), facts[i].arguments,
                                  facts[i].result);
    if (one == NULL || PyList_Append(all, one) != 0) Py_CLEAR(all);
    Py_XDECREF(one);
  }
  return all;
}

PyDoc_STRVAR(versionsDoc,
             "versions()\n--\n\n"
             "Returns a tuple (library, module, ICU, rules, where those are from, last leap "
             "second) of str, or one "
             "that tells what is wrong.");
static PyObject* versions(PyObject* module, PyObject* none) {
  (void)module;
  (void)none;
  plxError error;
  plxVersionTexts texts;
  if (plxVersions(&texts, &error) != 0) return failureOf(&error);
  return Py_BuildValue("(ssssss)", texts.library, texts.module, texts.icu, texts.rules,
                       texts.rulesFrom, texts.lastLeapSecond);
}

PyDoc_STRVAR(loadDoc,
             "load()\n--\n\n"
             "Loads the module. Returns None, or a tuple that tells what is wrong.");
static PyObject* load(PyObject* module, PyObject* none) {
  (void)module;
  (void)none;
  plxError error;
  return plxLoad(NULL, &error) != 0 ? failureOf(&error) : Py_BuildValue("");
}

/* ---- The module ---- */

static int execute(PyObject* module) {
  (void)module;
  /* The time zones, the locale and the memory of the host belong to the process. */
  if (PyInterpreterState_GetID(PyInterpreterState_Get()) != 0) {
    PyErr_SetString(
        PyExc_ImportError,
        "plx works in the main interpreter alone: its time zones belong to the whole process");
    return -1;
  }
  arrayStructName = PyUnicode_InternFromString("__array_struct__");
  return arrayStructName == NULL ? -1 : 0;
}

#define FAST(function) (PyCFunction)(void (*)(void))(function)

static PyMethodDef functions[] = {
    {"set", FAST(set), METH_FASTCALL, setDoc},
    {"get", FAST(get), METH_FASTCALL, getDoc},
    {"convert", FAST(convert), METH_FASTCALL, convertDoc},
    {"explain", FAST(explain), METH_FASTCALL, explainDoc},
    {"zones", zones, METH_O, zonesDoc},
    {"components", components, METH_NOARGS, componentsDoc},
    {"versions", versions, METH_NOARGS, versionsDoc},
    {"load", load, METH_NOARGS, loadDoc},
    {NULL, NULL, 0, NULL},
};

static PyModuleDef_Slot slots[] = {
    {Py_mod_exec, (void*)&execute},
    {0, NULL},
};

static PyModuleDef definition = {
    .m_base = PyModuleDef_HEAD_INIT,
    .m_name = "plx._plx",
    .m_doc = "Datetimes in memory of Python's, for the package plx alone.",
    .m_slots = slots,
    .m_methods = functions,
};

PyMODINIT_FUNC PyInit__plx(void) { return PyModuleDef_Init(&definition); }
