// Tests of kptUnits: inch lengths scale by 25.4, anything else passes through unchanged.
#include "cncprobe/foundation/units.h"

#include <gtest/gtest.h>

TEST(Units, ConvertsInchesAndPassesEverythingElseThrough) {
  struct Case { kptUnitsType type; double units; double mm; };
  const Case cases[] = {
      {kptUnitsInches, 1.0, 25.4},
      {kptUnitsInches, 2.0, 50.8},
      {kptUnitsInches, 0.5, 12.7},
      {kptUnitsInches, -10.0, -254.0},
      {kptUnitsInches, 0.0, 0.0},
      {kptUnitsMillimetres, 25.4, 25.4},
      {static_cast<kptUnitsType>(7), 3.5, 3.5},
      {static_cast<kptUnitsType>(-1), -2.0, -2.0},
  };
  for (const Case& c : cases) {
    const kptUnits units(c.type);
    EXPECT_EQ(units.type(), c.type);
    // Exact equality: mm_to_units must divide by 25.4, not multiply by its rounded reciprocal.
    EXPECT_DOUBLE_EQ(units.units_to_mm(c.units), c.mm) << c.type << " " << c.units;
    EXPECT_EQ(units.mm_to_units(c.mm), c.units) << c.type << " " << c.mm;
  }
}

TEST(Units, ConvertsEveryCoordinateOfAPoint) {
  const kptUnits inches(kptUnitsInches);
  EXPECT_EQ(inches.units_to_mm(giPoint3(1.0, -2.0, 0.5)), giPoint3(25.4, -50.8, 12.7));
  EXPECT_EQ(inches.mm_to_units(giPoint3(25.4, -50.8, 12.7)), giPoint3(1.0, -2.0, 0.5));
  const giPoint3 p(1.25, 2.5, -3.75);
  for (const kptUnits& other : {kptUnits(), kptUnits(static_cast<kptUnitsType>(2))}) {
    EXPECT_EQ(other.units_to_mm(p), p);
    EXPECT_EQ(other.mm_to_units(p), p);
  }
}

TEST(Units, DefaultsToMillimetresAndCopiesTheType) {
  EXPECT_EQ(kptUnits().type(), kptUnitsMillimetres);
  kptUnits units;
  units = kptUnits(kptUnitsInches);
  const kptUnits copy(units);
  EXPECT_EQ(copy, kptUnits(kptUnitsInches));
  EXPECT_NE(copy, kptUnits());
}
