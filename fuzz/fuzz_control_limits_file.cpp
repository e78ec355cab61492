// Fuzz target: reading a saved control limits file (kptControlLimitsFile::parse) from any bytes,
// and a file that reads writing itself back to the same limits.
#include <string_view>

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kptControlLimitsFile file;
  const std::string problem = kptControlLimitsFile::parse(
      std::string_view(reinterpret_cast<const char*>(data), size), file);
  if (!problem.empty()) return 0;
  kptControlLimitsFile again;
  fuzz_check(kptControlLimitsFile::parse(file.to_json(), again).empty(),
             "a limits file written back reads again");
  fuzz_check(again.series.size() == file.series.size(), "the series survive a round trip");
  for (std::size_t i = 0; i < file.series.size(); ++i) {
    fuzz_check(again.series[i].limits.state == file.series[i].limits.state,
               "a series keeps its state");
  }
  return 0;
}
