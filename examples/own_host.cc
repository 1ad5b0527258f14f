// A host of one's own: all that the datetime module asks of one, and a call of it.
//
//     c++ -std=c++17 -rdynamic own_host.cc -I INCLUDE -o own_host
//     ./own_host ./plx_datetime.so
//
// -rdynamic lets the module find what the program defines, the symbol of the interface's version among it.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "host/components.h"
#include "host/message_keys.h"
#include "host/module.h"
#include "host/pa_text.h"

// A module built against another version does not find this, and dlopen refuses it.
const int PA_INTERFACE_SYMBOL = PA_INTERFACE_VERSION;

// ---- Arrays. The data of numbers are aligned to 64 bytes; nothing here is sparse. ----

struct paArray {
  paClassID classId;
  std::vector<std::size_t> dims;
  std::size_t count = 1;
  double *real = nullptr, *imaginary = nullptr;
  std::string text = {};  // ASCII is enough for the names of zones
  std::vector<unsigned short> units{text.begin(), text.end()};
  ~paArray() { std::free(real), std::free(imaginary); }
};

static double* block(std::size_t count, double first = 0.0) {
  void* data = std::aligned_alloc(64, (count * sizeof(double) / 64 + 1) * 64);
  if (!data) throw std::bad_alloc();
  *static_cast<double*>(data) = first;
  return static_cast<double*>(data);
}

paArray* paCreateUninitNumericArray(size_t ndim, const size_t* dims, paClassID id, paComplexity c) {
  auto* array = new paArray{id, {dims, dims + ndim}, 1};
  for (std::size_t i = 0; i < ndim; ++i) array->count *= dims[i];
  array->real = block(array->count);
  if (c == paCOMPLEX) array->imaginary = block(array->count);
  return array;
}
paClassID paGetClassID(const paArray* array) { return array->classId; }
bool paIsSparse(const paArray*) { return false; }
bool paIsComplex(const paArray* array) { return array->imaginary != nullptr; }
bool paIsScalar(const paArray* array) { return array->count == 1; }
bool paIsEmpty(const paArray* array) { return array->count == 0; }
double paGetScalar(const paArray* array) { return array->real ? array->real[0] : 0.0; }
size_t paGetNumberOfElements(const paArray* array) { return array->count; }
size_t paGetNumberOfDimensions(const paArray* array) { return array->dims.size(); }
const size_t* paGetDimensions(const paArray* array) { return array->dims.data(); }
double* paGetRealData(const paArray* array) { return array->real; }
double* paGetImagData(const paArray* array) { return array->imaginary; }
const unsigned short* get_pachar_ptr_and_len(const paArray* array, std::size_t& length) {
  length = array->units.size();
  return array->units.data();
}
std::string paArray2String(const paArray* array) { return array->text; }

// ---- Errors: thrown through the module, back to the call below. ----

void do_legacy_pa_error(const brel::except::IUserException& error) { error.rethrow(); }

namespace brel::except {
BaseMsgID::BaseMsgID(std::string catalog, std::string name, MessageArguments arguments)
    : messageArgs(std::move(arguments)), catalog_(std::move(catalog)), name_(std::move(name)) {}
BaseMsgID::~BaseMsgID() = default;
IException::IException(const IException& other) noexcept
    : clone_base(other), boost::exception(other) {}
IException::~IException() noexcept = default;
const char* IException::what() const noexcept { return "an error of the module"; }
IUserException::~IUserException() noexcept = default;
std::string IUserException::convert_str(const ustring& t) const { return {t.begin(), t.end()}; }
ustring IUserException::convert_str(const std::string& t) const { return {t.begin(), t.end()}; }
IMsgIDException::~IMsgIDException() noexcept = default;
ustring IMsgIDException::ToUstringImpl() const { return GetUnicodeMessageTxt(); }
ustring IMsgIDException::GetUnicodeMessageTxt() const { return convert_str(GetID()); }
std::string IMsgIDException::get_error_id(const BaseMsgID& k) {
  return k.catalog() + ':' + k.name();
}
}  // namespace brel::except

#define KEY(space, name, catalog, id, ...) \
  space::name::name(__VA_ARGS__) : BaseMsgID(catalog, id) {}
#define COUNT(name) KEY(Pelmor::legacy_two_part, name, "Pelmor:legacy_two_part", #name)
#define OWN(name, ...) KEY(Pelmor::datetime::plxErrors, name, "Pelmor:datetime", #name, __VA_ARGS__)
#define KEYED(name, ...) \
  KEY(component_Pelmor::catalog_datetime, key_##name, "Pelmor:datetime", #name, __VA_ARGS__)
using brel::except::TextArgument;
COUNT(minrhs)
COUNT(maxrhs)
COUNT(maxlhs)
OWN(InvalidInput)
OWN(UnrecognizedComponent)
OWN(InvalidComponent)
OWN(RangeError)
OWN(ICUError, const TextArgument&, const TextArgument&)
KEYED(InputSizeMismatch)
KEYED(UnknownTimeZone, const TextArgument&)
KEYED(MustBeInteger)

// ---- Texts: what is not ASCII, no datetime needs. ----

namespace brel::i18n {
int lcctype::compare(const unsigned short* a, std::size_t aLength, const unsigned short* b,
                     std::size_t bLength, case_insensitive_t) {
  const auto lower = [](unsigned short u) { return u >= 'A' && u <= 'Z' ? u + 32 : int{u}; };
  for (std::size_t i = 0; i < aLength && i < bLength; ++i)
    if (const int order = lower(a[i]) - lower(b[i])) return order;
  return (aLength > bLength) - (aLength < bLength);
}
RwLocale& RwLocale::global() {
  static RwLocale locale;
  return locale;
}
std::string RwLocale::name(LocaleNameFormat) const { return "en_US"; }
ustring codecvt_ascii_to_ustring::operator()(const char* text, std::size_t length) const {
  return {text, text + length};
}
void dispatch_char_exception() { throw; }
}  // namespace brel::i18n

// ---- A call: one datetime, in milliseconds since 1970, gets another month. ----

static paArray number(double x) { return {paDOUBLE_CLASS, {1, 1}, 1, block(1, x)}; }

static void setMonth(decltype(&plxFunction) module, double month, const std::string& zone) {
  const paArray datetime = number(1399710600000.0), value = number(month),
                selector = number(paMONTH);
  const paArray text{paCHAR_CLASS, {1, zone.size()}, zone.size(), nullptr, nullptr, zone};
  const paArray* in[] = {&datetime, &value, &selector, &text};
  paArray* out[1] = {nullptr};
  try {
    module(1, out, 4, in);
    std::printf("%.0f\n", out[0]->real[0] + out[0]->imaginary[0]);
  } catch (const brel::except::IMsgIDException& error) {  // never by the template
    std::printf("%s\n", error.GetID().c_str());
  }
  delete out[0];
}

int main(int argc, char** argv) {
  void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_NODELETE) : nullptr;
  void* entry = library ? dlsym(library, "plxFunction") : nullptr;
  if (!entry)
    return std::fprintf(stderr, "%s\n", argc == 2 ? dlerror() : "usage: own_host MODULE"), 1;
  const auto module = reinterpret_cast<decltype(&plxFunction)>(entry);
  setMonth(module, 13, "");
  setMonth(module, 12, "Europe/Paris");
  setMonth(module, 1, "Mars/Base");
  return 0;
}
