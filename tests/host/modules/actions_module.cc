// A module that does what a test asks for, well-behaved or not.
#include "modules/actions.h"

#include <pthread.h>

#include <algorithm>
#include <initializer_list>
#include <new>
#include <stdexcept>
#include <string>

#include "host/embed.h"
#include "host/message_keys.h"
#include "host/module.h"
#include "host/pa_text.h"

namespace {

using brel::except::TextArgument;

// The way every module reports: to the host, and where that comes back, by its own throw.
template <class Key>
[[noreturn]] void raise(const Key& key) {
  const brel::except::Exception<Key, std::exception, void> error(key);
  do_legacy_pa_error(error);
  throw error;
}

void raiseKey(int number) {
  namespace counts = Pelmor::legacy_two_part;
  namespace own = Pelmor::datetime::plxErrors;
  namespace catalog = component_Pelmor::catalog_datetime;
  switch (number) {
    case 0:
      raise(counts::minrhs());
    case 1:
      raise(counts::maxrhs());
    case 2:
      raise(counts::maxlhs());
    case 3:
      raise(own::InvalidInput());
    case 4:
      raise(own::UnrecognizedComponent());
    case 5:
      raise(own::InvalidComponent());
    case 6:
      raise(own::RangeError());
    case 7:
      raise(own::ICUError(TextArgument("create calendar"), TextArgument("U_MEMORY_ERROR")));
    case 8:
      raise(catalog::key_InputSizeMismatch());
    case 9:
      raise(catalog::key_UnknownTimeZone(TextArgument("Mars/Base")));
    case 10:
      raise(catalog::key_MustBeInteger());
    default:
      throw std::invalid_argument("no such key");
  }
}

class Unkeyed : public brel::except::IUserException {
 public:
  const boost::exception_detail::clone_base* clone() const override { return new Unkeyed(*this); }
  void rethrow() const override { throw Unkeyed(*this); }
  brel::i18n::ustring ToUstringImpl() const override {
    return convert_str(std::string("a message without a key"));
  }
};

class Unreadable : public Unkeyed {
 public:
  brel::i18n::ustring ToUstringImpl() const override { throw std::logic_error("no message"); }
};

paArray* makeRow(std::initializer_list<double> values) {
  const std::size_t dims[] = {1, values.size()};
  paArray* row = paCreateNumericArray(2, dims, paDOUBLE_CLASS, paREAL);
  std::copy(values.begin(), values.end(), paGetRealData(row));
  return row;
}

paArray* copyOf(const paArray* array) {
  paArray* copy = paCreateNumericArray(paGetNumberOfDimensions(array), paGetDimensions(array),
                                       paDOUBLE_CLASS, paIsComplex(array) ? paCOMPLEX : paREAL);
  const std::size_t count = paGetNumberOfElements(array);
  std::copy_n(paGetRealData(array), count, paGetRealData(copy));
  if (paIsComplex(array)) std::copy_n(paGetImagData(array), count, paGetImagData(copy));
  return copy;
}

// Whether the inner module reported an error.
bool callOther(const std::string& path) {
  paModule* other = paLoadModule(path.c_str(), nullptr);
  if (!other) throw std::runtime_error("cannot load the other module");
  paArray* action = makeRow({static_cast<double>(Action::raiseAndReturn)});
  const paArray* in[] = {action};
  paArray* out[1];
  const int failed = paCallModule(other, 1, out, 1, in, nullptr);
  paDestroyArray(out[0]);
  paDestroyArray(action);
  paUnloadModule(other);
  return failed != 0;
}

template <class Error>
void dispatch(const Error& error) {
  try {
    throw error;
  } catch (...) {
    brel::i18n::dispatch_char_exception();
  }
}

}  // namespace

void plxFunction(int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[]) {
  const paArray* second = nrhs > 1 ? prhs[1] : nullptr;
  const std::size_t tooLarge[] = {std::size_t{1} << 62, 4};
  const std::size_t tooLargeForNow[] = {std::size_t{1} << 45, 2};
  switch (static_cast<Action>(paGetScalar(prhs[0]))) {
    case Action::countArguments:
      plhs[0] = makeRow({static_cast<double>(nlhs), static_cast<double>(nrhs)});
      return;
    case Action::copyInput:
      plhs[0] = copyOf(second);
      return;
    case Action::fillThenRaise:
      plhs[0] = makeRow({42});
      raise(component_Pelmor::catalog_datetime::key_MustBeInteger());
    case Action::raiseEachKey:
      raiseKey(static_cast<int>(paGetScalar(second)));
      return;
    case Action::raiseZone:
      raise(component_Pelmor::catalog_datetime::key_UnknownTimeZone(
          TextArgument(paArray2String(second))));
    case Action::raiseAndReturn:
      do_legacy_pa_error(
          brel::except::Exception<Pelmor::legacy_two_part::minrhs, std::exception, void>(
              Pelmor::legacy_two_part::minrhs()));
      plhs[0] = makeRow({1});
      return;
    case Action::raiseThenThrowOther:
      do_legacy_pa_error(
          brel::except::Exception<Pelmor::legacy_two_part::minrhs, std::exception, void>(
              Pelmor::legacy_two_part::minrhs()));
      throw brel::except::Exception<Pelmor::legacy_two_part::maxrhs, std::exception, void>(
          Pelmor::legacy_two_part::maxrhs());
    case Action::throwBadAlloc:
      throw std::bad_alloc();
    case Action::throwRuntimeError:
      throw std::runtime_error("a pipe burst");
    case Action::throwInvalidUtf8:
      throw std::runtime_error("bad \xff byte");
    case Action::throwInt:
      throw 7;
    case Action::throwUnkeyed:
      throw Unkeyed();
    case Action::throwUnreadable:
      throw Unreadable();
    case Action::catchEverything:
      try {
        raise(Pelmor::legacy_two_part::maxlhs());
      } catch (...) {
      }
      return;
    case Action::createTooLarge:
      plhs[0] = paCreateUninitNumericArray(2, tooLarge, paDOUBLE_CLASS, paCOMPLEX);
      return;
    case Action::createTooLargeForNow:
      plhs[0] = paCreateUninitNumericArray(2, tooLargeForNow, paDOUBLE_CLASS, paCOMPLEX);
      return;
    case Action::createOneDimension:
      plhs[0] = paCreateUninitNumericArray(1, tooLarge, paDOUBLE_CLASS, paREAL);
      return;
    case Action::callModule:
      plhs[0] = makeRow({callOther(paArray2String(second)) ? 1.0 : 0.0});
      return;
    case Action::callModuleThenRaise:
      callOther(paArray2String(second));
      raise(component_Pelmor::catalog_datetime::key_UnknownTimeZone(TextArgument("outer")));
    case Action::callModuleThenCreate:
      callOther(paArray2String(second));
      plhs[0] = paCreateUninitNumericArray(1, tooLarge, paDOUBLE_CLASS, paREAL);
      return;
    case Action::dispatchRuntimeError:
      dispatch(std::runtime_error("an odd character"));
      plhs[0] = makeRow({5});
      return;
    case Action::dispatchBadAlloc:
      dispatch(std::bad_alloc());
      return;
    case Action::endThread:
      pthread_exit(plhs);
  }
}
