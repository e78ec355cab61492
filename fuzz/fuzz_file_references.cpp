// Fuzz target: the reference-line scan of kptFileReferenceExtractor over a results file's bytes.
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kptFileReferenceExtractor references;
  fuzz_check(references.extract(fuzz_input(data, size)).ok(), "a readable input always succeeds");
  fuzz_check(references.input_problem() == kptInputReadable, "bytes in memory are always readable");
  const kptResultsFileVersion version = references.results_file_version();
  fuzz_check(references.results_file_version_text().valid() || version.unversioned(),
             "a version without a version line");
  return 0;
}
