// A host of the library: extracts one results file and prints its status and one line per result.
//
//   cncprobe_host run.res [in]     (the file's units: millimetres unless "in" is given)
#include <cstdio>
#include <cstring>
#include <memory>

#include "cncprobe/cncprobe.h"

namespace {

const char* kind_name(const mtrToolpathResult& result) {
  // A host that knows only the classes, not mtrResultKind, tells results apart by their type.
  if (dynamic_cast<const mtrProbePath*>(&result)) return "probe path";
  if (dynamic_cast<const mtrCircleFeature*>(&result)) return "circle";
  if (dynamic_cast<const mtrRectangleFeature*>(&result)) return "rectangle";
  if (dynamic_cast<const mtrCornerFeature*>(&result)) return "corner";
  if (dynamic_cast<const mtrSurfaceFeature*>(&result)) return "surface";
  if (dynamic_cast<const mtrAngleSurfaceFeature*>(&result)) return "angle";
  if (dynamic_cast<const mtrPerpendicularDistanceFeature*>(&result)) return "wall or channel";
  return "unknown";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: %s RESULTS_FILE [mm|in]\n", argv[0]);
    return 2;
  }
  const bool inches = argc == 3 && std::strcmp(argv[2], "in") == 0;

  kptResultsDataExtractor extractor;
  const kptResultsExtractionStatus status = extractor.extract_data(
      utString(argv[1]), kptUnits(inches ? kptUnitsInches : kptUnitsMillimetres));
  std::printf("status %d %s, %u results\n", static_cast<int>(status), kptStatusText::name(status),
              extractor.number_of_results());

  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  while (++it) {
    const std::shared_ptr<mtrToolpathResult> result = it();
    std::printf("%s, toolpath %u", kind_name(*result), result->id());
    if (result->pattern_instance()) std::printf(", instance %u", *result->pattern_instance());
    if (auto path = std::dynamic_pointer_cast<mtrProbePath>(result)) {
      std::printf(", %u points", path->inspection_points_count());
    }
    std::printf("\n");
  }
  return status == kptExtractionSuccess ? 0 : 1;
}
