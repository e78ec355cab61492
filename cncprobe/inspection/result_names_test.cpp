// kptResultNames: every kind and axis has its name, and a value out of range is told apart.
#include "cncprobe/inspection/result_names.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ResultNames, EveryKindAndAxis) {
  const struct {
    mtrResultKind kind;
    const char* name;
  } kinds[] = {{mtrResultProbePath, "probe_path"},
               {mtrResultCircle, "circle"},
               {mtrResultRectangle, "rectangle"},
               {mtrResultCorner, "corner"},
               {mtrResultSurface, "surface"},
               {mtrResultAngleSurface, "angle"},
               {mtrResultPerpendicularDistance, "perpendicular_distance"},
               {static_cast<mtrResultKind>(99), "unknown"}};
  for (const auto& row : kinds) EXPECT_STREQ(kptResultNames::kind(row.kind), row.name);
  EXPECT_STREQ(kptResultNames::axis(mtrProbeWCSAxisX), "x");
  EXPECT_STREQ(kptResultNames::axis(mtrProbeWCSAxisY), "y");
  EXPECT_STREQ(kptResultNames::axis(mtrProbeWCSAxisZ), "z");
  EXPECT_EQ(kptResultNames::axis(static_cast<mtrProbeWCSAxis>(7)), nullptr);
}

}  // namespace
