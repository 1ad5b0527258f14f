#include "module/module.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "messages/icu.h"
#include "messages/message.h"

namespace plx {

namespace {

HostArray owned(paArray* array) {
  if (array == nullptr) throw Failure{Status::inputOutput, "not enough memory"};
  return HostArray(array);
}

// What a module gave back for these datetimes; null where it is what a datetime module gives.
const char* findFault(const paArray* result, const paArray* datetimes) {
  if (!result) return "nothing";
  if (paIsSparse(result)) return "a sparse array";
  if (paGetClassID(result) != paDOUBLE_CLASS) return "an array that is not of class double";
  if (!paIsComplex(result)) return "an array without imaginary part";
  const auto dimensionsOf = [](const paArray* array) {
    return std::span(paGetDimensions(array), paGetNumberOfDimensions(array));
  };
  if (!std::ranges::equal(dimensionsOf(result), dimensionsOf(datetimes)))
    return "an array of other dimensions";
  return nullptr;
}

// Where the host library stands. An installation has a folder of its own for modules there, wherever
// the programs are.
std::filesystem::path hostFolder() {
  Dl_info host;
  if (::dladdr(reinterpret_cast<const void*>(&paLoadModule), &host) == 0) return {};
  return std::filesystem::absolute(host.dli_fname).lexically_normal().parent_path();
}

}  // namespace

HostArray hostColumn(std::size_t count, paComplexity complexity) {
  const std::size_t dims[] = {count, 1};
  return owned(paCreateUninitNumericArray(2, dims, paDOUBLE_CLASS, complexity));
}

HostArray borrowedColumn(std::size_t count, double* high, double* low) {
  // The blocks of no elements may be null.
  if (count == 0) return hostColumn(0, low == nullptr ? paREAL : paCOMPLEX);
  const std::size_t dims[] = {count, 1};
  return owned(paBorrowNumericArray(2, dims, high, low));
}

HostArray hostNumber(double number) {
  HostArray array = hostColumn(1, paREAL);
  *paGetRealData(array.get()) = number;
  return array;
}

HostArray hostText(std::string_view utf8) {
  const icu::UnicodeString text = unicodeText(utf8);
  const std::vector<std::uint16_t> units(text.getBuffer(), text.getBuffer() + text.length());
  const std::size_t dims[] = {1, units.size()};
  return owned(paCreateCharArray(2, dims, units.data()));
}

Module::Module(const std::string& path) : path_(path) {
  paError error;
  module_.reset(paLoadModule(path.c_str(), &error));
  if (!module_) throw Failure{Status::inputOutput, escapeText(error.message)};
}

std::optional<paError> Module::set(std::span<double> hi, std::span<double> lo,
                                   std::span<const double> values, int selector,
                                   std::string_view zone) const {
  HostArray result;
  const HostArray datetimes = borrowedColumn(hi.size(), hi.data(), lo.data());
  // Nothing is written there, though the host's arrays could be.
  const HostArray numbers =
      borrowedColumn(values.size(), const_cast<double*>(values.data()), nullptr);
  if (auto error = set(datetimes.get(), numbers.get(), hostNumber(selector).get(),
                       hostText(zone).get(), result))
    return error;
  std::copy_n(paGetRealData(result.get()), hi.size(), hi.begin());
  std::copy_n(paGetImagData(result.get()), lo.size(), lo.begin());
  return std::nullopt;
}

std::optional<paError> Module::set(const paArray* datetimes, const paArray* values,
                                   const paArray* selector, const paArray* zone, HostArray& result,
                                   paArray* into) const {
  const paArray* in[] = {datetimes, values, selector, zone};
  paArray* out[] = {nullptr};
  paError error;
  const int failed = paCallModuleInto(module_.get(), into, 1, out, 4, in, &error);
  result.reset(out[0]);
  if (failed != 0) return error;
  if (const char* fault = findFault(result.get(), datetimes))
    throw Failure{Status::inputOutput,
                  escapeText(path_) + ": the module gave back " + fault +
                      "; accepted: a complex double array of the datetimes' dimensions"};
  return std::nullopt;
}

std::string locateModule(const std::optional<std::string>& asked) {
  // Without a slash it is a file in the current directory, for the host as for anyone.
  if (asked) return *asked;
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
  const fs::path beside = folder / PLX_MODULE_FILE;
  if (fs::exists(beside, error)) return beside.string();
  const fs::path installed = hostFolder() / "plx" / PLX_MODULE_FILE;
  if (fs::exists(installed, error)) return installed.string();
  throw Failure{Status::inputOutput, "cannot find the module " + beside.string() + " nor " +
                                         installed.string() + "; accepted: --module PATH"};
}

}  // namespace plx
