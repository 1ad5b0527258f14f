// The setter called by its own name, with what a call of the module never passes.
#include "unzoned/set_field_utc.h"

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/datetime_arrays.h"
#include "support/raised.h"

namespace {

// Any other field goes down the date path with nothing changed, the check for whole numbers
// included.
TEST(SetFieldUTC, OtherFieldsChangeNothing) {
  const Array t = doubles({1399710615250.25});
  const std::vector<double> low{0.0};
  const Array result = doubles({0.0}, &low);
  for (const UCalendarDateFields field : {UCAL_YEAR, UCAL_ERA, UCAL_ZONE_OFFSET, UCAL_JULIAN_DAY}) {
    setFieldUTC(t.get(), scalar(99).get(), field, result.get(), false);
    EXPECT_SAME_BITS(elements(result)[0], (doubledouble{1399710615250.25, 0.0}));
    const auto raised =
        raisedBy([&] { setFieldUTC(t.get(), scalar(1.5).get(), field, result.get(), false); });
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->identifier, "Pelmor:datetime:MustBeInteger");
  }
}

}  // namespace
