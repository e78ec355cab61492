// Tests of kptResultsDataExtractor's events: the run, toolpath instances, probe paths, conflicts.
#include "cncprobe/extraction/results_data_extractor.h"

#include <gtest/gtest.h>

#include "cncprobe/extraction/extraction_test_util.h"

using namespace extraction_test;

namespace {

struct Case {
  const char* what;
  std::vector<Event> events;
  kptResultsExtractionStatus status;
  const char* results;
};

void check(const Case& c) {
  SCOPED_TRACE(c.what);
  kptResultsDataExtractor extractor;
  run(extractor, c.events);
  EXPECT_EQ(kpt_status_name(extractor.status()), std::string(kpt_status_name(c.status)));
  EXPECT_EQ(summary(extractor), c.results);
}

}  // namespace

TEST(ResultsDataExtractor, PairsPointsStrictlyInSequence) {
  const Case cases[] = {
      {"one point", {start(), nominal(), measured(), end()}, kptExtractionSuccess, "path 0 M"},
      {"two nominal points in a row",
       {start(), nominal(), nominal(), measured()},
       kptExtractionUnmeasuredNominalPoint,
       "path 0 UM"},
      {"measured point first", {start(), measured()}, kptExtractionUnmatchedMeasuredPoint, ""},
      {"measured twice",
       {start(), nominal(), measured(), measured()},
       kptExtractionUnmatchedMeasuredPoint,
       "path 0 M"},
      {"latest problem wins: 3 then 4",
       {start(), measured(), nominal(), nominal()},
       kptExtractionUnmeasuredNominalPoint,
       "path 0 UU"},
      {"latest problem wins: 4 then 3",
       {start(), nominal(), nominal(), measured(), measured()},
       kptExtractionUnmatchedMeasuredPoint,
       "path 0 UM"},
  };
  for (const Case& c : cases) check(c);
}

TEST(ResultsDataExtractor, KeepsTheRunAndTheToolpathContext) {
  const Case cases[] = {
      {"point before START", {nominal()}, kptExtractionOutsideStartEnd, ""},
      {"point after END",
       {start(), nominal(), measured(), end(), nominal()},
       kptExtractionOutsideStartEnd,
       "path 0 M"},
      {"TOOLPATHID outside a run", {toolpath(5)}, kptExtractionOutsideStartEnd, ""},
      {"workplane outside a run",
       {output_plane(workplane(1, 0, 0))},
       kptExtractionOutsideStartEnd,
       ""},
      {"CAD workplane outside a run",
       {cad_plane(workplane(1, 0, 0))},
       kptExtractionOutsideStartEnd,
       ""},
      {"END without START", {end()}, kptExtractionSuccess, ""},
      // The second START discards the first run's points but keeps the toolpath context.
      {"second START",
       {start(), toolpath(12, 3), nominal(), measured(), start(), nominal(), measured()},
       kptExtractionMultipleStarts,
       "path 12(3) M"},
      {"a later problem overwrites multiple starts",
       {start(), start(), measured()},
       kptExtractionUnmatchedMeasuredPoint,
       ""},
  };
  for (const Case& c : cases) check(c);
}

TEST(ResultsDataExtractor, DecidesBetweenNewCurrentAndConflictingPaths) {
  const Case cases[] = {
      {"each pattern instance its own path",
       {start(), toolpath(12, 1), nominal(), measured(), toolpath(12, 2), nominal(), measured()},
       kptExtractionSuccess,
       "path 12(1) M; path 12(2) M"},
      {"instance 0 differs from no instance",
       {start(), toolpath(12), nominal(), measured(), toolpath(12, 0), nominal()},
       kptExtractionSuccess,
       "path 12 M; path 12(0) U"},
      {"measured point of another instance",
       {start(), toolpath(12, 1), nominal(), toolpath(12, 2), measured()},
       kptExtractionResultConflict,
       "path 12(1) U"},
      {"back to a toolpath after another one",
       {start(), toolpath(12, 1), nominal(), measured(), toolpath(13), nominal(), measured(),
        toolpath(12, 1), nominal()},
       kptExtractionSuccess,
       "path 12(1) M; path 13 M; path 12(1) U"},
      {"points after a feature of their toolpath",
       {start(), toolpath(12), circle(), nominal()},
       kptExtractionResultConflict,
       "circle 12"},
      {"points after a feature while the newest path is another toolpath's",
       {start(), toolpath(13), nominal(), measured(), toolpath(12), circle(), measured()},
       kptExtractionResultConflict,
       "path 13 M; circle 12"},
      // The newest path is still this toolpath's: points continue it past the features.
      {"points continue their path past later features",
       {start(), toolpath(12), nominal(), measured(), toolpath(13), circle(1), toolpath(12),
        circle(2), nominal(), measured()},
       kptExtractionSuccess,
       "path 12 MM; circle 13; circle 12"},
  };
  for (const Case& c : cases) check(c);
}

TEST(ResultsDataExtractor, DecidesWhetherAReportIsANewFeature) {
  const Case cases[] = {
      {"same report twice in one instance",
       {start(), toolpath(12), circle(1), circle(1)},
       kptExtractionResultConflict,
       "circle 12"},
      {"same report in the next pattern instance",
       {start(), toolpath(12, 1), circle(1), toolpath(12, 2), circle(1)},
       kptExtractionSuccess,
       "circle 12(1); circle 12(2)"},
      {"same report with and without instance",
       {start(), toolpath(12), circle(1), toolpath(12, 1), circle(1)},
       kptExtractionSuccess,
       "circle 12; circle 12(1)"},
      {"two reports in one instance",
       {start(), toolpath(12), circle(1), circle(2)},
       kptExtractionSuccess,
       "circle 12; circle 12"},
      {"report right after points of its own instance",
       {start(), toolpath(12, 3), nominal(), measured(), circle()},
       kptExtractionResultConflict,
       "path 12(3) M"},
      {"report after points of another toolpath",
       {start(), toolpath(12), nominal(), measured(), toolpath(13), circle()},
       kptExtractionSuccess,
       "path 12 M; circle 13"},
      {"report outside a run", {circle()}, kptExtractionOutsideStartEnd, ""},
      {"report after END", {start(), end(), circle()}, kptExtractionOutsideStartEnd, ""},
  };
  for (const Case& c : cases) check(c);
}

TEST(ResultsDataExtractor, LabelsPointsByPathInstanceAndNumber) {
  kptResultsDataExtractor extractor;
  run(extractor, {start(), nominal(), measured(), toolpath(12, 3), nominal(), measured(), nominal(),
                  nominal(), measured(), nominal(), toolpath(4000000000u), nominal()});
  ASSERT_EQ(extractor.measured_paths_count(), 3u);
  std::vector<std::string> labels;
  itIterator<std::shared_ptr<mtrProbePath>> paths = extractor.measured_paths();
  while (++paths) {
    for (unsigned int i = 0; i < paths()->inspection_points_count(); ++i) {
      labels.push_back(paths()->inspection_point(i)->label().str());
    }
  }
  EXPECT_EQ(labels, (std::vector<std::string>{
                        "Path 0: Inspection Point 1", "Path 12 (3): Inspection Point 1",
                        "Path 12 (3): Inspection Point 2", "Path 12 (3): Inspection Point 3",
                        "Path 12 (3): Inspection Point 4", "Path 4000000000: Inspection Point 1"}));
}

TEST(ResultsDataExtractor, TakesPointsThroughBothWorkplanes) {
  kptResultsDataExtractor extractor;
  // Output turned a quarter about Z and raised by 5; CAD turned a quarter about X and moved.
  run(extractor, {start(), toolpath(7), cad_plane(workplane(100, 0, 0, 90)),
                  output_plane(workplane(10, 0, 5, 0, 0, 90)), nominal(1, 2, -5),
                  measured(1, 2.5, -5), toolpath(8), nominal(1, 2, -5)});
  const auto first = result_at<mtrProbePath>(extractor, 0)->inspection_point(0);
  expect_near(first->nominal_point(), giPoint3(108, 0, 1));
  expect_near(first->measured_point(), giPoint3(107.5, 0, 1));
  // The direction (0, 0, 2) is turned and normalised, never moved.
  expect_near(first->direction().vector(), giVector3(0, -1, 0));
  EXPECT_EQ(first->o_value(), 0.0);
  EXPECT_EQ(first->u_value(), 0.1);
  EXPECT_EQ(first->l_value(), -0.1);
  EXPECT_EQ(first->r_value(), 2.5);
  // TOOLPATHID puts both workplanes back to world.
  expect_near(result_at<mtrProbePath>(extractor, 1)->inspection_point(0)->nominal_point(),
              giPoint3(1, 2, -5));
}

TEST(ResultsDataExtractor, NamesEveryStatus) {
  const char* const names[] = {"success",
                               "missing_end",
                               "multiple_starts",
                               "unmatched_measured_point",
                               "unmeasured_nominal_point",
                               "no_results",
                               "outside_start_end",
                               "result_conflict"};
  for (int value = 0; value < 8; ++value) {
    EXPECT_STREQ(kpt_status_name(static_cast<kptResultsExtractionStatus>(value)), names[value]);
  }
  EXPECT_STREQ(kpt_status_name(static_cast<kptResultsExtractionStatus>(8)), "unknown");
}
