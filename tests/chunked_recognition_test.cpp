// A file recognised in chunks gives the events of one pass, wherever the chunks are cut: every
// sample and generated file cut at every line into two chunks, and cut into chunks of a few lines
// recognised on several threads. A report cut by a boundary is the case that matters: the second
// chunk's own parse starts inside it.
#include "cncprobe/extraction/internal/chunked_recognition.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bench/results_file_generator.h"
#include "cncprobe/events/recording_callback_test_util.h"
#include "cncprobe/resultsfile/results_file_parser.h"
#include "tests/support/scratch_directory.h"

namespace {
namespace fs = std::filesystem;

std::vector<std::string> sample_files(const ScratchDirectory& scratch) {
  std::vector<std::string> files;
  for (const fs::path& dir : {fs::path(CNCPROBE_TEST_DATA_DIR), fs::path(CNCPROBE_EXAMPLES_DIR)}) {
    for (const auto& entry : fs::recursive_directory_iterator(dir)) {
      const fs::path& path = entry.path();
      if (entry.is_regular_file() && (path.extension() == ".res" || path.extension() == ".txt")) {
        files.push_back(path.string());
      }
    }
  }
  GeneratedResultsFile summary;
  const std::string generated = (scratch.path() / "run_120.res").string();
  EXPECT_TRUE(write_results_file(generated, 120, summary));
  files.push_back(generated);
  // Reports back to back and a report cut short by a machine record: every report line is a
  // boundary somewhere in the cuts.
  files.push_back(scratch.write("reports.res",
                                "START\nTOOLPATHID 3\n"
                                "------\nCOMPONENT NO 1 FEATURE NO 4\n------\n"
                                "SIZE D 25.000 ACTUAL 25.012 TOL 0.050 DEV 0.012\n"
                                "POSN X 10.000 ACTUAL 10.004 TOL TP 0.100 DEV 0.004\n"
                                "POSN Y 20.000 ACTUAL 19.990 TOL TP 0.100 DEV -0.010\n"
                                "++OUT OF POS++ ERROR TP 0.021\n"
                                "------\nCOMPONENT NO 1 FEATURE NO 5\n------\n"
                                "SIZE D 25.000 ACTUAL 25.012 TOL 0.050 DEV 0.012\n"
                                "G800 N1 X1 Y2 Z3 I0 J0 K1 O0 U0.1 L-0.1\n"
                                "POSN X 10.000 ACTUAL 10.004 TOL TP 0.100 DEV 0.004\n"
                                "COMPONENT NO 2 FEATURE NO 1\n"
                                "POSN Z 5.000 ACTUAL 5.010 DEV 0.010\nEND\n"));
  return files;
}

std::vector<std::string> one_pass(const kptResultsFileCursor& lines, const kptUnits& units) {
  RecordingCallback recording;
  const kptResultsFileParser parser(units,
                                    utObserverPtr<kptResultsFileParserCallback>(
                                        static_cast<kptResultsFileParserCallback*>(&recording)));
  kptResultsFileCursor cursor = lines;
  while (++cursor) {
    (void)parser.parse_next_object(cursor);
    if (cursor.undefined()) break;
  }
  return recording.events;
}

std::vector<std::string> in_chunks(const kptResultsFileCursor& lines, const kptUnits& units,
                                   const std::vector<std::size_t>& starts, unsigned int threads) {
  RecordingCallback recording;
  std::size_t last_passed = 0;
  kptChunkedRecognition::run(lines, units, recording, starts, threads, [&](std::size_t line) {
    EXPECT_GE(line, last_passed) << "lines once passed are never read again";
    EXPECT_LE(line, lines.line_count());
    last_passed = line;
  });
  return recording.events;
}
}  // namespace

TEST(ChunkedRecognition, EveryCutIntoTwoChunksGivesTheOnePass) {
  const ScratchDirectory scratch;
  std::size_t cuts = 0;
  for (const std::string& file : sample_files(scratch)) {
    const kptResultsFileCursor lines(utString(file.c_str()));
    const kptUnits units(file.find("inch") != std::string::npos ? kptUnitsInches
                                                                : kptUnitsMillimetres);
    const std::vector<std::string> expected = one_pass(lines, units);
    for (std::size_t cut = 1; cut < lines.line_count(); ++cut) {
      const std::vector<std::size_t> starts = {0, cut};
      ASSERT_EQ(in_chunks(lines, units, starts, 1), expected)
          << file << " cut before line " << cut + 1;
      ++cuts;
    }
  }
  EXPECT_GT(cuts, 1000u) << "the sample files were read";
}

TEST(ChunkedRecognition, SmallChunksOnSeveralThreadsGiveTheOnePass) {
  const ScratchDirectory scratch;
  for (const std::string& file : sample_files(scratch)) {
    const kptResultsFileCursor lines(utString(file.c_str()));
    const std::vector<std::string> expected = one_pass(lines, kptUnits());
    for (const std::size_t chunk_lines : {1, 2, 3, 7, 100}) {
      for (const unsigned int threads : {1u, 2u, 7u}) {
        EXPECT_EQ(
            in_chunks(lines, kptUnits(),
                      kptChunkedRecognition::even_chunks(lines.line_count(), chunk_lines), threads),
            expected)
            << file << ", chunks of " << chunk_lines << " lines, " << threads << " threads";
      }
    }
  }
}
