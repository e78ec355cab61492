// kptFileExtraction: what one results file gave, held apart from the extractor that read it.
//
// A batch (kptResultsBatchExtractor) returns one per file, and an extractor hands over its last
// extraction with take_extraction(), so a host keeps the results of many files while one
// extractor, with its compiled parser, goes on to the next file:
//
//   kptResultsDataExtractor extractor;
//   (void)extractor.extract_data(utString("part_0001.res"));
//   kptFileExtraction first = extractor.take_extraction(utString("part_0001.res"));
//   itIterator<std::shared_ptr<mtrToolpathResult>> it = first.results();
//   while (++it) show(it());
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/toolpath_result.h"
#include "cncprobe/platform/support/iterator.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API kptFileExtraction {
 public:
  // An outcome of no file: status kptExtractionNoResults, readable, no results.
  kptFileExtraction() = default;
  kptFileExtraction(const kptFileExtraction&) = default;
  kptFileExtraction(kptFileExtraction&&) noexcept = default;
  kptFileExtraction& operator=(const kptFileExtraction&) = default;
  kptFileExtraction& operator=(kptFileExtraction&&) noexcept = default;
  ~kptFileExtraction();

  // The file's name as the host gave it.
  [[nodiscard]] const utString& file_name() const noexcept { return file_name_; }
  // The extraction status, as extract_data returned it.
  [[nodiscard]] kptResultsExtractionStatus status() const noexcept { return status_; }
  // Why the file could not be read; kptInputReadable when it was read.
  [[nodiscard]] kptInputProblem input_problem() const noexcept { return input_problem_; }
  // The text of the file's last RESULTSFILE record; empty when there was none.
  [[nodiscard]] const utString& resultsfile_name() const noexcept { return resultsfile_name_; }

  // Every result, probe paths and features, in the order they were created.
  [[nodiscard]] const std::vector<std::shared_ptr<mtrToolpathResult>>& result_list()
      const noexcept {
    return results_;
  }
  // The probe paths alone, in the order they were created (each also among result_list()).
  [[nodiscard]] const std::vector<std::shared_ptr<mtrProbePath>>& measured_path_list()
      const noexcept {
    return measured_paths_;
  }
  // Every result as an undefined iterator, as the extractor gives it; valid while this outcome
  // lives unchanged.
  [[nodiscard]] itIterator<std::shared_ptr<mtrToolpathResult>> results() const;
  // The probe paths as an undefined iterator; valid as long as the one of results().
  [[nodiscard]] itIterator<std::shared_ptr<mtrProbePath>> measured_paths() const;
  // The number of results, probe paths and features together.
  [[nodiscard]] unsigned int number_of_results() const noexcept {
    return static_cast<unsigned int>(results_.size());
  }
  // The number of probe paths.
  [[nodiscard]] unsigned int measured_paths_count() const noexcept {
    return static_cast<unsigned int>(measured_paths_.size());
  }

 private:
  friend class kptResultsDataExtractor;

  utString file_name_;
  kptResultsExtractionStatus status_ = kptExtractionNoResults;
  kptInputProblem input_problem_ = kptInputReadable;
  utString resultsfile_name_ = utString("");
  std::vector<std::shared_ptr<mtrToolpathResult>> results_;
  std::vector<std::shared_ptr<mtrProbePath>> measured_paths_;
};
