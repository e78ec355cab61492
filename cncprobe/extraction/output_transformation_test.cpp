// Tests of kptOutputTransformation: output and CAD workplanes composed in the right order.
#include "cncprobe/extraction/output_transformation.h"

#include <gtest/gtest.h>

#include "cncprobe/extraction/extraction_test_util.h"

using namespace extraction_test;

namespace {

// The frame map F_W: local coordinates to the world point o + u·x + v·y + w·z.
giPoint3 frame(const giWorkplane3& w, const giPoint3& p) {
  const auto& o = w.origin();
  const auto& x = w.x_axis();
  const auto& y = w.y_axis();
  const auto& z = w.z_axis();
  return {o.x() + p.x() * x.x() + p.y() * y.x() + p.z() * z.x(),
          o.y() + p.x() * x.y() + p.y() * y.y() + p.z() * z.y(),
          o.z() + p.x() * x.z() + p.y() * y.z() + p.z() * z.z()};
}

}  // namespace

TEST(OutputTransformation, MapsThroughOutputThenCad) {
  struct Case {
    const char* what;
    giWorkplane3 output;
    giWorkplane3 cad;
    giPoint3 point;
    giPoint3 expected_point;
    giVector3 vector;
    giVector3 expected_vector;
  };
  const giWorkplane3 world(giWorkplaneWorld);
  const Case cases[] = {
      {"both world", world, world, {1, 2, 3}, {1, 2, 3}, {0.6, 0, 0.8}, {0.6, 0, 0.8}},
      {"output raised", workplane(0, 0, 50), world, {1, 2, 3}, {1, 2, 53}, {0, 0, 1}, {0, 0, 1}},
      {"cad moved", world, workplane(100, 0, 0), {1, 2, 3}, {101, 2, 3}, {1, 0, 0}, {1, 0, 0}},
      {"both moved",
       workplane(0, 0, 50),
       workplane(100, 0, 0),
       {1, 2, 3},
       {101, 2, 53},
       {0, 1, 0},
       {0, 1, 0}},
      // The output frame acts first; the other order would give (-91, 0, 0).
      {"output turned half about Z",
       workplane(10, 0, 0, 0, 0, 180),
       workplane(100, 0, 0),
       {1, 0, 0},
       {109, 0, 0},
       {1, 0, 0},
       {-1, 0, 0}},
      // Output turned a quarter about Z, CAD a quarter about X: X -> Y -> Z.
      {"quarter turns compose",
       workplane(0, 0, 0, 0, 0, 90),
       workplane(0, 0, 0, 90, 0, 0),
       {1, 0, 0},
       {0, 0, 1},
       {1, 0, 0},
       {0, 0, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    kptOutputTransformation t;
    t.set_output_workplane(c.output);
    t.set_cad_workplane(c.cad);
    expect_near(t.local_to_cad(c.point), c.expected_point);
    expect_near(t.local_to_cad(c.vector), c.expected_vector);
  }
}

TEST(OutputTransformation, AgreesWithTheFrameMapsForOddWorkplanes) {
  const giWorkplane3 outputs[] = {workplane(3, -4, 12.5, 10, 20, 30),
                                  workplane(-7, 0.5, 2, -45, 0, 135)};
  const giWorkplane3 cads[] = {workplane(250, -80, 33, 0, 90, 0),
                               workplane(1, 2, 3, 12.5, -200, 33)};
  const giPoint3 points[] = {{0, 0, 0}, {1, 2, 3}, {-40.25, 17, -5}};
  for (const giWorkplane3& output : outputs) {
    for (const giWorkplane3& cad : cads) {
      kptOutputTransformation t;
      // Set in the other order than above: the result must not depend on it.
      t.set_cad_workplane(cad);
      t.set_output_workplane(output);
      for (const giPoint3& p : points) {
        expect_near(t.local_to_cad(p), frame(cad, frame(output, p)));
        // A vector is the difference of two points: the origins drop out.
        const giPoint3 tip = frame(cad, frame(output, p));
        const giPoint3 tail = frame(cad, frame(output, giPoint3(0, 0, 0)));
        expect_near(t.local_to_cad(giVector3(p.x(), p.y(), p.z())),
                    giVector3(tip.x() - tail.x(), tip.y() - tail.y(), tip.z() - tail.z()));
      }
    }
  }
}

TEST(OutputTransformation, ResetAndReplacementForgetEarlierWorkplanes) {
  kptOutputTransformation t;
  t.set_cad_workplane(workplane(100, 0, 0, 0, 0, 90));
  t.set_output_workplane(workplane(0, 0, 50));
  t.reset();
  expect_near(t.local_to_cad(giPoint3(1, 2, 3)), giPoint3(1, 2, 3));
  expect_near(t.local_to_cad(giVector3(1, 0, 0)), giVector3(1, 0, 0));

  t.set_output_workplane(workplane(0, 0, 50));
  t.set_output_workplane(workplane(5, 0, 0));
  expect_near(t.local_to_cad(giPoint3(1, 2, 3)), giPoint3(6, 2, 3));
}
