// Separate readers on separate threads at once: a host may extract several files in parallel,
// each with its own extractor, reference extractor and settings reader. Every thread must get
// exactly what one thread alone gets. Built also with ThreadSanitizer (preset tsan), which then
// reports any data race between the readers (shared matchers, registries, libxml2 state...).
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "cncprobe/extraction/extraction_test_util.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/settings/inspection_settings_reader.h"

namespace {
namespace fs = std::filesystem;

std::vector<std::string> files_in(const fs::path& dir, const std::string& extension) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(dir)) {
    if (entry.is_regular_file() && entry.path().extension() == extension) {
      files.push_back(entry.path().string());
    }
  }
  return files;
}

// What one file gives each reader, as text that two runs can compare.
std::string extraction_of(const std::string& file) {
  kptResultsDataExtractor extractor;
  const kptResultsExtractionStatus status = extractor.extract_data(utString(file));
  std::string outcome =
      std::string(kptStatusText::name(status)) + " " + extraction_test::summary(extractor);
  for (const std::string& line : extraction_test::details(extractor)) outcome += "\n" + line;
  // The same bytes already in memory take the other road through the cursor.
  kptResultsDataExtractor from_memory;
  (void)from_memory.extract_data(kptInputFile::read(utString(file)));
  return outcome + "\n" + extraction_test::summary(from_memory);
}

std::string references_of(const std::string& file) {
  kptFileReferenceExtractor refs;
  std::string outcome = std::to_string(refs.extract(apPath(file)).value());
  for (const utString* text : {&refs.results_file_version_text(), &refs.settings_filename(),
                               &refs.cad_filename(), &refs.cldata_filename(), &refs.document_id(),
                               &refs.document_version(), &refs.model_version()}) {
    outcome += '|';
    outcome += text->valid() ? text->str() : std::string("<none>");
  }
  return outcome;
}

std::string settings_of(const std::string& file) {
  kptInspectionSettings settings;
  const kptInspectionSettingsError error =
      kptInspectionSettingsReader::read(apPath(file), settings);
  int bad = 0;
  return std::to_string(error.code()) + " " + error.message().utf8(bad) + " " +
         std::to_string(settings.version()) + " " +
         std::to_string(settings.proximity_criteria_mm()) + " " +
         std::to_string(settings.confetti_diameter_mm()) + " " +
         std::to_string(settings.linear_precision()) + " " + settings.surface_point_label().str();
}

struct Job {
  std::string (*read)(const std::string&);
  std::string file;
};
}  // namespace

TEST(Threads, SeparateReadersOnSeparateThreadsGetWhatOneThreadGets) {
  const fs::path data = CNCPROBE_TEST_DATA_DIR;
  const fs::path examples = CNCPROBE_EXAMPLES_DIR;
  std::vector<Job> jobs;
  for (const fs::path& dir : {data, examples}) {
    for (const std::string& ext : {std::string(".res"), std::string(".txt")}) {
      for (const std::string& file : files_in(dir, ext)) {
        jobs.push_back({extraction_of, file});
        jobs.push_back({references_of, file});
      }
    }
    for (const std::string& file : files_in(dir, ".xml")) jobs.push_back({settings_of, file});
  }
  ASSERT_GE(jobs.size(), 30u);

  std::vector<std::string> alone;
  for (const Job& job : jobs) alone.push_back(job.read(job.file));

  // Every thread runs every job, each starting at another one, so different readers of different
  // kinds overlap all the time.
  constexpr std::size_t kThreads = 4;
  std::vector<std::vector<std::string>> together(kThreads, std::vector<std::string>(jobs.size()));
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t n = 0; n < jobs.size(); ++n) {
        const std::size_t i = (n + t * jobs.size() / kThreads) % jobs.size();
        together[t][i] = jobs[i].read(jobs[i].file);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (std::size_t t = 0; t < kThreads; ++t) {
    for (std::size_t i = 0; i < jobs.size(); ++i) {
      EXPECT_EQ(together[t][i], alone[i]) << "thread " << t << ", " << jobs[i].file;
    }
  }
}
