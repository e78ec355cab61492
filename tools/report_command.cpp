// cncprobe report: one results file as a self-contained HTML inspection report, or several runs
// of the same program as a trend report.
#include "tools/report_command.h"

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cncprobe/foundation/input_file.h"
#include "tools/commands.h"
#if defined(CNCPROBE_HAVE_STORE)
#include "store/run_store.h"
#include "tools/stored_trend.h"
#endif
#include "tools/report/report_data.h"
#include "tools/report/report_page.h"

namespace tool {

namespace {

// "/jobs/run 3.txt" -> "run 3.html": the input's base name, in the current directory.
std::string default_output(const std::string& input) {
  std::string base = input.substr(input.find_last_of("/\\") + 1);
  const std::size_t dot = base.find_last_of('.');
  if (dot != std::string::npos && dot > 0) base.erase(dot);
  if (base.empty() || base == "." || base == "..") base = "report";
  return base + ".html";
}

kptInputFile read_input(const std::string& file) {
  if (file == "-") return kptInputFile::read(std::cin);
  return kptInputFile::read(utString(std::string_view(file)));
}

// Writes the page to options.output; false (after one error line) when it cannot be written.
[[maybe_unused]] bool write_page(const ReportPage& page, const std::string& output) {
  std::FILE* stream = open_for_writing(output);
  if (!stream) {
    error_line(output + ": cannot be written");
    return false;
  }
  {
    Output page_out(stream);
    write_report_page(page, page_out);
    page_out.flush();
  }
  if (std::fclose(stream) != 0) {
    error_line(output + ": cannot be written");
    return false;
  }
  return true;
}

// The trend report of a program's stored runs.
int run_stored_trend(ReportOptions& options, Output& out) {
  if (options.db.empty() || options.program.empty() || !options.files.empty()) {
    error_line("report: a trend of stored runs takes --db URL and --program NAME, and no files");
    return kExitUsage;
  }
#if !defined(CNCPROBE_HAVE_STORE)
  (void)out;
  error_line("report: this build of cncprobe has no run store");
  return kExitUsage;
#else
  if (options.output.empty()) options.output = "trend.html";
  const SettingsOutcome settings = read_settings(options);
  store::StoreStatus status;
  const std::unique_ptr<store::RunStore> runs = store::RunStore::open(options.db, status, false);
  TrendData trend;
  if (!runs || !stored_trend(*runs, options.program, options.last, trend, status)) {
    error_line(status.message);
    return kExitStore;
  }
  if (trend.runs.empty()) {
    error_line("report: the store holds no runs of " + options.program);
    return kExitProblem;
  }
  const ReportData data = trend_report_data(options, settings, trend);
  ReportPage page{data.title, "trend", options.generator, {}};
  page.write_data = [&data](Output& page_out) { page_out.write(data.json); };
  if (!write_page(page, options.output)) return kExitFailure;
  out.write(options.output);
  out.write('\n');
  if (!settings.problem.empty()) {
    error_line(options.settings_file + ": " + settings.problem +
               "; the default settings were used");
    return kExitProblem;
  }
  return data.extraction_succeeded ? kExitSuccess : kExitProblem;
#endif
}

}  // namespace

int run_report(ReportOptions options, Output& out) {
  if (!options.db.empty() || !options.program.empty()) return run_stored_trend(options, out);
  if (options.files.empty()) {
    error_line("report: a results file is needed, or --db URL --program NAME");
    return kExitUsage;
  }
  const bool trend = options.files.size() > 1;
  if (options.baseline != 0 && (options.baseline < 2 || options.baseline > options.files.size())) {
    error_line("report: --baseline takes 2 to " + std::to_string(options.files.size()) +
               " runs (the runs given)");
    return kExitUsage;
  }
  if (options.output.empty()) {
    if (!trend && options.files.front() == "-") {
      error_line(
          "report: -o FILE.html is needed when the results file is read from standard input");
      return kExitUsage;
    }
    options.output = trend ? "trend.html" : default_output(options.files.front());
  }

  // A trend report and standard input are read whole first; one named file is only opened here,
  // to refuse it before anything is written, and the library reads it in blocks later.
  std::vector<kptInputFile> inputs;
  if (trend || options.files.front() == "-") {
    for (const std::string& file : options.files) {
      inputs.push_back(read_input(file));
      if (!inputs.back().ok()) {
        error_line(file + ": " + kpt_input_problem_text(inputs.back().problem()));
        return kExitUnreadable;
      }
    }
  } else if (const kptInputProblem problem =
                 kptInputStream::open(utString(std::string_view(options.files.front()))).problem();
             problem != kptInputReadable) {
    error_line(options.files.front() + ": " + kpt_input_problem_text(problem));
    return kExitUnreadable;
  }

  const SettingsOutcome settings = read_settings(options);
  ReportPage page{trend ? std::string() : single_report_title(options),
                  trend ? "trend" : "report",
                  options.generator,
                  {}};
  bool extraction_succeeded = false;
  kptInputProblem read_problem = kptInputReadable;
  ReportData trend_data;
  const std::string date = trend ? std::string() : file_date(options.files.front());
  if (trend) {
    trend_data = trend_report_data(options, settings, inputs);
    page.title = trend_data.title;
    extraction_succeeded = trend_data.extraction_succeeded;
    page.write_data = [&trend_data](Output& page_out) { page_out.write(trend_data.json); };
  } else {
    // The data goes straight into the page as it is gathered: the page is never held whole.
    page.write_data = [&](Output& page_out) {
      const SingleReportOutcome outcome = write_single_report_data(
          options, settings, inputs.empty() ? nullptr : &inputs.front(), date, page_out);
      extraction_succeeded = outcome.extraction_succeeded;
      read_problem = outcome.input_problem;
    };
  }

  std::FILE* stream = open_for_writing(options.output);
  if (!stream) {
    error_line(options.output + ": cannot be written");
    return kExitFailure;
  }
  {
    Output page_out(stream);
    write_report_page(page, page_out);
    page_out.flush();
  }
  if (std::fclose(stream) != 0) {
    error_line(options.output + ": cannot be written");
    return kExitFailure;
  }
  if (read_problem != kptInputReadable) {
    // The file failed part way through: no page of half a file.
    std::remove(options.output.c_str());
    error_line(options.files.front() + ": " + kpt_input_problem_text(read_problem));
    return kExitUnreadable;
  }
  out.write(options.output);
  out.write('\n');

  if (!settings.problem.empty()) {
    error_line(options.settings_file + ": " + settings.problem +
               "; the default settings were used");
    return kExitProblem;
  }
  return extraction_succeeded ? kExitSuccess : kExitProblem;
}

void add_report_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<ReportOptions>();
  auto true_position = std::make_shared<std::string>("diametral");
  options->generator = std::string("cncprobe ") + CNCPROBE_TOOL_VERSION;
  CLI::App* report = app.add_subcommand(
      "report", "Write a self-contained HTML inspection report (several runs: a trend report)");
  report->add_option("FILE", options->files,
                     "The results file (- for standard input), or several runs of one program");
  add_units_option(*report, options->units, "The units the files were written in (default mm)");
  report->add_option("--settings", options->settings_file,
                     "Inspection settings: digits of the values and the confetti diameter");
  report->add_option("-o,--output", options->output,
                     "The page to write (default: the input's base name with .html; trend.html)");
  report->add_option("--baseline", options->baseline,
                     "A trend report's control limits from the first N runs (default: all)");
  report
      ->add_option("--true-position", *true_position,
                   "A TP tolerance read as a diametral zone (default) or a radial limit")
      ->check(CLI::IsMember({"diametral", "radial"}));
  report->add_option("--db", options->db, "A trend of stored runs: the run store")
      ->option_text("URL");
  report->add_option("--program", options->program, "A trend of stored runs: the program")
      ->option_text("NAME");
  report->add_option("--last", options->last, "A trend of stored runs: the newest N only")
      ->check(CLI::PositiveNumber)
      ->option_text("N");
  commands.add(
      report,
      "report   FILE...  [--units mm|in] [--settings FILE.xml] [-o FILE.html]\n"
      "                                  [--baseline N]\n"
      "       cncprobe report   --db URL --program NAME [--last N] [--baseline N] [-o FILE.html]",
      [options, true_position](Output& out) {
        ReportOptions chosen = *options;
        chosen.convention = *true_position == "radial" ? kptZoneRadial : kptZoneDiametral;
        return run_report(std::move(chosen), out);
      });
}

}  // namespace tool
