// cncprobe: the command line front of the library. Each command adds itself (tools/commands.h);
// main parses the line, runs the chosen command and turns every failure into one error line and
// an exit code.
#include <CLI/CLI.hpp>
#if defined(_WIN32)
#include <windows.h>
// After windows.h, which it needs.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#endif
#include <clocale>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "tools/commands.h"
#include "tools/output.h"

namespace {

using tool::error_line;

int run(int argc, char** argv) {
  CLI::App app(
      "Reads the results files that a CNC machine tool writes while it runs an "
      "on-machine probing program.",
      "cncprobe");
  app.set_version_flag("--version", std::string("cncprobe ") + CNCPROBE_TOOL_VERSION);
  app.require_subcommand(1);
  // Options start with "-" everywhere: on Windows a file name may start with "/" as well.
  app.allow_windows_style_options(false);

  tool::CommandSet commands;
  tool::add_extract_command(app, commands);
  tool::add_refs_command(app, commands);
  tool::add_settings_command(app, commands);
  tool::add_report_command(app, commands);
  tool::add_trend_command(app, commands);
#if defined(CNCPROBE_HAVE_STORE)
  tool::add_ingest_command(app, commands);
  tool::add_runs_command(app, commands);
  tool::add_watch_command(app, commands);
#endif

  const std::string usage = commands.usage();
  app.footer("\n" + usage +
             "\nExit codes: 0 success, 1 the file was read but reports a problem, 2 usage error,\n"
             "3 the input cannot be read, 4 the tool itself failed (out of memory, output "
             "refused),\n5 the run store cannot be used; with several files, the worst of them (3, "
             "then 1,\n"
             "then 0).");
  if (argc < 2) {
    error_line("a command is needed: " + commands.names());
    std::fputs(usage.c_str(), stderr);
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
    std::fputs(usage.c_str(), stderr);
    return tool::kExitUsage;
  }

  const tool::CommandAction* action = commands.chosen();
  if (action == nullptr) return tool::kExitUsage;  // require_subcommand(1) already refused it
  tool::Output out(stdout);
  int code = tool::kExitSuccess;
  try {
    code = (*action)(out);
  } catch (const tool::UnreadableInput& e) {
    error_line(e.what());
    return tool::kExitUnreadable;
  }
  out.flush();
  return code;
}

#if defined(_WIN32)
// The command line in UTF-8, as the library takes file names: Windows hands a narrow main its
// arguments in the ANSI code page, which cannot hold every file name.
std::vector<std::string> utf8_arguments() {
  std::vector<std::string> arguments;
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) return arguments;
  for (int i = 0; i < count; ++i) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, nullptr, 0, nullptr, nullptr);
    std::string argument(size > 0 ? static_cast<std::size_t>(size - 1) : 0, '\0');
    if (size > 1) {
      WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, argument.data(), size, nullptr, nullptr);
    }
    arguments.push_back(std::move(argument));
  }
  LocalFree(wide);
  return arguments;
}
#endif

}  // namespace

int main(int argc, char** argv) {
#if defined(_WIN32)
  // Documents are written byte for byte as on every other system: no "\r" added before "\n".
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  _setmode(_fileno(stdin), _O_BINARY);
  std::vector<std::string> arguments = utf8_arguments();
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  if (!arguments.empty()) {
    argc = static_cast<int>(arguments.size());
    argv = pointers.data();
  }
#endif
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
