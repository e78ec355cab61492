// Fuzz target: a whole results file through kptResultsDataExtractor, then a walk over its results;
// a path listener hears every probe path the extractor ends with, in order, and none changed after.
#include <utility>
#include <vector>

#include "fuzz/fuzz_support.h"

namespace {

class Heard : public kptProbePathListener {
 public:
  void on_path_completed(const std::shared_ptr<const mtrProbePath>& path) override {
    paths.emplace_back(path, path->inspection_points_count());
  }
  void on_results_discarded() override { paths.clear(); }
  std::vector<std::pair<std::shared_ptr<const mtrProbePath>, unsigned int>> paths;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kptResultsDataExtractor extractor;
  Heard heard;
  extractor.set_path_listener(&heard);
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
  fuzz_check(heard.paths.size() == extractor.measured_paths_count(),
             "the listener did not hear every path");
  itIterator<std::shared_ptr<mtrProbePath>> paths = extractor.measured_paths();
  for (const auto& [path, points] : heard.paths) {
    fuzz_check(++paths && paths().get() == path.get(), "the listener heard another path");
    fuzz_check(path->inspection_points_count() == points, "a path changed after it was heard");
  }
  return 0;
}
