// cncprobe extract: every probe path and feature of a results file with its verdict, as JSON or
// as tables.
#include <iostream>
#include <map>
#include <memory>
#include <string>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"
#include "tools/commands.h"
#include "tools/extract_qif.h"
#include "tools/extract_view.h"

namespace tool {

namespace {

struct ExtractOptions {
  std::string file;
  kptUnitsType units = kptUnitsMillimetres;
  Format format = Format::kText;
  bool points = false;        // text: list every inspection point, not only a row per probe path
  std::string settings_file;  // empty: the default inspection settings
  bool fail_on_reject = false;
  kptZoneConvention convention = kptZoneDiametral;
  QifOptions qif;
};

// The inspection settings the output is printed with: the file's when it is accepted, the
// defaults otherwise, after one error line. False when the file was not accepted.
bool load_settings(const std::string& file, kptInspectionSettings& settings) {
  if (file.empty()) return true;
  std::string problem;
  try {
    const kptInspectionSettingsError error = read_settings_file(file, settings);
    if (settings_accepted(error.code())) return true;
    problem = error.message().utf8();
  } catch (const UnreadableInput& e) {
    problem = e.reason();
  }
  settings = kptInspectionSettings();
  error_line(file + ": " + problem + " (the default inspection settings are used)");
  return false;
}

int run_extract(const ExtractOptions& options, Output& out) {
  kptInspectionSettings settings;
  const bool settings_ok = load_settings(options.settings_file, settings);
  if (options.format == Format::kQif) {
    ExtractOutcome outcome;
    const int code =
        run_extract_qif(options.file, options.units, options.convention, options.qif, out, outcome);
    if (code != kExitSuccess) return code;
    const bool rejected = options.fail_on_reject && !outcome.passed;
    return outcome.status == kptExtractionSuccess && settings_ok && !rejected ? kExitSuccess
                                                                              : kExitProblem;
  }

  kptResultsDataExtractor extractor;
  const kptUnits units(options.units);
  const kptResultsExtractionStatus status =
      options.file == kStandardInput
          ? extractor.extract_data(kptInputFile::read(std::cin), units)
          : extractor.extract_data(utString(std::string_view(options.file)), units);
  if (extractor.input_problem() != kptInputReadable) {
    throw UnreadableInput(options.file, kpt_input_problem_text(extractor.input_problem()));
  }
  const ExtractView view{
      options.file,
      options.units,
      status,
      extractor,
      options.convention,
      kptInspection::summarize(extractor, options.convention),
      {settings.linear_precision(), settings.angular_precision(), settings.unitless_precision()},
      options.points};
  if (options.format == Format::kJson) {
    write_extract_json(view, out);
  } else {
    write_extract_text(view, out);
  }
  const bool rejected = options.fail_on_reject && !view.summary.passed();
  return status == kptExtractionSuccess && settings_ok && !rejected ? kExitSuccess : kExitProblem;
}

}  // namespace

void add_extract_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<ExtractOptions>();
  CLI::App* extract = app.add_subcommand(
      "extract", "Print every probe path and feature of a results file, and their verdicts");
  add_file_argument(*extract, "FILE", options->file, "The results file, - for standard input");
  add_units_option(*extract, options->units, "The units the file was written in (default mm)");
  add_extract_format_option(*extract, options->format);
  extract->add_flag("--points", options->points, "Text: list every inspection point too");
  extract
      ->add_option("--settings", options->settings_file,
                   "Inspection-settings XML file: the digits values are printed with")
      ->option_text("FILE.xml");
  extract->add_flag("--fail-on-reject", options->fail_on_reject,
                    "Exit 1 when any feature check or inspection point is out of tolerance");
  static const std::map<std::string, kptZoneConvention> kConventions{
      {"diametral", kptZoneDiametral}, {"radial", kptZoneRadial}};
  extract
      ->add_option("--true-position", options->convention,
                   "How TOL TP is read: a zone of that diameter (diametral, default) or a radius")
      ->transform(CLI::CheckedTransformer(kConventions).description("diametral|radial"))
      ->transform(CLI::IsMember({"diametral", "radial"}))
      ->option_text("diametral|radial");
  add_qif_options(*extract, options->qif);
  commands.add(extract,
               "extract  FILE     [--units mm|in] [--format text|json|qif] [--points]\n"
               "                         [--settings FILE.xml] [--fail-on-reject]\n"
               "                         [--true-position diametral|radial]\n"
               "                         [--qif-points all|outside|none] [--time T] [-o FILE.qif]\n"
               "                         [--drafting-standard iso1101|asme-y14.5]",
               [options](Output& out) { return run_extract(*options, out); });
}

}  // namespace tool
