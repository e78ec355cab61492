// cncprobe trend: control charts of many runs of one program, and the drift check at the machine.
// The statistics, rules and limits files are the library's (kptTrendAnalysis); this file reads
// the runs, prints what the analysis found and turns it into the exit code.
#include <cstdint>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/inspection/trend_analysis.h"
#include "tools/commands.h"
#if defined(CNCPROBE_HAVE_STORE)
#include "store/run_store.h"
#include "tools/stored_trend.h"
#endif
#include "tools/json_writer.h"
#include "tools/text_table.h"

namespace tool {

namespace {

// `--limits db`, `--save-limits db`: the control limits saved in the run store for the program.
constexpr const char* kStoreLimits = "db";

struct TrendOptions {
  std::vector<std::string> files;
  std::string db;  // the runs of a program from this run store instead of files
  std::string program;
  std::int64_t last = 0;
  std::size_t baseline = 0;  // 0: every run given
  std::string limits_file;
  std::string save_limits;
  std::string rules = "1,2,3,4,5,6,7,8";
  Format format = Format::kText;
  kptUnitsType units = kptUnitsMillimetres;
  std::string true_position = "diametral";
};

struct Run {
  std::string file;
  kptResultsExtractionStatus status = kptExtractionSuccess;
  std::string status_name;  // as the store kept it, or the status' name
  kptTrendProgram program;
};

// The runs of the trend, in order, with their series; and where saved limits came from.
struct Gathered {
  std::vector<Run> runs;
  kptTrendSeriesSet set;
};

bool limits_in_store(const TrendOptions& options, const std::string& value) {
  return !options.db.empty() && value == kStoreLimits;
}

std::optional<std::string> reference(const utString& text) {
  if (!text.valid()) return std::nullopt;
  return std::string(text.view());
}

// Each series with its statistics, features first, as the analysis lists them.
struct Entry {
  const kptTrendSeries& series;
  const kptSeriesStatistics& stats;
};

std::vector<Entry> entries(const kptTrendSeriesSet& set, const kptTrendAnalysis& analysis) {
  std::vector<Entry> list;
  for (std::size_t i = 0; i < set.features().size(); ++i) {
    list.push_back({set.features()[i], analysis.features[i]});
  }
  for (std::size_t i = 0; i < set.points().size(); ++i) {
    list.push_back({set.points()[i], analysis.points[i]});
  }
  return list;
}

std::vector<int> rule_numbers(kptRunRules rules) {
  std::vector<int> numbers;
  for (int rule = 1; rule <= 8; ++rule) {
    if (rules & kpt_run_rule(rule)) numbers.push_back(rule);
  }
  return numbers;
}

const char* chart_name(const kptRuleViolation& v) {
  return v.moving_range ? "moving_range" : "individuals";
}

void write_json(const TrendOptions& options, const std::vector<Run>& runs,
                const kptTrendSeriesSet& set, const kptTrendAnalysis& analysis, Output& out) {
  JsonWriter json(out);
  json.begin_object();
  json.key("kind");
  json.string("trend");
  json.key("units");
  json.string(units_name(options.units));
  json.key("convention");
  json.string(options.true_position);
  json.key("rules");
  json.begin_array(true);
  for (const int rule : rule_numbers(analysis.rules)) json.integer(rule);
  json.end_array();
  json.key("baseline");
  json.begin_object();
  json.key("source");
  const bool from_store = analysis.saved_limits && limits_in_store(options, options.limits_file);
  json.string(from_store ? "store" : analysis.saved_limits ? "limits_file" : "runs");
  json.key("file");
  if (analysis.saved_limits && !from_store) {
    json.string(options.limits_file);
  } else {
    json.null();
  }
  json.key("runs");
  json.integer(static_cast<std::int64_t>(analysis.baseline_runs));
  json.end_object();
  json.key("first_judged");
  json.integer(static_cast<std::int64_t>(analysis.first_judged));
  json.key("program");
  json.begin_object();
  const kptTrendProgram& program = runs.front().program;
  json.key("cldata_filename");
  if (program.cldata_filename) {
    json.string(*program.cldata_filename);
  } else {
    json.null();
  }
  json.key("cad_filename");
  if (program.cad_filename) {
    json.string(*program.cad_filename);
  } else {
    json.null();
  }
  json.end_object();
  json.key("runs");
  json.begin_array();
  for (std::size_t i = 0; i < runs.size(); ++i) {
    json.begin_object(true);
    json.key("file");
    json.string(runs[i].file);
    json.key("status");
    json.string(runs[i].status_name);
    json.key("judged");
    json.boolean(i >= analysis.first_judged);
    json.end_object();
  }
  json.end_array();

  const std::vector<Entry> list = entries(set, analysis);
  json.key("series");
  json.begin_array();
  for (const Entry& e : list) {
    const kptSeriesStatistics& st = e.stats;
    const kptControlLimits& l = st.limits;
    json.begin_object();
    json.key("key");
    json.string(e.series.key);
    json.key("kind");
    json.string(e.series.point ? "point" : "feature");
    json.key("item");
    json.string(e.series.item);
    json.key("quantity");
    json.string(e.series.quantity);
    json.key("label");
    json.string(e.series.label);
    json.key("lower_tolerance");
    json.number(e.series.tolerance.lower);
    json.key("upper_tolerance");
    json.number(e.series.tolerance.upper);
    json.key("n");
    json.integer(static_cast<std::int64_t>(st.n));
    json.key("mean");
    json.number(st.mean);
    json.key("s");
    json.number(st.standard_deviation);
    json.key("min");
    json.number(st.min);
    json.key("max");
    json.number(st.max);
    json.key("state");
    json.string(kpt_control_state_name(l.state));
    json.key("baseline_n");
    json.integer(static_cast<std::int64_t>(l.n));
    const auto when_set = [&l](double value) {
      return l.usable() ? std::optional<double>(value) : std::nullopt;
    };
    json.key("centre");
    json.number(when_set(l.centre));
    json.key("moving_range");
    json.number(when_set(l.moving_range));
    json.key("sigma_within");
    json.number(when_set(l.sigma));
    json.key("lcl");
    json.number(when_set(l.lower));
    json.key("ucl");
    json.number(when_set(l.upper));
    json.key("mr_ucl");
    json.number(when_set(l.moving_range_upper));
    json.key("cp");
    json.number(st.cp);
    json.key("cpk");
    json.number(st.cpk);
    json.key("cpk_low");
    json.number(st.cpk_low);
    json.key("cpk_high");
    json.number(st.cpk_high);
    json.key("pp");
    json.number(st.pp);
    json.key("ppk");
    json.number(st.ppk);
    json.key("one_sided");
    json.boolean(st.one_sided);
    json.key("capability_preliminary");
    json.boolean(st.capability_preliminary);
    json.key("performance_preliminary");
    json.boolean(st.performance_preliminary);
    json.key("violations");
    json.integer(static_cast<std::int64_t>(st.violations.size()));
    json.end_object();
  }
  json.end_array();

  json.key("violations");
  json.begin_array();
  for (const Entry& e : list) {
    for (const kptRuleViolation& v : e.stats.violations) {
      json.begin_object(true);
      json.key("run");
      json.integer(static_cast<std::int64_t>(v.run));
      json.key("file");
      json.string(runs[v.run].file);
      json.key("key");
      json.string(e.series.key);
      json.key("item");
      json.string(e.series.item);
      json.key("quantity");
      json.string(e.series.quantity);
      json.key("rule");
      json.integer(v.rule);
      json.key("chart");
      json.string(chart_name(v));
      json.key("value");
      json.number(v.value);
      json.end_object();
    }
  }
  json.end_array();
  json.key("points_omitted");
  json.integer(static_cast<std::int64_t>(set.points_omitted()));
  json.key("drifting");
  json.boolean(analysis.drifting());
  json.end_object();
  json.finish();
}

std::string number_or_dash(const std::optional<double>& value, int decimals) {
  return value ? format_fixed(*value, decimals) : std::string("-");
}

void write_text(const TrendOptions& options, const std::vector<Run>& runs,
                const kptTrendSeriesSet& set, const kptTrendAnalysis& analysis, Output& out) {
  const auto line = [&out](const std::string& text) {
    out.write(text);
    out.write('\n');
  };
  line(std::to_string(runs.size()) + " runs; control limits from " +
       (analysis.saved_limits ? std::string(limits_in_store(options, options.limits_file)
                                                ? "the limits saved in the store ("
                                                : "a saved limits file (") +
                                    std::to_string(analysis.baseline_runs) + " runs)"
                              : "the first " + std::to_string(analysis.baseline_runs) + " runs") +
       "; judged: " +
       (analysis.first_judged == 0 ? std::string("every run")
                                   : "runs " + std::to_string(analysis.first_judged + 1) + " to " +
                                         std::to_string(runs.size())));
  line("Rules: " + [&] {
    std::string text;
    for (const int rule : rule_numbers(analysis.rules)) {
      text += (text.empty() ? "" : ",") + std::to_string(rule);
    }
    return text;
  }());
  line("");

  TextTable table({{"SERIES", TextTable::kLeft},
                   {"QUANTITY", TextTable::kLeft},
                   {"N", TextTable::kRight},
                   {"MEAN", TextTable::kRight},
                   {"SIGMA", TextTable::kRight},
                   {"S", TextTable::kRight},
                   {"LCL", TextTable::kRight},
                   {"UCL", TextTable::kRight},
                   {"CP", TextTable::kRight},
                   {"CPK", TextTable::kRight},
                   {"PP", TextTable::kRight},
                   {"PPK", TextTable::kRight},
                   {"NOTE", TextTable::kLeft},
                   {"VIOLATIONS", TextTable::kRight}});
  std::vector<TextTable::Row> rows;
  for (const Entry& e : entries(set, analysis)) {
    const kptSeriesStatistics& st = e.stats;
    const kptControlLimits& l = st.limits;
    const auto when_set = [&l](double v) {
      return l.usable() ? std::optional<double>(v) : std::nullopt;
    };
    std::string note;
    switch (l.state) {
      case kptControlLimitsSet:
        break;
      case kptControlTooFewValues:
        note = "too few values for limits";
        break;
      case kptControlNoSpread:
        note = "no spread in the baseline: no limits, no rules";
        break;
      case kptControlNoBaseline:
        note = "not in the limits file";
        break;
    }
    if (l.usable() && st.capability_preliminary) {
      note = "preliminary (baseline n=" + std::to_string(l.n) + ")";
    }
    if (st.one_sided) note += note.empty() ? "one-sided: Cpu, Ppu" : "; one-sided: Cpu, Ppu";
    rows.push_back({printable_text(e.series.item), e.series.label, std::to_string(st.n),
                    number_or_dash(st.mean, 4), number_or_dash(when_set(l.sigma), 4),
                    number_or_dash(st.standard_deviation, 4), number_or_dash(when_set(l.lower), 4),
                    number_or_dash(when_set(l.upper), 4), number_or_dash(st.cp, 2),
                    number_or_dash(st.cpk, 2), number_or_dash(st.pp, 2), number_or_dash(st.ppk, 2),
                    note, std::to_string(st.violations.size())});
  }
  for (const TextTable::Row& row : rows) table.measure(row);
  table.print_header(out);
  for (const TextTable::Row& row : rows) table.print(out, row);

  line("");
  std::size_t count = 0;
  for (const Entry& e : entries(set, analysis)) count += e.stats.violations.size();
  if (count == 0) {
    line("No rule fired on a judged run.");
    return;
  }
  line("Violations (" + std::to_string(count) + "):");
  for (const Entry& e : entries(set, analysis)) {
    for (const kptRuleViolation& v : e.stats.violations) {
      line("  " + printable_text(runs[v.run].file) + ": " + printable_text(e.series.item) + " " +
           e.series.label + ": rule " + std::to_string(v.rule) +
           (v.moving_range ? " (moving range)" : "") + ", value " + format_fixed(v.value, 4));
    }
  }
}

bool baseline_fits(const TrendOptions& options, std::size_t runs) {
  if (!options.limits_file.empty()) return true;
  if (options.baseline == 1 || options.baseline > runs) {
    error_line("trend: --baseline takes 2 to " + std::to_string(runs) + " runs (the runs given)");
    return false;
  }
  if (runs < 2) {
    error_line("trend: a baseline needs two runs at least; give more runs or --limits FILE.json");
    return false;
  }
  return true;
}

// Reads the runs named on the command line; an exit code when one cannot be read.
std::optional<int> gather_files(const TrendOptions& options, Gathered& gathered) {
  for (const std::string& file : options.files) {
    const kptInputFile input = kptInputFile::read(utString(std::string_view(file)));
    if (!input.ok()) {
      error_line(file + ": " + kpt_input_problem_text(input.problem()));
      return kExitUnreadable;
    }
    Run run;
    run.file = file;
    kptFileReferenceExtractor refs;
    (void)refs.extract(input);
    run.program = {reference(refs.cldata_filename()), reference(refs.cad_filename())};
    kptResultsDataExtractor extractor;
    run.status = extractor.extract_data(input, kptUnits(options.units));
    run.status_name = kptStatusText::name(run.status);
    gathered.set.add_run(extractor);
    gathered.runs.push_back(std::move(run));
  }
  return std::nullopt;
}

std::optional<int> parse_limits(const std::string& name, std::string_view text,
                                kptControlLimitsFile& saved) {
  if (const std::string problem = kptControlLimitsFile::parse(text, saved); !problem.empty()) {
    error_line(name + ": " + problem);
    return kExitUnreadable;
  }
  return std::nullopt;
}

std::optional<int> read_limits_file(const std::string& file, kptControlLimitsFile& saved) {
  const kptInputFile input = kptInputFile::read(utString(std::string_view(file)));
  if (!input.ok()) {
    error_line(file + ": " + kpt_input_problem_text(input.problem()));
    return kExitUnreadable;
  }
  return parse_limits(file, input.bytes(), saved);
}

std::optional<int> write_limits_file(const std::string& file, const std::string& text) {
  std::FILE* stream = open_for_writing(file);
  const bool written = stream && std::fwrite(text.data(), 1, text.size(), stream) == text.size();
  if (stream && std::fclose(stream) != 0) stream = nullptr;
  if (!written || !stream) {
    error_line(file + ": cannot be written");
    return kExitFailure;
  }
  return std::nullopt;
}

// Judges the gathered runs, saves the limits where asked and prints; the exit code.
int judge(const TrendOptions& options, kptRunRules rules, Gathered& gathered,
          const std::optional<kptControlLimitsFile>& saved,
          const std::function<std::optional<int>(const std::string&)>& save, Output& out) {
  const std::vector<Run>& runs = gathered.runs;
  if (saved) {
    for (const Run& run : runs) {
      if (saved->program.same_as(run.program)) continue;
      const std::string source =
          limits_in_store(options, options.limits_file) ? "the store" : options.limits_file;
      error_line(run.file + ": the limits in " + source + " are of another program (" +
                 saved->program.describe() + "; this run: " + run.program.describe() + ")");
      return kExitUsage;
    }
  }
  const kptTrendAnalysis analysis =
      saved ? kptTrendAnalysis::from_saved(gathered.set, *saved, rules)
            : kptTrendAnalysis::from_baseline(gathered.set, options.baseline, rules);

  if (!options.save_limits.empty()) {
    std::vector<std::string> baseline_files;
    for (std::size_t i = 0; !saved && i < analysis.baseline_runs; ++i) {
      baseline_files.push_back(runs[i].file);
    }
    const std::string text =
        analysis
            .limits_file(gathered.set, runs.front().program, saved ? saved->runs : baseline_files)
            .to_json();
    if (const std::optional<int> failed = save(text)) return *failed;
  }

  if (options.format == Format::kJson) {
    write_json(options, runs, gathered.set, analysis, out);
  } else {
    write_text(options, runs, gathered.set, analysis, out);
  }
  for (const Run& run : runs) {
    if (run.status != kptExtractionSuccess) {
      error_line(run.file + ": " + kptStatusText::meaning(run.status));
    }
  }
  return analysis.drifting() ? kExitProblem : kExitSuccess;
}

int run_file_trend(const TrendOptions& options, kptRunRules rules, Output& out) {
  if (!baseline_fits(options, options.files.size())) return kExitUsage;
  std::optional<kptControlLimitsFile> saved;
  if (!options.limits_file.empty()) {
    saved.emplace();
    if (const std::optional<int> failed = read_limits_file(options.limits_file, *saved)) {
      return *failed;
    }
  }
  const kptZoneConvention convention =
      options.true_position == "radial" ? kptZoneRadial : kptZoneDiametral;
  Gathered gathered{{}, kptTrendSeriesSet(convention)};
  if (const std::optional<int> failed = gather_files(options, gathered)) return *failed;
  return judge(
      options, rules, gathered, saved,
      [&](const std::string& text) { return write_limits_file(options.save_limits, text); }, out);
}

// The trend of a program's stored runs: the same analysis and output as for files, with the
// limits read from and saved to the store on `--limits db` and `--save-limits db`.
int run_stored_trend(const TrendOptions& options, kptRunRules rules, Output& out) {
  if (options.db.empty() || options.program.empty() || !options.files.empty()) {
    error_line("trend: a trend of stored runs takes --db URL and --program NAME, and no files");
    return kExitUsage;
  }
#if !defined(CNCPROBE_HAVE_STORE)
  (void)rules;
  (void)out;
  error_line("trend: this build of cncprobe has no run store");
  return kExitUsage;
#else
  if (options.true_position == "radial") {
    error_line(
        "trend: stored runs were judged when they were ingested; --true-position is for "
        "files");
    return kExitUsage;
  }
  const bool save_to_store = options.save_limits == kStoreLimits;
  store::StoreStatus status;
  const std::unique_ptr<store::RunStore> runs =
      store::RunStore::open(options.db, status, save_to_store);
  TrendData trend;
  std::vector<store::StoredRun> listed;
  if (!runs || !stored_trend(*runs, options.program, options.last, trend, status, &listed)) {
    error_line(status.message);
    return kExitStore;
  }
  if (listed.empty()) {
    error_line("trend: the store holds no runs of " + options.program);
    return kExitProblem;
  }
  if (!baseline_fits(options, listed.size())) return kExitUsage;

  std::optional<kptControlLimitsFile> saved;
  if (limits_in_store(options, options.limits_file)) {
    const std::optional<std::string> document = runs->latest_limits(options.program, status);
    if (!status.ok()) {
      error_line(status.message);
      return kExitStore;
    }
    if (!document) {
      error_line("trend: the store holds no control limits of " + options.program +
                 "; save them with --baseline N --save-limits db");
      return kExitUnreadable;
    }
    saved.emplace();
    if (const std::optional<int> failed =
            parse_limits("the limits of " + options.program + " in the store", *document, *saved)) {
      return *failed;
    }
  } else if (!options.limits_file.empty()) {
    saved.emplace();
    if (const std::optional<int> failed = read_limits_file(options.limits_file, *saved)) {
      return *failed;
    }
  }

  Gathered gathered{{}, std::move(trend.series)};
  for (const store::StoredRun& stored : listed) {
    Run run;
    run.file = stored.path;
    run.status = static_cast<kptResultsExtractionStatus>(stored.status_code);
    run.status_name = stored.status_name;
    run.program = {stored.cldata_filename, stored.cad_filename};
    gathered.runs.push_back(std::move(run));
  }
  const auto save = [&](const std::string& text) -> std::optional<int> {
    if (!save_to_store) return write_limits_file(options.save_limits, text);
    if (!runs->save_limits(options.program, text, status)) {
      error_line(status.message);
      return kExitStore;
    }
    return std::nullopt;
  };
  return judge(options, rules, gathered, saved, save, out);
#endif
}

int run_trend(const TrendOptions& options, Output& out) {
  const std::optional<kptRunRules> rules = kptControlChart::parse_rules(options.rules);
  if (!rules) {
    error_line("trend: --rules takes rule numbers 1 to 8 separated by commas, not \"" +
               options.rules + "\"");
    return kExitUsage;
  }
  if (!options.db.empty() || !options.program.empty() || options.last > 0) {
    return run_stored_trend(options, *rules, out);
  }
  if (options.files.empty()) {
    error_line("trend: results files are needed, or --db URL --program NAME");
    return kExitUsage;
  }
  return run_file_trend(options, *rules, out);
}

}  // namespace

void add_trend_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<TrendOptions>();
  CLI::App* trend = app.add_subcommand(
      "trend", "Control charts and run rules over many runs of one program: is it drifting?");
  trend->add_option("RUN", options->files, "The results files of the runs, oldest first");
  trend
      ->add_option("--db", options->db,
                   "The runs of --program from this run store instead of files")
      ->option_text("URL");
  trend->add_option("--program", options->program, "With --db: the program whose runs to take")
      ->option_text("NAME");
  trend->add_option("--last", options->last, "With --db: the newest N runs only")
      ->check(CLI::PositiveNumber)
      ->option_text("N");
  CLI::Option* baseline =
      trend->add_option("--baseline", options->baseline,
                        "Control limits from the first N runs (default: every run given)");
  CLI::Option* limits =
      trend->add_option("--limits", options->limits_file,
                        "Judge every run against limits saved earlier (with --db, \"db\": the "
                        "limits saved in the store)");
  baseline->excludes(limits);
  trend->add_option("--save-limits", options->save_limits,
                    "Save the control limits used, to judge later runs with --limits (with --db, "
                    "\"db\": into the store)");
  trend->add_option("--rules", options->rules, "The run rules to apply (default 1,2,3,4,5,6,7,8)");
  add_units_option(*trend, options->units, "The units the files were written in (default mm)");
  trend
      ->add_option("--true-position", options->true_position,
                   "A TP tolerance read as a diametral zone (default) or a radial limit")
      ->check(CLI::IsMember({"diametral", "radial"}));
  add_format_option(*trend, options->format);
  commands.add(trend,
               "trend    RUN...   [--baseline N | --limits FILE.json] [--save-limits FILE.json]\n"
               "                                  [--rules LIST] [--format text|json]\n"
               "       cncprobe trend    --db URL --program NAME [--last N] [--limits db] "
               "[--save-limits db]",
               [options](Output& out) { return run_trend(*options, out); });
}

}  // namespace tool
