// kptFileExtraction: the iterators over an outcome's results.
#include "cncprobe/extraction/file_extraction.h"

kptFileExtraction::~kptFileExtraction() = default;

itIterator<std::shared_ptr<mtrToolpathResult>> kptFileExtraction::results() const {
  return itIterators::make_iter(results_);
}

itIterator<std::shared_ptr<mtrProbePath>> kptFileExtraction::measured_paths() const {
  return itIterators::make_iter(measured_paths_);
}
