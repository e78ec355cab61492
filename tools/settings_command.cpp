// cncprobe settings: an inspection-settings XML file read into default settings.
#include <memory>
#include <string>

#include "cncprobe/foundation/input_file.h"
#include "cncprobe/platform/text/path.h"
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"
#include "cncprobe/settings/inspection_settings_reader.h"
#include "tools/commands.h"
#include "tools/json_writer.h"

namespace tool {

namespace {

struct SettingsOptions {
  std::string file;
  kptUnitsType units = kptUnitsMillimetres;
  Format format = Format::kText;
};

const char* code_name(kptInspectionSettingsErrorCode code) {
  switch (code) {
    case kptSettingsSuccess:
      return "success";
    case kptSettingsNewerVersion:
      return "newer_version";
    case kptSettingsInvalidPath:
      return "invalid_path";
    case kptSettingsInvalidVersion:
      return "invalid_version";
    case kptSettingsInvalidXml:
      return "invalid_xml";
    case kptSettingsInvalidSettings:
      return "invalid_settings";
  }
  return "unknown";
}

void write_json(const std::string& file, const kptInspectionSettingsError& error,
                const kptInspectionSettings& settings, Output& out) {
  JsonWriter json(out);
  json.begin_object();
  json.key("file");
  json.string(file);
  json.key("code");
  json.integer(error.code());
  json.key("name");
  json.string(code_name(error.code()));
  json.key("message");
  json.string(error.message().utf8());
  json.key("settings");
  json.begin_object();
  json.key("version");
  json.integer(settings.version());
  json.key("input_units");
  json.string(units_name(settings.input_units().type()));
  json.key("proximity_criteria_mm");
  json.number(settings.proximity_criteria_mm());
  json.key("confetti_diameter_mm");
  json.number(settings.confetti_diameter_mm());
  json.key("linear_precision");
  json.integer(settings.linear_precision());
  json.key("angular_precision");
  json.integer(settings.angular_precision());
  json.key("unitless_precision");
  json.integer(settings.unitless_precision());
  json.key("surface_point_label");
  json.string(settings.surface_point_label().view());
  json.end_object();
  json.end_object();
  json.finish();
}

std::string shortest(double value) {
  char buffer[kNumberBufferSize];
  return std::string(format_json_number(value, buffer));
}

void write_text(const std::string& file, const kptInspectionSettingsError& error,
                const kptInspectionSettings& settings, Output& out) {
  std::string text;
  text += "File:     " + printable_text(file) + "\n";
  text += "Outcome:  " + std::string(code_name(error.code())) + " (" +
          std::to_string(error.code()) + ")\n";
  text += "Message:  " + printable_text(error.message().utf8()) + "\n";
  text += settings_accepted(error.code()) ? "Settings, as read from the file:\n"
                                          : "Settings, untouched since the file was refused:\n";
  const std::string units = units_name(settings.input_units().type());
  text += "  version              " + std::to_string(settings.version()) + "\n";
  text += "  input units          " + units + "\n";
  text += "  proximity criterion  " + shortest(settings.proximity_criteria_mm()) + " mm\n";
  text += "  confetti diameter    " + shortest(settings.confetti_diameter_mm()) + " mm\n";
  text += "  linear precision     " + std::to_string(settings.linear_precision()) + " digits\n";
  text += "  angular precision    " + std::to_string(settings.angular_precision()) + " digits\n";
  text += "  unitless precision   " + std::to_string(settings.unitless_precision()) + " digits\n";
  text +=
      "  surface point label  \"" + printable_text(settings.surface_point_label().view()) + "\"\n";
  out.write(text);
}

int run_settings(const SettingsOptions& options, Output& out) {
  const std::string& file = options.file;
  kptInspectionSettings settings;
  settings.set_input_units(kptUnits(options.units));
  const kptInspectionSettingsError error = read_settings_file(file, settings);
  if (options.format == Format::kJson) {
    write_json(file, error, settings, out);
  } else {
    write_text(file, error, settings, out);
  }
  return settings_accepted(error.code()) ? kExitSuccess : kExitProblem;
}

}  // namespace

kptInspectionSettingsError read_settings_file(const std::string& file,
                                              kptInspectionSettings& settings) {
  // The XML reader opens the file by its name and would wait on a FIFO for a writer: the file is
  // first opened the way every reader of the library opens its input, which refuses what is not
  // a regular file and says why.
  {
    const kptInputStream input = kptInputStream::open(utString(std::string_view(file)));
    if (input.problem() != kptInputReadable) {
      throw UnreadableInput(file, kpt_input_problem_text(input.problem()));
    }
  }
  const kptInspectionSettingsError error =
      kptInspectionSettingsReader::read(apPath(file), settings);
  // The file opened a moment ago; the reader refusing its path means it went away since.
  if (error == kptSettingsInvalidPath) {
    throw UnreadableInput(file, kpt_input_problem_text(kptInputReadError));
  }
  return error;
}

void add_settings_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<SettingsOptions>();
  CLI::App* settings = app.add_subcommand("settings", "Read an inspection-settings XML file");
  add_file_argument(*settings, "FILE.xml", options->file, "The settings file");
  add_units_option(*settings, options->units,
                   "The input units the settings start from (default mm)");
  add_format_option(*settings, options->format);
  commands.add(settings, "settings FILE.xml [--units mm|in] [--format text|json]",
               [options](Output& out) { return run_settings(*options, out); });
}

}  // namespace tool
