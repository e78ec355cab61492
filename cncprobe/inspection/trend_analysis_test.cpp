#include "cncprobe/inspection/trend_analysis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "cncprobe/foundation/input_file.h"

namespace {

// One run of a small program: a probed point and a bore with its diameter and centre.
std::string run_text(double diameter, double x, double y, double z) {
  char text[1024];
  std::snprintf(text, sizeof text,
                "*** CLDATAFILENAME C:\\jobs\\bracket\\op20.cl ***\n"
                "RESULTSFILE RUN.TXT\n"
                "START 'BRACKET'\n"
                "TOOLPATHID 1\n"
                "G331 N10 A0 B0 C0 X0 Y0 Z0\n"
                "G330 N11 A0 B0 C0 X0 Y0 Z0 I0 R0\n"
                "G800 N12 X10.000 Y10.000 Z0.000 I0 J0 K1 O0 U0.050 L-0.050\n"
                "G801 N13 X10.000 Y10.000 Z%.4f R2.500\n"
                "TOOLPATHID 3\n"
                "G331 N40 A0 B0 C0 X0 Y0 Z0\n"
                "G330 N41 A0 B0 C0 X0 Y0 Z0 I0 R0\n"
                "COMPONENT NO 1 FEATURE NO 1\n"
                "SIZE D 25.000 ACTUAL %.4f TOL 0.050 DEV %.4f\n"
                "POSN X 40.000 ACTUAL %.4f TOL TP 0.100 DEV %.4f\n"
                "POSN Y 50.000 ACTUAL %.4f TOL TP 0.100 DEV %.4f\n"
                "END 'BRACKET'\n",
                z, 25.0 + diameter, diameter, 40.0 + x, x, 50.0 + y, y);
  return text;
}

void add(kptTrendSeriesSet& set, const std::string& text) {
  kptResultsDataExtractor extractor;
  ASSERT_EQ(extractor.extract_data(kptInputFile::from_text(text)), kptExtractionSuccess);
  set.add_run(extractor);
}

const kptTrendSeries* find(const kptTrendSeriesSet& set, const std::string& quantity) {
  for (const kptTrendSeries& s : set.features()) {
    if (s.quantity == quantity) return &s;
  }
  return nullptr;
}

TEST(TrendSeries, FeatureQuantitiesAndPointsAreMatchedAcrossRuns) {
  kptTrendSeriesSet set;
  add(set, run_text(0.010, 0.003, -0.004, 0.001));
  add(set, run_text(0.012, -0.002, 0.001, 0.002));
  ASSERT_EQ(set.runs(), 2u);
  // The diameter, the radial centre offset and its X and Y: four series of one bore.
  ASSERT_EQ(set.features().size(), 4u);
  const kptTrendSeries* diameter = find(set, "diameter");
  const kptTrendSeries* offset = find(set, "centre_offset");
  const kptTrendSeries* x = find(set, "centre_x");
  const kptTrendSeries* y = find(set, "centre_y");
  ASSERT_TRUE(diameter && offset && x && y);
  EXPECT_NEAR(diameter->values[1], 0.012, 1e-9);
  EXPECT_NEAR(offset->values[0], 0.005, 1e-9);  // a 3-4-5 triangle
  EXPECT_NEAR(x->values[0], 0.003, 1e-9);
  EXPECT_NEAR(y->values[1], 0.001, 1e-9);
  // The offset is limited above only; its components on both sides, by the zone's half width.
  EXPECT_FALSE(offset->tolerance.lower);
  EXPECT_DOUBLE_EQ(*x->tolerance.lower, -0.05);
  EXPECT_DOUBLE_EQ(*x->tolerance.upper, 0.05);
  EXPECT_EQ(x->label, "centre X");
  EXPECT_EQ(diameter->item, "circle 3 component 1 feature 1");
  ASSERT_EQ(set.points().size(), 1u);
  EXPECT_NEAR(set.points()[0].values[1], 0.002, 1e-9);
}

TEST(TrendSeries, ASeriesFirstSeenLaterHasNoValueForTheEarlierRuns) {
  kptTrendSeriesSet set;
  kptResultsDataExtractor empty;
  // A run that stopped before the bore: nothing to add but the run itself.
  (void)empty.extract_data(kptInputFile::from_text("START 'BRACKET'\nEND 'BRACKET'\n"));
  set.add_run(empty);
  add(set, run_text(0.01, 0, 0, 0));
  ASSERT_FALSE(set.features().empty());
  EXPECT_TRUE(std::isnan(set.features()[0].values[0]));
  EXPECT_NEAR(set.features()[0].values[1], 0.01, 1e-9);
}

// Twenty runs: a steady diameter for ten, then a wearing tool.
kptTrendSeriesSet drifting_runs() {
  kptTrendSeriesSet set;
  const double noise[] = {0.001, -0.001, 0.002, 0.000, -0.002, 0.001, -0.001, 0.000, 0.002, -0.001};
  for (int run = 0; run < 20; ++run) {
    const double wear = run < 10 ? 0.0 : 0.003 * (run - 9);
    add(set, run_text(0.010 + noise[run % 10] + wear, noise[(run + 3) % 10], noise[(run + 6) % 10],
                      noise[(run + 1) % 10]));
  }
  return set;
}

TEST(TrendAnalysis, LimitsFromTheBaselineJudgeTheLaterRunsOnly) {
  const kptTrendSeriesSet set = drifting_runs();
  const kptTrendAnalysis a = kptTrendAnalysis::from_baseline(set, 10);
  EXPECT_EQ(a.first_judged, 10u);
  EXPECT_TRUE(a.drifting());
  const std::size_t d = static_cast<std::size_t>(find(set, "diameter") - set.features().data());
  ASSERT_FALSE(a.features[d].violations.empty());
  for (const kptRuleViolation& v : a.features[d].violations) EXPECT_GE(v.run, 10u);
  EXPECT_NEAR(a.features[d].limits.centre, 0.0101, 1e-9);

  // The baseline alone is in control; all runs as the baseline are judged from the first.
  EXPECT_FALSE(kptTrendAnalysis::from_baseline(set, 10, kpt_run_rule(7)).drifting());
  EXPECT_EQ(kptTrendAnalysis::from_baseline(set, 0).first_judged, 0u);
  EXPECT_EQ(kptTrendAnalysis::from_baseline(set, 0).baseline_runs, 20u);
}

TEST(TrendAnalysis, SavedLimitsReadBackAndJudgeAsBefore) {
  const kptTrendSeriesSet set = drifting_runs();
  const kptTrendAnalysis a = kptTrendAnalysis::from_baseline(set, 10);
  kptTrendProgram program{std::string("C:\\jobs\\bracket\\op20.cl"), std::nullopt};
  const kptControlLimitsFile file = a.limits_file(set, program, {"run0.txt", "run1.txt"});
  kptControlLimitsFile read;
  ASSERT_EQ(kptControlLimitsFile::parse(file.to_json(), read), "");
  EXPECT_TRUE(read.program.same_as(program));
  EXPECT_EQ(read.baseline_runs, 10u);
  ASSERT_EQ(read.series.size(), file.series.size());
  for (std::size_t i = 0; i < read.series.size(); ++i) {
    EXPECT_EQ(read.series[i].key, file.series[i].key);
    EXPECT_EQ(read.series[i].limits.state, file.series[i].limits.state);
    EXPECT_EQ(read.series[i].limits.centre, file.series[i].limits.centre);  // exact round trip
    EXPECT_EQ(read.series[i].limits.upper, file.series[i].limits.upper);
  }
  // Judged against the saved limits, the same runs fire the same rules.
  const kptTrendAnalysis again = kptTrendAnalysis::from_saved(set, read);
  for (std::size_t i = 0; i < a.features.size(); ++i) {
    std::size_t after_baseline = 0;
    for (const kptRuleViolation& v : again.features[i].violations) after_baseline += v.run >= 10;
    EXPECT_EQ(after_baseline, a.features[i].violations.size()) << set.features()[i].key;
  }
}

TEST(TrendAnalysis, ProgramsAndBrokenLimitsFilesAreTold) {
  const kptTrendProgram op20{std::string("op20.cl"), std::string("bracket.model")};
  EXPECT_TRUE(op20.same_as(op20));
  EXPECT_FALSE(op20.same_as({std::string("op30.cl"), std::string("bracket.model")}));
  EXPECT_FALSE(op20.same_as({std::string("op20.cl"), std::nullopt}));
  EXPECT_EQ(op20.describe(), "CL data op20.cl, CAD bracket.model");

  const std::vector<std::pair<std::string, std::string>> refused = {
      {"", "not a JSON document"},
      {"[1]", "not a control limits file"},
      {R"({"kind":"cncprobe-control-limits","version":2})",
       "a control limits file of a newer version (2)"},
      {R"({"kind":"cncprobe-control-limits","version":1,"baseline_runs":3,"series":[]})",
       "the program is missing"},
      {R"({"kind":"cncprobe-control-limits","version":1,"program":{"cad_filename":7},
           "baseline_runs":3,"series":[]})",
       "a program reference is not a text"},
      {R"({"kind":"cncprobe-control-limits","version":1,"program":{},"baseline_runs":3,
           "series":[{"key":"k","n":"many"}]})",
       "series k has no number of values"},
  };
  for (const auto& [text, problem] : refused) {
    kptControlLimitsFile file;
    EXPECT_EQ(kptControlLimitsFile::parse(text, file), problem) << text;
  }
}

}  // namespace
