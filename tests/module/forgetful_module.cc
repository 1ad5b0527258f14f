// What the forgetful module has in place of the module's memory of zones: one that has forgotten everything
// whenever it is asked. The same calls, each as if it were the first.

#include "offsets/remembered_zones.h"

RememberedZones& rememberedZones() {
  static constinit RememberedZones zones;
  zones.forget();
  return zones;
}
