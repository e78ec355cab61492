// Tests of the verdict and convention names the JSON documents carry.
#include "cncprobe/inspection/verdict.h"

#include <gtest/gtest.h>

#include <string>

TEST(Verdict, Names) {
  std::string names;
  for (int v = 0; v <= 4; ++v)
    names += kpt_verdict_name(static_cast<kptVerdict>(v)) + std::string(" ");
  EXPECT_EQ(names, "not_toleranced in out unmeasured unknown ");
  EXPECT_STREQ(kpt_zone_convention_name(kptZoneDiametral), "diametral");
  EXPECT_STREQ(kpt_zone_convention_name(kptZoneRadial), "radial");
  EXPECT_STREQ(kpt_zone_convention_name(static_cast<kptZoneConvention>(7)), "unknown");
}
