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
// compile against it.
#pragma once

#include "cncprobe/export.h"

// Strings, paths and statuses the entry points take and return.
#include "cncprobe/platform/observer_ptr.h"
#include "cncprobe/platform/path.h"
#include "cncprobe/platform/status.h"
#include "cncprobe/platform/string.h"
#include "cncprobe/platform/wide_string.h"

// Geometry values of workplanes, points and features (millimetres and degrees).
#include "cncprobe/platform/angle.h"
#include "cncprobe/platform/axis.h"
#include "cncprobe/platform/circle2.h"
#include "cncprobe/platform/circle3.h"
#include "cncprobe/platform/inf_line3.h"
#include "cncprobe/platform/length.h"
#include "cncprobe/platform/plane.h"
#include "cncprobe/platform/point2.h"
#include "cncprobe/platform/point3.h"
#include "cncprobe/platform/unit_vec3.h"
#include "cncprobe/platform/vector2.h"
#include "cncprobe/platform/vector3.h"
#include "cncprobe/platform/workplane3.h"
#include "cncprobe/platform/xform3.h"

// The result model a host walks after an extraction, and the iterators it walks it with.
#include "cncprobe/platform/angle_surface_feature.h"
#include "cncprobe/platform/circle_feature.h"
#include "cncprobe/platform/corner_feature.h"
#include "cncprobe/platform/inspection_feature.h"
#include "cncprobe/platform/inspection_point.h"
#include "cncprobe/platform/inspection_print_data.h"
#include "cncprobe/platform/iterator.h"
#include "cncprobe/platform/perpendicular_distance.h"
#include "cncprobe/platform/perpendicular_distance_feature.h"
#include "cncprobe/platform/probe_path.h"
#include "cncprobe/platform/probe_wcs_axis.h"
#include "cncprobe/platform/rectangle3.h"
#include "cncprobe/platform/rectangle_feature.h"
#include "cncprobe/platform/surface_feature.h"
#include "cncprobe/platform/toolpath_result.h"

// The XML document factory a host may hand to the settings reader in place of the built-in one.
#include "cncprobe/platform/document_factory.h"

// Lines of a results file, units and number reading.
#include "cncprobe/foundation/results_file_cursor.h"
#include "cncprobe/foundation/string_data_parsing.h"
#include "cncprobe/foundation/units.h"

// Machine records and macro reports, and the events they are delivered through.
#include "cncprobe/macrooutput/macro_output_parser.h"
#include "cncprobe/macrooutput/parsed_angle.h"
#include "cncprobe/macrooutput/parsed_coordinate.h"
#include "cncprobe/macrooutput/parsed_dimension.h"
#include "cncprobe/macrooutput/parsed_position.h"
#include "cncprobe/resultsfile/results_file_parser.h"
#include "cncprobe/resultsfile/results_file_parser_callback.h"

// Extraction of a whole file into probe paths and features.
#include "cncprobe/extraction/output_transformation.h"
#include "cncprobe/extraction/results_data_extractor.h"

// The reference lines of a results file's header.
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/filereferences/file_reference_parser.h"
#include "cncprobe/filereferences/results_file_version.h"

// Inspection settings read from their XML file.
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"
#include "cncprobe/settings/inspection_settings_reader.h"
