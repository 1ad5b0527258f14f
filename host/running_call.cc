#include "running_call.h"

#include "host/embed.h"
#include "host/exception.h"

namespace host {
namespace {

thread_local RunningCall* innermost = nullptr;
thread_local bool errorsReturn = false;

}  // namespace

RunningCall::RunningCall(const paArray* lent) : outer_(innermost), lent_(lent) { innermost = this; }

RunningCall::~RunningCall() { innermost = outer_; }

RunningCall* RunningCall::current() { return innermost; }

}  // namespace host

void paSetErrorsReturn(bool on) { host::errorsReturn = on; }

void do_legacy_pa_error(const brel::except::IUserException& error) {
  host::RunningCall* call = host::RunningCall::current();
  if (call) call->record(host::describe(error));
  if (host::errorsReturn) return;
  if (call) throw host::LeaveModule();
  error.rethrow();
}
