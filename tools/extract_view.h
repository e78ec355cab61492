// What the two renderings of `cncprobe extract` (JSON and text tables) are given: one extraction,
// its verdicts, and how to print them; and the walks over its results both use.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/inspection/verdict.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/probe_wcs_axis.h"
#include "cncprobe/platform/model/toolpath_result.h"
#include "tools/json_writer.h"
#include "tools/output.h"

namespace tool {

// Digits after the decimal point, from the inspection settings.
struct Precision {
  int linear;    // lengths (mm)
  int angular;   // angles (degrees)
  int unitless;  // shares of a tolerance
};

struct ExtractView {
  std::string file;  // as given on the command line; "-" for standard input
  kptUnitsType units;
  kptResultsExtractionStatus status;
  const kptResultsDataExtractor& extractor;
  kptZoneConvention convention;
  kptInspectionSummary summary;
  Precision precision;
  bool points;  // text: list every inspection point, not only a row per probe path
  // JSON: a document of its own, an element of an array of documents, or one line.
  JsonLayout layout = JsonLayout::kDocument;
  // JSON: why the file could not be read (whole), for a document among many; null otherwise.
  const char* error = nullptr;
  // JSON: the results of a large run are formatted on this many threads and printed in order.
  std::size_t threads = 1;
};

void write_extract_json(const ExtractView& view, Output& out);
void write_extract_text(const ExtractView& view, Output& out);

// "x", "y", "z"; null for a value that names no axis.
const char* axis_name(mtrProbeWCSAxis axis);
// The JSON kind of a result: "probe_path", "circle", ... "perpendicular_distance".
const char* kind_name(const mtrToolpathResult& result);

// Calls fn(number, result) for every result in the order of creation, numbered from 1.
template <class Fn>
void for_each_result(const kptResultsDataExtractor& extractor, Fn&& fn) {
  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  std::size_t number = 0;
  while (++it) {
    const std::shared_ptr<mtrToolpathResult> result = it();
    ++number;
    if (result) fn(number, *result);
  }
}

// Calls fn(point) for every inspection point of the path in order.
template <class Fn>
void for_each_point(const mtrProbePath& path, Fn&& fn) {
  const unsigned int points = path.inspection_points_count();
  for (unsigned int i = 0; i < points; ++i) fn(path.inspection_point_ref(i));
}

}  // namespace tool
