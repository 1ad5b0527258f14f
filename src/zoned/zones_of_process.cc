// What the process remembers of the zones that it met. A file of its own, which a build that remembers
// nothing replaces.

#include "offsets/remembered_zones.h"

namespace {

// Nothing is destroyed when the process ends: other threads may be in calls then, and handlers of the host
// may make some later.
constinit RememberedZones zones;

// When the module is unloaded its tables go with it. As the process ends, those go that nobody uses.
struct ForgetZones {
  ~ForgetZones() { zones.forget(); }
};
const ForgetZones forgetZones;

}  // namespace

RememberedZones& rememberedZones() { return zones; }
