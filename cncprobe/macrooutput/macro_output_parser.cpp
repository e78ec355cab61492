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
// Match results of a line that fits a pattern with its values (reMatcher::match gives one more
// than the highest group that took part): a pattern without groups, one whose value is group 1,
// and one whose values are groups 1 and 2.
constexpr int kWholeLine = 1;
constexpr int kOneValue = 2;
constexpr int kTwoValues = 3;

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
// Blanks as the patterns' "\s" reads them (the byte tables of the C locale): tab, line feed,
// vertical tab, form feed, carriage return and space.
constexpr bool is_pattern_blank(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool begins_with(std::string_view line, std::string_view start) noexcept {
  return line.substr(0, start.size()) == start;
}

bool begins_after_blanks_with(std::string_view line, std::string_view start) noexcept {
  std::size_t first = 0;
  while (first < line.size() && is_pattern_blank(line[first])) ++first;
  return begins_with(line.substr(first), start);
}
}  // namespace

// A cheap test that proves a report pattern cannot match: each needs its keyword at the first
// byte, or, for the patterns that allow leading blanks, right after them. False only when the
// pattern cannot match the line.
bool kptMacroOutputParser::may_fit(Matcher which, std::string_view line) noexcept {
  switch (which) {
    case kSeparator:
      return begins_after_blanks_with(line, "-");
    case kComponentFeature:
      return begins_after_blanks_with(line, "COMPONENT NO");
    case kFeatureName:
      return begins_after_blanks_with(line, "FEATURE NO");
    case kDiameter:
    case kXSize:
    case kYSize:
    case kZSize:
      return begins_with(line, "SIZE");
    case kXPosition:
    case kYPosition:
    case kRPosition:
    case kZPosition:
    case kXUnmeasured:
    case kYUnmeasured:
    case kXZeroActual:
    case kYZeroActual:
      return begins_with(line, "POSN");
    case kAngle:
      return begins_with(line, "ANG");
    case kOutOfTolerance:
    case kOutOfPosition:
    case kAngleOutOfTolerance:
      return begins_after_blanks_with(line, "+");
    case kToolOffset:
      return begins_with(line, "TOOL OFFSET");
    default:
      return true;
  }
}

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

  // Every matcher is compiled anchored at the start offset, so the error lines, whose patterns
  // carry no "^", must also begin (after blanks) with their plus signs.
  const struct {
    Matcher which;
    utString pattern;
    int values_matched;
  } table[] = {
      {kSeparator, utString("^\\s*-+\\s*$"), kWholeLine},
      {kComponentFeature,
       utString("^\\s*COMPONENT NO\\/?\\s+(\\d+)\\/?\\s+FEATURE NO\\/?\\s+(\\d+)\\s*"), kTwoValues},
      {kFeatureName,
       utString("^\\s*FEATURE NO\\/?\\s+(\\d+)\\/?\\s+FEATURE NAME\\/?\\s++((?:.*\\S)?)\\s*$"),
       kTwoValues},
      {kDiameter, diameter, kTwoValues},
      {kXSize, x_size, kTwoValues},
      {kYSize, with_axis(x_size, x_to_y), kTwoValues},
      {kZSize, with_axis(x_size, x_to_z), kTwoValues},
      {kXPosition, x_position, kTwoValues},
      {kYPosition, with_axis(x_position, x_to_y), kTwoValues},
      {kRPosition, with_axis(x_position, x_to_r), kTwoValues},
      {kZPosition, z_position, kTwoValues},
      {kXUnmeasured, x_unmeasured, kOneValue},
      {kYUnmeasured, with_axis(x_unmeasured, x_to_y), kOneValue},
      {kXZeroActual, x_zero_actual, kOneValue},
      {kYZeroActual, with_axis(x_zero_actual, x_to_y), kOneValue},
      {kAngle, angle, kTwoValues},
      {kOutOfTolerance, out_of_tolerance, kWholeLine},
      {kOutOfPosition, out_of_position, kWholeLine},
      {kAngleOutOfTolerance, angle_out_of_tolerance, kWholeLine},
      {kToolOffset, utString("^TOOL OFFSET\\/?\\s*H[\\d]+\\s*"), kWholeLine},
  };
  static_assert(sizeof table / sizeof table[0] == kMatcherCount, "one row per matcher");
  for (const auto& row : table) {
    matchers_[row.which] = {std::make_unique<reMatcher>(row.pattern), row.values_matched};
  }
  // The patterns are fixed and known to compile; the outcomes are not looked at.
  utString error_text;
  int error_offset = 0;
  for (ReportMatcher& m : matchers_) {
    (void)m.matcher->compile(reMatcher::kAnchored, error_text, error_offset);
  }
  for (ReportMatcher& m : matchers_) (void)m.matcher->study(error_text, 0);
}

kptMacroOutputParser::Fit kptMacroOutputParser::fit(Matcher which, const utString& line) const {
  if (keyword_tests_ && !may_fit(which, line.view())) return kNoFit;
  const ReportMatcher& m = matchers_[which];
  const int result = m.matcher->match(line, 0);
  if (result == m.values_matched) return kValues;
  // Only the patterns with a tolerance group have a group after their values.
  if (result == m.values_matched + 1) return kValuesAndTolerance;
  return kNoFit;
}

// ---- Header and report opening ----

bool kptMacroOutputParser::parse_macro_header(kptResultsFileCursor& cursor,
                                              mtrInspectionPrintData& print_data) const {
  print_data.set_invalid();
  kptResultsFileCursor header = cursor;
  const bool framed = fits(kSeparator, header());
  if (framed && !++header) return false;
  const mtrInspectionPrintData feature = parse_feature_data(header());
  if (feature.invalid()) return false;
  // A framed header needs its closing dashed line; an unframed one may not be followed by one.
  kptResultsFileCursor next = header;
  if (++next) {
    const bool closed = fits(kSeparator, next());
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
  const bool numbered = fits(kComponentFeature, line);
  if (numbered) {
    component_text = matcher(kComponentFeature).get_substring(1);
    feature_text = matcher(kComponentFeature).get_substring(2);
  } else if (fits(kFeatureName, line)) {
    feature_text = matcher(kFeatureName).get_substring(1);
    name = matcher(kFeatureName).get_substring(2);
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
  return fits(kToolOffset, line);
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

bool kptMacroOutputParser::parse_matched_size(kptResultsFileCursor& cursor, Matcher which,
                                              kptParsedDimension& dimension) const {
  dimension.reset();
  kptResultsFileCursor size = cursor;
  const Fit result = fit(which, size());
  if (result == kNoFit) return false;
  const reMatcher& m = matcher(which);
  dimension = kptParsedDimension(number_parser_.string_to_mm(m.group_view(1)),
                                 number_parser_.string_to_mm(m.group_view(2)));
  if (result == kValuesAndTolerance) {
    dimension.set_tolerance(number_parser_.string_to_mm(m.group_view(3)));
  }
  take_error_line(size, kOutOfTolerance);
  cursor = size;
  return true;
}

bool kptMacroOutputParser::parse_dimension(kptResultsFileCursor& cursor,
                                           kptParsedDimension& dimension) const {
  // Some macros print a bore's size as a radial position instead of a diameter.
  return parse_matched_size(cursor, kDiameter, dimension) ||
         parse_matched_size(cursor, kRPosition, dimension);
}

bool kptMacroOutputParser::parse_measured_position(const utString& line, Matcher which,
                                                   kptParsedPosition& position) const {
  position.reset();
  const Fit result = fit(which, line);
  if (result == kNoFit) return false;
  const reMatcher& m = matcher(which);
  position = kptParsedPosition(number_parser_.string_to_mm(m.group_view(1)),
                               number_parser_.string_to_mm(m.group_view(2)));
  if (result == kValuesAndTolerance) {
    position.set_true_position_tolerance(number_parser_.string_to_mm(m.group_view(3)));
  }
  return true;
}

bool kptMacroOutputParser::parse_coordinate_position(const utString& line, Matcher which,
                                                     kptParsedCoordinate& coordinate) const {
  coordinate.reset();
  const Fit result = fit(which, line);
  if (result == kNoFit) return false;
  const reMatcher& m = matcher(which);
  coordinate = kptParsedCoordinate(number_parser_.string_to_mm(m.group_view(1)));
  if (result == kValuesAndTolerance) {
    coordinate.set_true_position_tolerance(number_parser_.string_to_mm(m.group_view(2)));
  }
  return true;
}

bool kptMacroOutputParser::parse_coordinate_x_position(const utString& line,
                                                       kptParsedCoordinate& coordinate) const {
  return parse_coordinate_position(line, kXUnmeasured, coordinate) ||
         parse_coordinate_position(line, kXZeroActual, coordinate);
}

bool kptMacroOutputParser::parse_coordinate_y_position(const utString& line,
                                                       kptParsedCoordinate& coordinate) const {
  return parse_coordinate_position(line, kYUnmeasured, coordinate) ||
         parse_coordinate_position(line, kYZeroActual, coordinate);
}

bool kptMacroOutputParser::parse_angle(const utString& line, kptParsedAngle& angle) const {
  angle.reset();
  const Fit result = fit(kAngle, line);
  if (result == kNoFit) return false;
  // Angles are degrees whatever the file's units.
  const auto degrees = [&](int group) {
    return giAngle(giAngleDegrees,
                   number_parser_.string_to_double(matcher(kAngle).group_view(group)));
  };
  angle = kptParsedAngle(degrees(1), degrees(2));
  if (result == kValuesAndTolerance) angle.set_tolerance(degrees(3));
  return true;
}

bool kptMacroOutputParser::tolerances_are_equivalent(const std::optional<double>& a,
                                                     const std::optional<double>& b) {
  if (a.has_value() != b.has_value()) return false;
  if (!a.has_value()) return true;
  return std::fabs(*a - *b) <= kCoordinateEpsilon;  // false for a NaN difference
}

void kptMacroOutputParser::take_error_line(kptResultsFileCursor& cursor, Matcher which) const {
  kptResultsFileCursor next = cursor;
  if (++next && fits(which, next())) cursor = next;
}

// ---- Wall or channel blocks ----

bool kptMacroOutputParser::parse_x_wall_channel_values(kptResultsFileCursor& values,
                                                       kptParsedDimension& width,
                                                       kptParsedPosition& x_position,
                                                       kptParsedCoordinate& y_coordinate) const {
  if (!parse_dimension(values, width) || !++values ||
      !parse_measured_position(values(), kXPosition, x_position) || !++values ||
      !parse_coordinate_y_position(values(), y_coordinate)) {
    return false;
  }
  take_error_line(values, kOutOfPosition);
  return tolerances_are_equivalent(x_position.true_position_tolerance(),
                                   y_coordinate.true_position_tolerance());
}

bool kptMacroOutputParser::parse_y_wall_channel_values(kptResultsFileCursor& values,
                                                       kptParsedDimension& width,
                                                       kptParsedCoordinate& x_coordinate,
                                                       kptParsedPosition& y_position) const {
  if (!parse_dimension(values, width) || !++values ||
      !parse_coordinate_x_position(values(), x_coordinate) || !++values ||
      !parse_measured_position(values(), kYPosition, y_position)) {
    return false;
  }
  take_error_line(values, kOutOfPosition);
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
  // The report kinds in the order they are tried: a rectangle before the X wall or channel that
  // opens it, a Y wall or channel before the circle whose lines it also fits.
  static constexpr ReportBody kKinds[] = {
      &kptMacroOutputParser::parse_rectangle_body,
      &kptMacroOutputParser::parse_x_wall_channel_body,
      &kptMacroOutputParser::parse_y_wall_channel_body,
      &kptMacroOutputParser::parse_circle_body,
      &kptMacroOutputParser::parse_corner_body,
      &kptMacroOutputParser::parse_surface_body<mtrProbeWCSAxisX>,
      &kptMacroOutputParser::parse_surface_body<mtrProbeWCSAxisY>,
      &kptMacroOutputParser::parse_surface_body<mtrProbeWCSAxisZ>,
      &kptMacroOutputParser::parse_angle_body};
  // Nearly every line that reaches here opens no header and fails on the first line's matches,
  // before any look-ahead. A header is read once and every kind tries its values.
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  if (!parse_report_opening(values, header)) return false;
  for (const ReportBody body : kKinds) {
    if ((this->*body)(cursor, values, header)) return true;
  }
  return false;
}

bool kptMacroOutputParser::parse_report(kptResultsFileCursor& cursor, ReportBody body) const {
  kptResultsFileCursor values = cursor;
  mtrInspectionPrintData header;
  return parse_report_opening(values, header) && (this->*body)(cursor, values, header);
}

bool kptMacroOutputParser::parse_rectangle_output(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_rectangle_body);
}

bool kptMacroOutputParser::parse_x_wall_channel(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_x_wall_channel_body);
}

bool kptMacroOutputParser::parse_y_wall_channel(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_y_wall_channel_body);
}

bool kptMacroOutputParser::parse_circle_output(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_circle_body);
}

bool kptMacroOutputParser::parse_corner_measurement(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_corner_body);
}

bool kptMacroOutputParser::parse_x_surface_measurement(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_surface_body<mtrProbeWCSAxisX>);
}

bool kptMacroOutputParser::parse_y_surface_measurement(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_surface_body<mtrProbeWCSAxisY>);
}

bool kptMacroOutputParser::parse_z_surface_measurement(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_surface_body<mtrProbeWCSAxisZ>);
}

bool kptMacroOutputParser::parse_angle_measurement(kptResultsFileCursor& cursor) const {
  return parse_report(cursor, &kptMacroOutputParser::parse_angle_body);
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
  if (!parse_dimension(values, diameter) || !++values ||
      !parse_measured_position(values(), kXPosition, x) || !++values ||
      !parse_measured_position(values(), kYPosition, y)) {
    return false;
  }
  take_error_line(values, kOutOfPosition);
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
  if (!parse_measured_position(values(), kXPosition, x) || !++values ||
      !parse_measured_position(values(), kYPosition, y)) {
    return false;
  }
  take_error_line(values, kOutOfPosition);
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

template <mtrProbeWCSAxis axis>
bool kptMacroOutputParser::parse_surface_body(kptResultsFileCursor& cursor,
                                              kptResultsFileCursor values,
                                              const mtrInspectionPrintData& header) const {
  // The size and position lines of the axis.
  constexpr Matcher size_line = axis == mtrProbeWCSAxisX   ? kXSize
                                : axis == mtrProbeWCSAxisY ? kYSize
                                                           : kZSize;
  constexpr Matcher position_line = axis == mtrProbeWCSAxisX   ? kXPosition
                                    : axis == mtrProbeWCSAxisY ? kYPosition
                                                               : kZPosition;
  kptParsedDimension size;
  kptParsedPosition position;
  const bool sized = parse_matched_size(values, size_line, size);
  const bool positioned = !sized && parse_measured_position(values(), position_line, position);
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
      if (++next && parse_measured_position(next(), kYPosition, y)) return false;
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
  take_error_line(values, kAngleOutOfTolerance);
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
