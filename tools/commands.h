// The commands of the cncprobe tool and how they join the command line.
//
// Each command lives in its own file and provides one add_<name>_command function: it declares
// the subcommand and its options on the CLI11 app and registers what to run when the user chose
// it. main.cpp calls each add_ function once, in the order the usage lists them:
//
//   void add_refs_command(CLI::App& app, CommandSet& commands) {
//     auto options = std::make_shared<RefsOptions>();
//     CLI::App* refs = app.add_subcommand("refs", "Print the reference lines of a header");
//     add_file_argument(*refs, options->file, "The results file");
//     add_format_option(*refs, options->format);
//     commands.add(refs, "refs     FILE     [--format text|json]",
//                  [options](Output& out) { return run_refs(*options, out); });
//   }
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cncprobe/foundation/units.h"
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"
#include "tools/output.h"

namespace tool {

// Exit codes of the tool.
inline constexpr int kExitSuccess = 0;     // done, and the outcome is a success
inline constexpr int kExitProblem = 1;     // done, output printed, the outcome reports a problem
inline constexpr int kExitUsage = 2;       // unknown command or option, missing argument
inline constexpr int kExitUnreadable = 3;  // the input file cannot be read
inline constexpr int kExitFailure = 4;     // the tool itself failed (out of memory, output refused)
inline constexpr int kExitStore = 5;       // the run store cannot be opened, read or written

// kJsonLines: one JSON document per line; kQif: a QIF results document (extract only).
enum class Format { kText, kJson, kJsonLines, kQif };

// The FILE argument that names standard input (extract, refs); the documents label it so.
inline constexpr const char* kStandardInput = "-";

// Thrown by a command whose input cannot be read; main prints "cncprobe: FILE: REASON" and exits
// with kExitUnreadable. Nothing has been printed on standard output when it is thrown.
class UnreadableInput : public std::runtime_error {
 public:
  UnreadableInput(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason), reason_(reason) {}
  // The reason alone, without the file name.
  const std::string& reason() const noexcept { return reason_; }

 private:
  std::string reason_;
};

// One line "cncprobe: TEXT" on standard error, whatever bytes the text holds.
void error_line(const std::string& text);

// What a command does once the command line is parsed: prints to `out`, returns the exit code.
using CommandAction = std::function<int(Output& out)>;

// The tool's commands, in the order they were added.
class CommandSet {
 public:
  // `command` is the subcommand on the app; `usage` its usage line without "cncprobe ".
  void add(CLI::App* command, std::string usage, CommandAction action) {
    commands_.push_back({command, std::move(usage), std::move(action)});
  }
  // The usage of every command, one line each, then --help and --version.
  std::string usage() const;
  // "extract, refs or settings".
  std::string names() const;
  // The action of the subcommand the user chose; null when none was parsed.
  const CommandAction* chosen() const;

 private:
  struct Command {
    CLI::App* app;
    std::string usage;
    CommandAction action;
  };
  std::vector<Command> commands_;
};

void add_extract_command(CLI::App& app, CommandSet& commands);
void add_refs_command(CLI::App& app, CommandSet& commands);
void add_settings_command(CLI::App& app, CommandSet& commands);
void add_report_command(CLI::App& app, CommandSet& commands);
void add_trend_command(CLI::App& app, CommandSet& commands);
// The run store's commands (tools/ingest_command.cpp, runs_command.cpp, watch_command.cpp).
void add_ingest_command(CLI::App& app, CommandSet& commands);
void add_runs_command(CLI::App& app, CommandSet& commands);
void add_watch_command(CLI::App& app, CommandSet& commands);
// --db URL, required: the run store.
void add_db_option(CLI::App& command, std::string& url);

// Options every command spells alike.
// FILE, required; `description` says what it is.
void add_file_argument(CLI::App& command, const std::string& name, std::string& file,
                       const std::string& description);
// --format text|json, default text.
void add_format_option(CLI::App& command, Format& format);
// --units mm|in, default mm; `description` says what the units apply to.
void add_units_option(CLI::App& command, kptUnitsType& units, const std::string& description);

// Reads an inspection-settings XML file into `settings`, whose input units the caller has set;
// throws UnreadableInput when the file cannot be opened. The reader leaves `settings` untouched
// when it refuses the file.
kptInspectionSettingsError read_settings_file(const std::string& file,
                                              kptInspectionSettings& settings);
// The reader's outcome leaves settings to use: success or a newer version.
inline bool settings_accepted(kptInspectionSettingsErrorCode code) {
  return code == kptSettingsSuccess || code == kptSettingsNewerVersion;
}

// "mm" or "in".
inline const char* units_name(kptUnitsType units) { return units == kptUnitsInches ? "in" : "mm"; }

// The digits lengths are printed with when no settings file gave them: the defaults' for a file
// in millimetres, at least 4 for a file in inches, whose values printed to 4 decimals of an inch
// lie 0.00254 mm apart and would round together at 3 decimals of a millimetre (a rejected point
// reading as equal to its limit).
inline int default_linear_digits(kptUnitsType units, int defaults) {
  constexpr int kInchFileDigits = 4;
  return units == kptUnitsInches && defaults < kInchFileDigits ? kInchFileDigits : defaults;
}

}  // namespace tool
