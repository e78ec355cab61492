// Tests of the feature results: report geometry at the cycle depth, in CAD coordinates.
#include <gtest/gtest.h>

#include "cncprobe/extraction/extraction_test_util.h"

using namespace extraction_test;

namespace {
const mtrInspectionPrintData kH(3, 12);
kptParsedDimension size(double nominal, double actual, std::optional<double> tol = {}) {
  kptParsedDimension d(nominal, actual);
  if (tol) d.set_tolerance(*tol);
  return d;
}
kptParsedPosition posn(double nominal, double actual, std::optional<double> tol = {}) {
  kptParsedPosition p(nominal, actual);
  if (tol) p.set_true_position_tolerance(*tol);
  return p;
}
giPlane plane(gi_Axis axis, double at) {
  giPoint3 p(giOrigin);
  p.set_coordinate(axis, at);
  return giPlane(giUnitVec3(axis), p);
}
kptParsedAngle angle() {
  kptParsedAngle a(giAngle(giAngleDegrees, 30), giAngle(giAngleDegrees, 30.1));
  a.set_tolerance(giAngle(giAngleDegrees, 0.5));
  return a;
}
}  // namespace

// Output workplane turned a quarter about Z and moved to (10, 0, 5); CAD workplane turned a
// quarter about X and moved to (100, 0, 0); cycle depth -5. An output point (x, y, z) lies at
// (110 - y, -z - 5, x) in CAD coordinates, a vector (x, y, z) becomes (-y, -z, x).
// clang-format off
TEST(FeatureResults, ReportsAreLiftedToTheCycleDepthAndTakenIntoCad) {
  struct Case { const char* summary; Event report; const char* detail; };
  const Case cases[] = {
      {"circle 21(2)", [](Receiver& c) { c.on_circle_measurement(kH, giCircle2(giPoint2(10, 20), 4), giCircle2(giPoint2(10.01, 20), 4.01), 0.05, 0.1); },
       "(90 0 10) (0 -1 0) 4 | (90 0 10.01) 4.01 | 0.05 0.1"},
      // The position tolerance is the X block's (the parser joins only equivalent ones).
      {"rectangle 21(2)", [](Receiver& c) { c.on_rectangle_measurement(kH, size(40, 40.02, 0.05), size(30, 29.98), posn(5, 5.01, 0.1), posn(6, 6.02, 0.2)); },
       "(104 0 5) (0 -1 0) (0 0 1) 40 30 | (103.98 0 5.01) 40.02 29.98 | 0.05 - 0.1"},
      {"distance 21(2)", [](Receiver& c) { c.on_x_wall_channel_measurement(kH, size(12, 12.03, 0.02), posn(7, 7.01, 0.1), 3); },
       "axis 0 (107 0 7) (0 -1 0) (0 0 1) 12 | (107 0 7.01) 12.03 | 0.02 0.1"},
      {"distance 21(2)", [](Receiver& c) { c.on_y_wall_channel_measurement(kH, size(12, 12.03), 7, posn(30, 30.02)); },
       "axis 1 (80 0 7) (0 -1 0) (-1 0 0) 12 | (79.98 0 7) 12.03 | - -"},
      // Surface planes arrive in space: no cycle depth.
      {"surface 21(2)", [](Receiver& c) { c.on_surface_measurement(kH, mtrProbeWCSAxisZ, plane(gi_AxisZ, 2.5), plane(gi_AxisZ, 2.6), std::nullopt); },
       "axis 2 (110 -7.5 0) (0 -1 0) | (110 -7.6 0) | -"},
      {"surface 21(2)", [](Receiver& c) { c.on_surface_measurement(kH, mtrProbeWCSAxisX, plane(gi_AxisX, 12), plane(gi_AxisX, 12.01), 0.02); },
       "axis 0 (110 -5 12) (0 0 1) | (110 -5 12.01) | 0.02"},
      {"corner 21(2)", [](Receiver& c) { c.on_corner_measurement(kH, giPoint2(3, 4), giPoint2(3.01, 4), 0.1); },
       "(106 0 3) (0 -1 0) | (106 0 3.01) | 0.1"},
      {"angle 21(2)", [](Receiver& c) { c.on_angle_measurement(kH, angle()); }, "(110 0 0) (0 -1 0) (0 0 1) 30 | 30.1 | 0.5"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.detail);
    kptResultsDataExtractor extractor;
    run(extractor, {start(), toolpath(21, 2), cad_plane(workplane(100, 0, 0, 90)), output_plane(workplane(10, 0, 5, 0, 0, 90)), depth(-5), c.report});
    EXPECT_EQ(extractor.status(), kptExtractionSuccess);
    EXPECT_EQ(summary(extractor), c.summary);
    EXPECT_EQ(details(extractor), std::vector<std::string>{c.detail});
    EXPECT_EQ(extractor.measured_paths_count(), 0u);
  }
}

// A CYCLEDEPTH record counts even outside a run, and a START record keeps it while it puts the
// workplanes back to world; every TOOLPATHID record brings back both the depth 0 and world.
TEST(FeatureResults, DepthAndWorkplanesLastUntilTheNextToolpath) {
  kptResultsDataExtractor kept, reset;
  run(kept, {depth(-5), start(), output_plane(workplane(0, 0, 50)), start(), circle()});
  run(reset, {start(), toolpath(12), output_plane(workplane(0, 0, 50)), depth(-5), toolpath(13), circle()});
  EXPECT_EQ(details(kept), std::vector<std::string>{"(10 20 -5) (0 0 1) 4 | (10.01 20 -5) 4.01 | - -"});
  EXPECT_EQ(details(reset), std::vector<std::string>{"(10 20 0) (0 0 1) 4 | (10.01 20 0) 4.01 | - -"});
}
// clang-format on
