// Tests of the small geometry values: normalising directions and building points from parts.
#include "cncprobe/platform/geometry/unit_vec3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "cncprobe/platform/geometry/point2.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/vector2.h"

TEST(UnitVec3, NormalisesWithoutOverflowOrNaN) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  const double half = std::sqrt(0.5);
  struct Case {
    giVector3 v;
    giVector3 expected;
  };
  const Case cases[] = {
      {{0, 0, 5}, {0, 0, 1}},
      {{3, -4, 0}, {0.6, -0.8, 0}},
      {{0, 0, 0}, {0, 0, 0}},                // a nominal point without direction
      {{1e308, 1e308, 0}, {half, half, 0}},  // squares would overflow
      {{0, -1e-310, 0}, {0, -1, 0}},         // squares would underflow
      {{inf, 0, 0}, {0, 0, 0}},
      {{1, nan, 0}, {0, 0, 0}},
  };
  for (const Case& c : cases) {
    const giUnitVec3 u(c.v);
    EXPECT_NEAR(u.x(), c.expected.x(), 1e-15) << c.v.x() << " " << c.v.y() << " " << c.v.z();
    EXPECT_NEAR(u.y(), c.expected.y(), 1e-15) << c.v.x() << " " << c.v.y() << " " << c.v.z();
    EXPECT_NEAR(u.z(), c.expected.z(), 1e-15) << c.v.x() << " " << c.v.y() << " " << c.v.z();
  }
}

TEST(UnitVec3, AxisValuesPickTheAxisAndNothingElse) {
  EXPECT_EQ(giUnitVec3(gi_AxisX).vector(), giVector3(1, 0, 0));
  EXPECT_EQ(giUnitVec3(gi_AxisY).vector(), giVector3(0, 1, 0));
  EXPECT_EQ(giUnitVec3(gi_AxisZ).vector(), giVector3(0, 0, 1));
  EXPECT_EQ(giUnitVec3(static_cast<gi_Axis>(3)).vector(), giVector3(0, 0, 0));
  EXPECT_EQ(giVector2(gi_AxisY).xyz(0.0), giVector3(0, 1, 0));
  EXPECT_EQ(giVector2(gi_AxisZ).xyz(0.0), giVector3(0, 0, 0));
}

TEST(Point3, SetCoordinateChangesOnlyTheNamedAxis) {
  struct Case {
    int axis;
    giPoint3 expected;
  };
  const Case cases[] = {
      {0, {4.5, 2, 3}}, {1, {1, 4.5, 3}}, {2, {1, 2, 4.5}}, {3, {1, 2, 3}}, {-1, {1, 2, 3}}};
  for (const Case& c : cases) {
    giPoint3 p = giPoint2(1, 2).xyz(3);
    p.set_coordinate(static_cast<gi_Axis>(c.axis), 4.5);
    EXPECT_EQ(p, c.expected) << "axis " << c.axis;
  }
}
