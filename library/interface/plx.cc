// The functions of plx/plx.h.
#include "plx/plx.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>

#include "interface/arguments.h"
#include "interface/loaded.h"
#include "setting/job.h"

namespace {

// As much as fits; whole characters.
template <std::size_t size>
void copyText(char (&to)[size], std::string_view text) {
  std::size_t length = std::min(text.size(), size - 1);
  if (length < text.size())
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
  std::memcpy(to, text.data(), length);
  to[length] = '\0';
}

void write(plxError* error, std::string_view identifier, std::string_view message,
           std::size_t index = PLX_NO_INDEX, std::size_t done = 0, std::size_t setting = 0) {
  if (error == nullptr) return;
  copyText(error->identifier, identifier);
  copyText(error->message, message);
  error->index = index;
  error->done = done;
  error->setting = setting;
}

void write(plxError* error, const plx::Stop& stop) {
  const std::size_t done = stop.index == PLX_NO_INDEX ? stop.done : stop.index;
  write(error, stop.wrong.identifier, stop.wrong.message, stop.index, done, stop.step);
}

// Runs what may throw; 0 where nothing did.
template <class Body>
int guarded(plxError* error, Body body) {
  write(error, "", "");
  try {
    return body();
  } catch (const plx::Wrong& wrong) {
    write(error, wrong.identifier, wrong.message);
  } catch (const plx::Failure& failure) {
    write(error,
          failure.status == plx::Status::unknownName ? "Pelmor:datetime:UnknownTimeZone"
                                                     : "Pelmor:host:Failed",
          failure.message);
  } catch (const std::bad_alloc&) {
    write(error, "Pelmor:host:OutOfMemory", "There is not enough memory for the call.");
  } catch (const std::exception& exception) {
    write(error, "Pelmor:host:Failed", exception.what());
  } catch (...) {
    write(error, "Pelmor:host:Failed", "an exception of unknown type");
  }
  return 1;
}

}  // namespace

int plxLoad(const char* module, plxError* error) {
  return guarded(error, [&] {
    plx::load(module);
    return 0;
  });
}

int plxSet(const plxArray* datetimes, const plxSetting* settings, size_t count,
           const plxOptions* options, const plxArray* results, plxError* error) {
  return guarded(error, [&] {
    const plx::SetJob job =
        plx::readSetJob(plx::loadedModule(), datetimes, settings, count, options, results);
    unsigned notes = 0;
    const auto stop = plx::run(job, notes);
    if (job.options.notes != nullptr) *job.options.notes = notes;
    if (!stop) return 0;
    write(error, *stop);
    return 1;
  });
}
