// Fuzz target: a whole results file through kptResultsDataExtractor, then a walk over its results.
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kptResultsDataExtractor extractor;
  // From memory through the cursor: the same lines a file of these bytes gives, without a file
  // written and read back for every input.
  const kptResultsExtractionStatus status =
      extractor.extract_data(fuzz_input(data, size), fuzz_units(size));
  fuzz_check(extractor.input_problem() == kptInputReadable, "bytes in memory are always readable");
  fuzz_check(status >= kptExtractionSuccess && status <= kptExtractionResultConflict,
             "status out of range");
  unsigned int results = 0;
  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  while (++it) {
    ++results;
    if (auto path = std::dynamic_pointer_cast<mtrProbePath>(it())) {
      itIterator<std::shared_ptr<mtrInspectionPoint>> points = path->inspection_points();
      while (++points) fuzz_check(points()->label().valid(), "a point without its label");
    }
  }
  fuzz_check(results == extractor.number_of_results(),
             "results() and number_of_results() disagree");
  return 0;
}
