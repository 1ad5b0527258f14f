// What the process remembers of the zones that it met. A file of its own, which a test replaces by one that
// forgets between calls.

#include "offsets/remembered_zones.h"

namespace {

// Nothing is destroyed when the process ends: other threads may be in calls then, and handlers of the host
// may make some later.
constinit RememberedZones zones;

// Frees the tables when the module is unloaded; when the process ends, only those that no call is using.
struct ForgetZones {
  ~ForgetZones() { zones.forget(); }
};
const ForgetZones forgetZones;

}  // namespace

RememberedZones& rememberedZones() { return zones; }
