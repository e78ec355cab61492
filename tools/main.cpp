// cncprobe: the command line front of the library: extract, refs and settings.
#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "tools/commands.h"
#include "tools/input_file.h"
#include "tools/output.h"
#include "tools/report_command.h"

namespace {

constexpr const char* kUsage =
    "usage: cncprobe extract  FILE     [--units mm|in] [--format text|json] [--points]\n"
    "       cncprobe refs     FILE     [--format text|json]\n"
    "       cncprobe settings FILE.xml [--units mm|in] [--format text|json]\n"
    "       cncprobe report   FILE...  [--units mm|in] [--settings FILE.xml] [-o FILE.html]\n"
    "       cncprobe --help | --version\n";

// One line on standard error, whatever the text holds.
void error_line(const std::string& text) {
  const std::string line = "cncprobe: " + tool::printable_text(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

tool::Format format_of(const std::string& text) {
  return text == "json" ? tool::Format::kJson : tool::Format::kText;
}

kptUnitsType units_of(const std::string& text) {
  return text == "in" ? kptUnitsInches : kptUnitsMillimetres;
}

int run(int argc, char** argv) {
  CLI::App app(
      "Reads the results files that a CNC machine tool writes while it runs an "
      "on-machine probing program.",
      "cncprobe");
  app.set_version_flag("--version", std::string("cncprobe ") + CNCPROBE_TOOL_VERSION);
  app.require_subcommand(1);
  app.footer(
      std::string("\n") + kUsage +
      "\nExit codes: 0 success, 1 the file was read but reports a problem, 2 usage error,\n"
      "3 the input cannot be read, 4 the tool itself failed (out of memory, output refused).");

  tool::ExtractOptions extract_options;
  std::string units = "mm";
  std::string format = "text";
  std::string file;

  CLI::App* extract =
      app.add_subcommand("extract", "Print every probe path and feature of a results file");
  extract->add_option("FILE", extract_options.file, "The results file")->required();
  extract->add_option("--units", units, "The units the file was written in (default mm)")
      ->check(CLI::IsMember({"mm", "in"}));
  extract->add_option("--format", format, "text for a person (default), json for a script")
      ->check(CLI::IsMember({"text", "json"}));
  extract->add_flag("--points", extract_options.points, "Text: list every inspection point too");

  CLI::App* refs =
      app.add_subcommand("refs", "Print the reference lines of a results file's header");
  refs->add_option("FILE", file, "The results file")->required();
  refs->add_option("--format", format, "text for a person (default), json for a script")
      ->check(CLI::IsMember({"text", "json"}));

  CLI::App* settings = app.add_subcommand("settings", "Read an inspection-settings XML file");
  settings->add_option("FILE.xml", file, "The settings file")->required();
  settings->add_option("--units", units, "The input units the settings start from (default mm)")
      ->check(CLI::IsMember({"mm", "in"}));
  settings->add_option("--format", format, "text for a person (default), json for a script")
      ->check(CLI::IsMember({"text", "json"}));

  tool::ReportCommand report_command;
  CLI::App* report = tool::add_report_command(app, report_command);

  if (argc < 2) {
    error_line("a command is needed: extract, refs, settings or report");
    std::fputs(kUsage, stderr);
    return tool::kExitUsage;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    error_line(e.what());
    std::fputs(kUsage, stderr);
    return tool::kExitUsage;
  }

  if (report->parsed()) {
    tool::Output out(stdout);
    const int code = tool::run_report_command(report_command, out);
    out.flush();
    return code;
  }
  if (extract->parsed()) file = extract_options.file;
  if (const auto reason = tool::unreadable_reason(file)) {
    error_line(file + ": " + *reason);
    return tool::kExitUnreadable;
  }

  tool::Output out(stdout);
  int code = tool::kExitSuccess;
  try {
    if (extract->parsed()) {
      extract_options.units = units_of(units);
      extract_options.format = format_of(format);
      code = tool::run_extract(extract_options, out);
    } else if (refs->parsed()) {
      code = tool::run_refs(file, format_of(format), out);
    } else {
      code = tool::run_settings(file, units_of(units), format_of(format), out);
    }
  } catch (const tool::UnreadableInput& e) {
    error_line(file + ": " + e.what());
    return tool::kExitUnreadable;
  }
  out.flush();
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  // The user's character encoding decides which lines that are not UTF-8 still count as text
  // (a Latin-1 shop floor keeps its accented feature names). Only the character type is taken
  // from the environment: numbers are read and printed the same whatever the user's locale.
  std::setlocale(LC_CTYPE, "");
  // Nothing may escape as a crash: every failure ends as one line and a non-zero exit code.
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    error_line("out of memory");
  } catch (const std::exception& e) {
    error_line(e.what());
  } catch (...) {
    error_line("unexpected failure");
  }
  return tool::kExitFailure;
}
