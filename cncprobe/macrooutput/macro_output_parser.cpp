// kptMacroOutputParser: the report patterns, the header, the value lines and the nine report kinds.
#include "cncprobe/macrooutput/macro_output_parser.h"

#include <cmath>

#include "cncprobe/platform/geometry/angle.h"
#include "cncprobe/platform/geometry/circle2.h"
#include "cncprobe/platform/geometry/length.h"
#include "cncprobe/platform/geometry/plane.h"
#include "cncprobe/platform/geometry/point2.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"
#include "cncprobe/platform/text/internal/matcher.h"

namespace {
// The option value every matcher is compiled with: anchored at the start offset, so the error
// lines, whose patterns carry no "^", must also begin (after blanks) with their plus signs.
constexpr int kCompileOptions = 16;

// Nominal coordinates of two blocks that must name the same place on the part.
constexpr double kCoordinateEpsilon = 1e-11;

// The Y, Z and R patterns are the X patterns with their one "X" replaced.
int x_to_y(int byte) { return byte == 'X' ? 'Y' : byte; }
int x_to_z(int byte) { return byte == 'X' ? 'Z' : byte; }
int x_to_r(int byte) { return byte == 'X' ? 'R' : byte; }

utString with_axis(const utString& x_pattern, int (*to_axis)(int)) {
  utString pattern = x_pattern;
  pattern.convert(to_axis);
  return pattern;
}

utString captured(const utString& fragment) {
  utString group("(");
  group << fragment << ')';
  return group;
}
}  // namespace

kptMacroOutputParser::kptMacroOutputParser(const kptUnits& units,
                                           utObserverPtr<kptResultsFileParserCallback> callback)
    : number_parser_(units), callback_(callback) {
  init_matchers();
}

// The members go in reverse order: the matchers from the last to the first, then the number parser.
kptMacroOutputParser::~kptMacroOutputParser() = default;

void kptMacroOutputParser::init_matchers() {
  // Numbers as the macros print them: a sign may stand apart from its digits.
  const utString signed_number("[-\\+]?\\s*[\\d\\.]+");
  const utString unsigned_number("\\+?[\\d\\.]+");
  const utString zero_number("(?:0+(?:\\.0*)?|\\.0+)");
  const utString non_zero_number(
      "[-\\+]?\\s*(?:[1-9]\\d*+(?:\\.\\d*+)?|0++[1-9]\\d*+|\\d*+\\.0*+[1-9]\\d*+)");
  const utString signed_value = captured(signed_number);
  const utString unsigned_value = captured(unsigned_number);
  const utString non_zero_value = captured(non_zero_number);
  // A tolerance printed as EMPTY leaves its group out of the match.
  utString tolerance_value("(?:EMPTY|");
  tolerance_value << unsigned_value << ')';
  // Field joints: a label may carry a slash; fields are parted by blanks.
  const utString joint("\\/?\\s+");
  const utString after_last("\\/?\\s*");
  const utString line_end("\\/?\\s*$");
  const utString actual("ACTUAL\\/?\\s*+");
  const utString deviation("DEV\\/?\\s*+");
  utString optional_size_tolerance("(?:TOL\\/?\\s*+");
  optional_size_tolerance << tolerance_value << joint << ")?";
  utString optional_position_tolerance("(?:TOL TP\\/?\\s*+");
  optional_position_tolerance << tolerance_value << joint << ")?";
  const utString not_measured("(?:NaN|EMPTY)");

  utString diameter;
  diameter << "^SIZE\\s*"
           << "D\\/?\\s*+" << unsigned_value << joint << actual << unsigned_value << joint
           << optional_size_tolerance << deviation << signed_number << after_last;
  utString x_size;  // the TOL field is mandatory on axis sizes; only its value may be EMPTY
  x_size << "^SIZE\\s*"
         << "X\\/?\\s*+" << signed_value << joint << actual << signed_value << joint
         << "TOL\\/?\\s*+" << tolerance_value << joint << deviation << signed_number << after_last;
  utString x_position;
  x_position << "^POSN\\s*"
             << "X\\/?\\s*+" << signed_value << joint << actual << signed_value << joint
             << optional_position_tolerance << deviation << signed_number << after_last;
  utString z_position;  // a Z position carries no true-position tolerance
  z_position << "^POSN\\s*"
             << "Z\\/?\\s*+" << signed_value << joint << actual << signed_value << joint
             << deviation << signed_number << after_last;
  utString x_unmeasured;
  x_unmeasured << "^POSN\\s*"
               << "X\\/?\\s*+" << signed_value << joint << actual << not_measured << joint
               << optional_position_tolerance << deviation << not_measured << "\\s*";
  utString x_zero_actual;  // the whole line, so that no other text may follow the zero deviation
  x_zero_actual << "^POSN\\s*"
                << "X\\/?\\s*+" << non_zero_value << joint << actual << zero_number << joint
                << optional_position_tolerance << deviation << zero_number << line_end;
  utString angle;
  angle << "^ANG\\/?\\s*+" << signed_value << joint << actual << signed_value << joint
        << optional_size_tolerance << deviation << signed_number << after_last;
  utString out_of_tolerance("\\s*\\++OUT OF TOL\\++\\s*ERROR\\/?\\s*+");
  out_of_tolerance << signed_number << after_last;
  utString out_of_position("\\s*\\++OUT OF POS\\++\\s*ERROR TP\\/?\\s*+");
  out_of_position << signed_number << after_last << "(?:RADIAL)?\\s*";
  utString angle_out_of_tolerance("\\s*\\++ANG OUT OF TOL\\++\\s*ERROR\\/?\\s*+");
  angle_out_of_tolerance << signed_number << after_last;

  separator_matcher = std::make_unique<reMatcher>("^\\s*-+\\s*$");
  component_feature_matcher = std::make_unique<reMatcher>(
      "^\\s*COMPONENT NO\\/?\\s+(\\d+)\\/?\\s+FEATURE NO\\/?\\s+(\\d+)\\s*");
  feature_name_matcher = std::make_unique<reMatcher>(
      "^\\s*FEATURE NO\\/?\\s+(\\d+)\\/?\\s+FEATURE NAME\\/?\\s++((?:.*\\S)?)\\s*$");
  diameter_matcher = std::make_unique<reMatcher>(diameter);
  x_size_matcher = std::make_unique<reMatcher>(x_size);
  y_size_matcher = std::make_unique<reMatcher>(with_axis(x_size, x_to_y));
  z_size_matcher = std::make_unique<reMatcher>(with_axis(x_size, x_to_z));
  x_position_matcher = std::make_unique<reMatcher>(x_position);
  y_position_matcher = std::make_unique<reMatcher>(with_axis(x_position, x_to_y));
  r_position_matcher = std::make_unique<reMatcher>(with_axis(x_position, x_to_r));
  z_position_matcher = std::make_unique<reMatcher>(z_position);
  x_unmeasured_matcher = std::make_unique<reMatcher>(x_unmeasured);
  y_unmeasured_matcher = std::make_unique<reMatcher>(with_axis(x_unmeasured, x_to_y));
  x_zero_actual_matcher = std::make_unique<reMatcher>(x_zero_actual);
  y_zero_actual_matcher = std::make_unique<reMatcher>(with_axis(x_zero_actual, x_to_y));
  angle_matcher = std::make_unique<reMatcher>(angle);
  out_of_tolerance_matcher = std::make_unique<reMatcher>(out_of_tolerance);
  out_of_position_matcher = std::make_unique<reMatcher>(out_of_position);
  angle_out_of_tolerance_matcher = std::make_unique<reMatcher>(angle_out_of_tolerance);
  tool_offset_matcher = std::make_unique<reMatcher>("^TOOL OFFSET\\/?\\s*H[\\d]+\\s*");

  reMatcher* const all[] = {separator_matcher.get(),
                            component_feature_matcher.get(),
                            feature_name_matcher.get(),
                            diameter_matcher.get(),
                            x_size_matcher.get(),
                            y_size_matcher.get(),
                            z_size_matcher.get(),
                            x_position_matcher.get(),
                            y_position_matcher.get(),
                            r_position_matcher.get(),
                            z_position_matcher.get(),
                            x_unmeasured_matcher.get(),
                            y_unmeasured_matcher.get(),
                            x_zero_actual_matcher.get(),
                            y_zero_actual_matcher.get(),
                            angle_matcher.get(),
                            out_of_tolerance_matcher.get(),
                            out_of_position_matcher.get(),
                            angle_out_of_tolerance_matcher.get(),
                            tool_offset_matcher.get()};
  // The patterns are fixed and known to compile; the outcomes are not looked at.
  utString error_text;
  int error_offset = 0;
  for (reMatcher* matcher : all) (void)matcher->compile(kCompileOptions, error_text, error_offset);
  for (reMatcher* matcher : all) (void)matcher->study(error_text, 0);
}

// ---- Header and report opening ----

bool kptMacroOutputParser::parse_macro_header(kptResultsFileCursor& cursor,
                                              mtrInspectionPrintData& print_data) const {
  print_data.set_invalid();
  kptResultsFileCursor header = cursor;
  const bool framed = separator_matcher->match(header(), 0) == 1;
  if (framed && !++header) return false;
  const mtrInspectionPrintData feature = parse_feature_data(header());
  if (feature.invalid()) return false;
  // A framed header needs its closing dashed line; an unframed one may not be followed by one.
  kptResultsFileCursor next = header;
  if (++next) {
    const bool closed = separator_matcher->match(next(), 0) == 1;
    if (closed != framed) return false;
    if (closed) header = next;
  } else if (framed) {
    return false;
  }
  cursor = header;
  print_data = feature;
  return true;
}

mtrInspectionPrintData kptMacroOutputParser::parse_feature_data(const utString& line) const {
  utString component_text;
  utString feature_text;
  utString name;
  const bool numbered = component_feature_matcher->match(line, 0) == 3;
  if (numbered) {
    component_text = component_feature_matcher->get_substring(1);
    feature_text = component_feature_matcher->get_substring(2);
  } else if (feature_name_matcher->match(line, 0) == 3) {
    feature_text = feature_name_matcher->get_substring(1);
    name = feature_name_matcher->get_substring(2);
  } else {
    return mtrInspectionPrintData();
  }
  unsigned int feature_number = 0;
  if (!number_parser_.string_to_unsigned_int(feature_text, feature_number)) {
    return mtrInspectionPrintData();
  }
  if (!numbered) {
    if (name.empty()) return mtrInspectionPrintData();
    return mtrInspectionPrintData(feature_number, name);
  }
  unsigned int component_number = 0;
  if (!number_parser_.string_to_unsigned_int(component_text, component_number)) {
    return mtrInspectionPrintData();
  }
  return mtrInspectionPrintData(component_number, feature_number);
}

bool kptMacroOutputParser::parse_tool_offset(const utString& line) const {
  return tool_offset_matcher->match(line, 0) == 1;
}

bool kptMacroOutputParser::parse_report_opening(kptResultsFileCursor& cursor,
                                                mtrInspectionPrintData& header) const {
  kptResultsFileCursor opening = cursor;
  mtrInspectionPrintData feature;
  if (!parse_macro_header(opening, feature) || !++opening) return false;
  // At most one tool offset line stands between the header and the values.
  if (parse_tool_offset(opening()) && !++opening) return false;
  cursor = opening;
  header = feature;
  return true;
}

// ---- Value lines ----

bool kptMacroOutputParser::parse_matched_size(kptResultsFileCursor& cursor, reMatcher& matcher,
                                              kptParsedDimension& dimension) const {
  dimension.reset();
  kptResultsFileCursor size = cursor;
  const int result = matcher.match(size(), 0);
  if (result != 3 && result != 4) return false;
  dimension = kptParsedDimension(number_parser_.string_to_mm(matcher.group_view(1)),
                                 number_parser_.string_to_mm(matcher.group_view(2)));
  if (result == 4) dimension.set_tolerance(number_parser_.string_to_mm(matcher.group_view(3)));
  take_error_line(size, *out_of_tolerance_matcher);
  cursor = size;
  return true;
}

bool kptMacroOutputParser::parse_dimension(kptResultsFileCursor& cursor,
                                           kptParsedDimension& dimension) const {
  // Some macros print a bore's size as a radial position instead of a diameter.
  return parse_matched_size(cursor, *diameter_matcher, dimension) ||
         parse_matched_size(cursor, *r_position_matcher, dimension);
}

bool kptMacroOutputParser::parse_x_size(kptResultsFileCursor& cursor,
                                        kptParsedDimension& dimension) const {
  return parse_matched_size(cursor, *x_size_matcher, dimension);
}

bool kptMacroOutputParser::parse_y_size(kptResultsFileCursor& cursor,
                                        kptParsedDimension& dimension) const {
  return parse_matched_size(cursor, *y_size_matcher, dimension);
}

bool kptMacroOutputParser::parse_z_size(kptResultsFileCursor& cursor,
                                        kptParsedDimension& dimension) const {
  return parse_matched_size(cursor, *z_size_matcher, dimension);
}

bool kptMacroOutputParser::parse_measured_position(const utString& line, reMatcher& matcher,
                                                   kptParsedPosition& position) const {
  position.reset();
  const int result = matcher.match(line, 0);
  if (result != 3 && result != 4) return false;
  position = kptParsedPosition(number_parser_.string_to_mm(matcher.group_view(1)),
                               number_parser_.string_to_mm(matcher.group_view(2)));
  if (result == 4) {
    position.set_true_position_tolerance(number_parser_.string_to_mm(matcher.group_view(3)));
  }
  return true;
}

bool kptMacroOutputParser::parse_measured_x_position(const utString& line,
                                                     kptParsedPosition& position) const {
  return parse_measured_position(line, *x_position_matcher, position);
}

bool kptMacroOutputParser::parse_measured_y_position(const utString& line,
                                                     kptParsedPosition& position) const {
  return parse_measured_position(line, *y_position_matcher, position);
}

bool kptMacroOutputParser::parse_measured_z_position(const utString& line,
                                                     kptParsedPosition& position) const {
  return parse_measured_position(line, *z_position_matcher, position);
}

bool kptMacroOutputParser::parse_coordinate_position(const utString& line, reMatcher& matcher,
                                                     kptParsedCoordinate& coordinate) const {
  coordinate.reset();
  const int result = matcher.match(line, 0);
  if (result != 2 && result != 3) return false;
  coordinate = kptParsedCoordinate(number_parser_.string_to_mm(matcher.group_view(1)));
  if (result == 3) {
    coordinate.set_true_position_tolerance(number_parser_.string_to_mm(matcher.group_view(2)));
  }
  return true;
}

bool kptMacroOutputParser::parse_coordinate_x_position(const utString& line,
                                                       kptParsedCoordinate& coordinate) const {
  return parse_coordinate_position(line, *x_unmeasured_matcher, coordinate) ||
         parse_coordinate_position(line, *x_zero_actual_matcher, coordinate);
}

bool kptMacroOutputParser::parse_coordinate_y_position(const utString& line,
                                                       kptParsedCoordinate& coordinate) const {
  return parse_coordinate_position(line, *y_unmeasured_matcher, coordinate) ||
         parse_coordinate_position(line, *y_zero_actual_matcher, coordinate);
}

bool kptMacroOutputParser::parse_angle(const utString& line, kptParsedAngle& angle) const {
  angle.reset();
  const int result = angle_matcher->match(line, 0);
  if (result != 3 && result != 4) return false;
  // Angles are degrees whatever the file's units.
  const auto degrees = [&](int group) {
    return giAngle(giAngleDegrees,
                   number_parser_.string_to_double(angle_matcher->group_view(group)));
  };
  angle = kptParsedAngle(degrees(1), degrees(2));
  if (result == 4) angle.set_tolerance(degrees(3));
  return true;
}

bool kptMacroOutputParser::tolerances_are_equivalent(const std::optional<double>& a,
                                                     const std::optional<double>& b) {
  if (a.has_value() != b.has_value()) return false;
  if (!a.has_value()) return true;
  return std::fabs(*a - *b) <= kCoordinateEpsilon;  // false for a NaN difference
}

void kptMacroOutputParser::take_error_line(kptResultsFileCursor& cursor, reMatcher& matcher) {
  kptResultsFileCursor next = cursor;
  if (++next && matcher.match(next(), 0) == 1) cursor = next;
}

// ---- Wall or channel blocks ----

bool kptMacroOutputParser::parse_x_wall_channel_values(kptResultsFileCursor& values,
                                                       kptParsedDimension& width,
                                                       kptParsedPosition& x_position,
                                                       kptParsedCoordinate& y_coordinate) const {
  if (!parse_dimension(values, width) || !++values ||
      !parse_measured_x_position(values(), x_position) || !++values ||
      !parse_coordinate_y_position(values(), y_coordinate)) {
    return false;
  }
  take_error_line(values, *out_of_position_matcher);
  return tolerances_are_equivalent(x_position.true_position_tolerance(),
                                   y_coordinate.true_position_tolerance());
}

bool kptMacroOutputParser::parse_y_wall_channel_values(kptResultsFileCursor& values,
                                                       kptParsedDimension& width,
                                                       kptParsedCoordinate& x_coordinate,
                                                       kptParsedPosition& y_position) const {
  if (!parse_dimension(values, width) || !++values ||
      !parse_coordinate_x_position(values(), x_coordinate) || !++values ||
      !parse_measured_y_position(values(), y_position)) {
    return false;
  }
  take_error_line(values, *out_of_position_matcher);
  return tolerances_are_equivalent(x_coordinate.true_position_tolerance(),
                                   y_position.true_position_tolerance());
}

bool kptMacroOutputParser::parse_y_wall_channel_info(kptResultsFileCursor& cursor,
                                                     mtrInspectionPrintData& header,
                                                     kptParsedDimension& width,
                                                     kptParsedCoordinate& x_coordinate,
                                                     kptParsedPosition& y_position) const {
  header.set_invalid();
  x_coordinate.reset();
  y_position.reset();
  kptResultsFileCursor values = cursor;
  if (!parse_report_opening(values, header) ||
      !parse_y_wall_channel_values(values, width, x_coordinate, y_position)) {
    return false;
  }
  cursor = values;
  return true;
}

// ---- Report kinds ----

bool kptMacroOutputParser::parse_macro_output(kptResultsFileCursor& cursor) const {
  // Nearly every line that reaches here opens no header and fails on the first line's matches,
  // before any look-ahead. A header is read once and every kind tries its values.
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  if (!parse_report_opening(values, header)) return false;
  return parse_rectangle_body(cursor, values, header) ||
         parse_x_wall_channel_body(cursor, values, header) ||
         parse_y_wall_channel_body(cursor, values, header) ||
         parse_circle_body(cursor, values, header) || parse_corner_body(cursor, values, header) ||
         parse_surface_body(cursor, values, header, mtrProbeWCSAxisX) ||
         parse_surface_body(cursor, values, header, mtrProbeWCSAxisY) ||
         parse_surface_body(cursor, values, header, mtrProbeWCSAxisZ) ||
         parse_angle_body(cursor, values, header);
}

bool kptMacroOutputParser::parse_rectangle_output(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) && parse_rectangle_body(cursor, values, header);
}

bool kptMacroOutputParser::parse_x_wall_channel(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) && parse_x_wall_channel_body(cursor, values, header);
}

bool kptMacroOutputParser::parse_y_wall_channel(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) && parse_y_wall_channel_body(cursor, values, header);
}

bool kptMacroOutputParser::parse_circle_output(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) && parse_circle_body(cursor, values, header);
}

bool kptMacroOutputParser::parse_corner_measurement(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) && parse_corner_body(cursor, values, header);
}

bool kptMacroOutputParser::parse_x_surface_measurement(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) &&
         parse_surface_body(cursor, values, header, mtrProbeWCSAxisX);
}

bool kptMacroOutputParser::parse_y_surface_measurement(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) &&
         parse_surface_body(cursor, values, header, mtrProbeWCSAxisY);
}

bool kptMacroOutputParser::parse_z_surface_measurement(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) &&
         parse_surface_body(cursor, values, header, mtrProbeWCSAxisZ);
}

bool kptMacroOutputParser::parse_angle_measurement(kptResultsFileCursor& cursor) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) && parse_angle_body(cursor, values, header);
}

bool kptMacroOutputParser::parse_rectangle_body(kptResultsFileCursor& cursor,
                                                kptResultsFileCursor values,
                                                const mtrInspectionPrintData& header) const {
  // A rectangular pocket or boss is printed as its X block and then its Y block, the Y block
  // being the next feature, each block probed at the middle that the other one measures.
  kptParsedDimension x_width;
  kptParsedPosition x_position;
  kptParsedCoordinate y_coordinate;
  mtrInspectionPrintData y_header;
  kptParsedDimension y_width;
  kptParsedCoordinate x_coordinate;
  kptParsedPosition y_position;
  if (!parse_x_wall_channel_values(values, x_width, x_position, y_coordinate) || !++values ||
      !parse_y_wall_channel_info(values, y_header, y_width, x_coordinate, y_position)) {
    return false;
  }
  const bool same_rectangle =
      y_header.component_number() == header.component_number() &&
      y_header.feature_number() == header.feature_number() + 1 &&
      std::fabs(x_position.nominal() - x_coordinate.nominal()) <= kCoordinateEpsilon &&
      std::fabs(y_position.nominal() - y_coordinate.nominal()) <= kCoordinateEpsilon &&
      tolerances_are_equivalent(x_width.tolerance(), y_width.tolerance()) &&
      tolerances_are_equivalent(x_position.true_position_tolerance(),
                                y_position.true_position_tolerance());
  if (!same_rectangle) return false;
  cursor = values;
  if (callback_) {
    callback_->on_rectangle_measurement(header, x_width, y_width, x_position, y_position);
  }
  return true;
}

bool kptMacroOutputParser::parse_x_wall_channel_body(kptResultsFileCursor& cursor,
                                                     kptResultsFileCursor values,
                                                     const mtrInspectionPrintData& header) const {
  kptParsedDimension width;
  kptParsedPosition x_position;
  kptParsedCoordinate y_coordinate;
  if (!parse_x_wall_channel_values(values, width, x_position, y_coordinate)) return false;
  cursor = values;
  if (callback_) {
    callback_->on_x_wall_channel_measurement(header, width, x_position, y_coordinate.nominal());
  }
  return true;
}

bool kptMacroOutputParser::parse_y_wall_channel_body(kptResultsFileCursor& cursor,
                                                     kptResultsFileCursor values,
                                                     const mtrInspectionPrintData& header) const {
  kptParsedDimension width;
  kptParsedCoordinate x_coordinate;
  kptParsedPosition y_position;
  if (!parse_y_wall_channel_values(values, width, x_coordinate, y_position)) return false;
  cursor = values;
  if (callback_) {
    callback_->on_y_wall_channel_measurement(header, width, x_coordinate.nominal(), y_position);
  }
  return true;
}

bool kptMacroOutputParser::parse_circle_body(kptResultsFileCursor& cursor,
                                             kptResultsFileCursor values,
                                             const mtrInspectionPrintData& header) const {
  kptParsedDimension diameter;
  kptParsedPosition x;
  kptParsedPosition y;
  if (!parse_dimension(values, diameter) || !++values || !parse_measured_x_position(values(), x) ||
      !++values || !parse_measured_y_position(values(), y)) {
    return false;
  }
  take_error_line(values, *out_of_position_matcher);
  if (!tolerances_are_equivalent(x.true_position_tolerance(), y.true_position_tolerance())) {
    return false;
  }
  cursor = values;
  if (callback_) {
    const giCircle2 nominal(giPoint2(x.nominal(), y.nominal()), giLength(diameter.nominal() * 0.5));
    const giCircle2 actual(giPoint2(x.actual(), y.actual()), giLength(diameter.actual() * 0.5));
    callback_->on_circle_measurement(header, nominal, actual, diameter.tolerance(),
                                     x.true_position_tolerance());
  }
  return true;
}

bool kptMacroOutputParser::parse_corner_body(kptResultsFileCursor& cursor,
                                             kptResultsFileCursor values,
                                             const mtrInspectionPrintData& header) const {
  kptParsedPosition x;
  kptParsedPosition y;
  if (!parse_measured_x_position(values(), x) || !++values ||
      !parse_measured_y_position(values(), y)) {
    return false;
  }
  take_error_line(values, *out_of_position_matcher);
  if (!tolerances_are_equivalent(x.true_position_tolerance(), y.true_position_tolerance())) {
    return false;
  }
  cursor = values;
  if (callback_) {
    callback_->on_corner_measurement(header, giPoint2(x.nominal(), y.nominal()),
                                     giPoint2(x.actual(), y.actual()), x.true_position_tolerance());
  }
  return true;
}

bool kptMacroOutputParser::parse_surface_body(kptResultsFileCursor& cursor,
                                              kptResultsFileCursor values,
                                              const mtrInspectionPrintData& header,
                                              mtrProbeWCSAxis axis) const {
  kptParsedDimension size;
  kptParsedPosition position;
  bool sized = false;
  bool positioned = false;
  switch (axis) {
    case mtrProbeWCSAxisX:
      sized = parse_x_size(values, size);
      positioned = !sized && parse_measured_x_position(values(), position);
      break;
    case mtrProbeWCSAxisY:
      sized = parse_y_size(values, size);
      positioned = !sized && parse_measured_y_position(values(), position);
      break;
    case mtrProbeWCSAxisZ:
      sized = parse_z_size(values, size);
      positioned = !sized && parse_measured_z_position(values(), position);
      break;
  }
  if (!sized && !positioned) return false;
  // A value came from a position line when the position is set. A line whose nominal and actual
  // both read as the not-set marker gives no position, just as such a size line gives no size
  // when the planes are built.
  if (!position.invalid()) {
    // A position with a true-position tolerance locates a feature, it does not face a surface.
    if (position.true_position_tolerance()) return false;
    // A POSN X line followed by a POSN Y line is a corner that failed its own checks.
    if (axis == mtrProbeWCSAxisX) {
      kptResultsFileCursor next = values;
      kptParsedPosition y;
      if (++next && parse_measured_y_position(next(), y)) return false;
    }
  }
  cursor = values;
  return fire_surface_measurement(axis, header, size, position);
}

bool kptMacroOutputParser::parse_angle_body(kptResultsFileCursor& cursor,
                                            kptResultsFileCursor values,
                                            const mtrInspectionPrintData& header) const {
  kptParsedAngle angle;
  if (!parse_angle(values(), angle)) return false;
  take_error_line(values, *angle_out_of_tolerance_matcher);
  cursor = values;
  if (callback_) callback_->on_angle_measurement(header, angle);
  return true;
}

bool kptMacroOutputParser::fire_surface_measurement(mtrProbeWCSAxis axis,
                                                    const mtrInspectionPrintData& header,
                                                    const kptParsedDimension& dimension,
                                                    const kptParsedPosition& position) const {
  const gi_Axis gi_axis = to_gi_axis(axis);
  giPoint3 nominal(giOrigin);
  giPoint3 actual(giOrigin);
  std::optional<double> tolerance;
  if (!dimension.invalid()) {
    nominal.set_coordinate(gi_axis, dimension.nominal());
    actual.set_coordinate(gi_axis, dimension.actual());
    tolerance = dimension.tolerance();
  } else {
    // A position's true-position tolerance is never a surface's tolerance.
    nominal.set_coordinate(gi_axis, position.nominal());
    actual.set_coordinate(gi_axis, position.actual());
  }
  const giUnitVec3 normal(gi_axis);
  if (callback_) {
    callback_->on_surface_measurement(header, axis, giPlane(normal, nominal),
                                      giPlane(normal, actual), tolerance);
  }
  return true;
}
