// Tests of kptFeatureChecks: the quantities of each kind, the limit with printed decimals, the
// two readings of a true-position tolerance.
#include "cncprobe/inspection/feature_check.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"

namespace {

const mtrInspectionPrintData kData(1, 1);
const giUnitVec3 kZ(gi_AxisZ);
const giUnitVec3 kX(gi_AxisX);
constexpr double kInf = std::numeric_limits<double>::infinity();

std::optional<double> tol(double value) { return value; }

// A circle of the given diameters whose actual centre lies `offset` from the nominal along X.
std::shared_ptr<mtrToolpathResult> circle(double nominal, double actual, double offset,
                                          std::optional<double> size_tol,
                                          std::optional<double> tp_tol) {
  auto f = std::make_shared<mtrCircleFeature>(
      3, kData, giCircle3(giPoint3(140, 85, -8), kZ, nominal / 2),
      giCircle3(giPoint3(140 + offset, 85, -8), kZ, actual / 2));
  if (size_tol) f->set_diameter_tolerance(*size_tol);
  if (tp_tol) f->set_true_position_tolerance(*tp_tol);
  return f;
}

// "quantity verdict deviation used" of every check, e.g. "diameter in +0.05 1".
std::string shown(const std::vector<kptFeatureCheck>& checks) {
  std::string text;
  for (const kptFeatureCheck& c : checks) {
    char line[160];
    std::snprintf(line, sizeof line, "%s%s %s %+.6g %s", text.empty() ? "" : "; ",
                  kpt_quantity_name(c.quantity), kpt_verdict_name(c.verdict), c.deviation,
                  c.tolerance_used ? std::to_string(*c.tolerance_used).c_str() : "-");
    text += line;
  }
  return text;
}

struct CircleCase {
  double nominal, actual, offset;
  std::optional<double> size_tol, tp_tol;
  kptZoneConvention convention;
  const char* expected;
};

}  // namespace

// clang-format off
TEST(FeatureChecks, CircleAtAndBeyondTheLimit) {
  const CircleCase cases[] = {
      // exactly at the limit with printed decimals: 25.050 - 25.000 is 0.05000000000000071
      {25.000, 25.050, 0, tol(0.050), tol(0.1), kptZoneDiametral,
       "diameter in +0.05 1.000000; centre_offset in +0 0.000000"},
      {25.000, 24.950, 0, tol(0.050), std::nullopt, kptZoneDiametral,
       "diameter in -0.05 1.000000; centre_offset not_toleranced +0 -"},
      {25.000, 25.051, 0, tol(0.050), std::nullopt, kptZoneDiametral,
       "diameter out +0.051 1.020000; centre_offset not_toleranced +0 -"},
      {25.000, 24.940, 0, tol(0.050), std::nullopt, kptZoneDiametral,
       "diameter out -0.06 1.200000; centre_offset not_toleranced +0 -"},
      // a centre 0.03 off: a zone of diameter 0.05 holds offsets up to 0.025, a radius 0.05 more
      {8, 8, 0.030, std::nullopt, tol(0.050), kptZoneDiametral,
       "diameter not_toleranced +0 -; centre_offset out +0.03 1.200000"},
      {8, 8, 0.030, std::nullopt, tol(0.050), kptZoneRadial,
       "diameter not_toleranced +0 -; centre_offset in +0.03 0.600000"},
      {8, 8, 0.025, std::nullopt, tol(0.050), kptZoneDiametral,
       "diameter not_toleranced +0 -; centre_offset in +0.025 1.000000"},
      // zero tolerance: nothing but an exact size passes
      {8, 8, 0, tol(0), tol(0), kptZoneDiametral,
       "diameter in +0 1.000000; centre_offset in +0 1.000000"},
      {8, 8.001, 0.001, tol(0), tol(0), kptZoneRadial,
       "diameter out +0.001 inf; centre_offset out +0.001 inf"},
  };
  for (const CircleCase& c : cases) {
    EXPECT_EQ(shown(kptFeatureChecks::of(*circle(c.nominal, c.actual, c.offset, c.size_tol,
                                                 c.tp_tol), c.convention)), c.expected);
  }
}
// clang-format on

TEST(FeatureChecks, EveryKindInItsOrder) {
  const giPoint3 origin(0, 0, 0);
  mtrRectangleFeature rectangle(1, kData, mtgRectangle3(giPoint3(10, 20, 0), kZ, kX, 40, 30),
                                mtgRectangle3(giPoint3(10, 20.004, 0.003), kZ, kX, 40.02, 29.99));
  rectangle.set_length_tolerance(0.01);
  rectangle.set_position_tolerance(0.01);
  mtrCornerFeature corner(1, kData, giInfLine3(giPoint3(160, 0, 0), kZ),
                          giInfLine3(giPoint3(160.003, -0.004, 0), kZ));
  corner.set_true_position_tolerance(0.01);
  // A surface facing -Y: its position is measured along the nominal normal.
  const giUnitVec3 minus_y(giVector3(0, -1, 0));
  mtrSurfaceFeature surface(1, kData, mtrProbeWCSAxisY, giPlane(minus_y, giPoint3(5, 100, 0)),
                            giPlane(minus_y, giPoint3(5, 99.994, 0)));
  surface.set_position_tolerance(0.005);
  mtrAngleSurfaceFeature angle(1, kData, giPlane(), kX, giAngle(giAngleDegrees, 45),
                               giAngle(giAngleDegrees, 44.8));
  angle.set_angular_tolerance(giAngle(giAngleDegrees, 0.25));
  // A wall across Y whose middle is 0.006 off along Y: in as a radius 0.01, out as a width.
  const giUnitVec3 y(gi_AxisY);
  mtrPerpendicularDistanceFeature wall(
      1, kData, mtrProbeWCSAxisY, mtgPerpendicularDistance(giPoint3(20, 65, -10), kZ, y, 8),
      mtgPerpendicularDistance(giPoint3(20, 64.994, -10), kZ, y, 7.955));
  wall.set_distance_tolerance(0.04);
  wall.set_position_tolerance(0.01);
  mtrProbePath path(1);

  EXPECT_EQ(shown(kptFeatureChecks::of(rectangle)),
            "length out +0.02 2.000000; width not_toleranced -0.01 -; "
            "centre_offset in +0.005 1.000000");
  EXPECT_EQ(shown(kptFeatureChecks::of(corner, kptZoneRadial)), "corner_offset in +0.005 0.500000");
  EXPECT_EQ(shown(kptFeatureChecks::of(surface)), "position out +0.006 1.200000");
  EXPECT_EQ(shown(kptFeatureChecks::of(angle)), "angle in -0.2 0.800000");
  EXPECT_EQ(shown(kptFeatureChecks::of(wall)),
            "width out -0.045 1.125000; middle out -0.006 1.200000");
  EXPECT_EQ(shown(kptFeatureChecks::of(wall, kptZoneRadial)),
            "width out -0.045 1.125000; middle in -0.006 0.600000");
  EXPECT_TRUE(kptFeatureChecks::of(path).empty());

  const std::vector<kptFeatureCheck> surface_checks = kptFeatureChecks::of(surface);
  EXPECT_DOUBLE_EQ(*surface_checks[0].nominal, -100);
  EXPECT_DOUBLE_EQ(*surface_checks[0].actual, -99.994);
  const kptFeatureCheck centre = kptFeatureChecks::of(rectangle)[2];
  EXPECT_FALSE(centre.nominal || centre.actual);
  EXPECT_TRUE(centre.true_position);
  EXPECT_FALSE(kptFeatureChecks::of(rectangle)[0].true_position);
}

TEST(FeatureChecks, ShareAtTheLimitAndTheValueCompared) {
  // The share agrees with the verdict however the printed decimals round in binary, and the value
  // compared with a diametral zone is twice the offset, so it reads against the zone's diameter.
  struct Case {
    double nominal, actual, offset, tolerance;
    kptZoneConvention convention;
    std::size_t check;  // 0 the diameter, 1 the centre offset
    kptVerdict verdict;
    double compared;
  };
  const Case cases[] = {
      {25.000, 25.050, 0, 0.050, kptZoneDiametral, 0, kptVerdictIn, 0.05},
      {25.000, 24.950, 0, 0.050, kptZoneDiametral, 0, kptVerdictIn, -0.05},
      {25.000, 25.050 + 2e-9, 0, 0.050, kptZoneDiametral, 0, kptVerdictOut, 0.050000002},
      {8, 8, 0.030, 0.050, kptZoneDiametral, 1, kptVerdictOut, 0.060},
      {8, 8, 0.025, 0.050, kptZoneDiametral, 1, kptVerdictIn, 0.050},
      {8, 8, 0.030, 0.050, kptZoneRadial, 1, kptVerdictIn, 0.030},
  };
  for (const Case& c : cases) {
    const kptFeatureCheck check = kptFeatureChecks::of(
        *circle(c.nominal, c.actual, c.offset, tol(c.tolerance), tol(c.tolerance)),
        c.convention)[c.check];
    SCOPED_TRACE(c.actual + c.offset);
    EXPECT_EQ(check.verdict, c.verdict);
    EXPECT_NEAR(*check.compared, c.compared, 1e-12);
    EXPECT_EQ(check.compared_limit, tol(c.tolerance));
    if (c.verdict == kptVerdictIn) {
      EXPECT_LE(*check.tolerance_used, 1.0);
    } else {
      EXPECT_GT(*check.tolerance_used, 1.0);
    }
  }
  EXPECT_EQ(*kptFeatureChecks::of(*circle(25.000, 25.050, 0, tol(0.050), {}))[0].tolerance_used,
            1.0);
  // A middle under a diametral zone: twice its signed offset against the zone's width.
  const giUnitVec3 y(gi_AxisY);
  mtrPerpendicularDistanceFeature wall(
      1, kData, mtrProbeWCSAxisY, mtgPerpendicularDistance(giPoint3(20, 65, -10), kZ, y, 8),
      mtgPerpendicularDistance(giPoint3(20, 64.994, -10), kZ, y, 8));
  wall.set_position_tolerance(0.01);
  const kptFeatureCheck middle = kptFeatureChecks::of(wall)[1];
  EXPECT_NEAR(*middle.compared, -0.012, 1e-12);
  mtrPerpendicularDistanceFeature open_wall(
      1, kData, mtrProbeWCSAxisY, mtgPerpendicularDistance(giPoint3(20, 65, -10), kZ, y, 8),
      mtgPerpendicularDistance(giPoint3(20, 64.994, -10), kZ, y, 8));
  EXPECT_FALSE(kptFeatureChecks::of(open_wall)[1].compared ||
               kptFeatureChecks::of(open_wall)[1].compared_limit);
}

TEST(FeatureChecks, NamesAndLabels) {
  std::string names, labels;
  for (int q = 0; q <= 8; ++q) {
    names += kpt_quantity_name(static_cast<kptQuantity>(q)) + std::string(",");
    labels += kpt_quantity_label(static_cast<kptQuantity>(q)) + std::string(",");
  }
  EXPECT_EQ(names,
            "diameter,length,width,centre_offset,corner_offset,position,middle,angle,unknown,");
  EXPECT_EQ(
      labels,
      "diameter,length,width,centre offset,corner offset,position,middle,angle (deg),unknown,");
}
