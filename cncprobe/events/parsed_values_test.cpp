// Tests of the parsed report values: the unset state, tolerances and copies.
#include <gtest/gtest.h>

#include <cmath>

#include "cncprobe/events/parsed_angle.h"
#include "cncprobe/events/parsed_coordinate.h"
#include "cncprobe/events/parsed_dimension.h"
#include "cncprobe/events/parsed_position.h"

TEST(ParsedValues, OnlyBothNumbersAtTheMarkerMakeAValueInvalid) {
  const double nan = std::nan("");
  struct Case {
    double nominal, actual;
    bool invalid;
  };
  for (const Case& c :
       {Case{kptUnsetValue, kptUnsetValue, true}, Case{0.0, 0.0, false},
        Case{5.0, kptUnsetValue, false}, Case{kptUnsetValue, 5.0, false}, Case{nan, nan, false}}) {
    EXPECT_EQ(kptParsedDimension(c.nominal, c.actual).invalid(), c.invalid);
    EXPECT_EQ(kptParsedPosition(c.nominal, c.actual).invalid(), c.invalid);
    EXPECT_EQ(kptParsedCoordinate(c.nominal).invalid(), c.nominal == kptUnsetValue);
  }
  EXPECT_TRUE(kptParsedDimension().invalid());
  EXPECT_TRUE(kptParsedPosition().invalid());
  EXPECT_TRUE(kptParsedCoordinate().invalid());
  EXPECT_TRUE(kptParsedAngle().invalid());
  EXPECT_FALSE(kptParsedAngle(giAngle(giAngleDegrees, 0.0), giAngle()).invalid());
}

TEST(ParsedValues, TolerancesFollowCopiesAndGoWithAssignmentAndReset) {
  kptParsedDimension d(10.0, 10.01);
  d.set_tolerance(0.0);  // a zero tolerance is still a tolerance
  ASSERT_TRUE(d.tolerance());
  d = kptParsedDimension(1.0, 2.0);
  EXPECT_FALSE(d.tolerance()) << "assigning a value without tolerance removes it";
  d.set_tolerance(-1.0);
  d.reset();
  EXPECT_TRUE(d.invalid() && !d.tolerance());

  kptParsedPosition p(1.0, 1.1);
  p.set_true_position_tolerance(0.05);
  EXPECT_EQ(kptParsedPosition(p).true_position_tolerance(), 0.05);
  kptParsedCoordinate c(3.0);
  c.set_true_position_tolerance(0.1);
  c.reset();
  EXPECT_TRUE(c.invalid() && !c.true_position_tolerance());

  kptParsedAngle a(giAngle(giAngleDegrees, 30.0), giAngle(giAngleDegrees, 30.5));
  a.set_tolerance(giAngle(giAngleDegrees, 0.25));
  kptParsedAngle assigned;
  assigned = a;
  ASSERT_NE(static_cast<const void*>(assigned.tolerance()), nullptr);
  EXPECT_EQ(assigned.tolerance().value().degrees(), 0.25);
  assigned.reset();
  EXPECT_TRUE(assigned.invalid());
  EXPECT_EQ(static_cast<const void*>(assigned.tolerance()), nullptr);
}
