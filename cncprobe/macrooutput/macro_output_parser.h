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

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

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
  // Whether a cheap test of the line's first bytes or keyword runs before each record and report
  // pattern. A test only skips a pattern that cannot match (every pattern needs its keyword or its
  // first byte after the blanks it allows), so turning the tests off changes no outcome; a test
  // compares both ways over many lines.
  bool keyword_tests_ = true;

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
  // One SIZE or POSN line of the Y axis: on_surface_measurement.
  [[nodiscard]] bool parse_y_surface_measurement(kptResultsFileCursor& cursor) const;
  // One SIZE or POSN line of the Z axis: on_surface_measurement.
  [[nodiscard]] bool parse_z_surface_measurement(kptResultsFileCursor& cursor) const;
  // One ANG line: on_angle_measurement.
  [[nodiscard]] bool parse_angle_measurement(kptResultsFileCursor& cursor) const;

  // The units' number reader and the event receiver, for a parser built on this one.
  [[nodiscard]] const kptStringDataParsing& number_parser() const noexcept {
    return number_parser_;
  }
  // The receiver of the events; null when reports are only recognised.
  [[nodiscard]] kptResultsFileParserCallback* callback() const noexcept { return callback_.get(); }

 private:
  // The report line patterns, in the order they are built, compiled and released.
  enum Matcher : std::size_t {
    kSeparator,
    kComponentFeature,
    kFeatureName,
    kDiameter,
    kXSize,
    kYSize,
    kZSize,
    kXPosition,
    kYPosition,
    kRPosition,
    kZPosition,
    kXUnmeasured,
    kYUnmeasured,
    kXZeroActual,
    kYZeroActual,
    kAngle,
    kOutOfTolerance,
    kOutOfPosition,
    kAngleOutOfTolerance,
    kToolOffset,
    kMatcherCount
  };
  // False only when the pattern cannot match the line: it lacks the pattern's keyword or first
  // byte where the pattern needs it.
  static bool may_fit(Matcher which, std::string_view line) noexcept;
  // How a line fits a pattern: not at all, with its values, or with its values and the
  // tolerance that may be printed after them.
  enum Fit { kNoFit, kValues, kValuesAndTolerance };
  // One compiled pattern and the match result of a line that fits it with its values: every
  // group took part but an optional trailing tolerance, whose group adds one.
  struct ReportMatcher {
    std::unique_ptr<reMatcher> matcher;
    int values_matched = 0;
  };
  // The value lines of one report kind, read once the report opening has been read: `values`
  // stands on the first value line and `header` holds the header. On success `cursor` is moved
  // to the last line and the event is fired.
  using ReportBody = bool (kptMacroOutputParser::*)(kptResultsFileCursor& cursor,
                                                    kptResultsFileCursor values,
                                                    const mtrInspectionPrintData& header) const;

  void init_matchers();
  [[nodiscard]] Fit fit(Matcher which, const utString& line) const;
  [[nodiscard]] bool fits(Matcher which, const utString& line) const {
    return fit(which, line) != kNoFit;
  }
  [[nodiscard]] reMatcher& matcher(Matcher which) const { return *matchers_[which].matcher; }

  // Header and report opening.
  bool parse_macro_header(kptResultsFileCursor& cursor, mtrInspectionPrintData& print_data) const;
  mtrInspectionPrintData parse_feature_data(const utString& line) const;
  bool parse_report_opening(kptResultsFileCursor& cursor, mtrInspectionPrintData& header) const;
  // The report opening, then the value lines of one kind.
  bool parse_report(kptResultsFileCursor& cursor, ReportBody body) const;

  // Value lines.
  bool parse_matched_size(kptResultsFileCursor& cursor, Matcher which,
                          kptParsedDimension& dimension) const;
  bool parse_dimension(kptResultsFileCursor& cursor, kptParsedDimension& dimension) const;
  bool parse_measured_position(const utString& line, Matcher which,
                               kptParsedPosition& position) const;
  bool parse_coordinate_position(const utString& line, Matcher which,
                                 kptParsedCoordinate& coordinate) const;
  bool parse_coordinate_x_position(const utString& line, kptParsedCoordinate& coordinate) const;
  bool parse_coordinate_y_position(const utString& line, kptParsedCoordinate& coordinate) const;
  bool parse_angle(const utString& line, kptParsedAngle& angle) const;
  static bool tolerances_are_equivalent(const std::optional<double>& a,
                                        const std::optional<double>& b);
  void take_error_line(kptResultsFileCursor& cursor, Matcher which) const;

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

  // The report kinds' value lines, each a ReportBody; reading the opening once lets the
  // dispatch try all nine kinds on it.
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
  template <mtrProbeWCSAxis axis>
  bool parse_surface_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                          const mtrInspectionPrintData& header) const;
  bool parse_angle_body(kptResultsFileCursor& cursor, kptResultsFileCursor values,
                        const mtrInspectionPrintData& header) const;
  bool fire_surface_measurement(mtrProbeWCSAxis axis, const mtrInspectionPrintData& header,
                                const kptParsedDimension& dimension,
                                const kptParsedPosition& position) const;

  kptStringDataParsing number_parser_;
  utObserverPtr<kptResultsFileParserCallback> callback_;
  // Released from the last to the first, then the number parser.
  std::array<ReportMatcher, kMatcherCount> matchers_;
};
