// Calls of a module's plxFunction, as a program makes them.
#pragma once

#include <stdexcept>
#include <string>

#include "data.h"
#include "host/embed.h"

class ModuleCall {
 public:
  // Throws std::runtime_error where the module cannot be loaded. The zone is ASCII; empty: unzoned.
  ModuleCall(const char* module, const Arrays& arrays, int component, const std::string& zone) {
    module_ = paLoadModule(module, &error_);
    if (!module_) throw std::runtime_error(error_.message);
    const std::u16string units(zone.begin(), zone.end());
    const std::size_t one[] = {1, 1}, length[] = {zone.empty() ? 0u : 1u, zone.size()};
    selector_ = paCreateNumericArray(2, one, paDOUBLE_CLASS, paREAL);
    paGetRealData(selector_)[0] = kComponentFacts[component].selector;
    zone_ = paCreateCharArray(2, length, reinterpret_cast<const std::uint16_t*>(units.data()));
    in_[0] = arrays.datetimes;
    in_[1] = arrays.values;
    in_[2] = selector_;
    in_[3] = zone_;
  }
  ~ModuleCall() {
    paDestroyArray(selector_);
    paDestroyArray(zone_);
    paUnloadModule(module_);
  }
  ModuleCall(const ModuleCall&) = delete;
  ModuleCall& operator=(const ModuleCall&) = delete;

  // The result, to be destroyed by the caller. Throws std::runtime_error where the module reports
  // an error.
  paArray* make() {
    paArray* out[1];
    if (paCallModule(module_, 1, out, 4, in_, &error_) == 0) return out[0];
    paDestroyArray(out[0]);
    throw std::runtime_error(error_.message);
  }

 private:
  paError error_;
  paModule* module_;
  paArray *selector_, *zone_;
  const paArray* in_[4];
};
