// Tests of the feature results: report geometry at the cycle depth, in CAD coordinates.
#include <gtest/gtest.h>

#include "cncprobe/extraction/extraction_test_util.h"
#include "cncprobe/platform/angle_surface_feature.h"
#include "cncprobe/platform/circle_feature.h"
#include "cncprobe/platform/corner_feature.h"
#include "cncprobe/platform/perpendicular_distance_feature.h"
#include "cncprobe/platform/rectangle_feature.h"
#include "cncprobe/platform/surface_feature.h"

using namespace extraction_test;

namespace {

// Output workplane turned a quarter about Z and moved to (10, 0, 5); CAD workplane turned a
// quarter about X and moved to (100, 0, 0). Together an output point (x, y, z) lies at
// (110 - y, -z - 5, x) in CAD coordinates and a vector (x, y, z) becomes (-y, -z, x).
giPoint3 cad(double x, double y, double z) { return {110 - y, -z - 5, x}; }
const giVector3 kZInCad(0, -1, 0);
const giVector3 kXInCad(0, 0, 1);
const giVector3 kYInCad(-1, 0, 0);
constexpr double kDepth = -5;

// The one feature that `report` leaves after START, TOOLPATHID 21.0002, both workplanes and a
// cycle depth of -5.
template <class Feature>
std::shared_ptr<Feature> feature_of(const Event& report) {
  kptResultsDataExtractor extractor;
  run(extractor, {start(), toolpath(21, 2), cad_plane(workplane(100, 0, 0, 90)),
                  output_plane(workplane(10, 0, 5, 0, 0, 90)), depth(kDepth), report});
  EXPECT_EQ(extractor.status(), kptExtractionSuccess);
  EXPECT_EQ(extractor.number_of_results(), 1u);
  EXPECT_EQ(extractor.measured_paths_count(), 0u);
  auto feature = result_at<Feature>(extractor, 0);
  EXPECT_NE(feature, nullptr);
  if (feature) {
    EXPECT_EQ(feature->id(), 21u);
    EXPECT_EQ(feature->pattern_instance(), std::optional<unsigned int>(2));
    EXPECT_EQ(feature->print_data(), mtrInspectionPrintData(3, 12));
  }
  return feature;
}

const mtrInspectionPrintData kHeader(3, 12);

kptParsedDimension dimension(double nominal, double actual, std::optional<double> tol) {
  kptParsedDimension d(nominal, actual);
  if (tol) d.set_tolerance(*tol);
  return d;
}
kptParsedPosition position(double nominal, double actual, std::optional<double> tol) {
  kptParsedPosition p(nominal, actual);
  if (tol) p.set_true_position_tolerance(*tol);
  return p;
}

}  // namespace

TEST(FeatureResults, CircleLiesAtTheCycleDepthAcrossTheOutputZAxis) {
  auto circle = feature_of<mtrCircleFeature>([](kptResultsFileParserCallback& c) {
    c.on_circle_measurement(kHeader, giCircle2(giPoint2(10, 20), 4),
                            giCircle2(giPoint2(10.01, 20), 4.01), 0.05, 0.1);
  });
  ASSERT_NE(circle, nullptr);
  expect_near(circle->nominal().centre(), cad(10, 20, kDepth));
  expect_near(circle->actual().centre(), cad(10.01, 20, kDepth));
  expect_near(circle->nominal().normal().vector(), kZInCad);
  EXPECT_EQ(circle->nominal().radius().value(), 4);
  EXPECT_EQ(circle->actual().radius().value(), 4.01);
  EXPECT_EQ(circle->diameter_tolerance(), 0.05);
  EXPECT_EQ(circle->true_position_tolerance(), 0.1);
}

TEST(FeatureResults, RectangleRunsAlongTheOutputXAxis) {
  auto rectangle = feature_of<mtrRectangleFeature>([](kptResultsFileParserCallback& c) {
    c.on_rectangle_measurement(kHeader, dimension(40, 40.02, 0.05),
                               dimension(30, 29.98, std::nullopt), position(5, 5.01, 0.1),
                               position(6, 6.02, 0.1));
  });
  ASSERT_NE(rectangle, nullptr);
  expect_near(rectangle->nominal().centre(), cad(5, 6, kDepth));
  expect_near(rectangle->actual().centre(), cad(5.01, 6.02, kDepth));
  expect_near(rectangle->actual().normal().vector(), kZInCad);
  expect_near(rectangle->actual().length_direction().vector(), kXInCad);
  EXPECT_EQ(rectangle->nominal().length().value(), 40);
  EXPECT_EQ(rectangle->nominal().width().value(), 30);
  EXPECT_EQ(rectangle->actual().length().value(), 40.02);
  EXPECT_EQ(rectangle->actual().width().value(), 29.98);
  EXPECT_EQ(rectangle->length_tolerance(), 0.05);
  EXPECT_EQ(rectangle->width_tolerance(), std::nullopt);
  EXPECT_EQ(rectangle->position_tolerance(), 0.1);
}

TEST(FeatureResults, WallsAndChannelsMeasureAlongTheirOutputAxis) {
  struct Case {
    const char* what;
    Event report;
    mtrProbeWCSAxis axis;
    giPoint3 nominal;
    giPoint3 actual;
    giVector3 direction;
  };
  const Case cases[] = {
      {"along X",
       [](kptResultsFileParserCallback& c) {
         c.on_x_wall_channel_measurement(kHeader, dimension(12, 12.03, 0.02),
                                         position(7, 7.01, 0.1), 3);
       },
       mtrProbeWCSAxisX, cad(7, 3, kDepth), cad(7.01, 3, kDepth), kXInCad},
      {"along Y",
       [](kptResultsFileParserCallback& c) {
         c.on_y_wall_channel_measurement(kHeader, dimension(12, 12.03, 0.02), 7,
                                         position(30, 30.02, 0.1));
       },
       mtrProbeWCSAxisY, cad(7, 30, kDepth), cad(7, 30.02, kDepth), kYInCad},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    auto wall = feature_of<mtrPerpendicularDistanceFeature>(c.report);
    ASSERT_NE(wall, nullptr);
    EXPECT_EQ(wall->axis(), c.axis);
    expect_near(wall->nominal().point(), c.nominal);
    expect_near(wall->actual().point(), c.actual);
    expect_near(wall->actual().normal().vector(), kZInCad);
    expect_near(wall->actual().direction().vector(), c.direction);
    EXPECT_EQ(wall->nominal().distance().value(), 12);
    EXPECT_EQ(wall->actual().distance().value(), 12.03);
    EXPECT_EQ(wall->distance_tolerance(), 0.02);
    EXPECT_EQ(wall->position_tolerance(), 0.1);
  }
}

TEST(FeatureResults, SurfaceIgnoresTheCycleDepth) {
  auto surface = feature_of<mtrSurfaceFeature>([](kptResultsFileParserCallback& c) {
    c.on_surface_measurement(kHeader, mtrProbeWCSAxisZ,
                             giPlane(giUnitVec3(gi_AxisZ), giPoint3(0, 0, 2.5)),
                             giPlane(giUnitVec3(gi_AxisZ), giPoint3(0, 0, 2.6)), std::nullopt);
  });
  ASSERT_NE(surface, nullptr);
  EXPECT_EQ(surface->axis(), mtrProbeWCSAxisZ);
  expect_near(surface->nominal().point(), cad(0, 0, 2.5));
  expect_near(surface->actual().point(), cad(0, 0, 2.6));
  expect_near(surface->actual().normal().vector(), kZInCad);
  EXPECT_EQ(surface->position_tolerance(), std::nullopt);
}

TEST(FeatureResults, CornerIsAnEdgeAlongTheOutputZAxis) {
  auto corner = feature_of<mtrCornerFeature>([](kptResultsFileParserCallback& c) {
    c.on_corner_measurement(kHeader, giPoint2(3, 4), giPoint2(3.01, 4), 0.1);
  });
  ASSERT_NE(corner, nullptr);
  expect_near(corner->nominal().point(), cad(3, 4, kDepth));
  expect_near(corner->actual().point(), cad(3.01, 4, kDepth));
  expect_near(corner->actual().direction().vector(), kZInCad);
  EXPECT_EQ(corner->true_position_tolerance(), 0.1);
}

TEST(FeatureResults, AngleKeepsItsDegreesAndTakesTheOutputFrame) {
  auto angle = feature_of<mtrAngleSurfaceFeature>([](kptResultsFileParserCallback& c) {
    kptParsedAngle parsed(giAngle(giAngleDegrees, 30), giAngle(giAngleDegrees, 30.1));
    parsed.set_tolerance(giAngle(giAngleDegrees, 0.5));
    c.on_angle_measurement(kHeader, parsed);
  });
  ASSERT_NE(angle, nullptr);
  expect_near(angle->reference_plane().point(), cad(0, 0, kDepth));
  expect_near(angle->reference_plane().normal().vector(), kZInCad);
  expect_near(angle->reference_direction().vector(), kXInCad);
  EXPECT_EQ(angle->nominal().degrees(), 30);
  EXPECT_EQ(angle->actual().degrees(), 30.1);
  ASSERT_TRUE(angle->angular_tolerance());
  EXPECT_EQ(angle->angular_tolerance()->degrees(), 0.5);
}

TEST(FeatureResults, EveryToolpathInstanceStartsAtDepthZeroAndWorld) {
  kptResultsDataExtractor extractor;
  run(extractor, {start(), toolpath(12), output_plane(workplane(0, 0, 50)), depth(-5), toolpath(13),
                  circle()});
  auto circle = result_at<mtrCircleFeature>(extractor, 0);
  ASSERT_NE(circle, nullptr);
  expect_near(circle->nominal().centre(), giPoint3(10, 20, 0));
  expect_near(circle->nominal().normal().vector(), giVector3(0, 0, 1));
  EXPECT_EQ(circle->diameter_tolerance(), std::nullopt);
}
