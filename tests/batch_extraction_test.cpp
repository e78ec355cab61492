// Many files in one call: every sample and generated file extracted alone, alone on 2 and 7
// threads, by one extractor reused for all of them, and in batches on 1, 2 and 7 threads gives the
// same outcome, down to the last bit of every point. Part of the threads test, so the
// ThreadSanitizer build checks the batch too.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/results_file_generator.h"
#include "cncprobe/extraction/extraction_test_util.h"
#include "cncprobe/extraction/file_extraction.h"
#include "cncprobe/extraction/results_batch_extractor.h"
#include "tests/support/scratch_directory.h"

namespace {
namespace fs = std::filesystem;

// Hexadecimal floating point: two texts are equal only when the doubles are.
std::string exact(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%a", value);
  return text;
}
std::string exact(const giPoint3& p) {
  return exact(p.x()) + "," + exact(p.y()) + "," + exact(p.z());
}

// Everything an outcome says: status, input problem, RESULTSFILE name, each result's kind,
// geometry and tolerances, and every inspection point's coordinates exactly.
template <class Extraction>
std::string fingerprint(const Extraction& extraction) {
  std::string text =
      std::to_string(extraction.status()) + " " + std::to_string(extraction.input_problem()) +
      " [" + extraction.resultsfile_name().str() + "] " + extraction_test::summary(extraction);
  for (const std::string& line : extraction_test::details(extraction)) text += "\n" + line;
  itIterator<std::shared_ptr<mtrProbePath>> paths = extraction.measured_paths();
  while (++paths) {
    const mtrProbePath& path = *paths();
    for (unsigned int i = 0; i < path.inspection_points_count(); ++i) {
      const auto point = path.inspection_point(i);
      text += "\n" + exact(point->nominal_point()) + " " + exact(point->direction().vector().x()) +
              (point->has_measure() ? " " + exact(point->measured_point()) : std::string(" -"));
    }
  }
  return text;
}

// Every results file of the test data and the examples, generated runs of several sizes, and two
// inputs that cannot be read.
std::vector<utString> sample_files(const ScratchDirectory& scratch) {
  std::vector<utString> files;
  for (const fs::path& dir : {fs::path(CNCPROBE_TEST_DATA_DIR), fs::path(CNCPROBE_EXAMPLES_DIR)}) {
    for (const auto& entry : fs::recursive_directory_iterator(dir)) {
      const fs::path& path = entry.path();
      if (entry.is_regular_file() && (path.extension() == ".res" || path.extension() == ".txt")) {
        files.emplace_back(path.string().c_str());
      }
    }
  }
  // The largest has lines enough to be recognised in chunks when an extraction has threads.
  for (const std::size_t points : {1, 80, 2500, 9000}) {
    GeneratedResultsFile summary;
    const std::string path = (scratch.path() / ("run_" + std::to_string(points) + ".res")).string();
    EXPECT_TRUE(write_results_file(path, points, summary));
    files.emplace_back(path.c_str());
  }
  files.emplace_back((scratch.path() / "missing.res").string().c_str());
  files.emplace_back(scratch.path().string().c_str());  // a directory
  return files;
}
}  // namespace

TEST(BatchExtraction, AloneReusedAndInBatchesOnAnyNumberOfThreadsAgree) {
  const ScratchDirectory scratch;
  const std::vector<utString> files = sample_files(scratch);
  ASSERT_GE(files.size(), 20u);
  // One extractor reused across units too: its parser must follow the units it is given.
  kptResultsDataExtractor reused;
  for (const kptUnits units : {kptUnits(kptUnitsMillimetres), kptUnits(kptUnitsInches)}) {
    std::vector<std::string> alone;
    for (const utString& file : files) {
      kptResultsDataExtractor extractor;
      (void)extractor.extract_data(file, units);
      alone.push_back(fingerprint(extractor));
    }
    for (const unsigned int threads : {2u, 7u}) {
      kptResultsDataExtractor extractor;
      extractor.set_threads(threads);
      for (std::size_t i = 0; i < files.size(); ++i) {
        (void)extractor.extract_data(files[i], units);
        EXPECT_EQ(fingerprint(extractor), alone[i]) << threads << " threads, " << files[i].str();
      }
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
      (void)reused.extract_data(files[i], units);
      EXPECT_EQ(fingerprint(reused), alone[i]) << "reused, " << files[i].str();
      const kptFileExtraction taken = reused.take_extraction(files[i]);
      EXPECT_EQ(fingerprint(taken), alone[i]) << "taken, " << files[i].str();
      extraction_test::expect_lists_agree(taken);
    }
    for (const unsigned int threads : {1u, 2u, 7u}) {
      kptResultsBatchExtractor batch(threads);
      // Twice in a row: the second call reuses the threads' extractors.
      for (int round = 0; round < 2; ++round) {
        const std::vector<kptFileExtraction> outcomes = batch.extract(files, units);
        ASSERT_EQ(outcomes.size(), files.size());
        for (std::size_t i = 0; i < files.size(); ++i) {
          EXPECT_EQ(outcomes[i].file_name(), files[i]);
          EXPECT_EQ(fingerprint(outcomes[i]), alone[i])
              << threads << " threads, round " << round << ", " << files[i].str();
        }
      }
    }
  }
}

// A file of about 10 MB is also read and cut into its lines in parts when an extraction has
// threads; its outcome is the one thread's.
TEST(BatchExtraction, ALargeFileReadInPartsAgrees) {
  const ScratchDirectory scratch;
  GeneratedResultsFile summary;
  const std::string path = (scratch.path() / "run_70000.res").string();
  ASSERT_TRUE(write_results_file(path, 70000, summary));
  ASSERT_GT(fs::file_size(path), std::uintmax_t{9} << 20);
  const utString file(path.c_str());
  kptResultsDataExtractor alone;
  (void)alone.extract_data(file);
  const std::string expected = fingerprint(alone);
  for (const unsigned int threads : {2u, 7u}) {
    kptResultsDataExtractor extractor;
    extractor.set_threads(threads);
    (void)extractor.extract_data(file);
    EXPECT_TRUE(fingerprint(extractor) == expected) << threads << " threads";
  }
}

// Outcomes reach the host in the order of the list, each once, however far ahead the threads
// read; and a host that throws from its delivery stops the batch without losing the batch.
TEST(BatchExtraction, DeliveryInOrderAndStoppedByTheHost) {
  const ScratchDirectory scratch;
  std::vector<utString> files = sample_files(scratch);
  const std::size_t distinct = files.size();
  for (int copy = 0; copy < 3; ++copy)
    files.insert(files.end(), files.begin(), files.begin() + distinct);
  kptResultsBatchExtractor batch(3);
  std::vector<std::size_t> order;
  batch.extract_each(files, kptUnits(), [&](std::size_t index, kptFileExtraction&& outcome) {
    EXPECT_EQ(outcome.file_name(), files[index]);
    order.push_back(index);
  });
  ASSERT_EQ(order.size(), files.size());
  for (std::size_t i = 0; i < order.size(); ++i) EXPECT_EQ(order[i], i);

  std::size_t delivered = 0;
  EXPECT_THROW(batch.extract_each(files, kptUnits(),
                                  [&](std::size_t, kptFileExtraction&&) {
                                    if (++delivered == 5) throw std::runtime_error("host gives up");
                                  }),
               std::runtime_error);
  EXPECT_EQ(delivered, 5u);
  EXPECT_EQ(batch.extract(files).size(), files.size());
  EXPECT_TRUE(kptResultsBatchExtractor(4).extract({}).empty());
}
