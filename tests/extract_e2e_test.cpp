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
  EXPECT_NE(run.out.find("  2  2 (1)          3         3            +0.0080"), std::string::npos)
      << run.out;
  // One row per probe path unless --points asks for every point.
  EXPECT_EQ(run.out.find("Inspection Point"), std::string::npos);
  EXPECT_NE(
      run_tool({"extract", example("bracket_mm.txt"), "--points"}).out.find("Inspection Point"),
      std::string::npos);
}

}  // namespace
}  // namespace e2e
