// End-to-end tests of kptResultsDataExtractor over small results files written for them.
#include <gtest/gtest.h>

#include <string>

#include "cncprobe/extraction/extraction_test_util.h"
#include "cncprobe/platform/circle_feature.h"

using namespace extraction_test;

namespace {

utString data_file(const char* name) {
  return utString((std::string(CNCPROBE_TEST_DATA_DIR) + "/extraction/" + name).c_str());
}

struct FileCase {
  const char* file;
  kptUnitsType units;
  kptResultsExtractionStatus status;
  const char* results;
};

void check(const FileCase& c) {
  SCOPED_TRACE(c.file);
  kptResultsDataExtractor extractor;
  EXPECT_STREQ(kpt_status_name(extractor.extract_data(data_file(c.file), kptUnits(c.units))),
               kpt_status_name(c.status));
  EXPECT_EQ(summary(extractor), c.results);
}

// Lets a test run an extraction over lines held in memory.
class CursorExtractor : public kptResultsDataExtractor {
 public:
  using kptResultsDataExtractor::extract_data_from_cursor;
};

}  // namespace

TEST(ResultsDataExtractorFile, RecordFilesEndInTheirStatus) {
  const FileCase cases[] = {
      {"missing_end.res", kptUnitsMillimetres, kptExtractionMissingEnd, "path 0 M"},
      {"multiple_starts.res", kptUnitsMillimetres, kptExtractionMultipleStarts, "path 0 M"},
      {"unmatched_measured_point.res", kptUnitsMillimetres, kptExtractionUnmatchedMeasuredPoint,
       "path 0 M"},
      {"unmeasured_nominal_point.res", kptUnitsMillimetres, kptExtractionUnmeasuredNominalPoint,
       "path 5(2) UM"},
      {"no_points.res", kptUnitsMillimetres, kptExtractionNoResults, ""},
      {"outside_start_end.res", kptUnitsMillimetres, kptExtractionOutsideStartEnd, "path 0 M"},
      {"no_such_file.res", kptUnitsMillimetres, kptExtractionNoResults, ""},
      {"inch_points.res", kptUnitsInches, kptExtractionSuccess, "path 3 M"},
  };
  for (const FileCase& c : cases) check(c);
}

TEST(ResultsDataExtractorFile, ReportFilesFollowTheConflictRules) {
  const FileCase cases[] = {
      {"worked_example.res", kptUnitsMillimetres, kptExtractionSuccess, "path 12(3) M; circle 13"},
      {"report_after_own_points.res", kptUnitsMillimetres, kptExtractionResultConflict,
       "path 12(3) M"},
      {"same_report_twice.res", kptUnitsMillimetres, kptExtractionResultConflict, "circle 20"},
      {"report_in_next_instance.res", kptUnitsMillimetres, kptExtractionSuccess,
       "circle 20(1); circle 20(2)"},
      {"inch_circle.res", kptUnitsInches, kptExtractionSuccess, "circle 30"},
  };
  for (const FileCase& c : cases) check(c);
}

TEST(ResultsDataExtractorFile, WorkedExampleEndsInCadCoordinates) {
  kptResultsDataExtractor extractor;
  ASSERT_EQ(extractor.extract_data(data_file("worked_example.res")), kptExtractionSuccess);
  EXPECT_EQ(extractor.resultsfile_name(), utString("C:\\PROBE\\RUN7.TXT"));
  ASSERT_EQ(extractor.number_of_results(), 2u);
  ASSERT_EQ(extractor.measured_paths_count(), 1u);

  // Output workplane turned a quarter about X and raised by 50, CAD workplane turned a quarter
  // about Z and moved by 100 along X.
  itIterator<std::shared_ptr<mtrProbePath>> paths = extractor.measured_paths();
  ASSERT_TRUE(++paths);
  const auto point = paths()->inspection_point(0);
  EXPECT_EQ(point->label(), utString("Path 12 (3): Inspection Point 1"));
  expect_near(point->nominal_point(), giPoint3(103, 1, 52));
  expect_near(point->measured_point(), giPoint3(102.998, 1.002, 52));
  expect_near(point->direction().vector(), giVector3(1, 0, 0));
  EXPECT_FALSE(++paths);

  // TOOLPATHID 13 put both workplanes back to world.
  const auto circle = result_at<mtrCircleFeature>(extractor, 1);
  ASSERT_NE(circle, nullptr);
  EXPECT_EQ(circle->pattern_instance(), std::nullopt);
  EXPECT_EQ(circle->print_data(), mtrInspectionPrintData(1, 4));
  expect_near(circle->nominal().centre(), giPoint3(10, 20, 0));
  expect_near(circle->actual().centre(), giPoint3(10.004, 19.998, 0));
  EXPECT_DOUBLE_EQ(circle->actual().radius().value(), 12.506);
  EXPECT_EQ(circle->diameter_tolerance(), 0.05);
  EXPECT_EQ(circle->true_position_tolerance(), 0.1);
}

TEST(ResultsDataExtractorFile, InchFilesAreHeldInMillimetres) {
  kptResultsDataExtractor extractor;
  ASSERT_EQ(extractor.extract_data(data_file("inch_points.res"), kptUnits(kptUnitsInches)),
            kptExtractionSuccess);
  const auto point = result_at<mtrProbePath>(extractor, 0)->inspection_point(0);
  // Output workplane at 10 in, turned half about Z; CAD workplane at (1, 2, 3) in.
  expect_near(point->nominal_point(), giPoint3(254, 50.8, 76.2));
  expect_near(point->measured_point(), giPoint3(253.9746, 50.8, 76.2));
  expect_near(point->direction().vector(), giVector3(-1, 0, 0));
  EXPECT_DOUBLE_EQ(point->o_value(), 0.254);
  EXPECT_DOUBLE_EQ(point->u_value(), 0.1016);
  EXPECT_DOUBLE_EQ(point->l_value(), -0.1016);
  EXPECT_DOUBLE_EQ(point->r_value(), 3.175);

  ASSERT_EQ(extractor.extract_data(data_file("inch_circle.res"), kptUnits(kptUnitsInches)),
            kptExtractionSuccess);
  const auto circle = result_at<mtrCircleFeature>(extractor, 0);
  ASSERT_NE(circle, nullptr);
  expect_near(circle->nominal().centre(), giPoint3(50.8, -25.4, -12.7));
  EXPECT_DOUBLE_EQ(circle->nominal().radius().value(), 12.7);
  EXPECT_DOUBLE_EQ(*circle->diameter_tolerance(), 0.0508);
  EXPECT_DOUBLE_EQ(*circle->true_position_tolerance(), 0.1016);
}

TEST(ResultsDataExtractorFile, EndRulesAndCursorPosition) {
  struct Case {
    const char* what;
    unsigned int skip;  // lines the cursor has passed before the extraction
    kptResultsExtractionStatus status;
    const char* results;
  };
  const utString start("START"), end("END"), tool("TOOLPATHID 4");
  const utString nominal_line("G800 N1 X1 Y2 Z3 I0 J0 K1 O0 U0.1 L-0.1");
  const utString measured_line("G801 N2 X1 Y2 Z3 R2.5");
  const Case cases[] = {
      {"whole file", 0, kptExtractionSuccess, "path 4 M"},
      // Parsing starts after the cursor's line: START is never seen.
      {"from the line after START", 1, kptExtractionNoResults, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    kptResultsFileCursor cursor{start, tool, nominal_line, measured_line, end};
    for (unsigned int i = 0; i < c.skip; ++i) ++cursor;
    const kptResultsFileCursor before = cursor;
    CursorExtractor extractor;
    EXPECT_EQ(extractor.extract_data_from_cursor(cursor, kptUnits()), c.status);
    EXPECT_EQ(summary(extractor), c.results);
    EXPECT_TRUE(cursor == before);
  }
  // A run without END that gathered nothing: the missing END is reported last.
  CursorExtractor extractor;
  EXPECT_EQ(extractor.extract_data_from_cursor(kptResultsFileCursor{start, tool}, kptUnits()),
            kptExtractionMissingEnd);
  // The next extraction starts afresh.
  EXPECT_EQ(extractor.extract_data_from_cursor(
                kptResultsFileCursor(std::initializer_list<utString>{}), kptUnits()),
            kptExtractionNoResults);
}
