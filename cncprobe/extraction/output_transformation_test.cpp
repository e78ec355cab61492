// Tests of kptOutputTransformation: output and CAD workplanes composed in the right order.
#include "cncprobe/extraction/output_transformation.h"

#include <gtest/gtest.h>

#include "cncprobe/extraction/extraction_test_util.h"

using namespace extraction_test;

// clang-format off
TEST(OutputTransformation, MapsThroughOutputThenCad) {
  // expected: the point, then the same coordinates taken as a vector
  struct Case { giWorkplane3 output, cad; giPoint3 point; const char* expected; };
  const Case cases[] = {
      {giWorkplane3(giWorkplaneWorld), giWorkplane3(giWorkplaneWorld), {1, 2, 3}, "(1 2 3) (1 2 3)"},
      {workplane(0, 0, 50), workplane(100, 0, 0), {1, 2, 3}, "(101 2 53) (1 2 3)"},
      // The output frame acts first; the other order would give (-91 0 0).
      {workplane(10, 0, 0, 0, 0, 180), workplane(100, 0, 0), {1, 0, 0}, "(109 0 0) (-1 0 0)"},
      {workplane(3, -4, 12.5, 0, 0, 30), workplane(250, -80, 33, 0, 90), {2, 0, 1}, "(263.5 -83 28.26794919) (1 1 -1.732050808)"},
  };
  for (const Case& c : cases) {
    kptOutputTransformation t;
    t.set_output_workplane(c.output);
    t.set_cad_workplane(c.cad);
    EXPECT_EQ(str(t.local_to_cad(c.point)) + " " + str(t.local_to_cad(giVector3(c.point.x(), c.point.y(), c.point.z()))), c.expected);
  }
}
// clang-format on

TEST(OutputTransformation, ResetAndReplacementForgetEarlierWorkplanes) {
  kptOutputTransformation t;
  t.set_cad_workplane(workplane(100, 0, 0, 0, 0, 90));
  t.set_output_workplane(workplane(0, 0, 50));
  t.reset();
  EXPECT_EQ(str(t.local_to_cad(giPoint3(1, 2, 3))), "(1 2 3)");
  t.set_output_workplane(workplane(0, 0, 50));
  t.set_output_workplane(workplane(5, 0, 0));
  EXPECT_EQ(str(t.local_to_cad(giPoint3(1, 2, 3))), "(6 2 3)");
}
