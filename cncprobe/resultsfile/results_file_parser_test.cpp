// Tests of kptResultsFileParser: which machine record each line is, and the event it fires.
#include "cncprobe/resultsfile/results_file_parser.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "cncprobe/resultsfile/recording_callback_test_util.h"

namespace {
constexpr kptUnitsType MM = kptUnitsMillimetres;
constexpr kptUnitsType IN = kptUnitsInches;
using Events = std::vector<std::string>;

// Parses one line and returns the events it fired; `recognised` gets parse_next_object's result.
Events parse_line(kptUnitsType units, const std::string& line, bool* recognised = nullptr) {
  RecordingCallback receiver;
  const kptResultsFileParser parser{kptUnits(units),
                                    utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  kptResultsFileCursor cursor{utString(line)};
  EXPECT_TRUE(++cursor);
  const kptResultsFileCursor before = cursor;
  const bool result = parser.parse_next_object(cursor);
  EXPECT_TRUE(cursor == before) << "a machine record never moves the cursor: " << line;
  EXPECT_EQ(result, !receiver.events.empty()) << line;
  if (recognised != nullptr) *recognised = result;
  return receiver.events;
}

const std::string kNominalTail = " Y20 Z-5 I0 J0 K1 O0 U0.1 L-0.1";
const std::string kHugeNumber(400, '9');

struct Case {
  kptUnitsType units;
  std::string line;
  Events events;  // empty: the line is no record and parse_next_object gives false
};

const Case kCases[] = {
    // Nominal points: lengths in millimetres, the direction as printed.
    {MM, "G800 N10 X10" + kNominalTail, {"nominal_point (10 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {IN, "G800 N10 X10" + kNominalTail,
     {"nominal_point (254 508 -127) dir (0 0 1) o 0 u 2.54 l -2.54"}},
    {IN, "G800 N1 X1 Y0 Z0 I0.6 J0 K-0.8 O0.5 U0.01 L0",
     {"nominal_point (25.4 0 0) dir (0.6 0 -0.8) o 12.7 u 0.254 l 0"}},
    {MM, "G800 N10 X10 Y20 Z-5 I0 J0 K1 O0 U-0.1 L0.1", {}},  // lower limit above the upper
    {MM, "G800 N10 X10 Y20 Z-5 I0 J0 K1 O0 U0.1 L0.1",
     {"nominal_point (10 20 -5) dir (0 0 1) o 0 u 0.1 l 0.1"}},
    {MM, "G800 N10 X - 12.5" + kNominalTail,
     {"nominal_point (-12.5 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {MM, "G800 N10 X-*12.5" + kNominalTail,
     {"nominal_point (0 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {MM, "G800 N10 X." + kNominalTail, {"nominal_point (0 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {MM, "G800*N 10**X+10" + kNominalTail + " ** PT 4",
     {"nominal_point (10 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {MM, "G800 N10 X10 Y20 Z-5 I0 J0 K1 U0.1 L-0.1", {}},  // no O
    {MM, "G800 N10 Y20 X10 Z-5 I0 J0 K1 O0 U0.1 L-0.1", {}},  // letters out of order
    {MM, "G800 X10" + kNominalTail, {}},                        // no block number
    {MM, "g800 N10 X10" + kNominalTail, {}},
    {MM, "G800 N10 XA" + kNominalTail, {}},
    {MM, " G800 N10 X10" + kNominalTail, {}},
    // Measured points.
    {MM, "G801 N11 X10.002 Y20 Z-5.001 R2.5", {"measured_point (10.002 20 -5.001) r 2.5"}},
    {IN, "G801 N11 X1 Y-2 Z0.5 R0.1", {"measured_point (25.4 -50.8 12.7) r 2.54"}},
    {MM, "G801 N11 X10.002 Y20 Z-5.001", {}},
    // Tool-path identity and pattern instance, read as identity.00ii.
    {MM, "TOOLPATHID 0", {}},
    {MM, "TOOLPATHID 0.0000", {}},
    {MM, "TOOLPATHID -3", {}},
    {MM, "TOOLPATHID 12.0003", {"toolpath_instance 12 3"}},
    {MM, "TOOLPATHID 5.0012", {"toolpath_instance 5 12"}},
    {MM, "TOOLPATHID 1.0010", {"toolpath_instance 1 10"}},
    {MM, "TOOLPATHID 1.0009", {"toolpath_instance 1 9"}},
    {MM, "TOOLPATHID 4.0099", {"toolpath_instance 4 99"}},
    {MM, "TOOLPATHID 12", {"toolpath_instance 12 -"}},
    {MM, "TOOLPATHID 7.0100", {"toolpath_instance 7 -"}},
    {MM, "TOOLPATHID 0.0005", {"toolpath_instance 0 5"}},
    {MM, "TOOLPATHID 12.00039", {"toolpath_instance 12 3"}},
    {MM, "TOOLPATHID 1." + std::string(40, '9'), {"toolpath_instance 1 99"}},
    {IN, "** TOOLPATHID 12. **", {"toolpath_instance 12 -"}},
    {MM, "TOOLPATHID 214748.3647", {"toolpath_instance 214748 47"}},
    {MM, "TOOLPATHID 214748.3648", {}},
    {MM, "TOOLPATHID " + kHugeNumber, {}},
    {MM, "TOOLPATHID 12.0003 X", {}},
    {MM, "TOOLPATHID", {}},
    // Cycle depth: a length, with a sign that may stand apart.
    {MM, "** CYCLEDEPTH - 2.5", {"cycle_depth -2.5"}},
    {IN, "** CYCLEDEPTH - 2.5", {"cycle_depth -63.5"}},
    {MM, "CYCLEDEPTH 3 ** BELOW TOP", {"cycle_depth 3"}},
    {MM, "CYCLEDEPTH " + kHugeNumber, {"cycle_depth inf"}},
    {MM, "CYCLEDEPTH", {}},
    // Results file name: as printed, without the blanks and asterisks around it.
    {MM, "RESULTSFILE RUN1.TXT **", {"results_file 'RUN1.TXT'"}},
    {MM, "*RESULTSFILE  C:\\PROBE\\RUN 2.TXT", {"results_file 'C:\\PROBE\\RUN 2.TXT'"}},
    {MM, "RESULTSFILE    ", {"results_file ''"}},
    {MM, "RESULTSFILE", {}},
    // START anywhere in the line comes first of all; END only at the start of a line.
    {MM, "START", {"start"}},
    {MM, "** START 'PROGRAM 1' **", {"start"}},
    {MM, "RESULTSFILE C:\\RESTART\\RUN1.TXT", {"start"}},
    {MM, "G801 N1 X1 Y1 Z1 R1 RESTART", {"start"}},
    {MM, "ENDSTART", {"start"}},
    {MM, "END", {"end"}},
    {MM, "END 'PROGRAM 1'", {"end"}},
    {MM, "ENDING", {"end"}},
    {MM, " END", {}},
    {MM, "start", {}},
    {MM, "SIZE D 10.000 10.002", {}},  // a report line without its header
};

TEST(ResultsFileParser, RecordsAndTheirEvents) {
  for (const Case& c : kCases) {
    EXPECT_EQ(parse_line(c.units, c.line), c.events) << c.line;
  }
}

TEST(ResultsFileParser, HugeNumbersInEveryFieldFireWithoutOverflow) {
  const std::string h = kHugeNumber;
  const std::string lines[] = {
      "G800 N" + h + " X" + h + " Y-" + h + " Z." + h + " I" + h + " J0 K1 O" + h + " U" + h +
          " L" + h,
      "G801 N1 X" + h + " Y" + h + " Z" + h + " R" + h,
      "G330 N1 A" + h + " B" + h + " C" + h + " X" + h + " Y0 Z0 I" + h + " R" + h,
      "G331 N1 A" + h + " B0 C0 X0 Y0 Z" + h,
  };
  for (const std::string& line : lines) {
    EXPECT_EQ(parse_line(IN, line).size(), 1u) << line.substr(0, 10);
  }
}

// Blanks and asterisks between words may run long; a value still needs a digit or a point.
TEST(ResultsFileParser, LongRunsOfBlanksBetweenWords) {
  const std::string r(5000, ' ');
  const std::string stars(5000, '*');
  EXPECT_EQ(parse_line(MM, "G801" + r + "N1" + stars + "X" + r + "-" + stars + r + "1" + r +
                               "Y2 Z3" + r + "R" + r + "4" + r),
            Events{"measured_point (0 2 3) r 4"});
  EXPECT_EQ(parse_line(MM, "G801 N1 X1 Y" + r + "Z3 R4"), Events{});
  EXPECT_EQ(parse_line(MM, r + "CYCLEDEPTH" + stars + "+" + r + "7" + r),
            Events{"cycle_depth 7"});
  EXPECT_EQ(parse_line(MM, "CYCLEDEPTH" + r + "*X"), Events{});
  const std::string inner(500, ' ');
  EXPECT_EQ(parse_line(MM, "RESULTSFILE" + r + "A" + inner + "B" + stars),
            Events{"results_file 'A" + inner + "B'"});
}

// The driver's loop over a short program: one event per record, in file order.
TEST(ResultsFileParser, ProgramFiresEventsInLineOrder) {
  RecordingCallback receiver;
  const kptResultsFileParser parser{kptUnits(),
                                    utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  kptResultsFileCursor cursor{"START", "TOOLPATHID 12.0003",
                              "G331 N1 A0 B0 C0 X100 Y0 Z0",
                              "G330 N2 A0 B0 C0 X0 Y50 Z0 I0 R0",
                              "G800 N3 X1 Y2 Z3 I0 J0 K1 O0 U0.1 L-0.1",
                              "G801 N4 X1 Y2 Z2.99 R3",
                              "UNKNOWN LINE",
                              "END"};
  int recognised = 0;
  while (++cursor) recognised += parser.parse_next_object(cursor) ? 1 : 0;
  EXPECT_EQ(recognised, 7);
  const Events expected = {
      "start",
      "toolpath_instance 12 3",
      "cad_workplane o(100 0 0) x(1 0 0) y(0 1 0) z(0 0 1)",
      "workplane o(0 50 0) x(1 0 0) y(0 1 0) z(0 0 1)",
      "nominal_point (1 2 3) dir (0 0 1) o 0 u 0.1 l -0.1",
      "measured_point (1 2 2.99) r 3",
      "end",
  };
  EXPECT_EQ(receiver.events, expected);
}

TEST(ResultsFileParser, CursorOnNoLineIsNoRecord) {
  RecordingCallback receiver;
  const kptResultsFileParser parser{kptUnits(),
                                    utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  kptResultsFileCursor cursor{"START"};
  EXPECT_FALSE(parser.parse_next_object(cursor));
  EXPECT_TRUE(cursor.undefined());
  EXPECT_TRUE(receiver.events.empty());
}

TEST(ResultsFileParserCallback, ReceiverDestroyedThroughTheInterface) {
  bool destroyed = false;
  std::unique_ptr<kptResultsFileParserCallback> receiver =
      std::make_unique<RecordingCallback>(&destroyed);
  receiver.reset();
  EXPECT_TRUE(destroyed);
}
}  // namespace
