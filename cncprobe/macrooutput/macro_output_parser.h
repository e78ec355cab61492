// kptMacroOutputParser: recognises the printed reports of probing macros in a results file.
//
// A report is a header that names the feature, framed by dashed lines or not, an optional tool
// offset line, then the value lines of one report kind and possibly an error line:
//
//   ------------------------------
//   COMPONENT NO 1 FEATURE NO 4
//   ------------------------------
//   SIZE D 25.000 ACTUAL 25.012 TOL 0.050 DEV 0.012
//   POSN X 10.000 ACTUAL 10.004 TOL TP 0.100 DEV 0.004
//   POSN Y 20.000 ACTUAL 19.990 TOL TP 0.100 DEV -0.010
//   ++OUT OF POS++ ERROR TP 0.021
//
// read from its first dashed line, gives one on_circle_measurement of radius 12.5 mm and leaves
// the cursor on the error line. Every length is converted from the file's units to millimetres.
#pragma once

#include <memory>
#include <optional>

#include "cncprobe/events/parsed_angle.h"
#include "cncprobe/events/parsed_coordinate.h"
#include "cncprobe/events/parsed_dimension.h"
#include "cncprobe/events/parsed_position.h"
#include "cncprobe/events/results_file_parser_callback.h"
#include "cncprobe/export.h"
#include "cncprobe/foundation/results_file_cursor.h"
#include "cncprobe/foundation/string_data_parsing.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/platform/model/inspection_print_data.h"
#include "cncprobe/platform/model/probe_wcs_axis.h"
#include "cncprobe/platform/support/observer_ptr.h"
#include "cncprobe/platform/text/string.h"

class reMatcher;

class CNCPROBE_API kptMacroOutputParser {
 public:
  // A parser that reads lengths in `units` and fires its events at `callback`, which must outlive
  // it (a null callback is allowed: reports are then recognised and consumed silently). Builds,
  // compiles and studies the twenty report patterns once.
  kptMacroOutputParser(const kptUnits& units, utObserverPtr<kptResultsFileParserCallback> callback);
  virtual ~kptMacroOutputParser();
  kptMacroOutputParser(const kptMacroOutputParser&) = delete;
  kptMacroOutputParser& operator=(const kptMacroOutputParser&) = delete;

  // Tries the line at the cursor as the first line of a report, the kinds in the order
  // rectangle, X wall or channel, Y wall or channel, circle, corner, X, Y and Z surface, angle.
  // True when one was read: its one event has been fired and the cursor stands on the report's
  // last line. False otherwise, with the cursor untouched and nothing fired; an undefined cursor
  // gives false.
  [[nodiscard]] bool parse_macro_output(kptResultsFileCursor& cursor) const;

 protected:
  // True when `line` is a tool offset line (TOOL OFFSET H12), which may stand after a header.
  [[nodiscard]] bool parse_tool_offset(const utString& line) const;

  // Each reads one report kind from the cursor's line on. On success the kind's event has been
  // fired after the cursor was moved to the report's last line; on failure the cursor is
  // untouched and nothing was fired.
  // An X wall or channel report directly followed by the Y wall or channel report of the next
  // feature of the same component, probed at each other's middles: on_rectangle_measurement.
  [[nodiscard]] bool parse_rectangle_output(kptResultsFileCursor& cursor) const;
  // Width (SIZE D or POSN R), POSN X, unmeasured POSN Y: on_x_wall_channel_measurement.
  [[nodiscard]] bool parse_x_wall_channel(kptResultsFileCursor& cursor) const;
  // Width (SIZE D or POSN R), unmeasured POSN X, POSN Y: on_y_wall_channel_measurement.
  [[nodiscard]] bool parse_y_wall_channel(kptResultsFileCursor& cursor) const;
  // Diameter (SIZE D or POSN R), POSN X, POSN Y: on_circle_measurement.
  [[nodiscard]] bool parse_circle_output(kptResultsFileCursor& cursor) const;
  // POSN X, POSN Y: on_corner_measurement.
  [[nodiscard]] bool parse_corner_measurement(kptResultsFileCursor& cursor) const;
  // One SIZE or POSN line of the axis: on_surface_measurement.
  [[nodiscard]] bool parse_x_surface_measurement(kptResultsFileCursor& cursor) const;
  [[nodiscard]] bool parse_y_surface_measurement(kptResultsFileCursor& cursor) const;
  [[nodiscard]] bool parse_z_surface_measurement(kptResultsFileCursor& cursor) const;
  // One ANG line: on_angle_measurement.
  [[nodiscard]] bool parse_angle_measurement(kptResultsFileCursor& cursor) const;

 private:
  void init_matchers();

  // Header and report opening.
  bool parse_macro_header(kptResultsFileCursor& cursor, mtrInspectionPrintData& print_data) const;
  mtrInspectionPrintData parse_feature_data(const utString& line) const;
  bool parse_report_opening(kptResultsFileCursor& cursor, mtrInspectionPrintData& header) const;

  // Value lines.
  bool parse_matched_size(kptResultsFileCursor& cursor, reMatcher& matcher,
                          kptParsedDimension& dimension) const;
  bool parse_dimension(kptResultsFileCursor& cursor, kptParsedDimension& dimension) const;
  bool parse_x_size(kptResultsFileCursor& cursor, kptParsedDimension& dimension) const;
  bool parse_y_size(kptResultsFileCursor& cursor, kptParsedDimension& dimension) const;
  bool parse_z_size(kptResultsFileCursor& cursor, kptParsedDimension& dimension) const;
  bool parse_measured_position(const utString& line, reMatcher& matcher,
                               kptParsedPosition& position) const;
  bool parse_measured_x_position(const utString& line, kptParsedPosition& position) const;
  bool parse_measured_y_position(const utString& line, kptParsedPosition& position) const;
  bool parse_measured_z_position(const utString& line, kptParsedPosition& position) const;
  bool parse_coordinate_position(const utString& line, reMatcher& matcher,
                                 kptParsedCoordinate& coordinate) const;
  bool parse_coordinate_x_position(const utString& line, kptParsedCoordinate& coordinate) const;
  bool parse_coordinate_y_position(const utString& line, kptParsedCoordinate& coordinate) const;
  bool parse_angle(const utString& line, kptParsedAngle& angle) const;
  static bool tolerances_are_equivalent(const std::optional<double>& a,
                                        const std::optional<double>& b);
  static void take_error_line(kptResultsFileCursor& cursor, reMatcher& matcher);

  // The Y wall or channel block of a rectangle, with its own report opening. (The X block opens
  // the report itself, so its values are read straight after the shared opening.)
  bool parse_y_wall_channel_info(kptResultsFileCursor& cursor, mtrInspectionPrintData& header,
                                 kptParsedDimension& width, kptParsedCoordinate& x_coordinate,
                                 kptParsedPosition& y_position) const;
  bool parse_x_wall_channel_values(kptResultsFileCursor& values, kptParsedDimension& width,
                                   kptParsedPosition& x_position,
                                   kptParsedCoordinate& y_coordinate) const;
  bool parse_y_wall_channel_values(kptResultsFileCursor& values, kptParsedDimension& width,
                                   kptParsedCoordinate& x_coordinate,
                                   kptParsedPosition& y_position) const;

  // The value lines of each kind, once the report opening has been read: `values` stands on the
  // first value line and `header` holds the header. On success `cursor` is moved to the last line
  // and the event is fired. Reading the opening once lets the dispatch try all nine kinds on it.
  bool parse_rectangle_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                            const mtrInspectionPrintData& header) const;
  bool parse_x_wall_channel_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                                 const mtrInspectionPrintData& header) const;
  bool parse_y_wall_channel_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                                 const mtrInspectionPrintData& header) const;
  bool parse_circle_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                         const mtrInspectionPrintData& header) const;
  bool parse_corner_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                         const mtrInspectionPrintData& header) const;
  bool parse_surface_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                          const mtrInspectionPrintData& header, mtrProbeWCSAxis axis) const;
  bool parse_angle_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                        const mtrInspectionPrintData& header) const;
  bool fire_surface_measurement(mtrProbeWCSAxis axis, const mtrInspectionPrintData& header,
                                const kptParsedDimension& dimension,
                                const kptParsedPosition& position) const;

  kptStringDataParsing number_parser_;
  utObserverPtr<kptResultsFileParserCallback> callback_;

  std::unique_ptr<reMatcher> separator_matcher;
  std::unique_ptr<reMatcher> component_feature_matcher;
  std::unique_ptr<reMatcher> feature_name_matcher;
  std::unique_ptr<reMatcher> diameter_matcher;
  std::unique_ptr<reMatcher> x_size_matcher;
  std::unique_ptr<reMatcher> y_size_matcher;
  std::unique_ptr<reMatcher> z_size_matcher;
  std::unique_ptr<reMatcher> x_position_matcher;
  std::unique_ptr<reMatcher> y_position_matcher;
  std::unique_ptr<reMatcher> r_position_matcher;
  std::unique_ptr<reMatcher> z_position_matcher;
  std::unique_ptr<reMatcher> x_unmeasured_matcher;
  std::unique_ptr<reMatcher> y_unmeasured_matcher;
  std::unique_ptr<reMatcher> x_zero_actual_matcher;
  std::unique_ptr<reMatcher> y_zero_actual_matcher;
  std::unique_ptr<reMatcher> angle_matcher;
  std::unique_ptr<reMatcher> out_of_tolerance_matcher;
  std::unique_ptr<reMatcher> out_of_position_matcher;
  std::unique_ptr<reMatcher> angle_out_of_tolerance_matcher;
  std::unique_ptr<reMatcher> tool_offset_matcher;
};
