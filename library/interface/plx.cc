// The functions of plx/plx.h.
#include "plx/plx.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "base/component.h"
#include "elements/elements.h"
#include "inspect/html.h"
#include "inspect/versions.h"
#include "inspect/zone_list.h"
#include "interface/arguments.h"
#include "interface/loaded.h"
#include "module/components.h"
#include "setting/blocks.h"
#include "setting/explain.h"
#include "setting/get.h"
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
  write(error, stop.wrong.identifier, stop.wrong.message, stop.index, done, stop.setting);
}

int finish(plxError* error, const std::optional<plx::Stop>& stop) {
  if (!stop) return 0;
  write(error, *stop);
  return 1;
}

char* copyOf(const std::string& text) {
  char* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

// Runs what may throw; 0 where nothing did.
template <class Body>
int guarded(plxError* error, Body body) {
  write(error, "", "");
  std::size_t done = 0;
  const auto fail = [&](std::string_view identifier, std::string_view message) {
    write(error, identifier, message, PLX_NO_INDEX, done);
  };
  try {
    try {
      return body();
    } catch (const plx::CutShort& cut) {
      done = cut.done;
      std::rethrow_exception(cut.cause);
    }
  } catch (const plx::Wrong& wrong) {
    fail(wrong.identifier, wrong.message);
  } catch (const plx::Failure& failure) {
    fail(failure.status == plx::Status::unknownName ? "Pelmor:datetime:UnknownTimeZone"
                                                    : "Pelmor:host:Failed",
         failure.message);
  } catch (const std::bad_alloc&) {
    fail("Pelmor:host:OutOfMemory", "There is not enough memory for the call.");
  } catch (const std::exception& exception) {
    fail("Pelmor:host:Failed", exception.what());
  } catch (...) {
    fail("Pelmor:host:Failed", "an exception of unknown type");
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
    return finish(error, stop);
  });
}

int plxGet(const plxArray* datetimes, int component, const plxOptions* options,
           const plxArray* numbers, plxError* error) {
  return guarded(error, [&] {
    plx::loadedModule();  // for the rules and the locale that it goes by
    const plx::GetJob job = plx::readGetJob(datetimes, component, options, numbers);
    unsigned notes = 0;
    const auto stop = plx::run(job, notes);
    if (job.options.notes != nullptr) *job.options.notes = notes;
    return finish(error, stop);
  });
}

int plxConvert(const plxArray* datetimes, const plxOptions* options, const plxArray* results,
               plxError* error) {
  return guarded(error, [&] {
    return finish(error, plx::run(plx::readConvertJob(datetimes, options, results)));
  });
}

char* plxExplain(const plxArray* datetime, const plxSetting* setting, const plxOptions* options,
                 plxTextForm form, plxError* error) {
  char* text = nullptr;
  guarded(error, [&] {
    if (!plx::isAmong(form, plxHTML))
      throw plx::wrong(
          {"form: unknown", "a plxTextForm", plx::Status::usage, plx::id::kInvalidArgument});
    const plx::SetJob job =
        plx::readSetJob(plx::loadedModule(), datetime, setting, 1, options, datetime);
    if (job.datetimes.count != 1)
      throw plx::wrong({"datetime: not a single element", "an array of one element",
                        plx::Status::usage, plx::id::kShapeMismatch});
    const std::string asked = setting->word != nullptr
                                  ? std::string(setting->word)
                                  : plx::numberText(job.settings.front().type,
                                                    static_cast<const char*>(setting->values.data));
    const std::string explained = plx::explain(job, asked, form != plxPLAIN_TEXT);
    text = copyOf(form == plxHTML ? plx::htmlOf(explained) : explained);
    return 0;
  });
  return text;
}

char* plxZones(const char* pattern, plxError* error) {
  char* text = nullptr;
  guarded(error, [&] {
    plx::loadedModule();
    std::string names;
    for (const std::string& name : plx::zoneNames())
      if (pattern == nullptr || plx::matches(name, pattern)) names += name + '\n';
    text = copyOf(names);
    return 0;
  });
  return text;
}

void plxFreeText(char* text) { std::free(text); }

const plxComponentFacts* plxComponents(size_t* count) {
  static const auto all = [] {
    std::array<plxComponentFacts, kComponentFacts.size()> list{};
    for (std::size_t i = 0; i < list.size(); ++i) {
      const ComponentFacts& facts = kComponentFacts[i];
      const plx::Example example = plx::exampleOf(facts.component);
      // All of them are literals, which end with a zero.
      list[i] = {facts.selector,       facts.name.data(),        facts.unit.data(),
                 facts.takesFractions, example.arguments.data(), example.result.data()};
    }
    return list;
  }();
  if (count != nullptr) *count = all.size();
  return all.data();
}

int plxFindComponent(const char* name) {
  if (name == nullptr) return 0;
  std::string_view text = name;
  int number = 0;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = failed == std::errc() && end == text.data() + text.size() && number > 0;
  const auto isSame = [](char a, char b) { return a == b || (a == '-' && b == '_'); };
  for (const ComponentFacts& facts : kComponentFacts) {
    if (isNumber ? number == facts.selector || number == facts.otherSelector
                 : std::ranges::equal(facts.name, text, isSame))
      return facts.selector;
  }
  return 0;
}

int plxVersions(plxVersionTexts* versions, plxError* error) {
  return guarded(error, [&] {
    if (versions == nullptr)
      throw plx::wrong({"versions: null", "the address of a plxVersionTexts", plx::Status::usage,
                        plx::id::kInvalidArgument});
    // Loaded first: ICU keeps those rules that it was first asked for.
    const plx::Module& module = plx::loadedModule();
    static const plx::VersionTexts texts = plx::versionTexts();
    *versions = {PLX_VERSION,         module.path().c_str(),   texts.icu.c_str(),
                 texts.rules.c_str(), texts.rulesFrom.c_str(), texts.lastLeapSecond.c_str()};
    return 0;
  });
}
