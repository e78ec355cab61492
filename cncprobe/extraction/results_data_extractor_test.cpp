// Tests of kptResultsDataExtractor's events: the run, toolpath instances, probe paths, conflicts.
#include "cncprobe/extraction/results_data_extractor.h"

#include <gtest/gtest.h>

#include "cncprobe/extraction/extraction_test_util.h"

using namespace extraction_test;

namespace {

struct Case {
  std::vector<Event> events;
  kptResultsExtractionStatus status;
  const char* results;
};

void check(const Case& c) {
  SCOPED_TRACE(c.results);
  kptResultsDataExtractor extractor;
  run(extractor, c.events);
  EXPECT_EQ(extractor.status(), c.status);
  EXPECT_EQ(summary(extractor), c.results);
  expect_lists_agree(extractor);
}

}  // namespace

// clang-format off
TEST(ResultsDataExtractor, PairsPointsInSequenceWithinTheRun) {
  for (const Case& c : std::initializer_list<Case>{
      {{start(), nominal(), measured(), end()}, kptExtractionSuccess, "path 0 M"},
      {{start(), nominal(), nominal(), measured()}, kptExtractionUnmeasuredNominalPoint, "path 0 UM"},
      {{start(), nominal(), measured(), measured()}, kptExtractionUnmatchedMeasuredPoint, "path 0 M"},
      {{start(), measured(), nominal(), nominal()}, kptExtractionUnmeasuredNominalPoint, "path 0 UU"},  // the latest problem wins
      {{nominal()}, kptExtractionOutsideStartEnd, ""},
      {{start(), nominal(), measured(), end(), nominal()}, kptExtractionOutsideStartEnd, "path 0 M"},
      {{toolpath(5)}, kptExtractionOutsideStartEnd, ""},
      {{output_plane(workplane(1, 0, 0))}, kptExtractionOutsideStartEnd, ""},
      {{cad_plane(workplane(1, 0, 0))}, kptExtractionOutsideStartEnd, ""},
      {{start(), end(), circle()}, kptExtractionOutsideStartEnd, ""},
      // A second START discards the first run's points but keeps the toolpath context.
      {{start(), toolpath(12, 3), nominal(), measured(), start(), nominal(), measured()}, kptExtractionMultipleStarts, "path 12(3) M"},
  }) check(c);
}

TEST(ResultsDataExtractor, DecidesBetweenNewCurrentAndConflictingResults) {
  for (const Case& c : std::initializer_list<Case>{
      {{start(), toolpath(12, 1), nominal(), measured(), toolpath(12, 2), nominal(), measured()}, kptExtractionSuccess, "path 12(1) M; path 12(2) M"},
      {{start(), toolpath(12), nominal(), measured(), toolpath(12, 0), nominal()}, kptExtractionSuccess, "path 12 M; path 12(0) U"},
      {{start(), toolpath(12, 1), nominal(), toolpath(12, 2), measured()}, kptExtractionResultConflict, "path 12(1) U"},
      {{start(), toolpath(12, 1), nominal(), measured(), toolpath(13), nominal(), measured(), toolpath(12, 1), nominal()}, kptExtractionSuccess, "path 12(1) M; path 13 M; path 12(1) U"},
      // Points may not follow a feature of their toolpath...
      {{start(), toolpath(12), circle(), nominal()}, kptExtractionResultConflict, "circle 12"},
      {{start(), toolpath(13), nominal(), measured(), toolpath(12), circle(), measured()}, kptExtractionResultConflict, "path 13 M; circle 12"},
      // ...unless the newest path is theirs: then they continue it past the features.
      {{start(), toolpath(12), nominal(), measured(), toolpath(13), circle(1), toolpath(12), circle(2), nominal(), measured()}, kptExtractionSuccess, "path 12 MM; circle 13; circle 12"},
      {{start(), toolpath(12), circle(1), circle(1)}, kptExtractionResultConflict, "circle 12"},
      {{start(), toolpath(12, 1), circle(1), toolpath(12, 2), circle(1)}, kptExtractionSuccess, "circle 12(1); circle 12(2)"},
      {{start(), toolpath(12), circle(1), toolpath(12, 1), circle(1)}, kptExtractionSuccess, "circle 12; circle 12(1)"},
      {{start(), toolpath(12), circle(1), circle(2)}, kptExtractionSuccess, "circle 12; circle 12"},
  }) check(c);
}
// clang-format on

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
  // Output turned a quarter about Z and raised by 5; CAD turned a quarter about X and moved. The
  // direction (0 0 2) is turned and normalised, never moved; TOOLPATHID puts both back to world.
  run(extractor, {start(), toolpath(7), cad_plane(workplane(100, 0, 0, 90)),
                  output_plane(workplane(10, 0, 5, 0, 0, 90)), nominal(1, 2, -5),
                  measured(1, 2.5, -5), toolpath(8), nominal(1, 2, -5)});
  EXPECT_EQ(details(extractor),
            (std::vector<std::string>{
                "Path 7: Inspection Point 1 (108 0 1) (0 -1 0) 0 0.1 -0.1 (107.5 0 1) 2.5",
                "Path 8: Inspection Point 1 (1 2 -5) (0 0 1) 0 0.1 -0.1 -"}));
}
