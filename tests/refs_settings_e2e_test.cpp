// cncprobe refs and cncprobe settings end to end: their JSON documents field by field.
#include <gtest/gtest.h>

#include <string>

#include "tests/tool_runner.h"

namespace e2e {
namespace {

using nlohmann::json;

TEST(RefsJson, FoundEmptyAndMissingReferences) {
  const ToolRun run = run_tool({"refs", example("bracket_mm.txt"), "--format", "json"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(parse_json(run),
            json::parse(R"({"file": ")" + example("bracket_mm.txt") + R"(", "status": 1,
      "results_file_version": {"text": "2.0.11", "major": 2, "minor": 0, "build": 11, "unversioned": false},
      "settings_filename": "bracket_settings.xml", "cad_filename": "C:\\jobs\\bracket\\bracket_op20.model",
      "cldata_filename": "C:\\jobs\\bracket\\bracket_op20_probe.cl", "document_id": "BRK-1042",
      "document_version": "3", "model_version": "7"})"));

  const json crlf =
      parse_json(run_tool({"refs", example("references_crlf.txt"), "--format", "json"}));
  EXPECT_EQ(crlf["model_version"], "");       // found, empty
  EXPECT_EQ(crlf["document_version"], "12");  // no carriage return left on the value

  TempDir dir;
  const json none =
      parse_json(run_tool({"refs", dir.write("plain.txt", "START\nEND\n"), "--format", "json"}));
  EXPECT_EQ(none["status"], 1);
  EXPECT_EQ(none["cad_filename"], nullptr);
  EXPECT_EQ(
      none["results_file_version"],
      json::parse(R"({"text": null, "major": 0, "minor": 0, "build": 0, "unversioned": true})"));
}

json settings(int version, const char* units, double proximity, double confetti, int linear,
              int angular, int unitless, const char* label) {
  return {{"version", version},
          {"input_units", units},
          {"proximity_criteria_mm", proximity},
          {"confetti_diameter_mm", confetti},
          {"linear_precision", linear},
          {"angular_precision", angular},
          {"unitless_precision", unitless},
          {"surface_point_label", label}};
}

TEST(SettingsJson, OutcomeAndSettingsAfterTheCall) {
  const std::string refused =
      "There are invalid inspection settings. The diameter setting should be a positive rational "
      "number.";
  const struct {
    const char* file;
    const char* units;
    int exit_code, code;
    const char* name;
    std::string message;
    json settings;
  } cases[] = {
      {"bracket_settings.xml", "mm", 0, 0, "success",
       "The inspection settings file was parsed successfully.",
       settings(1, "mm", 0.5, 3.0, 4, 2, 6, "Probe Point")},
      {"settings_newer_version.xml", "mm", 0, 1, "newer_version",
       "The inspection settings file was parsed successfully, but the version was newer than "
       "supported.",
       settings(2, "in", 0.02 * 25.4, 0.125 * 25.4, 5, 3, 5, "Surface Point ")},
      {"settings_invalid.xml", "mm", 1, 5, "invalid_settings", refused,
       settings(0, "mm", 0.8, 4.0, 3, 3, 5, "Surface Point ")},
      // Refused: the settings keep the units they started from, which --units chose.
      {"settings_invalid.xml", "in", 1, 5, "invalid_settings", refused,
       settings(0, "in", 0.8, 4.0, 3, 3, 5, "Surface Point ")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.file) + " " + c.units);
    const ToolRun run =
        run_tool({"settings", example(c.file), "--units", c.units, "--format", "json"});
    EXPECT_EQ(run.exit_code, c.exit_code);
    EXPECT_EQ(parse_json(run), json({{"file", example(c.file)},
                                     {"code", c.code},
                                     {"name", c.name},
                                     {"message", c.message},
                                     {"settings", c.settings}}));
  }
}

}  // namespace
}  // namespace e2e
