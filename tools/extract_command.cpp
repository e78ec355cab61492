// cncprobe extract: every probe path and feature of results files with their verdicts, as JSON
// or as tables; many files in one run, read side by side and printed in the order named.
#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"
#include "tools/commands.h"
#include "tools/extract_qif.h"
#include "tools/extract_view.h"
#include "tools/ordered_work.h"

namespace tool {

namespace {

struct ExtractOptions {
  std::vector<std::string> files;
  kptUnitsType units = kptUnitsMillimetres;
  Format format = Format::kText;
  bool points = false;        // text: list every inspection point, not only a row per probe path
  std::string settings_file;  // empty: the default inspection settings
  bool fail_on_reject = false;
  kptZoneConvention convention = kptZoneDiametral;
  std::size_t threads = 0;  // 0: the machine's cores
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

// One file read by an extractor that is used again for the next file. Everything the library
// reads for a file happens here, so a batch reading of many files can take its place.
kptResultsExtractionStatus extract_file(kptResultsDataExtractor& extractor, const std::string& file,
                                        kptUnitsType units) {
  const kptUnits read_in(units);
  return file == kStandardInput ? extractor.extract_data(kptInputFile::read(std::cin), read_in)
                                : extractor.extract_data(utString(std::string_view(file)), read_in);
}

// What every file of one command is printed with.
struct Rendering {
  const ExtractOptions& options;
  Precision precision;
  bool settings_ok;
  JsonLayout layout;
};

// Prints one extracted file and returns its exit code. An unreadable file among many gets a
// document with its error (JSON) or nothing (text); its error line is the caller's.
int render_file(const Rendering& rendering, const std::string& file,
                const kptResultsDataExtractor& extractor, kptResultsExtractionStatus status,
                Output& out, std::size_t threads = 1) {
  const ExtractOptions& options = rendering.options;
  const kptInputProblem problem = extractor.input_problem();
  const bool readable = problem == kptInputReadable;
  const ExtractView view{file,
                         options.units,
                         status,
                         extractor,
                         options.convention,
                         kptInspection::summarize(extractor, options.convention),
                         rendering.precision,
                         options.points,
                         rendering.layout,
                         readable ? nullptr : kpt_input_problem_text(problem),
                         threads};
  if (!readable) {
    if (options.format != Format::kText) write_extract_json(view, out);
    return kExitUnreadable;
  }
  if (options.format == Format::kText) {
    write_extract_text(view, out);
  } else {
    write_extract_json(view, out);
  }
  const bool rejected = options.fail_on_reject && !view.summary.passed();
  return status == kptExtractionSuccess && rendering.settings_ok && !rejected ? kExitSuccess
                                                                              : kExitProblem;
}

// The worse of two exit codes: an unreadable file beats a problem, a problem beats success.
int worse(int a, int b) {
  const auto rank = [](int code) { return code == kExitUnreadable ? 2 : code; };
  return rank(a) >= rank(b) ? a : b;
}

int run_one_file(const ExtractOptions& options, const Rendering& rendering, Output& out) {
  const std::string& file = options.files.front();
  kptResultsDataExtractor extractor;
  // A large file is read, recognised and printed on every core asked for; the output is the one
  // thread's.
  const std::size_t threads = options.threads > 0 ? options.threads : default_thread_count();
  extractor.set_threads(static_cast<unsigned int>(threads));
  const kptResultsExtractionStatus status = extract_file(extractor, file, options.units);
  if (extractor.input_problem() != kptInputReadable) {
    throw UnreadableInput(file, kpt_input_problem_text(extractor.input_problem()));
  }
  return render_file(rendering, file, extractor, status, out, threads);
}

// Several files, printed in the order named. On one thread each file is printed straight to the
// output as it is read; on several, each worker reads with its own extractor and makes the file's
// output in memory, which is printed in its turn. A file that cannot be read is reported and the
// others go on.
int run_many_files(const ExtractOptions& options, Rendering rendering, Output& out) {
  const std::vector<std::string>& files = options.files;
  const std::size_t threads =
      std::min(files.size(), options.threads > 0 ? options.threads : default_thread_count());
  if (options.format == Format::kJson) rendering.layout = JsonLayout::kArrayElement;
  if (options.format == Format::kJsonLines) rendering.layout = JsonLayout::kLine;

  int code = kExitSuccess;
  bool printed = false;
  // What goes before a file's output: the array's separator, or a blank line between texts.
  const auto separate = [&](std::size_t i, bool has_output) {
    if (options.format == Format::kJson) out.write(i == 0 ? "[\n  " : ",\n  ");
    if (options.format == Format::kText && has_output && printed) out.write('\n');
    printed = printed || has_output;
  };
  // What comes after: the error line of an unreadable file, and the exit code so far.
  const auto close = [&](std::size_t i, int file_code, kptInputProblem problem) {
    if (file_code == kExitUnreadable) error_line(files[i] + ": " + kpt_input_problem_text(problem));
    code = worse(code, file_code);
  };

  if (threads <= 1) {
    kptResultsDataExtractor extractor;
    for (std::size_t i = 0; i < files.size(); ++i) {
      const kptResultsExtractionStatus status = extract_file(extractor, files[i], options.units);
      separate(i, options.format != Format::kText || extractor.input_problem() == kptInputReadable);
      close(i, render_file(rendering, files[i], extractor, status, out), extractor.input_problem());
    }
  } else {
    std::vector<std::unique_ptr<kptResultsDataExtractor>> extractors(threads);
    // Per file, kept from its worker for its turn: its exit code and its extractor's problem.
    std::vector<int> codes(files.size(), kExitSuccess);
    std::vector<kptInputProblem> problems(files.size(), kptInputReadable);
    const MakeItem make = [&](std::size_t worker, std::size_t i, std::string& text) {
      std::unique_ptr<kptResultsDataExtractor>& extractor = extractors[worker];
      if (!extractor) extractor = std::make_unique<kptResultsDataExtractor>();
      const kptResultsExtractionStatus status = extract_file(*extractor, files[i], options.units);
      Output file_out(text);
      codes[i] = render_file(rendering, files[i], *extractor, status, file_out);
      file_out.flush();
      problems[i] = extractor->input_problem();
    };
    const TakeItem take = [&](std::size_t i, std::string& text) {
      separate(i, !text.empty());
      out.write(text);
      close(i, codes[i], problems[i]);
    };
    run_in_order(files.size(), threads, make, take);
  }
  if (options.format == Format::kJson) out.write("\n]\n");
  return code;
}

int run_extract(const ExtractOptions& options, Output& out) {
  if (std::count(options.files.begin(), options.files.end(), kStandardInput) > 1) {
    error_line("standard input (-) can be named only once");
    return kExitUsage;
  }
  kptInspectionSettings settings;
  const bool settings_ok = load_settings(options.settings_file, settings);
  if (options.format == Format::kQif) {
    // One document is one part: a QIF document per run, written to standard output or -o.
    if (options.files.size() != 1) {
      error_line("--format qif takes one results file (one document is one part)");
      return kExitUsage;
    }
    ExtractOutcome outcome;
    const int code = run_extract_qif(options.files.front(), options.units, options.convention,
                                     options.qif, out, outcome);
    if (code != kExitSuccess) return code;
    const bool rejected = options.fail_on_reject && !outcome.passed;
    return outcome.status == kptExtractionSuccess && settings_ok && !rejected ? kExitSuccess
                                                                              : kExitProblem;
  }
  Precision precision{settings.linear_precision(), settings.angular_precision(),
                      settings.unitless_precision()};
  if (options.settings_file.empty() || !settings_ok) {
    precision.linear = default_linear_digits(options.units, precision.linear);
  }
  const Rendering rendering{
      options, precision, settings_ok,
      options.format == Format::kJsonLines ? JsonLayout::kLine : JsonLayout::kDocument};
  if (options.files.size() == 1) return run_one_file(options, rendering, out);
  return run_many_files(options, rendering, out);
}

}  // namespace

void add_extract_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<ExtractOptions>();
  CLI::App* extract = app.add_subcommand(
      "extract", "Print every probe path and feature of results files, and their verdicts");
  extract->add_option("FILE", options->files, "The results files, - for standard input")
      ->required();
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
  extract
      ->add_option(
          "--threads", options->threads,
          "Files read and printed side by side, or one large file read, recognised and printed "
          "on N threads (default: the machine's cores)")
      ->check(CLI::Range(std::size_t{1}, std::size_t{1024}))
      ->option_text("N");
  add_qif_options(*extract, options->qif);
  commands.add(extract,
               "extract  FILE...  [--units mm|in] [--format text|json|jsonl|qif] [--points]\n"
               "                         [--settings FILE.xml] [--fail-on-reject]\n"
               "                         [--true-position diametral|radial] [--threads N]\n"
               "                         [--qif-points all|outside|none] [--time T] [-o FILE.qif]\n"
               "                         [--drafting-standard iso1101|asme-y14.5]",
               [options](Output& out) { return run_extract(*options, out); });
}

}  // namespace tool
