// Tests of the feature results: the class tree a host walks, and what each feature reads back.
#include "cncprobe/platform/model/inspection_feature.h"

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"

namespace {

const mtrInspectionPrintData kPrint(2, 31u);
const giUnitVec3 kZ(gi_AxisZ);
const giUnitVec3 kX(gi_AxisX);

giCircle3 circle(double r) { return giCircle3(giPoint3(1, 2, -5), kZ, r); }
mtgRectangle3 rectangle(double length) {
  return mtgRectangle3(giPoint3(0, 0, -2), kZ, kX, length, 20);
}
mtgPerpendicularDistance distance(double d) {
  return mtgPerpendicularDistance(giPoint3(7, 30, 0), kZ, giUnitVec3(gi_AxisY), d);
}

}  // namespace

TEST(InspectionFeature, KindMatchesTheClassTree) {
  struct Case {
    std::shared_ptr<mtrToolpathResult> result;
    mtrResultKind kind;
    bool feature;
  };
  const Case cases[] = {
      {std::make_shared<mtrProbePath>(9), mtrResultProbePath, false},
      {std::make_shared<mtrCircleFeature>(9, kPrint, circle(4), circle(4.01)), mtrResultCircle,
       true},
      {std::make_shared<mtrRectangleFeature>(9, kPrint, rectangle(40), rectangle(40.1)),
       mtrResultRectangle, true},
      {std::make_shared<mtrCornerFeature>(9, kPrint, giInfLine3(), giInfLine3()), mtrResultCorner,
       true},
      {std::make_shared<mtrSurfaceFeature>(9, kPrint, mtrProbeWCSAxisZ, giPlane(), giPlane()),
       mtrResultSurface, true},
      {std::make_shared<mtrAngleSurfaceFeature>(9, kPrint, giPlane(), kX, giAngle(), giAngle()),
       mtrResultAngleSurface, true},
      {std::make_shared<mtrPerpendicularDistanceFeature>(9, kPrint, mtrProbeWCSAxisY, distance(10),
                                                         distance(10.02)),
       mtrResultPerpendicularDistance, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(typeid(*c.result).name());
    EXPECT_EQ(c.result->kind(), c.kind);
    EXPECT_EQ(c.result->id(), 9u);
    const auto feature = std::dynamic_pointer_cast<mtrInspectionFeature>(c.result);
    EXPECT_EQ(feature != nullptr, c.feature);
    EXPECT_EQ(std::dynamic_pointer_cast<mtrProbePath>(c.result) != nullptr, !c.feature);
    if (feature) {
      EXPECT_EQ(feature->print_data(), kPrint);
    }
  }
}
