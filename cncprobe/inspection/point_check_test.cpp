// Tests of kptPointChecks: d along the probing direction, the limits O, U and L, a path summary.
#include "cncprobe/inspection/point_check.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct PointCase {
  giVector3 direction;
  std::optional<giPoint3> measured;  // absent: never measured
  double o, u, l;
  const char* expected;  // "verdict d used"
};

std::string shown(const kptPointCheck& c) {
  char text[120];
  std::snprintf(text, sizeof text, "%s %s %s", kpt_verdict_name(c.verdict),
                c.deviation ? std::to_string(*c.deviation).c_str() : "-",
                c.limit_used ? std::to_string(*c.limit_used).c_str() : "-");
  return text;
}

mtrInspectionPoint point(const PointCase& c) {
  mtrInspectionPoint p(giPoint3(10, 10, 0), giUnitVec3(c.direction), c.o, c.u, c.l,
                       utString("Path 1: Inspection Point 1"));
  if (c.measured) p.set_measure(*c.measured, 2.5);
  return p;
}

}  // namespace

// clang-format off
TEST(PointChecks, DeviationAlongTheDirectionAgainstItsLimits) {
  const PointCase cases[] = {
      // touched further along +Z than nominal: positive
      {{0, 0, 1}, giPoint3(10, 10, 0.011), 0, 0.05, -0.05, "in 0.011000 0.220000"},
      // along -Z the same touch is negative, and the lower limit is the one used
      {{0, 0, -1}, giPoint3(10, 10, 0.011), 0, 0.05, -0.05, "in -0.011000 0.220000"},
      // at both limits with printed decimals, then just beyond them
      {{0, 0, 1}, giPoint3(10, 10, 0.050), 0, 0.050, -0.050, "in 0.050000 1.000000"},
      {{0, 0, 1}, giPoint3(10, 10, -0.050), 0, 0.050, -0.050, "in -0.050000 1.000000"},
      {{0, 0, 1}, giPoint3(10, 10, 0.051), 0, 0.050, -0.050, "out 0.051000 1.020000"},
      {{0, 0, 1}, giPoint3(10, 10, -0.0505), 0, 0.050, -0.050, "out -0.050500 1.010000"},
      // a direction that is not an axis is made unit first; lateral error does not count
      {{3, 4, 0}, giPoint3(10.03, 10.04, 0), 0, 0.1, -0.1, "in 0.050000 0.500000"},
      {{1, 0, 0}, giPoint3(10, 12, 0), 0, 0.1, -0.1, "in 0.000000 0.000000"},
      // O shifts the band: d - O is judged
      {{0, 0, 1}, giPoint3(10, 10, 0.2), 0.2, 0.05, -0.05, "in 0.200000 0.000000"},
      {{0, 0, 1}, giPoint3(10, 10, 0.0), 0.2, 0.05, -0.05, "out 0.000000 4.000000"},
      // a one-sided band: nothing allowed above nominal; beyond it the share keeps growing
      {{0, 0, 1}, giPoint3(10, 10, 0.0), 0, 0, -0.05, "in 0.000000 1.000000"},
      {{0, 0, 1}, giPoint3(10, 10, 0.01), 0, 0, -0.05, "out 0.010000 1.400000"},
      // both limits on one side of the offset: the share is the place in the zone [L, U], so a
      // point short of a positive lower limit is out and ranks above any point in
      {{0, 0, 1}, giPoint3(10, 10, 0.02), 0, 0.1, 0.05, "out 0.020000 2.200000"},
      {{0, 0, 1}, giPoint3(10, 10, 0.0), 0, 0.1, 0.05, "out 0.000000 3.000000"},
      {{0, 0, 1}, giPoint3(10, 10, 0.075), 0, 0.1, 0.05, "in 0.075000 0.000000"},
      {{0, 0, 1}, giPoint3(10, 10, -0.02), 0, -0.01, -0.05, "in -0.020000 0.500000"},
      {{0, 0, 1}, giPoint3(10, 10, 0.0), 0, -0.01, -0.05, "out 0.000000 1.500000"},
      // an uneven zone: 0 at its middle, not at the offset
      {{0, 0, 1}, giPoint3(10, 10, 0.09), 0, 0.1, -0.1, "in 0.090000 0.900000"},
      {{0, 0, 1}, giPoint3(10, 10, 0.0), 0, 0.1, -0.05, "in 0.000000 0.333333"},
      // a zone of no width, and an inverted one: only a value at it passes
      {{0, 0, 1}, giPoint3(10, 10, 0.02), 0, 0.02, 0.02, "in 0.020000 1.000000"},
      {{0, 0, 1}, giPoint3(10, 10, 0.021), 0, 0.02, 0.02, "out 0.021000 inf"},
      {{0, 0, 1}, giPoint3(10, 10, 0.0), 0, -0.02, 0.02, "out 0.000000 inf"},
      {{0, 0, 1}, std::nullopt, 0, 0.05, -0.05, "unmeasured - -"},
      // measured, but no direction to judge it along
      {{0, 0, 0}, giPoint3(10, 10, 1), 0, 0.05, -0.05, "not_toleranced - -"},
  };
  for (const PointCase& c : cases) EXPECT_EQ(shown(kptPointChecks::of(point(c))), c.expected);
}
// clang-format on

TEST(PointChecks, ShareAgreesWithTheVerdictAtTheLimit) {
  // 25.050 - 25.000 is 0.05000000000000071 in binary: judged in by the slack, and its share
  // must read as in too (a script testing share <= 1). Just beyond the slack it is above 1.
  struct Case {
    double measured_z, u, l;
    kptVerdict verdict;
  };
  const Case cases[] = {
      {25.050, 0.050, -0.050, kptVerdictIn},         {24.950, 0.050, -0.050, kptVerdictIn},
      {25.050, 0.050, 0.010, kptVerdictIn},          {25.010, 0.050, 0.010, kptVerdictIn},
      {25.050 + 2e-9, 0.050, -0.050, kptVerdictOut}, {25.010 - 2e-9, 0.050, 0.010, kptVerdictOut},
  };
  for (const Case& c : cases) {
    mtrInspectionPoint p(giPoint3(0, 0, 25.000), giUnitVec3(gi_AxisZ), 0, c.u, c.l, utString("p"));
    p.set_measure(giPoint3(0, 0, c.measured_z), 2.5);
    const kptPointCheck check = kptPointChecks::of(p);
    EXPECT_EQ(check.verdict, c.verdict) << c.measured_z;
    if (c.verdict == kptVerdictOut) {
      EXPECT_GT(*check.limit_used, 1.0) << c.measured_z;
    } else {
      EXPECT_LE(*check.limit_used, 1.0) << c.measured_z;
    }
  }
  mtrInspectionPoint at(giPoint3(0, 0, 25.000), giUnitVec3(gi_AxisZ), 0, 0.05, -0.05,
                        utString("p"));
  at.set_measure(giPoint3(0, 0, 25.050), 2.5);
  EXPECT_EQ(*kptPointChecks::of(at).limit_used, 1.0);
}

TEST(PointChecks, PathSummary) {
  mtrProbePath path(1);
  const giUnitVec3 z(gi_AxisZ);
  const double measured[] = {-0.004, 0.006, 0.011, -0.012};
  for (const double dz : measured) {
    path.add_inspection_point(giPoint3(0, 0, 0), z, 0, 0.01, -0.01, utString("p"));
    path.set_measure_of_last_point(giPoint3(0, 0, dz), 2.5);
  }
  path.add_inspection_point(giPoint3(0, 0, 0), z, 0, 0.01, -0.01, utString("p"));
  path.add_inspection_point(giPoint3(0, 0, 0), giUnitVec3(giVector3(0, 0, 0)), 0, 0.01, -0.01,
                            utString("no direction"));
  path.set_measure_of_last_point(giPoint3(0, 0, 0.5), 2.5);

  const kptPathSummary s = kptPointChecks::summary(path);
  EXPECT_EQ(s.points, 6u);
  EXPECT_EQ(s.measured, 5u);
  EXPECT_EQ(s.not_toleranced, 1u);
  EXPECT_EQ(s.within, 2u);
  EXPECT_EQ(s.outside, 2u);
  EXPECT_EQ(s.unmeasured, 1u);
  EXPECT_DOUBLE_EQ(*s.smallest_deviation, -0.012);
  EXPECT_DOUBLE_EQ(*s.largest_deviation, 0.011);
  EXPECT_DOUBLE_EQ(*s.worst_deviation, -0.012);

  const kptPathSummary empty = kptPointChecks::summary(mtrProbePath(2));
  EXPECT_EQ(empty.points, 0u);
  EXPECT_FALSE(empty.smallest_deviation || empty.largest_deviation || empty.worst_deviation);
}
