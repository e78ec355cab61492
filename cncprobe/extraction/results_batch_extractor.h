// kptResultsBatchExtractor: many results files in one call, one outcome per file in order,
// optionally on several threads.
//
// The shop's case is thousands of small files; an extractor that is kept and reused reads each
// for the cost of its lines alone, and a batch keeps one such extractor per thread:
//
//   kptResultsBatchExtractor batch(2);                       // two threads, this one included
//   std::vector<utString> files = {utString("a.res"), utString("b.res")};
//   for (const kptFileExtraction& outcome : batch.extract(files, kptUnits(kptUnitsInches))) {
//     show(outcome.file_name(), outcome.status(), outcome.number_of_results());
//   }
//
// Every outcome is exactly what a new kptResultsDataExtractor gives for that file alone,
// whatever the number of threads. With one thread no thread is started: the files are read on the
// caller's thread. A batch serves one caller at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/extraction/file_extraction.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API kptResultsBatchExtractor {
 public:
  // A batch that reads on `threads` threads, the caller's among them: 1 (the default) starts no
  // thread, 0 takes one per core the machine reports.
  explicit kptResultsBatchExtractor(unsigned int threads = 1);
  ~kptResultsBatchExtractor();
  kptResultsBatchExtractor(const kptResultsBatchExtractor&) = delete;
  kptResultsBatchExtractor& operator=(const kptResultsBatchExtractor&) = delete;

  // The number of threads a call reads on, the caller's included; at least 1.
  [[nodiscard]] unsigned int threads() const noexcept { return threads_; }

  // Extracts every file, printed in `units`, and returns one outcome per file in the order of
  // `files`. A file that is missing or cannot be read gives kptExtractionNoResults with its
  // input_problem(); it never stops the others. An empty list gives an empty result.
  [[nodiscard]] std::vector<kptFileExtraction> extract(std::span<const utString> files,
                                                       const kptUnits& units = kptUnits());

  // The same, handing each outcome to `deliver(index, outcome)` on the caller's thread, in the
  // order of `files`, as soon as it and those before it are ready: a host writes a file's output
  // while later files are read, and holds the results of a few files at a time rather than all.
  // Outcomes are not read further ahead than a few per thread. An exception out of `deliver`
  // stops the batch (the threads are joined) and passes on to the caller.
  void extract_each(std::span<const utString> files, const kptUnits& units,
                    const std::function<void(std::size_t, kptFileExtraction&&)>& deliver);

 private:
  unsigned int threads_ = 1;
  // One extractor per thread, kept from call to call with its compiled parser.
  std::vector<std::unique_ptr<kptResultsDataExtractor>> extractors_;
};
