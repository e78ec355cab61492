// Tests of kptResultsFileParser: which machine record each line is, and the event it fires.
#include "cncprobe/resultsfile/results_file_parser.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cncprobe/events/recording_callback_test_util.h"
#include "tests/support/scratch_directory.h"

namespace {
constexpr kptUnitsType MM = kptUnitsMillimetres;
constexpr kptUnitsType IN = kptUnitsInches;
using Events = std::vector<std::string>;

// Runs the driver's loop over the lines; the receiver holds the events, `recognised` the numbers
// (from 1) of the lines parse_next_object recognised.
void parse(kptUnitsType units, std::initializer_list<utString> lines, RecordingCallback& receiver,
           std::vector<std::size_t>* recognised = nullptr) {
  const kptResultsFileParser parser{kptUnits(units),
                                    utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  kptResultsFileCursor cursor(lines);
  while (++cursor) {
    const std::size_t line = cursor.line_number();
    if (parser.parse_next_object(cursor) && recognised != nullptr) recognised->push_back(line);
  }
}

// The events of one line; a line is recognised exactly when it fires an event.
Events parse_line(kptUnitsType units, const std::string& line) {
  RecordingCallback receiver;
  std::vector<std::size_t> recognised;
  parse(units, {utString(line)}, receiver, &recognised);
  EXPECT_EQ(recognised.size(), receiver.events.size()) << line;
  return receiver.events;
}

const std::string kTail = " Y20 Z-5 I0 J0 K1 O0 U0.1 L-0.1";
const std::string kHuge(400, '9');
const std::string kWorld = " x(1 0 0) y(0 1 0) z(0 0 1)";

struct Case {
  kptUnitsType units;
  std::string line;
  Events events;  // none: the line is no record
};

const Case kCases[] = {
    // Nominal points: lengths in millimetres, the direction as printed; L may not exceed U.
    {MM, "G800 N10 X10" + kTail, {"nominal_point (10 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {IN,
     "G800 N1 X1 Y0 Z0 I0.6 J0 K-0.8 O0.5 U0.01 L0",
     {"nominal_point (25.4 0 0) dir (0.6 0 -0.8) o 12.7 u 0.254 l 0"}},
    {MM, "G800 N10 X10 Y20 Z-5 I0 J0 K1 O0 U-0.1 L0.1", {}},
    {MM,
     "G800 N10 X10 Y20 Z-5 I0 J0 K1 O0 U0.1 L0.1",
     {"nominal_point (10 20 -5) dir (0 0 1) o 0 u 0.1 l 0.1"}},
    {MM, "G800 N10 X - 12.5" + kTail, {"nominal_point (-12.5 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {MM, "G800 N10 X-*12.5" + kTail, {"nominal_point (0 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {MM, "G800 N10 X." + kTail, {"nominal_point (0 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {MM,
     "G800*N 10**X+10" + kTail + " ** PT 4",
     {"nominal_point (10 20 -5) dir (0 0 1) o 0 u 0.1 l -0.1"}},
    {MM, "G800 N10 X10 Y20 Z-5 I0 J0 K1 U0.1 L-0.1", {}},     // no O
    {MM, "G800 N10 Y20 X10 Z-5 I0 J0 K1 O0 U0.1 L-0.1", {}},  // letters out of order
    {MM, "G800 X10" + kTail, {}},                             // no block number
    {MM, " G800 N10 X10" + kTail, {}},
    // Measured points.
    {IN, "G801 N11 X1 Y-2 Z0.5 R0.1", {"measured_point (25.4 -50.8 12.7) r 2.54"}},
    {MM, "G801 N11 X10.002 Y20 Z-5.001", {}},
    // Tool-path identity and pattern instance, read as identity.00ii.
    {MM, "TOOLPATHID 0", {}},
    {MM, "TOOLPATHID -3", {}},
    {MM, "TOOLPATHID 12.0003", {"toolpath_instance 12 3"}},
    {MM, "TOOLPATHID 1.0010", {"toolpath_instance 1 10"}},
    {MM, "TOOLPATHID 1.0009", {"toolpath_instance 1 9"}},
    {MM, "TOOLPATHID 12", {"toolpath_instance 12 -"}},
    {MM, "TOOLPATHID 7.0100", {"toolpath_instance 7 -"}},
    {MM, "TOOLPATHID 0.0005", {"toolpath_instance 0 5"}},
    {MM, "TOOLPATHID 12.00039", {"toolpath_instance 12 3"}},
    {MM, "TOOLPATHID 1." + std::string(40, '9'), {"toolpath_instance 1 99"}},
    {IN, "** TOOLPATHID 12. **", {"toolpath_instance 12 -"}},
    {MM, "TOOLPATHID 214748.3647", {"toolpath_instance 214748 47"}},
    {MM, "TOOLPATHID 214748.3648", {}},
    {MM, "TOOLPATHID " + kHuge, {}},
    {MM, "TOOLPATHID 12.0003 X", {}},
    // Cycle depth: a length, with a sign that may stand apart.
    {IN, "** CYCLEDEPTH - 2.5", {"cycle_depth -63.5"}},
    {MM, "CYCLEDEPTH 3 ** BELOW TOP", {"cycle_depth 3"}},
    {MM, "CYCLEDEPTH " + kHuge, {"cycle_depth inf"}},
    // Results file name: as printed, without the blanks and asterisks around it.
    {MM, "RESULTSFILE RUN1.TXT **", {"results_file 'RUN1.TXT'"}},
    {MM, "*RESULTSFILE  C:\\PROBE\\RUN 2.TXT", {"results_file 'C:\\PROBE\\RUN 2.TXT'"}},
    {MM, "RESULTSFILE    ", {"results_file ''"}},
    // START anywhere in the line comes first of all; END only at the start of a line.
    {MM, "** START 'PROGRAM 1' **", {"start"}},
    {MM, "RESULTSFILE C:\\RESTART\\RUN1.TXT", {"start"}},
    {MM, "ENDSTART", {"start"}},
    {MM, "END", {"end"}},
    {MM, "ENDING", {"end"}},
    {MM, " END", {}},
    // Workplanes: origin in millimetres, angles in degrees in any units, rotations about the
    // world axes by A, then B, then C.
    {MM, "G330 N1 A0 B0 C0 X0 Y0 Z0 I0 R0", {"workplane o(0 0 0)" + kWorld}},
    {IN, "G331 N2 A0 B0 C0 X1 Y2 Z3", {"cad_workplane o(25.4 50.8 76.2)" + kWorld}},
    {MM, "G330 N1 A0 B0 C0 X0 Y0 Z0", {}},  // no I and R
    {MM, "G331 N2 A0 B0 C0 X1 Y2 Z3 I0 R0", {"cad_workplane o(1 2 3)" + kWorld}},
    {MM, "G331 N2 B0 A0 C0 X1 Y2 Z3", {}},
    {MM, "G330 N1 A90 B0 C0 X0 Y0 Z0 I0 R0", {"workplane o(0 0 0) x(1 0 0) y(0 0 1) z(0 -1 0)"}},
    {IN,
     "G330 N1 A0 B0 C - 90 X1 Y0 Z0 I0 R0",
     {"workplane o(25.4 0 0) x(0 -1 0) y(1 0 0) z(0 0 1)"}},
    // A, then B, then C: the other order would give x(0 1 0).
    {IN,
     "G331 N8 A90 B90 C90 X1 Y-2 Z0.5",
     {"cad_workplane o(25.4 -50.8 12.7) x(0 0 -1) y(0 1 0) z(1 0 0)"}},
};

TEST(ResultsFileParser, RecordsAndTheirEvents) {
  // A parser without a receiver recognises the same lines and fires nothing.
  const kptResultsFileParser silent{kptUnits(MM), utObserverPtr<kptResultsFileParserCallback>()};
  for (const Case& c : kCases) {
    EXPECT_EQ(parse_line(c.units, c.line), c.events) << c.line;
    kptResultsFileCursor cursor{utString(c.line)};
    EXPECT_EQ(++cursor && silent.parse_next_object(cursor), !c.events.empty()) << c.line;
  }
}

TEST(ResultsFileParser, HugeNumbersAndLongBlankRuns) {
  const std::string h = kHuge, r(5000, ' '), stars(5000, '*');
  const std::string fire_once[] = {
      "G800 N" + h + " X" + h + " Y-" + h + " Z." + h + " I" + h + " J0 K1 O" + h + " U" + h +
          " L" + h,
      "G801 N1 X" + h + " Y" + h + " Z" + h + " R" + h,
      "G330 N1 A" + h + " B" + h + " C" + h + " X" + h + " Y0 Z0 I" + h + " R" + h,
      "G801" + r + "N1" + stars + "X" + r + "-" + stars + r + "1" + r + "Y2 Z3" + r + "R" + r + "4",
      r + "CYCLEDEPTH" + stars + "+" + r + "7" + r,
  };
  for (const std::string& line : fire_once) {
    EXPECT_EQ(parse_line(IN, line).size(), 1u) << line.substr(0, 12);
  }
  EXPECT_EQ(parse_line(MM, "G801 N1 X1 Y" + r + "Z3 R4"), Events{});
  EXPECT_EQ(parse_line(MM, "CYCLEDEPTH" + r + "*X"), Events{});

  // Runs long enough that a quadratic pattern would take minutes; a record's name keeps its
  // inner blanks whatever their length.
  const std::string wide(200000, ' ');
  EXPECT_EQ(parse_line(MM, "G801 N1 X" + wide + "Y2 Z3 R4"), Events{});
  EXPECT_EQ(parse_line(MM, "CYCLEDEPTH" + wide + "x"), Events{});
  EXPECT_EQ(parse_line(MM, "RESULTSFILE A" + wide + "B" + wide + "**"),
            Events{"results_file 'A" + wide + "B'"});
}

// A line that is no record opens a macro report, which is read to its last line in one call.
TEST(ResultsFileParser, ReportBetweenRecordsIsOneEvent) {
  RecordingCallback receiver;
  std::vector<std::size_t> recognised;
  parse(MM,
        {"G801 N1 X1 Y2 Z3 R3", "------------", "COMPONENT NO 1 FEATURE NO 4", "------------",
         "SIZE D 25.000 ACTUAL 25.012 TOL 0.050 DEV 0.012",
         "POSN X 10.000 ACTUAL 10.004 TOL TP 0.100 DEV 0.004",
         "POSN Y 20.000 ACTUAL 19.990 TOL TP 0.100 DEV -0.010", "G801 N2 X4 Y5 Z6 R3",
         "FEATURE NO 3 FEATURE NAME STARTER HOLE", "SIZE D 5.000 ACTUAL 5.010 DEV 0.010"},
        receiver, &recognised);
  EXPECT_EQ(recognised, (std::vector<std::size_t>{1, 2, 8, 9}));
  const Events expected = {
      "measured_point (1 2 3) r 3",
      "circle C1 F4 nominal (10 20) r 12.5 actual (10.004 19.99) r 12.506 tol 0.05 tp 0.1",
      "measured_point (4 5 6) r 3",
      "start",  // the feature named STARTER HOLE is a START record first
  };
  EXPECT_EQ(receiver.events, expected);
}

// The keyword tests in front of the record patterns only skip patterns that cannot match: the
// same files give the same events and the same recognised lines with and without them. The lines
// are every sample file's, in their files and in variants that put each keyword where a pattern
// looks for it (with leading blanks, asterisks and signs), so a test that rejected a line its
// pattern takes would show.
class ParserWithoutKeywordTests : public kptResultsFileParser {
 public:
  ParserWithoutKeywordTests(const kptUnits& units,
                            utObserverPtr<kptResultsFileParserCallback> callback)
      : kptResultsFileParser(units, callback) {
    keyword_tests_ = false;
  }
};

struct Outcome {
  Events events;
  std::vector<std::size_t> recognised;
};

template <typename Parser>
Outcome outcome_of(kptUnitsType units, const std::filesystem::path& file) {
  Outcome outcome;
  RecordingCallback receiver;
  const Parser parser{kptUnits(units), utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  kptResultsFileCursor cursor(utString(file.string().c_str()));
  while (++cursor) {
    const std::size_t line = cursor.line_number();
    if (parser.parse_next_object(cursor)) outcome.recognised.push_back(line);
  }
  outcome.events = receiver.events;
  return outcome;
}

void expect_same_outcomes(const std::filesystem::path& file) {
  for (const kptUnitsType units : {MM, IN}) {
    const Outcome fast = outcome_of<kptResultsFileParser>(units, file);
    const Outcome plain = outcome_of<ParserWithoutKeywordTests>(units, file);
    EXPECT_EQ(fast.events, plain.events) << file;
    EXPECT_EQ(fast.recognised, plain.recognised) << file;
  }
}

TEST(ResultsFileParser, KeywordTestsChangeNoOutcome) {
  namespace fs = std::filesystem;
  const fs::path data(CNCPROBE_TEST_DATA_DIR);
  std::vector<fs::path> files;
  for (const fs::path& root : {data, data.parent_path().parent_path() / "examples"}) {
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
  }
  ASSERT_GT(files.size(), 10u);
  const char* const keywords[] = {
      "START", "END",  "TOOLPATHID", "CYCLEDEPTH", "RESULTSFILE",  "G800",       "G801",
      "G330",  "G331", "STAR",       "SIZE",       "POSN",         "ANG",        "TOOL OFFSET",
      "TOOL",  "-",    "+",          "++OUT OF",   "COMPONENT NO", "FEATURE NO", "FEATURE"};
  const char* const leads[] = {"", " ", "**", " * ", "\t", "\v\f", "-", "+ ", "/"};
  const ScratchDirectory scratch;  // a folder of its own: other test processes run meanwhile
  const fs::path variants = scratch.path() / "keyword_variants.res";
  std::size_t lines = 0;
  {
    std::ofstream out(variants, std::ios::binary);
    for (const fs::path& file : files) {
      expect_same_outcomes(file);
      kptResultsFileCursor cursor(utString(file.string().c_str()));
      while (++cursor) {
        const std::string line = cursor().str();
        // The line's own words after its first, behind each keyword, each lead and both.
        const std::size_t blank = line.find_first_of(" \t");
        const std::string rest = blank == std::string::npos ? "" : line.substr(blank);
        for (const char* lead : leads) {
          out << lead << line << '\n';
          for (const char* keyword : keywords) {
            out << lead << keyword << rest << '\n' << lead << keyword << line << '\n';
          }
        }
        out << line << " START\n" << line << "END\n";
        ++lines;
      }
    }
  }
  EXPECT_GT(lines, 1000u);
  expect_same_outcomes(variants);
  // Whole files with a lead in front of every line, so that reports keep their order of lines.
  for (const fs::path& file : files) {
    for (const char* lead : leads) {
      {
        std::ofstream out(variants, std::ios::binary);
        kptResultsFileCursor cursor(utString(file.string().c_str()));
        while (++cursor) out << lead << cursor().view() << '\n';
      }
      expect_same_outcomes(variants);
    }
  }
  fs::remove(variants);
}

}  // namespace
