// Child-process runner for the end-to-end tests of the cncprobe tool.
#include "tests/tool_runner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace e2e {

namespace {

std::string read_file(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

ToolRun run_tool(const std::vector<std::string>& args, const std::string& stdout_path,
                 int timeout_seconds) {
  TempDir capture;
  const std::string out_path =
      stdout_path.empty() ? (capture.path() / "out").string() : stdout_path;
  const std::string err_path = (capture.path() / "err").string();

  std::vector<std::string> argv_text{CNCPROBE_TOOL_PATH};
  argv_text.insert(argv_text.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& arg : argv_text) argv.push_back(arg.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  posix_spawn_file_actions_addopen(&actions, 2, err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ToolRun run;
  if (spawned != 0) {
    ADD_FAILURE() << "cannot start " << argv[0];
    return run;
  }

  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeout_seconds);
  int status = 0;
  while (waitpid(pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      run.timed_out = true;
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (!run.timed_out && WIFEXITED(status)) run.exit_code = WEXITSTATUS(status);
  if (stdout_path.empty()) run.out = read_file(out_path);
  run.err = read_file(err_path);
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
  const std::filesystem::path file = path_ / name;
  std::ofstream(file, std::ios::binary) << content;
  return file.string();
}

std::string example(const std::string& name) {
  return std::string(CNCPROBE_EXAMPLES_DIR) + "/" + name;
}
std::string test_data(const std::string& name) {
  return std::string(CNCPROBE_TEST_DATA_DIR) + "/" + name;
}

}  // namespace e2e
