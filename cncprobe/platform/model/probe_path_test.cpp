// Tests of mtrProbePath and its points: appending, measuring the last point, reading back.
#include "cncprobe/platform/model/probe_path.h"

#include <gtest/gtest.h>

#include <memory>

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
  // The iterator hands out the same shared points.
  itIterator<std::shared_ptr<mtrInspectionPoint>> it = path.inspection_points();
  ASSERT_TRUE(++it && it() == first && ++it && it() == second);
  EXPECT_FALSE(++it);
}

// A point a host keeps keeps its path alive, and points handed out before more were appended
// stay where they were (the path stores its points itself).
TEST(ProbePath, KeptPointsShareThePathAndSurviveAppending) {
  auto path = std::make_shared<mtrProbePath>(7);
  add_point(*path, 1, "first");
  const std::shared_ptr<mtrInspectionPoint> first = path->inspection_point(0);
  for (int i = 0; i < 1000; ++i) add_point(*path, 2 + i, "more");
  EXPECT_FALSE(path->last_point_measured());
  path->set_measure_of_last_point(giPoint3(0, 0, 0), 0.1);
  EXPECT_TRUE(path->last_point_measured());

  std::weak_ptr<mtrProbePath> watch = path;
  path.reset();
  ASSERT_FALSE(watch.expired());  // `first` holds it
  EXPECT_EQ(first->nominal_point().x(), 1.0);
  EXPECT_EQ(first->label(), utString("first"));

  std::size_t seen = 0;
  itIterator<std::shared_ptr<mtrInspectionPoint>> it = watch.lock()->inspection_points();
  while (++it) ++seen;
  EXPECT_EQ(seen, 1001u);
  EXPECT_TRUE(it.undefined());
}

// Numbered points carry the path's prefix and their own number, counted from 1 in the path, and
// stand beside points with a label of their own.
TEST(ProbePath, NumberedPointsAreLabelledWithThePrefixAndTheirNumber) {
  mtrProbePath path(3);
  const utString prefix("Path 3 (2): Inspection Point ");
  for (int i = 0; i < 12; ++i) {
    path.add_numbered_inspection_point(giPoint3(i, 0, 0), giUnitVec3(gi_AxisZ), 0, 0, 0, prefix);
  }
  add_point(path, 13, "own");
  path.add_numbered_inspection_point(giPoint3(), giUnitVec3(gi_AxisZ), 0, 0, 0, utString(""));
  const struct {
    unsigned int index;
    const char* label;
  } cases[] = {{0, "Path 3 (2): Inspection Point 1"},
               {9, "Path 3 (2): Inspection Point 10"},
               {11, "Path 3 (2): Inspection Point 12"},
               {12, "own"},
               {13, "14"}};
  for (const auto& c : cases) {
    EXPECT_EQ(path.inspection_point(c.index)->label(), utString(c.label)) << c.index;
  }
  // A label handed out is the caller's: changing it leaves the prefix and the point as they were.
  utString label = path.inspection_point(0)->label();
  label << "x";
  EXPECT_EQ(prefix, utString("Path 3 (2): Inspection Point "));
  EXPECT_EQ(path.inspection_point(0)->label(), utString("Path 3 (2): Inspection Point 1"));
}
