// Tests of kptInspection: the verdict of whole extractions, in millimetres and in inches.
#include "cncprobe/inspection/inspection_summary.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scratch_directory.h"

namespace {

std::string shown(const kptInspectionSummary& s) {
  std::string text = "checks " + std::to_string(s.checks_in) + "/" + std::to_string(s.checks_out) +
                     "/" + std::to_string(s.checks_not_toleranced) + " points " +
                     std::to_string(s.points_within) + "/" + std::to_string(s.points_outside) +
                     "/" + std::to_string(s.points_unmeasured);
  if (s.worst_check) {
    text += " worst check #" + std::to_string(s.worst_check->result_index) + " " +
            kpt_quantity_name(s.worst_check->check.quantity) + " " +
            std::to_string(*s.worst_check->check.tolerance_used);
  }
  if (s.worst_point) {
    text += " worst point #" + std::to_string(s.worst_point->result_index) + "." +
            std::to_string(s.worst_point->point_index) + " " +
            std::to_string(*s.worst_point->check.limit_used);
  }
  return text + (s.passed() ? " PASS" : " FAIL");
}

// A bore 0.03 off its nominal centre under TOL TP 0.050, and a path of an in, an out and an
// unmeasured point.
constexpr const char* kRun =
    "START\n"
    "TOOLPATHID 1\n"
    "G800 N1 X0 Y0 Z0 I0 J0 K1 O0 U0.050 L-0.050\n"
    "G801 N2 X0 Y0 Z-0.020 R2.5\n"
    "G800 N3 X5 Y0 Z0 I0 J0 K-1 O0 U0.050 L-0.050\n"
    "G801 N4 X5 Y0 Z-0.055 R2.5\n"
    "G800 N5 X9 Y0 Z0 I0 J0 K1 O0 U0.050 L-0.050\n"
    "TOOLPATHID 2\n"
    "CYCLEDEPTH -5\n"
    "COMPONENT NO 1 FEATURE NO 1\n"
    "SIZE D 25.000 ACTUAL 25.050 TOL 0.050 DEV 0.050\n"
    "POSN X 10.000 ACTUAL 10.030 TOL TP 0.050 DEV 0.030\n"
    "POSN Y 20.000 ACTUAL 20.000 TOL TP 0.050 DEV 0.000\n"
    "END\n";

}  // namespace

TEST(Inspection, RadialAndDiametralZonesAndPoints) {
  ScratchDirectory dir;
  kptResultsDataExtractor extractor;
  ASSERT_EQ(extractor.extract_data(utString(dir.write("run.res", kRun).c_str())),
            kptExtractionSuccess);
  // Diametral: 2 x 0.03 passes the zone of 0.05; the point 0.005 below its lower limit (along
  // -Z, d = +0.055) is out too.
  EXPECT_EQ(shown(kptInspection::summarize(extractor)),
            "checks 1/1/0 points 1/1/1 worst check #1 centre_offset 1.200000 "
            "worst point #0.1 1.100000 FAIL");
  const kptInspectionSummary radial = kptInspection::summarize(extractor, kptZoneRadial);
  EXPECT_EQ(radial.convention, kptZoneRadial);
  EXPECT_EQ(shown(radial),
            "checks 2/0/0 points 1/1/1 worst check #1 diameter 1.000000 "
            "worst point #0.1 1.100000 FAIL");
}

TEST(Inspection, InchFileIsJudgedInMillimetres) {
  // D 1.000 ACTUAL 1.001 TOL 0.002 and a centre 0.001 off under TOL TP 0.004: read in inches,
  // 0.0254 mm of 0.0508 and a zone of 2 x 0.0254 of 0.1016, both half used. Read as millimetres
  // the same numbers are just as far in, because tolerance and deviation scale alike.
  const utString file(
      (std::string(CNCPROBE_TEST_DATA_DIR) + "/extraction/inch_circle.res").c_str());
  for (const kptUnitsType units : {kptUnitsInches, kptUnitsMillimetres}) {
    kptResultsDataExtractor extractor;
    ASSERT_EQ(extractor.extract_data(file, kptUnits(units)), kptExtractionSuccess);
    const kptInspectionSummary summary = kptInspection::summarize(extractor);
    EXPECT_EQ(summary.checks_in, 2u);
    EXPECT_TRUE(summary.passed());
    EXPECT_NEAR(*summary.worst_check->check.tolerance_used, 0.5, 1e-9);
    if (units != kptUnitsInches) continue;
    auto it = extractor.results();
    ASSERT_TRUE(++it);
    const std::vector<kptFeatureCheck> checks = kptFeatureChecks::of(*it());
    EXPECT_NEAR(*checks[0].nominal, 25.4, 1e-9);
    EXPECT_NEAR(checks[0].deviation, 0.0254, 1e-9);
    EXPECT_NEAR(*checks[0].tolerance, 0.0508, 1e-9);
    EXPECT_NEAR(checks[1].deviation, 0.0254, 1e-9);
    EXPECT_NEAR(*checks[1].tolerance, 0.1016, 1e-9);
  }
}

TEST(Inspection, WorstPointIsAnOutPointAndUnjudgedPointsAreCounted) {
  // Point 2 is out, short of a lower limit above its offset; point 4 is in, at 0.9 of an uneven
  // zone; point 6 is measured but has no direction to be judged along.
  ScratchDirectory dir;
  kptResultsDataExtractor extractor;
  ASSERT_EQ(extractor.extract_data(utString(dir.write("run.res",
                                                      "START\n"
                                                      "TOOLPATHID 1\n"
                                                      "G800 N1 X10 Y0 Z0 I0 J0 K1 O0 U0.1 L0.05\n"
                                                      "G801 N2 X10 Y0 Z0.02 R1\n"
                                                      "G800 N3 X20 Y0 Z0 I0 J0 K1 O0 U0.1 L-0.1\n"
                                                      "G801 N4 X20 Y0 Z0.09 R1\n"
                                                      "G800 N5 X30 Y0 Z0 I0 J0 K0 O0 U0.1 L-0.1\n"
                                                      "G801 N6 X30 Y0 Z0.5 R1\n"
                                                      "END\n")
                                                .c_str())),
            kptExtractionSuccess);
  const kptInspectionSummary s = kptInspection::summarize(extractor);
  EXPECT_EQ(shown(s), "checks 0/0/0 points 1/1/0 worst point #0.0 2.200000 FAIL");
  EXPECT_EQ(s.worst_point->check.verdict, kptVerdictOut);
  EXPECT_EQ(s.points_not_toleranced, 1u);
}
