// End-to-end tests of kptResultsDataExtractor over small results files written for them.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "cncprobe/extraction/extraction_test_util.h"
#include "tests/support/scratch_directory.h"
#if !defined(_WIN32)
#include "tests/support/unprivileged_user.h"
#endif

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
  std::vector<std::string> details = {};  // checked when not empty
};

void check(const FileCase& c) {
  SCOPED_TRACE(c.file);
  kptResultsDataExtractor extractor;
  EXPECT_EQ(extractor.extract_data(data_file(c.file), kptUnits(c.units)), c.status);
  EXPECT_EQ(summary(extractor), c.results);
  expect_lists_agree(extractor);
  if (!c.details.empty()) {
    EXPECT_EQ(details(extractor), c.details);
  }
}

// Lets a test run an extraction over lines held in memory.
class CursorExtractor : public kptResultsDataExtractor {
 public:
  using kptResultsDataExtractor::extract_data_from_cursor;
};

}  // namespace

// clang-format off
TEST(ResultsDataExtractorFile, FilesEndInTheirStatusUnderTheConflictRules) {
  const FileCase cases[] = {
      {"missing_end.res", kptUnitsMillimetres, kptExtractionMissingEnd, "path 0 M"},
      {"no_points.res", kptUnitsMillimetres, kptExtractionNoResults, ""},
      {"no_such_file.res", kptUnitsMillimetres, kptExtractionNoResults, ""},
      // Output workplane at 10 in, turned half about Z; CAD workplane at (1, 2, 3) in.
      {"inch_points.res", kptUnitsInches, kptExtractionSuccess, "path 3 M",
       {"Path 3: Inspection Point 1 (254 50.8 76.2) (-1 0 0) 0.254 0.1016 -0.1016 (253.9746 50.8 76.2) 3.175"}},
      // Output workplane turned a quarter about X and raised by 50, CAD workplane turned a
      // quarter about Z and moved by 100; TOOLPATHID 13 puts both back to world.
      {"worked_example.res", kptUnitsMillimetres, kptExtractionSuccess, "path 12(3) M; circle 13",
       {"Path 12 (3): Inspection Point 1 (103 1 52) (1 0 0) 0 0.1 -0.1 (102.998 1.002 52) 2.5",
        "(10 20 0) (0 0 1) 12.5 | (10.004 19.998 0) 12.506 | 0.05 0.1"}},
      {"report_after_own_points.res", kptUnitsMillimetres, kptExtractionResultConflict, "path 12(3) M"},
      {"same_report_twice.res", kptUnitsMillimetres, kptExtractionResultConflict, "circle 20",
       {"(0 0 -5) (0 0 1) 4 | (0.003 -0.002 -5) 4.005 | - -"}},
      {"inch_circle.res", kptUnitsInches, kptExtractionSuccess, "circle 30",
       {"(50.8 -25.4 -12.7) (0 0 1) 12.7 | (50.8254 -25.4 -12.7) 12.7127 | 0.0508 0.1016"}},
  };
  for (const FileCase& c : cases) check(c);
}
// clang-format on

TEST(ResultsDataExtractorFile, KeepsTheResultsFileNameAndTheReportIdentity) {
  kptResultsDataExtractor extractor;
  ASSERT_EQ(extractor.extract_data(data_file("worked_example.res")), kptExtractionSuccess);
  EXPECT_EQ(extractor.resultsfile_name(), utString("C:\\PROBE\\RUN7.TXT"));
  itIterator<std::shared_ptr<mtrToolpathResult>> results = extractor.results();
  ASSERT_TRUE(++results && ++results);
  const auto circle = std::dynamic_pointer_cast<mtrCircleFeature>(results());
  ASSERT_NE(circle, nullptr);
  EXPECT_EQ(circle->print_data(), mtrInspectionPrintData(1, 4));
}

TEST(ResultsDataExtractorFile, ParsesFromAfterTheCursorAndAppliesTheEndRules) {
  const utString start("START"), tool("TOOLPATHID 4");
  const kptResultsFileCursor lines{start, tool, "G800 N1 X1 Y2 Z3 I0 J0 K1 O0 U0.1 L-0.1",
                                   "G801 N2 X1 Y2 Z3 R2.5", "END"};
  CursorExtractor extractor;
  EXPECT_EQ(extractor.extract_data_from_cursor(lines, kptUnits()), kptExtractionSuccess);
  EXPECT_EQ(summary(extractor), "path 4 M");
  // Standing on START, the extraction begins with the line after it and never opens a run.
  kptResultsFileCursor on_start = lines;
  ++on_start;
  EXPECT_EQ(extractor.extract_data_from_cursor(on_start, kptUnits()), kptExtractionNoResults);
  EXPECT_EQ(on_start(), start);
  // The end rules overwrite what went wrong before: no results, then the missing END.
  EXPECT_EQ(extractor.extract_data_from_cursor({start, "G801 N2 X1 Y2 Z3 R2.5", "END"}, kptUnits()),
            kptExtractionNoResults);
  EXPECT_EQ(extractor.extract_data_from_cursor(kptResultsFileCursor{start, tool}, kptUnits()),
            kptExtractionMissingEnd);
}

TEST(ResultsDataExtractorFile, EveryExtractionForgetsTheOneBefore) {
  // The first file names its results file and sets a toolpath instance and a cycle depth, none
  // of which a START record resets; its run never ends.
  CursorExtractor extractor;
  EXPECT_EQ(extractor.extract_data_from_cursor(
                {"RESULTSFILE RUN1.TXT", "START", "TOOLPATHID 4.0001", "CYCLEDEPTH -5",
                 "G800 N1 X1 Y2 Z3 I0 J0 K1 O0 U0.1 L-0.1"},
                kptUnits()),
            kptExtractionMissingEnd);
  EXPECT_EQ(extractor.resultsfile_name(), utString("RUN1.TXT"));
  EXPECT_EQ(
      extractor.extract_data_from_cursor(
          {"START", "COMPONENT NO 1 FEATURE NO 4", "SIZE D 8.000 ACTUAL 8.010 DEV 0.010",
           "POSN X 1.000 ACTUAL 1.000 DEV 0.000", "POSN Y 2.000 ACTUAL 2.000 DEV 0.000", "END"},
          kptUnits()),
      kptExtractionSuccess);
  EXPECT_EQ(summary(extractor), "circle 0");
  EXPECT_EQ(details(extractor),
            std::vector<std::string>{"(1 2 0) (0 0 1) 4 | (1 2 0) 4.005 | - -"});
  EXPECT_TRUE(extractor.resultsfile_name().valid() && extractor.resultsfile_name().empty());
}

TEST(ResultsDataExtractorFile, InputsReadInMemoryGiveWhatTheirFilesGive) {
  int files = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(CNCPROBE_TEST_DATA_DIR) + "/extraction")) {
    SCOPED_TRACE(entry.path().string());
    std::ifstream stream(entry.path(), std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    for (const kptUnitsType units : {kptUnitsMillimetres, kptUnitsInches}) {
      kptResultsDataExtractor by_name, in_memory;
      const kptResultsExtractionStatus status =
          by_name.extract_data(utString(entry.path().string()), kptUnits(units));
      EXPECT_EQ(in_memory.extract_data(kptInputFile::from_text(bytes.str()), kptUnits(units)),
                status);
      EXPECT_EQ(in_memory.input_problem(), kptInputReadable);
      EXPECT_EQ(summary(in_memory), summary(by_name));
      EXPECT_EQ(details(in_memory), details(by_name));
      EXPECT_EQ(in_memory.resultsfile_name(), by_name.resultsfile_name());
    }
    ++files;
  }
  EXPECT_GE(files, 7);
}

TEST(ResultsDataExtractorFile, SaysWhyAFileCouldNotBeRead) {
  const ScratchDirectory dir;
  const std::string good = dir.write(
      "good.res",
      "START\nTOOLPATHID 4\nG800 N1 X1 Y2 Z3 I0 J0 K1 O0 U0.1 L-0.1\nG801 N2 X1 Y2 Z3 R2.5\nEND\n");
  struct Case {
    std::string name;
    kptInputProblem problem;
  };
  std::vector<Case> cases = {
      {dir.file("none.res"), kptInputMissing},
      {dir.path().string(), kptInputDirectory},
      {good + std::string("\0x", 2), kptInputReadError},
  };
#if defined(_WIN32)
  cases.push_back({"NUL", kptInputNotRegularFile});
#else
  const std::string fifo = dir.file("pipe");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  cases.push_back({fifo, kptInputNotRegularFile});
  cases.push_back({"/dev/null", kptInputNotRegularFile});
  // Root reads a file whatever its mode: the locked file is read as a user who cannot.
  const std::string secret = dir.write("secret.res", "START\nEND\n");
  ASSERT_EQ(::chmod(secret.c_str(), 0), 0);
  EXPECT_TRUE(as_unprivileged_user([&] {
    kptResultsDataExtractor locked_out;
    return locked_out.extract_data(utString(secret)) == kptExtractionNoResults &&
           locked_out.input_problem() == kptInputPermissionDenied;
  }));
#endif
  kptResultsDataExtractor extractor;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    // Each time after a good file: the reason belongs to the last extraction only.
    ASSERT_EQ(extractor.extract_data(utString(good)), kptExtractionSuccess);
    EXPECT_EQ(extractor.input_problem(), kptInputReadable);
    // An unreadable file ends as an empty one always did: no results, status 5.
    EXPECT_EQ(extractor.extract_data(utString(c.name)), kptExtractionNoResults);
    EXPECT_EQ(extractor.input_problem(), c.problem);
    EXPECT_EQ(extractor.number_of_results(), 0u);
    EXPECT_EQ(extractor.extract_data(kptInputFile::read(utString(c.name))), kptExtractionNoResults);
    EXPECT_EQ(extractor.input_problem(), c.problem);
  }
  EXPECT_EQ(extractor.extract_data(kptInputFile::from_text("")), kptExtractionNoResults);
  EXPECT_EQ(extractor.input_problem(), kptInputReadable);
}
