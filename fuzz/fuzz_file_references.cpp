// Fuzz target: the reference-line scan of kptFileReferenceExtractor over a results file's bytes.
#include <sstream>

#include "fuzz/fuzz_support.h"

// Scans a stream in memory: the same scan as extract() without a file.
struct StreamReferenceExtractor : kptFileReferenceExtractor {
  using kptFileReferenceExtractor::extract_from_stream;
};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
  StreamReferenceExtractor references;
  fuzz_check(references.extract_from_stream(stream).ok(), "a stream scan always succeeds");
  const kptResultsFileVersion version = references.results_file_version();
  fuzz_check(references.results_file_version_text().valid() || version.unversioned(),
             "a version without a version line");
  return 0;
}
