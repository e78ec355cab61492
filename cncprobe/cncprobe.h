// cncprobe.h: the one header a host includes to read probing results files with the library.
//
//   #include "cncprobe/cncprobe.h"
//
//   kptResultsDataExtractor extractor;
//   kptResultsExtractionStatus status = extractor.extract_data(utString("run.res"));
//   itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
//   while (++it) {
//     if (auto path = std::dynamic_pointer_cast<mtrProbePath>(it())) show(*path);
//   }
//
// Everything it brings in is the library's own: no header of a third-party library is needed to
// compile against it. A host that drives the record parsers with a receiver of its own includes
// their headers (cncprobe/resultsfile/, cncprobe/events/) besides this one.
#pragma once

#include "cncprobe/export.h"

// Strings, paths and statuses the entry points take and return.
#include "cncprobe/platform/text/path.h"
#include "cncprobe/platform/text/status.h"
#include "cncprobe/platform/text/string.h"
#include "cncprobe/platform/text/wide_string.h"

// Geometry values of points and features (millimetres and degrees).
#include "cncprobe/platform/geometry/angle.h"
#include "cncprobe/platform/geometry/circle3.h"
#include "cncprobe/platform/geometry/inf_line3.h"
#include "cncprobe/platform/geometry/length.h"
#include "cncprobe/platform/geometry/plane.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"
#include "cncprobe/platform/geometry/vector3.h"

// The result model a host walks after an extraction, and the iterators it walks it with.
#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/inspection_point.h"
#include "cncprobe/platform/model/inspection_print_data.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"
#include "cncprobe/platform/model/toolpath_result.h"
#include "cncprobe/platform/support/iterator.h"

// Units of a results file, and extraction of a whole file, or of many files in one call, into
// probe paths and features; a listener hears of each path as it is completed.
#include "cncprobe/extraction/file_extraction.h"
#include "cncprobe/extraction/probe_path_listener.h"
#include "cncprobe/extraction/results_batch_extractor.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/units.h"

// The reference lines of a results file's header.
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/filereferences/results_file_version.h"

// Inspection settings read from their XML file.
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"
#include "cncprobe/settings/inspection_settings_reader.h"

// Verdicts: feature quantities and inspection points against their tolerances, the summary of a
// run, and the name and meaning of every extraction status.
#include "cncprobe/inspection/control_chart.h"
#include "cncprobe/inspection/control_limits_file.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/inspection/trend_analysis.h"
#include "cncprobe/inspection/trend_series.h"
#include "cncprobe/inspection/trend_statistics.h"
#include "cncprobe/inspection/verdict.h"

// Writers of standard exchange formats: the run as a QIF 3.0 results document.
#include "cncprobe/exchange/qif_writer.h"
