// Tests of kptUnits: inch lengths scale by 25.4, anything else passes through unchanged.
#include "cncprobe/foundation/units.h"

#include <gtest/gtest.h>

TEST(Units, ConvertsInchesAndPassesEverythingElseThrough) {
  struct Case {
    kptUnitsType type;
    double units;
    double mm;
  };
  const Case cases[] = {
      {kptUnitsInches, 0.5, 12.7},
      {kptUnitsInches, -10.0, -254.0},
      {kptUnitsMillimetres, 25.4, 25.4},
      {static_cast<kptUnitsType>(7), 3.5, 3.5},
  };
  for (const Case& c : cases) {
    const kptUnits units(c.type);
    EXPECT_DOUBLE_EQ(units.units_to_mm(c.units), c.mm) << c.type << " " << c.units;
    // Exact: mm_to_units divides by 25.4 rather than multiplying by a rounded reciprocal.
    EXPECT_EQ(units.mm_to_units(c.mm), c.units) << c.type << " " << c.mm;
    const giPoint3 point(c.units, -c.units, 2 * c.units);
    EXPECT_EQ(units.mm_to_units(units.units_to_mm(point)), point);
    EXPECT_DOUBLE_EQ(units.units_to_mm(point).y(), -c.mm);
  }
  EXPECT_EQ(kptUnits().type(), kptUnitsMillimetres);
}
