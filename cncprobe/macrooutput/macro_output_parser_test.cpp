// Tests of the macro report parser: each report kind, how reports break off, and rectangles.
#include "cncprobe/macrooutput/macro_output_parser.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "cncprobe/events/recording_callback_test_util.h"
#include "tests/support/scratch_directory.h"

namespace {
using Lines = std::vector<std::string>;

// Exposes the single report kinds.
class ReportParser : public kptMacroOutputParser {
 public:
  using kptMacroOutputParser::kptMacroOutputParser;
  using kptMacroOutputParser::parse_angle_measurement;
  using kptMacroOutputParser::parse_circle_output;
  using kptMacroOutputParser::parse_corner_measurement;
  using kptMacroOutputParser::parse_rectangle_output;
  using kptMacroOutputParser::parse_x_surface_measurement;
  using kptMacroOutputParser::parse_x_wall_channel;
  using kptMacroOutputParser::parse_y_surface_measurement;
  using kptMacroOutputParser::parse_y_wall_channel;
  using kptMacroOutputParser::parse_z_surface_measurement;
};
using Kind = bool (ReportParser::*)(kptResultsFileCursor&) const;

kptResultsFileCursor cursor_over(const Lines& lines) {
  const ScratchDirectory dir;
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  // The lines are read here, once; the directory and its file go when the cursor is made.
  return kptResultsFileCursor(utString(dir.write("report.res", text).c_str()));
}

struct Outcome {
  bool read = false;
  std::size_t line = 0;  // where the cursor stands afterwards
  std::vector<std::string> events;
};

// One call at the cursor's first line, by the dispatch or by one kind.
Outcome parse_at(kptResultsFileCursor cursor, kptUnitsType units = kptUnitsMillimetres,
                 Kind kind = nullptr) {
  // Building a parser compiles twenty patterns; one per units serves every call.
  static RecordingCallback receiver;
  static const ReportParser millimetres{kptUnits(kptUnitsMillimetres),
                                        utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  static const ReportParser inches{kptUnits(kptUnitsInches),
                                   utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  const ReportParser& parser = units == kptUnitsInches ? inches : millimetres;
  receiver.events.clear();
  ++cursor;
  Outcome outcome;
  outcome.read = kind ? (parser.*kind)(cursor) : parser.parse_macro_output(cursor);
  outcome.line = cursor.line_number();
  outcome.events = receiver.events;
  return outcome;
}

Outcome parse_once(const Lines& lines, kptUnitsType units = kptUnitsMillimetres) {
  return parse_at(cursor_over(lines), units);
}

// Every line offered in turn, as the results-file parser offers the lines it does not know.
std::vector<std::string> parse_file(const Lines& lines) {
  RecordingCallback receiver;
  const kptMacroOutputParser parser{kptUnits(kptUnitsMillimetres),
                                    utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  kptResultsFileCursor cursor = cursor_over(lines);
  while (++cursor) (void)parser.parse_macro_output(cursor);
  return receiver.events;
}

Lines join(std::initializer_list<Lines> parts) {
  Lines lines;
  for (const Lines& part : parts) lines.insert(lines.end(), part.begin(), part.end());
  return lines;
}

const std::string kDashes = "------------------------------";
// The largest double, written out: a value that reads as the marker of a number not set.
const std::string kUnset = "17976931348623157" + std::string(292, '0');
const Lines kCircle = {kDashes,
                       "COMPONENT NO 1 FEATURE NO 4",
                       kDashes,
                       "SIZE D 25.000 ACTUAL 25.012 TOL 0.050 DEV 0.012",
                       "POSN X 10.000 ACTUAL 10.004 TOL TP 0.100 DEV 0.004",
                       "POSN Y 20.000 ACTUAL 19.990 TOL TP 0.100 DEV -0.010",
                       "++OUT OF POS++ ERROR TP 0.021"};
const Lines kCorner = {"FEATURE NO 2 FEATURE NAME CORNER A",
                       "POSN X/ 0.000 ACTUAL/0.010 DEV/ 0.010/",
                       "POSN Y - 5.000/ ACTUAL - 4.990/ DEV 0.010"};
const Lines kXWall = {"COMPONENT NO 1 FEATURE NO 4",
                      "SIZE D 12.000/ ACTUAL 12.010/ TOL 0.050/ DEV 0.010",
                      "POSN X 30.000 ACTUAL 30.002 TOL TP 0.100 DEV 0.002",
                      "POSN Y/ 5.000 ACTUAL/ NaN TOL TP/ 0.100 DEV/ NaN"};
Lines y_wall(const std::string& header, const std::string& x = "30.000",
             const std::string& width_tolerance = "0.050", const std::string& tp = "0.100") {
  return {header, "SIZE D 8.000 ACTUAL 8.010 TOL " + width_tolerance + " DEV 0.010",
          "POSN X/ " + x + " ACTUAL/ 0.000 TOL TP/ " + tp + " DEV/ 0.000/",
          "POSN Y 5.000 ACTUAL 5.001 TOL TP " + tp + " DEV 0.001"};
}
const Lines kYWall = y_wall("COMPONENT NO 1 FEATURE NO 5");
const Lines kRectangle = join({kXWall, kYWall});
const Lines kXSurface = {"COMPONENT NO 3 FEATURE NO 1",
                         "SIZEX50.000 ACTUAL 50.020 TOL 0.020 DEV 0.020",
                         "++OUT OF TOL++ ERROR 0.000"};
const Lines kYSurface = {"COMPONENT NO 3 FEATURE NO 1",
                         "SIZE Y/ - 20 ACTUAL/ -19.99 TOL/ EMPTY DEV/ 0.01/"};
const Lines kZSurface = {"COMPONENT NO 3 FEATURE NO 1",
                         "POSN Z/ -5.000 ACTUAL/ -5.010 DEV/ -0.010/"};
const Lines kAngle = {"COMPONENT NO 3 FEATURE NO 1", "ANG/ 30.0 ACTUAL/ 30.1 TOL/ 0.5 DEV/ 0.1/",
                      "++ANG OUT OF TOL++ ERROR 0.1"};

const std::string kRectangleEvent =
    "rectangle C1 F4 xw 12 12.01 tol 0.05 yw 8 8.01 tol 0.05 x 30 30.002 tp 0.1 y 5 5.001 tp 0.1";
const std::string kYWallEvent = "y_wall_channel C1 F5 w 8 8.01 tol 0.05 x 30 y 5 5.001 tp 0.1";
const std::string kXWallEvent = "x_wall_channel C1 F4 w 12 12.01 tol 0.05 x 30 30.002 tp 0.1 y 5";
}  // namespace

TEST(MacroOutputParser, ReadsEachReportKindToItsLastLine) {
  struct Row {
    const char* what;
    Lines lines;
    std::size_t last_line;
    std::string event;
    kptUnitsType units = kptUnitsMillimetres;
  };
  const Row rows[] = {
      {"framed circle with its error line", kCircle, 7,
       "circle C1 F4 nominal (10 20) r 12.5 actual (10.004 19.99) r 12.506 tol 0.05 tp 0.1"},
      {"radial size, tool offset, slashes, EMPTY tolerance",
       {"COMPONENT NO/ 2 FEATURE NO/ 7", "TOOL OFFSET H12",
        "POSN R/ 10.000 ACTUAL/ 10.010 TOL TP/ EMPTY DEV/ 0.010/", "POSN X 1 ACTUAL 1 DEV 0",
        "POSN Y 2 ACTUAL 2 DEV 0", "++OUT OF POS++ ERROR TP 0.1 RADIAL"},
       6,
       "circle C2 F7 nominal (1 2) r 5 actual (1 2) r 5.005 tol - tp -"},
      {"circle in inches",
       {"COMPONENT NO 1 FEATURE NO 4", "SIZE D 1.000 ACTUAL 1.001 TOL 0.002 DEV 0.001",
        "++OUT OF TOL++ ERROR 0.001", "POSN X 1 ACTUAL 1.001 TOL TP 0.004 DEV 0.001",
        "POSN Y -2 ACTUAL - 2 TOL TP 0.004 DEV 0"},
       5,
       "circle C1 F4 nominal (25.4 -50.8) r 12.7 actual (25.4254 -50.8) r 12.7127 tol 0.0508 tp "
       "0.1016",
       kptUnitsInches},
      {"corner with separated signs", kCorner, 3,
       "corner F2 'CORNER A' nominal (0 -5) actual (0.01 -4.99) tp -"},
      {"corner tolerances 1e-12 apart",
       {"FEATURE NO 1 FEATURE NAME C", "POSN X 1 ACTUAL 1 TOL TP 0.05 DEV 0",
        "POSN Y 1 ACTUAL 1 TOL TP 0.050000000001 DEV 0"},
       3,
       "corner F1 'C' nominal (1 1) actual (1 1) tp 0.05"},
      {"X wall or channel without tolerances",
       {"COMPONENT NO 1 FEATURE NO 4", "SIZE D 12 ACTUAL 12.01 DEV 0.01",
        "POSN X 30 ACTUAL 30.002 DEV 0.002", "POSN Y 5 ACTUAL EMPTY DEV EMPTY"},
       4,
       "x_wall_channel C1 F4 w 12 12.01 tol - x 30 30.002 tp - y 5"},
      {"Y wall or channel", kYWall, 4,
       "y_wall_channel C1 F5 w 8 8.01 tol 0.05 x 30 y 5 5.001 tp 0.1"},
      {"rectangle", kRectangle, 8, kRectangleEvent},
      {"X surface from a size line", kXSurface, 3,
       "surface C3 F1 axis X nominal (50 0 0) n(1 0 0) actual (50.02 0 0) n(1 0 0) tol 0.02"},
      {"X surface from a position followed by an unmeasured Y",
       {"COMPONENT NO 3 FEATURE NO 1", "POSN X 3 ACTUAL 3.1 DEV 0.1",
        "POSN Y 1 ACTUAL NaN DEV NaN"},
       2,
       "surface C3 F1 axis X nominal (3 0 0) n(1 0 0) actual (3.1 0 0) n(1 0 0) tol -"},
      {"Y surface, negative, without tolerance", kYSurface, 2,
       "surface C3 F1 axis Y nominal (0 -20 0) n(0 1 0) actual (0 -19.99 0) n(0 1 0) tol -"},
      {"Z surface", kZSurface, 2,
       "surface C3 F1 axis Z nominal (0 0 -5) n(0 0 1) actual (0 0 -5.01) n(0 0 1) tol -"},
      {"angle with its error line, in degrees in any units", kAngle, 3,
       "angle C3 F1 30 30.1 tol 0.5", kptUnitsInches},
      {"X at 0 with actual 0, and a zero actual with text after it, are measured: no wall",
       {"COMPONENT NO 1 FEATURE NO 5", "SIZE D 8 ACTUAL 8.01 DEV 0.01", "POSN X 0 ACTUAL 0 DEV 0",
        "POSN Y 5 ACTUAL 0 DEV 0 CHECK"},
       4,
       "circle C1 F5 nominal (0 5) r 4 actual (0 0) r 4.005 tol - tp -"},
      {"a position whose values read as not set counts as no position line",
       {"COMPONENT NO 3 FEATURE NO 1", "POSN X " + kUnset + " ACTUAL " + kUnset + " TOL TP 1 DEV 0",
        "POSN Y 1 ACTUAL 1 DEV 0"},
       2,
       "surface C3 F1 axis X nominal (unset 0 0) n(1 0 0) actual (unset 0 0) n(1 0 0) tol -"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Outcome outcome = parse_once(row.lines, row.units);
    EXPECT_TRUE(outcome.read);
    EXPECT_EQ(outcome.line, row.last_line);
    EXPECT_EQ(outcome.events, std::vector<std::string>{row.event});
  }
}

TEST(MacroOutputParser, ABrokenReportReadsNothingAndLeavesTheCursor) {
  const std::string header = "COMPONENT NO 1 FEATURE NO 4";
  const std::string size = "SIZE D 25 ACTUAL 25.01 DEV 0.01";
  const std::string x = "POSN X 10 ACTUAL 10.01 DEV 0.01";
  const std::string y = "POSN Y 20 ACTUAL 20.01 DEV 0.01";
  const std::pair<const char*, Lines> rows[] = {
      {"end of file before the last value line", {header, size, x}},
      {"an extra line inside the report", {header, size, "COMMENT", x, y}},
      {"a second tool offset line", {header, "TOOL OFFSET H1", "TOOL OFFSET H2", size, x, y}},
      {"unequal true-position tolerances",
       {header, size, "POSN X 10 ACTUAL 10 TOL TP 0.1 DEV 0", y}},
      {"corner tolerances 1e-7 apart",
       {header, "POSN X 1 ACTUAL 1 TOL TP 0.05 DEV 0", "POSN Y 1 ACTUAL 1 TOL TP 0.0500001 DEV 0"}},
      {"corner tolerance on Y only, so no X surface either",
       {header, x, "POSN Y 1 ACTUAL 1 TOL TP 0.2 DEV 0"}},
      {"a position with a true-position tolerance is no surface",
       {header, "POSN X 3 ACTUAL 3 TOL TP 0.1 DEV 0"}},
      {"wall tolerances differ between position and coordinate",
       {header, size, "POSN X 30 ACTUAL 30 TOL TP 0.1 DEV 0",
        "POSN Y 5 ACTUAL NaN TOL TP 0.2 DEV NaN"}},
      {"an axis size without its TOL field", {header, "SIZE X 50 ACTUAL 50.02 DEV 0.02"}},
      {"a negative diameter", {header, "SIZE D -25 ACTUAL 25 DEV 0", x, y}},
      {"a feature line followed by a dashed line", {header, kDashes, "ANG 1 ACTUAL 1 DEV 0"}},
      {"a dashed line whose feature line is not closed", {kDashes, header, "ANG 1 ACTUAL 1 DEV 0"}},
      {"a feature name of blanks only", {"FEATURE NO 7 FEATURE NAME   ", "ANG 1 ACTUAL 1 DEV 0"}},
  };
  for (const auto& [what, lines] : rows) {
    SCOPED_TRACE(what);
    const Outcome outcome = parse_once(lines);
    EXPECT_FALSE(outcome.read);
    EXPECT_EQ(outcome.line, 1u);
    EXPECT_TRUE(outcome.events.empty());
  }
}

TEST(MacroOutputParser, EachKindReadsOnlyItsOwnReport) {
  // Which of rectangle, X wall, Y wall, circle, corner, X, Y, Z surface and angle accept each
  // report on its own; where several do, the dispatch order decides.
  const Kind kinds[] = {
      &ReportParser::parse_rectangle_output,      &ReportParser::parse_x_wall_channel,
      &ReportParser::parse_y_wall_channel,        &ReportParser::parse_circle_output,
      &ReportParser::parse_corner_measurement,    &ReportParser::parse_x_surface_measurement,
      &ReportParser::parse_y_surface_measurement, &ReportParser::parse_z_surface_measurement,
      &ReportParser::parse_angle_measurement};
  const std::pair<const Lines*, std::string> rows[] = {
      {&kRectangle, "110000000"}, {&kXWall, "010000000"},    {&kYWall, "001100000"},
      {&kCircle, "000100000"},    {&kCorner, "000010000"},   {&kXSurface, "000001000"},
      {&kYSurface, "000000100"},  {&kZSurface, "000000010"}, {&kAngle, "000000001"}};
  for (const auto& [lines, expected] : rows) {
    const kptResultsFileCursor cursor = cursor_over(*lines);
    std::string accepted;
    for (const Kind kind : kinds) {
      const Outcome outcome = parse_at(cursor, kptUnitsMillimetres, kind);
      accepted += outcome.read ? '1' : '0';
      EXPECT_EQ(outcome.events.size(), outcome.read ? 1u : 0u);
      if (!outcome.read) {
        EXPECT_EQ(outcome.line, 1u);
      }
    }
    EXPECT_EQ(accepted, expected) << (*lines)[0];
  }
}

TEST(MacroOutputParser, ARectangleNeedsTheNextFeatureProbedAtTheSameMiddles) {
  const std::string y_alone = "y_wall_channel C1 F6 w 8 8.01 tol 0.05 x 30 y 5 5.001 tp 0.1";
  const std::pair<Lines, std::vector<std::string>> rows[] = {
      {join({kXWall, y_wall("COMPONENT NO 1 FEATURE NO 5", "30.000000000001")}), {kRectangleEvent}},
      {join({kXWall, y_wall("COMPONENT NO 1 FEATURE NO 6")}), {kXWallEvent, y_alone}},
      {join({kXWall, y_wall("COMPONENT NO 2 FEATURE NO 5")}),
       {kXWallEvent, "y_wall_channel C2 F5 w 8 8.01 tol 0.05 x 30 y 5 5.001 tp 0.1"}},
      {join({kXWall, y_wall("COMPONENT NO 1 FEATURE NO 5", "30.001")}),
       {kXWallEvent, "y_wall_channel C1 F5 w 8 8.01 tol 0.05 x 30.001 y 5 5.001 tp 0.1"}},
      {join({kXWall, y_wall("COMPONENT NO 1 FEATURE NO 5", "30", "0.060")}),
       {kXWallEvent, "y_wall_channel C1 F5 w 8 8.01 tol 0.06 x 30 y 5 5.001 tp 0.1"}},
      {join({{kXWall.begin(), kXWall.end() - 1},
             {"POSN Y 5.1 ACTUAL NaN TOL TP 0.100 DEV NaN"},
             kYWall}),
       {"x_wall_channel C1 F4 w 12 12.01 tol 0.05 x 30 30.002 tp 0.1 y 5.1", kYWallEvent}},
      {join({kXWall, y_wall("COMPONENT NO 1 FEATURE NO 5", "30", "0.050", "0.2")}),
       {kXWallEvent, "y_wall_channel C1 F5 w 8 8.01 tol 0.05 x 30 y 5 5.001 tp 0.2"}},
      {join({{"FEATURE NO 4 FEATURE NAME POCKET"},
             {kXWall.begin() + 1, kXWall.end()},
             y_wall("FEATURE NO 5 FEATURE NAME POCKET")}),
       {"rectangle F4 'POCKET' xw 12 12.01 tol 0.05 yw 8 8.01 tol 0.05 x 30 30.002 tp 0.1 y 5 "
        "5.001 tp 0.1"}},
      {join({kXWall,
             {kDashes, kYWall[0], kDashes, "TOOL OFFSET H3"},
             {kYWall.begin() + 1, kYWall.end()}}),
       {kRectangleEvent}},
  };
  for (const auto& [lines, expected] : rows) EXPECT_EQ(parse_file(lines), expected) << lines[4];
}

TEST(MacroOutputParser, LookAheadStaysWithinOneReport) {
  // Runs of lines that each open or continue a report must cost a bounded look-ahead per line,
  // and long blank runs and numbers must not make a pattern quadratic.
  Lines separators(100000, kDashes);
  separators.insert(separators.end(), kZSurface.begin(), kZSurface.end());
  EXPECT_EQ(parse_file(separators).size(), 1u);
  const std::string blanks(200000, ' '), digits(200000, '0');
  EXPECT_EQ(parse_file({"FEATURE NO 2 FEATURE NAME A" + blanks + "B" + blanks,
                        "POSN X/ " + digits + "1 ACTUAL/0.000 DEV/ 0.000",
                        "POSN Y" + blanks + "5 ACTUAL 5.01 DEV 0.01"})
                .size(),
            1u);
}
