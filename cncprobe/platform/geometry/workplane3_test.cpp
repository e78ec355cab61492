// Tests of giXform3 and giWorkplane3: transform order, the sense of rotations and frame changes.
#include "cncprobe/platform/geometry/workplane3.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr double kTol = 1e-12;

giXform3 translate(double x, double y, double z) {
  return giXform3(giXformTranslate, giVector3(x, y, z));
}
giXform3 rotate_x(double degrees) {
  return giXform3(giXformRotate, giAngle(giAngleDegrees, degrees), giAxisX);
}
giXform3 rotate_y(double degrees) {
  return giXform3(giXformRotate, giAngle(giAngleDegrees, degrees), giAxisY);
}
giXform3 rotate_z(double degrees) {
  return giXform3(giXformRotate, giAngle(giAngleDegrees, degrees), giAxisZ);
}
// a ∘ b: b first.
giXform3 compose(giXform3 a, const giXform3& b) { return a.postmultiply(b); }

void expect_near(const giPoint3& actual, const giPoint3& expected) {
  EXPECT_NEAR(actual.x(), expected.x(), kTol);
  EXPECT_NEAR(actual.y(), expected.y(), kTol);
  EXPECT_NEAR(actual.z(), expected.z(), kTol);
}
void expect_near(const giVector3& actual, const giVector3& expected) {
  expect_near(giPoint3(actual.x(), actual.y(), actual.z()),
              giPoint3(expected.x(), expected.y(), expected.z()));
}

// A workplane whose frame map is `x`.
giWorkplane3 moved_world(const giXform3& x) {
  giWorkplane3 w(giWorkplaneWorld);
  w.transform(x);
  return w;
}

// Transforms that exercise every part: plain moves, each axis, odd angles and chains.
std::vector<giXform3> sample_transforms() {
  return {translate(10, -2, 3.5), rotate_x(30), rotate_y(-75),
          compose(translate(5, 6, 7), rotate_z(90)),
          compose(compose(compose(translate(-1, 2, 40), rotate_x(12.5)), rotate_y(200)),
                  rotate_z(-33))};
}

}  // namespace

TEST(Xform3, AppliesPointsAndVectors) {
  struct Case {
    const char* what;
    giXform3 x;
    giPoint3 p;
    giPoint3 expected;
  };
  const Case cases[] = {
      // A translation post-multiplied by a rotation turns first, then moves.
      {"rotation acts first", compose(translate(10, 0, 0), rotate_z(180)), {1, 0, 0}, {9, 0, 0}},
      {"reverse order", compose(rotate_z(180), translate(10, 0, 0)), {1, 0, 0}, {-11, 0, 0}},
      // Right-hand rule: a positive quarter turn takes each axis to the next.
      {"+90 about Z: X to Y", rotate_z(90), {1, 0, 0}, {0, 1, 0}},
      {"+90 about X: Y to Z", rotate_x(90), {0, 1, 0}, {0, 0, 1}},
      {"+90 about Y: Z to X", rotate_y(90), {0, 0, 1}, {1, 0, 0}},
      {"-90 about Z: X to -Y", rotate_z(-90), {1, 0, 0}, {0, -1, 0}},
      {"450 is a quarter turn", rotate_z(450), {1, 0, 0}, {0, 1, 0}},
      // t ∘ m1 ∘ m2 applies m2 first: (0,0,1) -> about X by 90 -> (0,-1,0) -> about Z by 90 ->
      // (1,0,0).
      {"chain reads left to right",
       compose(compose(translate(0, 0, 5), rotate_z(90)), rotate_x(90)),
       {0, 0, 1},
       {1, 0, 5}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    expect_near(c.x.apply(c.p), c.expected);
    // Vectors take the rotation only.
    const giPoint3 origin_image = c.x.apply(giPoint3(giOrigin));
    const giVector3 v = c.x.apply(giVector3(c.p.x(), c.p.y(), c.p.z()));
    expect_near(
        giPoint3(v.x() + origin_image.x(), v.y() + origin_image.y(), v.z() + origin_image.z()),
        c.expected);
    expect_near(c.x.inverse().apply(c.expected), c.p);
  }
}

TEST(Workplane3, ToWorkUndoesTheTransformThatBuiltIt) {
  const giPoint3 p(3, -4, 12.25);
  const giVector3 v(0.5, 2, -1);
  for (const giXform3& x : sample_transforms()) {
    const giWorkplane3 w = moved_world(x);
    expect_near(w.origin(), x.apply(giPoint3(giOrigin)));
    expect_near(w.to_work(x.apply(p)), p);
    expect_near(w.get_transform_to_work().apply(x.apply(p)), p);
    // The translation part plays no role for vectors.
    expect_near(w.to_work(x.apply(v)), v);
    expect_near(w.get_transform_to_work().apply(x.apply(v)), v);
  }
}

TEST(Workplane3, SecondTransformActsAfterTheFirst) {
  const std::vector<giXform3> xs = sample_transforms();
  const giPoint3 p(-7, 1, 2);
  for (const giXform3& a : xs) {
    for (const giXform3& b : xs) {
      giWorkplane3 w(giWorkplaneWorld);
      w.transform(a);
      w.transform(b);
      // F = b ∘ a, so F⁻¹ takes b(a(p)) back to p.
      expect_near(w.to_work(b.apply(a.apply(p))), p);
      expect_near(w.origin(), moved_world(compose(b, a)).origin());
    }
  }
}

TEST(Workplane3, BecomeWorldForgetsEarlierMoves) {
  giWorkplane3 w(giWorkplaneWorld);
  w.transform(compose(translate(1, 2, 3), rotate_y(40)));
  w.transform(rotate_x(-15));
  EXPECT_EQ(&w.become(giWorkplaneWorld), &w);
  EXPECT_EQ(w.to_work(giPoint3(1, 2, 3)), giPoint3(1, 2, 3));
  EXPECT_EQ(w.to_work(giVector3(1, 0, 0)), giVector3(1, 0, 0));
}

// How output and CAD workplanes combine: move the world by the CAD workplane's
// world-to-local map, then by the output workplane's; to_work then takes output-workplane
// coordinates into CAD coordinates.
TEST(Workplane3, CombinedOutputAndCadWorkplanes) {
  const giWorkplane3 output = moved_world(compose(translate(10, 0, 0), rotate_z(180)));
  const giWorkplane3 cad = moved_world(translate(100, 0, 0));
  giWorkplane3 combined(giWorkplaneWorld);
  combined.transform(cad.get_transform_to_work());
  combined.transform(output.get_transform_to_work());
  expect_near(combined.to_work(giPoint3(1, 0, 0)), giPoint3(109, 0, 0));
  expect_near(combined.to_work(giVector3(1, 0, 0)), giVector3(-1, 0, 0));
}
