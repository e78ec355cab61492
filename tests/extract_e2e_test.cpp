// cncprobe extract end to end: the JSON document field by field, statuses, units, text tables.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/tool_runner.h"

namespace e2e {
namespace {

using nlohmann::json;

// The same members and values; numbers within 1e-9, which the printed round-trip keeps.
void expect_json_near(const json& actual, const json& expected, const std::string& where = "$") {
  if (expected.is_number() && actual.is_number()) {
    EXPECT_NEAR(actual.get<double>(), expected.get<double>(), 1e-9) << where;
  } else if (actual.type() != expected.type()) {
    ADD_FAILURE() << where << ": " << actual << " where " << expected << " was expected";
  } else if (expected.is_object()) {
    for (const auto& item : actual.items())
      EXPECT_TRUE(expected.contains(item.key())) << where << "." << item.key();
    for (const auto& item : expected.items()) {
      if (!actual.contains(item.key()))
        ADD_FAILURE() << where << "." << item.key() << " missing";
      else
        expect_json_near(actual[item.key()], item.value(), where + "." + item.key());
    }
  } else if (expected.is_array()) {
    ASSERT_EQ(actual.size(), expected.size()) << where;
    for (std::size_t i = 0; i < expected.size(); ++i)
      expect_json_near(actual[i], expected[i], where + "[" + std::to_string(i) + "]");
  } else {
    EXPECT_EQ(actual, expected) << where;
  }
}

// tests/data/tool/bracket_mm.expected.json holds every result of examples/bracket_mm.txt, worked
// out by hand from the file: the contract's fields and nothing else, lengths in mm and CAD
// coordinates, features at their cycle depth, the pattern paths through their turned workplanes.
TEST(ExtractJson, BracketFieldByField) {
  const ToolRun run = run_tool({"extract", example("bracket_mm.txt"), "--format", "json"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  json expected = json::parse(std::ifstream(test_data("tool/bracket_mm.expected.json")));
  expected["file"] = example("bracket_mm.txt");
  expect_json_near(parse_json(run), expected);
}

// The same inch file read as inches and as millimetres: everything printed is millimetres.
TEST(ExtractJson, UnitsOptionConvertsLengthsNotDirections) {
  const json inches = parse_json(
      run_tool({"extract", example("plate_in.txt"), "--units", "in", "--format", "json"}));
  const json millimetres =
      parse_json(run_tool({"extract", example("plate_in.txt"), "--format", "json"}));
  EXPECT_EQ(inches["units"], "in");
  EXPECT_EQ(millimetres["units"], "mm");
  expect_json_near(
      inches["results"][1]["nominal"],
      json::parse(R"({"centre": [50.8, 38.1, -6.35], "normal": [0, 0, 1], "radius": 12.7})"));
  expect_json_near(inches["results"][1]["diameter_tolerance"], 0.0508);
  expect_json_near(millimetres["results"][1]["nominal"]["radius"], 0.5);
}

const char* const kPoint =
    "G800 N1 X10 Y20 Z-5 I0 J0 K1 O0 U0.1 L-0.1\nG801 N2 X10 Y20 Z-5.01 R2.5\n";
const char* const kOpenPoint = "G800 N0 X0 Y0 Z0 I0 J0 K1 O0 U0 L0\n";

TEST(ExtractJson, EveryStatusNameAndExitCode) {
  const std::string circle =
      "COMPONENT NO 1 FEATURE NO 4\nSIZE D 25.000 ACTUAL 25.012 TOL 0.050 DEV 0.012\n"
      "POSN X 10.000 ACTUAL 10.004 DEV 0.004\nPOSN Y 20.000 ACTUAL 19.998 DEV -0.002\n";
  const std::string p = kPoint;
  const struct {
    std::string content;
    int code;
    const char* name;
  } cases[] = {
      {"START\n" + p + "END\n", 0, "success"},
      {"START\n" + p, 1, "missing_end"},
      {"START\n" + p + "START\n" + p + "END\n", 2, "multiple_starts"},
      {"START\n" + p + "G801 N3 X10 Y20 Z-5 R2.5\nEND\n", 3, "unmatched_measured_point"},
      {"START\n" + std::string(kOpenPoint) + p + "END\n", 4, "unmeasured_nominal_point"},
      {"START\nEND\n", 5, "no_results"},
      {std::string(kOpenPoint) + "START\n" + p + "END\n", 6, "outside_start_end"},
      {"START\nTOOLPATHID 5\n" + p + circle + "END\n", 7, "result_conflict"},
  };
  TempDir dir;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string file = dir.write("status.txt", c.content);
    const ToolRun run = run_tool({"extract", file, "--format", "json"});
    EXPECT_EQ(run.exit_code, c.code == 0 ? 0 : 1);
    const json doc = parse_json(run);
    EXPECT_EQ(doc["status"], json({{"code", c.code}, {"name", c.name}}));
    if (c.code == 4) {  // the point left open has no measure
      EXPECT_EQ(doc["results"][0]["points"][0]["measured"], nullptr);
      EXPECT_EQ(doc["results"][0]["points"][0]["r"], nullptr);
    }
    const ToolRun text = run_tool({"extract", file});
    EXPECT_EQ(text.exit_code, run.exit_code);
    EXPECT_NE(text.out.find("Status:        " + std::to_string(c.code) + " " + c.name + ": "),
              std::string::npos);
  }
}

TEST(ExtractText, BracketSummaryAndFeatureRow) {
  const ToolRun run = run_tool({"extract", example("bracket_mm.txt")});
  ASSERT_EQ(run.exit_code, 0);
  EXPECT_NE(run.out.find(
                "Results:       13: 10 features, 3 probe paths holding 10 points (10 measured)\n"),
            std::string::npos);
  EXPECT_NE(run.out.find("  2  2 (1)          3         3        0             +0.008  in\n"),
            std::string::npos)
      << run.out;
  // The dowel hole's centre is 0.0655 off under TOL TP 0.050: out, and marked so, with the
  // diametral value beside the radial offset so the row reads against the zone's diameter.
  EXPECT_NE(
      run.out.find("centre offset        -        -  0.065 (as diameter 0.131)   TP 0.050  OUT\n"),
      std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("Verdict:       FAIL\n"), std::string::npos);
  EXPECT_NE(run.out.find("True position: diametral"), std::string::npos);
  // One row per probe path unless --points asks for every point.
  EXPECT_EQ(run.out.find("Inspection Point"), std::string::npos);
  EXPECT_NE(
      run_tool({"extract", example("bracket_mm.txt"), "--points"}).out.find("Inspection Point"),
      std::string::npos);
  // A surface's position is not the POSN the file printed: the table says what it is.
  EXPECT_NE(run.out.find("(a surface's position: the plane's distance from the CAD origin"),
            std::string::npos);
}

// What a reader of the text trips over: a measured point without a direction is counted, and a
// rejected point never reads as equal to its limit, whether the file is in inches (4 decimals by
// default) or a millimetre file printed finer than the table's 3 decimals.
TEST(ExtractText, PointCountsAndDigitsOfRejectedPoints) {
  TempDir dir;
  const std::string inches = dir.write("inch.res",
                                       "START\nTOOLPATHID 1\n"
                                       "G800 N1 X0 Y0 Z0 I0 J0 K1 O0 U0.00787 L-0.00787\n"
                                       "G801 N2 X0 Y0 Z-0.00788 R0.1\n"
                                       "G800 N3 X1 Y0 Z0 I0 J0 K0 O0 U0.001 L-0.001\n"
                                       "G801 N4 X1 Y0 Z0.5 R0.1\nEND\n");
  const std::string millimetres = dir.write("mm.res",
                                            "START\nTOOLPATHID 1\n"
                                            "G800 N1 X0 Y0 Z0 I0 J0 K1 O0 U0.05 L-0.05\n"
                                            "G801 N2 X0 Y0 Z0.0504 R2\n"
                                            "G800 N3 X1 Y0 Z0 I0 J0 K1 O0 U0.05 L-0.05\n"
                                            "G801 N4 X1 Y0 Z0.01 R2\nEND\n");
  const struct {
    std::vector<std::string> args;
    const char* out;
  } cases[] = {
      {{inches, "--units", "in"},
       "Points:        1 of 2 outside their limits (0 within, 0 unmeasured, 1 not toleranced)\n"},
      {{inches, "--units", "in", "--points"}, "  -0.2002   -0.1999 .. +0.1999  OUT\n"},
      // millimetres keep 3 decimals; only the rejected row needs a fourth
      {{millimetres, "--points"}, "  +0.0504   -0.0500 .. +0.0500  OUT\n"},
      {{millimetres, "--points"}, "   +0.010     -0.050 .. +0.050  in\n"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"extract"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    const ToolRun run = run_tool(args);
    EXPECT_NE(run.out.find(c.out), std::string::npos) << run.out;
  }
  const json doc = parse_json(run_tool({"extract", inches, "--format", "json"}));
  EXPECT_EQ(doc["summary"]["points_not_toleranced"], 1);
  EXPECT_EQ(doc["summary"]["points_outside"], 1);
}

// The verdict options: the convention changes verdicts, --fail-on-reject the exit code, a
// settings file the digits, and a settings file that is refused is one error line, the defaults
// and exit 1.
TEST(ExtractVerdicts, Options) {
  const std::string bracket = example("bracket_mm.txt");
  const std::string refused = example("settings_invalid.xml");
  const struct {
    std::vector<std::string> args;
    int exit_code;
    const char* out;  // a text standard output holds
    const char* err;  // a text standard error holds; "" when it must be empty
  } cases[] = {
      {{},
       0,
       "Worst check:   #5 centre offset 0.065 (as diameter 0.131) against TP 0.050: OUT, 2.61840",
       ""},
      {{"--fail-on-reject"}, 1, "Verdict:       FAIL\n", ""},
      {{"--true-position", "radial"}, 0, "centre offset 0.065 against TP 0.050: OUT, 1.30920", ""},
      {{"--settings", test_data("settings/valid_inches.xml")},
       0,
       "0.0655 (as diameter 0.1309) against TP 0.0500",
       ""},
      {{"--settings", refused},
       1,
       "0.065 (as diameter 0.131) against TP 0.050",
       "(the default inspection settings are used)\n"},
      {{"--settings", example("no_such.xml")}, 1, "Verdict:", ": no such file (the default"},
      {{"--true-position", "square"}, 2, "", "--true-position"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"extract", bracket};
    args.insert(args.end(), c.args.begin(), c.args.end());
    SCOPED_TRACE(args.back());
    const ToolRun run = run_tool(args);
    EXPECT_EQ(run.exit_code, c.exit_code);
    EXPECT_NE(run.out.find(c.out), std::string::npos) << run.out;
    if (*c.err == '\0') {
      EXPECT_EQ(run.err, "");
    } else {
      EXPECT_EQ(run.err.rfind("cncprobe: ", 0), 0u) << run.err;
      EXPECT_NE(run.err.find(c.err), std::string::npos) << run.err;
    }
  }
  // A file that passes everything passes --fail-on-reject.
  EXPECT_EQ(
      run_tool({"extract", test_data("extraction/inch_circle.res"), "--fail-on-reject"}).exit_code,
      0);
}

TEST(ExtractVerdicts, RadialConventionInJson) {
  const json doc = parse_json(run_tool(
      {"extract", example("bracket_mm.txt"), "--format", "json", "--true-position", "radial"}));
  EXPECT_EQ(doc["summary"]["convention"], "radial");
  // The wall of width tolerance 0.040 stays out whatever the convention; the dowel hole too.
  EXPECT_EQ(doc["summary"]["checks_out"], 2);
  const json& dowel = doc["results"][4]["checks"][1];
  EXPECT_EQ(dowel["quantity"], "centre_offset");
  EXPECT_EQ(dowel["verdict"], "out");
  expect_json_near(dowel["tolerance_used"], 0.06545991139622402 / 0.05);
}

}  // namespace
}  // namespace e2e
