// The tool's exit codes and error lines for every outcome, including inputs it must not read.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/unprivileged_user.h"
#include "tests/tool_runner.h"

namespace e2e {
namespace {

std::size_t line_count(const std::string& text) {
  std::size_t lines = 0;
  for (const char c : text) lines += c == '\n' ? 1 : 0;
  return lines;
}

struct ExitCase {
  const char* name;
  std::vector<std::string> args;
  int exit_code;
  const char* stderr_text;  // a text the standard error must hold; "" when it must be empty
};

TEST(ToolExitCodes, EveryOutcome) {
  const std::string bracket = example("bracket_mm.txt");
  const std::string missing = example("no_such_file.txt");
  const ExitCase cases[] = {
      {"extraction success", {"extract", bracket}, 0, ""},
      {"references found", {"refs", bracket}, 0, ""},
      {"settings accepted", {"settings", example("bracket_settings.xml")}, 0, ""},
      {"settings of a newer version", {"settings", example("settings_newer_version.xml")}, 0, ""},
      {"settings refused", {"settings", example("settings_invalid.xml")}, 1, ""},
      {"version", {"--version"}, 0, ""},
      {"help", {"--help"}, 0, ""},
      {"no command", {}, 2, "cncprobe: "},
      {"unknown command", {"frobnicate", bracket}, 2, "cncprobe: "},
      {"missing file argument", {"extract"}, 2, "cncprobe: "},
      {"unknown option", {"extract", bracket, "--bogus"}, 2, "cncprobe: "},
      {"bad units", {"extract", bracket, "--units", "cm"}, 2, "cncprobe: "},
      {"bad format", {"refs", bracket, "--format", "xml"}, 2, "cncprobe: "},
      {"units on refs", {"refs", bracket, "--units", "in"}, 2, "cncprobe: "},
      {"missing results file", {"extract", missing}, 3, ": no such file"},
      {"directory", {"extract", CNCPROBE_EXAMPLES_DIR}, 3, ": is a directory"},
      {"device", {"refs", "/dev/null"}, 3, ": not a regular file"},
      {"empty file name", {"extract", ""}, 3, "no such file"},
  };
  for (const ExitCase& c : cases) {
    SCOPED_TRACE(c.name);
    const ToolRun run = run_tool(c.args);
    EXPECT_EQ(run.exit_code, c.exit_code);
    if (*c.stderr_text == '\0') {
      EXPECT_EQ(run.err, "");
      EXPECT_NE(run.out, "");
      continue;
    }
    EXPECT_EQ(run.out, "") << "nothing on standard output after an error";
    EXPECT_EQ(run.err.rfind("cncprobe: ", 0), 0u) << run.err;
    EXPECT_NE(run.err.find(c.stderr_text), std::string::npos) << run.err;
    if (c.exit_code == 2) {
      EXPECT_NE(run.err.find("usage: cncprobe extract"), std::string::npos) << run.err;
    } else {
      EXPECT_EQ(line_count(run.err), 1u) << run.err;
    }
  }
}

// A FIFO that nobody writes to would block a reader forever: the tool must refuse it at once. An
// unreadable file is refused by every command alike.
TEST(ToolExitCodes, FifoAndUnreadableFilesAreRefused) {
  TempDir dir;
  const std::string fifo = (dir.path() / "results.fifo").string();
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string locked = dir.write("locked.txt", "START\nEND\n");
  ASSERT_EQ(chmod(locked.c_str(), 0), 0);
  for (const char* command : {"extract", "refs", "settings"}) {
    SCOPED_TRACE(command);
    const ToolRun run = run_tool({command, fifo}, "", 20);
    EXPECT_FALSE(run.timed_out);
    EXPECT_EQ(run.exit_code, 3);
    EXPECT_EQ(run.err, "cncprobe: " + fifo + ": not a regular file\n");
    // Root reads every file: the locked one is given to the tool by a user who cannot.
    EXPECT_TRUE(as_unprivileged_user([&] {
      const ToolRun locked_run = run_tool({command, locked});
      return locked_run.exit_code == 3 &&
             locked_run.err == "cncprobe: " + locked + ": permission denied\n";
    })) << command;
  }
}

// A file that exists under a name that is not UTF-8: extract opens it by its bytes and reads it;
// refs and settings cannot name it to the file system, and say so as an unreadable input (3),
// not as a failure of the tool (4).
TEST(ToolExitCodes, FileNameThatIsNotUtf8) {
  TempDir dir;
  std::string results, settings;
  {
    std::ifstream in(example("bracket_mm.txt"), std::ios::binary);
    results = dir.write("run\xFF.txt", std::string(std::istreambuf_iterator<char>(in), {}));
  }
  {
    std::ifstream in(example("bracket_settings.xml"), std::ios::binary);
    settings = dir.write("job\xFF.xml", std::string(std::istreambuf_iterator<char>(in), {}));
  }
  const std::string shown = (dir.path() / "run\xEF\xBF\xBD.txt").string();
  const ToolRun extract = run_tool({"extract", results});
  EXPECT_EQ(extract.exit_code, 0);
  EXPECT_NE(extract.out.find("File:          " + shown), std::string::npos) << extract.out;
  const ToolRun refs = run_tool({"refs", results});
  EXPECT_EQ(refs.exit_code, 3);
  EXPECT_EQ(refs.err, "cncprobe: " + shown + ": read error\n");
  const ToolRun read_settings = run_tool({"settings", settings});
  EXPECT_EQ(read_settings.exit_code, 3);
  EXPECT_EQ(line_count(read_settings.err), 1u) << read_settings.err;
  EXPECT_EQ(read_settings.out, "");
}

// Standard input read with FILE "-", labelled "-"; an empty input is read (it holds no results),
// not refused.
TEST(ToolExitCodes, StandardInput) {
  const std::string bracket = example("bracket_mm.txt");
  for (const char* command : {"extract", "refs"}) {
    SCOPED_TRACE(command);
    const ToolRun piped = run_tool({command, "-", "--format", "json"}, "", 30, bracket);
    const ToolRun named = run_tool({command, bracket, "--format", "json"});
    EXPECT_EQ(piped.exit_code, named.exit_code);
    nlohmann::json from_stdin = parse_json(piped);
    nlohmann::json from_file = parse_json(named);
    EXPECT_EQ(from_stdin["file"], "-");
    from_stdin.erase("file");
    from_file.erase("file");
    EXPECT_EQ(from_stdin, from_file);
  }
  const ToolRun empty = run_tool({"extract", "-", "--format", "json"});
  EXPECT_EQ(empty.exit_code, 1);
  EXPECT_EQ(parse_json(empty)["status"]["name"], "no_results");
}

// Output that cannot be written is a failure of the tool, not a success with nothing printed.
TEST(ToolExitCodes, FullOutputDeviceIsAFailure) {
  const ToolRun run =
      run_tool({"extract", example("bracket_mm.txt"), "--format", "json"}, "/dev/full");
  EXPECT_EQ(run.exit_code, 4);
  EXPECT_EQ(run.err.rfind("cncprobe: cannot write the output", 0), 0u) << run.err;
  EXPECT_EQ(line_count(run.err), 1u);
}

// A file name that is not UTF-8 still names a file; printed, it becomes U+FFFD and the error line
// stays one line even when the name holds a line end.
TEST(ToolExitCodes, FileNameBytesArePrintedSafely) {
  TempDir dir;
  const std::string name = (dir.path() / "run\xFF\n1.txt").string();
  const ToolRun run = run_tool({"extract", name});
  EXPECT_EQ(run.exit_code, 3);
  const std::string shown = (dir.path() / "run\xEF\xBF\xBD?1.txt").string();
  EXPECT_EQ(run.err, "cncprobe: " + shown + ": no such file\n");
}

// Every sample file through the command that reads its kind: one valid JSON document, no error
// line, and an exit code that agrees with the outcome the document reports.
TEST(ToolExitCodes, EverySampleFileGivesOneDocumentAndAMatchingExitCode) {
  std::size_t runs = 0;
  for (const char* root : {CNCPROBE_TEST_DATA_DIR, CNCPROBE_EXAMPLES_DIR}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      if (!entry.is_regular_file()) continue;
      const std::string file = entry.path().string();
      const bool xml = entry.path().extension() == ".xml";
      for (const char* command : xml ? std::vector<const char*>{"settings"}
                                     : std::vector<const char*>{"extract", "refs"}) {
        SCOPED_TRACE(std::string(command) + " " + file);
        const ToolRun run = run_tool({command, file, "--format", "json"}, "", 30);
        ++runs;
        EXPECT_EQ(run.err, "");
        const nlohmann::json doc = parse_json(run);
        int expected = 0;
        if (std::string(command) == "extract") expected = doc["status"]["code"] == 0 ? 0 : 1;
        if (std::string(command) == "settings") expected = doc["code"] <= 1 ? 0 : 1;
        EXPECT_EQ(run.exit_code, expected);
      }
    }
  }
  EXPECT_GT(runs, 10u);
}

}  // namespace
}  // namespace e2e
