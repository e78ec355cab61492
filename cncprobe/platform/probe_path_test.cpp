// Tests of mtrProbePath and its points: appending, measuring the last point, reading back.
#include "cncprobe/platform/probe_path.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace {

void add_point(mtrProbePath& path, double x, const char* label) {
  path.add_inspection_point(giPoint3(x, 2, 3), giUnitVec3(gi_AxisZ), 0.5, 1.5, 2.5, label);
}

}  // namespace

TEST(ProbePath, MeasuresOnlyTheLastPoint) {
  mtrProbePath path(12);
  EXPECT_EQ(path.inspection_points_count(), 0u);
  path.set_measure_of_last_point(giPoint3(9, 9, 9), 0.1);  // nothing to measure yet
  EXPECT_EQ(path.inspection_points_count(), 0u);

  add_point(path, 1, "first");
  add_point(path, 2, "second");
  ASSERT_EQ(path.inspection_points_count(), 2u);
  EXPECT_FALSE(path.inspection_point(1)->has_measure());

  path.set_measure_of_last_point(giPoint3(2.01, 2, 3), 0.25);
  const std::shared_ptr<mtrInspectionPoint> first = path.inspection_point(0);
  const std::shared_ptr<mtrInspectionPoint> second = path.inspection_point(1);
  EXPECT_FALSE(first->has_measure());
  EXPECT_TRUE(second->has_measure());
  EXPECT_EQ(second->measured_point(), giPoint3(2.01, 2, 3));
  EXPECT_EQ(second->r_value(), 0.25);
  EXPECT_EQ(path.inspection_point(2), nullptr);
}

TEST(ProbePath, PointsKeepWhatTheyWereGiven) {
  mtrProbePath path(3);
  path.add_inspection_point(giPoint3(1, 2, 3), giUnitVec3(giVector3(0, -2, 0)), 4, 5, 6,
                            "Path 3: Inspection Point 1");
  const std::shared_ptr<mtrInspectionPoint> p = path.inspection_point(0);
  EXPECT_EQ(p->nominal_point(), giPoint3(1, 2, 3));
  EXPECT_EQ(p->direction().vector(), giVector3(0, -1, 0));
  EXPECT_EQ(p->o_value(), 4);
  EXPECT_EQ(p->u_value(), 5);
  EXPECT_EQ(p->l_value(), 6);
  EXPECT_EQ(p->label(), utString("Path 3: Inspection Point 1"));
  // The iterator hands out the same shared points.
  itIterator<std::shared_ptr<mtrInspectionPoint>> it = path.inspection_points();
  ASSERT_TRUE(++it);
  EXPECT_EQ(it(), p);
  EXPECT_FALSE(++it);
}

TEST(ProbePath, PatternInstanceReadsBackExactly) {
  const std::optional<unsigned int> values[] = {std::nullopt, 0u, 7u, std::nullopt};
  mtrProbePath path(1);
  EXPECT_FALSE(path.pattern_instance().has_value());
  for (const std::optional<unsigned int>& v : values) {
    path.set_pattern_instance(v);
    EXPECT_EQ(path.pattern_instance(), v);
  }
}
