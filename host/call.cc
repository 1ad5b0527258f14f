// Calling a module: the one place where its errors and exceptions end.
#include <cxxabi.h>

#include <algorithm>
#include <exception>
#include <new>
#include <optional>
#include <string>

#include "error_text.h"
#include "host_error.h"
#include "module_handles.h"
#include "running_call.h"

namespace host {
namespace {

// The runtime hands the end of a thread to its handler without an object, so that the handler's
// reference is null. That is how it is meant, and nothing to be reported by a sanitizer.
#define PLX_HANDLES_FORCED_UNWIND __attribute__((no_sanitize("null")))

ErrorText moduleFailure(const char* reason) {
  return describe(HostMessage("ModuleFailure", {std::string(reason)}));
}

// The error that the module reported; none where it did its work. Memory that ran out leaves as
// std::bad_alloc. What a module throws tells more than what it recorded before and is what ended
// the call, so it comes first.
PLX_HANDLES_FORCED_UNWIND std::optional<ErrorText> run(decltype(&plxFunction) function, int nlhs,
                                                       paArray* plhs[], int nrhs,
                                                       const paArray* prhs[], paArray* lent) {
  RunningCall call(lent);
  try {
    function(nlhs, plhs, nrhs, prhs);
    // An error that was reported counts, even if the module then went on and returned.
    return call.takeError();
  } catch (const LeaveModule&) {
    // Without an error it was kept from another call.
    auto error = call.takeError();
    return error ? error : moduleFailure("the end of another call");
  } catch (const brel::except::IUserException& error) {
    return describe(error);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    return moduleFailure(error.what());
  } catch (abi::__forced_unwind&) {
    throw;  // the thread is being ended; whoever stops that ends the process
  } catch (...) {
    return moduleFailure("an exception of unknown type");
  }
}

const char* findFault(decltype(&plxFunction) function, int nlhs, paArray** plhs, int nrhs,
                      const paArray** prhs) {
  if (!function) return "a module that was loaded and not given back";
  if (!plhs) return "output slots that are not null, at least one";
  if (nlhs < 0 || nrhs < 0) return "counts of outputs and inputs that are not negative";
  if (!prhs && nrhs > 0) return "inputs that are not null, unless their count is 0";
  return nullptr;
}

PLX_HANDLES_FORCED_UNWIND int call(const char* name, paModule* module, int nlhs, paArray* plhs[],
                                   int nrhs, const paArray* prhs[], paArray* lent, paError* error) {
  // Before anything is refused, so that a caller may destroy what stands in the slots either way.
  if (plhs) std::fill_n(plhs, std::max(nlhs, 1), nullptr);
  clear(error);
  try {
    const auto function = functionOf(module);
    if (const char* needed = findFault(function, nlhs, plhs, nrhs, prhs)) {
      write(error, invalidArgument(name, needed));
      return 1;
    }
    const std::optional<ErrorText> failure = run(function, nlhs, plhs, nrhs, prhs, lent);
    if (!failure) return 0;
    write(error, *failure);
  } catch (const std::bad_alloc&) {
    writeOutOfMemory(error);
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // An exception of the module's that could not even be asked for its message.
    writeUnreadable(error);
  }
  return 1;
}

}  // namespace
}  // namespace host

int paCallModule(paModule* module, int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[],
                 paError* error) {
  return host::call(__func__, module, nlhs, plhs, nrhs, prhs, nullptr, error);
}

int paCallModuleInto(paModule* module, paArray* into, int nlhs, paArray* plhs[], int nrhs,
                     const paArray* prhs[], paError* error) {
  return host::call(__func__, module, nlhs, plhs, nrhs, prhs, into, error);
}
