// Runs the built cncprobe tool as a child process and collects what it printed and its exit code.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace e2e {

struct ToolRun {
  int exit_code = -1;  // -1 when the tool did not exit by itself (killed by a signal or timed out)
  bool timed_out = false;
  std::string out;
  std::string err;
};

// Runs the tool with `args`, standard input from `stdin_path` (/dev/null by default), standard
// output to `stdout_path` when given (e.g. /dev/full). A run longer than `timeout_seconds` is
// killed and reported as timed out.
ToolRun run_tool(const std::vector<std::string>& args, const std::string& stdout_path = "",
                 int timeout_seconds = 120, const std::string& stdin_path = "/dev/null");

// The standard output as one JSON document; a test failure (and null) when it is not one.
nlohmann::json parse_json(const ToolRun& run);

// A fresh directory under the system's temporary directory, removed with everything in it.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // Writes `content` to the file `name` in the directory; returns its path.
  std::string write(const std::string& name, const std::string& content) const;

 private:
  std::filesystem::path path_;
};

// Paths of the examples and of the test data.
std::string example(const std::string& name);
std::string test_data(const std::string& name);

}  // namespace e2e
