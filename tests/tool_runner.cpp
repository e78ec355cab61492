// Child-process runner for the end-to-end tests of the cncprobe tool.
#include "tests/tool_runner.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace e2e {
namespace {
std::string read_file(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}
// `text` as one shell word.
std::string quoted(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}
}  // namespace

ToolRun run_tool(const std::vector<std::string>& args, const std::string& stdout_path,
                 int timeout_seconds, const std::string& stdin_path) {
  TempDir capture;
  const std::string out = stdout_path.empty() ? (capture.path() / "out").string() : stdout_path;
  const std::string err = (capture.path() / "err").string();
  // timeout(1) kills a hanging tool with SIGKILL and then exits with 137.
  std::string command =
      "timeout -s KILL " + std::to_string(timeout_seconds) + " " + quoted(CNCPROBE_TOOL_PATH);
  for (const std::string& arg : args) {
    command += ' ';
    command += quoted(arg);
  }
  command += " <" + quoted(stdin_path) + " >" + quoted(out) + " 2>" + quoted(err);
  const int status = std::system(command.c_str());
  ToolRun run;
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.timed_out = code == 137;
  run.exit_code = code > 128 ? -1 : code;
  if (stdout_path.empty()) run.out = read_file(out);
  run.err = read_file(err);
  return run;
}

nlohmann::json parse_json(const ToolRun& run) {
  try {
    return nlohmann::json::parse(run.out);
  } catch (const nlohmann::json::exception& e) {
    ADD_FAILURE() << "not one JSON document: " << e.what() << "\n" << run.out.substr(0, 2000);
    return nullptr;
  }
}

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "cncprobe-e2e-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "cannot create " << pattern;
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::write(const std::string& name, const std::string& content) const {
  std::ofstream(path_ / name, std::ios::binary) << content;
  return (path_ / name).string();
}

std::string example(const std::string& name) { return CNCPROBE_EXAMPLES_DIR "/" + name; }
std::string test_data(const std::string& name) { return CNCPROBE_TEST_DATA_DIR "/" + name; }
}  // namespace e2e
