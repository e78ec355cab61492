// cncprobe extract over many files in one run: the same document for each file whether it is read
// alone, among others, as a line or an array element, on any number of threads; the exit code and
// error lines of a mixed batch.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "bench/results_file_generator.h"
#include "tests/support/scratch_directory.h"
#include "tests/tool_runner.h"

namespace e2e {
namespace {

using nlohmann::json;

// Every sample and generated results file, sorted, and one that does not exist.
std::vector<std::string> every_results_file() {
  std::vector<std::string> files;
  for (const std::string& root : {test_data(""), example("")}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const std::string ext = entry.path().extension().string();
      if (entry.is_regular_file() && (ext == ".res" || ext == ".txt")) {
        files.push_back(entry.path().string());
      }
    }
  }
  std::sort(files.begin(), files.end());
  files.push_back(test_data("no such file.res"));
  return files;
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> with(std::vector<std::string> args, const std::vector<std::string>& more) {
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

TEST(ExtractMany, EveryFileGivesTheSameDocumentAloneInABatchAndOnAnyThreads) {
  const std::vector<std::string> files = every_results_file();
  ASSERT_GT(files.size(), 10u);
  // Each file alone; the missing one is the document a batch gives it, which a run of one file
  // does not print (it stops with an error line).
  std::vector<json> alone;
  std::string text_alone;
  for (const std::string& file : files) {
    const ToolRun run = run_tool({"extract", file, "--format", "json"});
    if (run.exit_code == 3) {
      alone.push_back(nullptr);
      continue;
    }
    alone.push_back(parse_json(run));
    const ToolRun text = run_tool({"extract", file});
    text_alone += (text_alone.empty() ? "" : "\n") + text.out;
  }

  std::string first_lines;
  for (const char* threads : {"1", "2", "7"}) {
    SCOPED_TRACE(std::string("--threads ") + threads);
    const std::vector<std::string> batch = with({"extract", "--threads", threads}, files);

    const ToolRun lines = run_tool(with(batch, {"--format", "jsonl"}));
    EXPECT_EQ(lines.exit_code, 3);
    const std::vector<std::string> documents = lines_of(lines.out);
    ASSERT_EQ(documents.size(), files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
      const json document = json::parse(documents[i]);
      if (alone[i].is_null()) {
        EXPECT_EQ(document["error"], "no such file");
        EXPECT_EQ(document["results"], json::array());
        EXPECT_EQ(document["status"]["name"], "no_results");
      } else {
        EXPECT_EQ(document, alone[i]) << files[i];
      }
    }
    if (first_lines.empty()) first_lines = lines.out;
    EXPECT_EQ(lines.out, first_lines) << "the output depends on the thread count";
    EXPECT_EQ(lines.err, "cncprobe: " + files.back() + ": no such file\n");

    const ToolRun array = run_tool(with(batch, {"--format", "json"}));
    const json documents_array = parse_json(array);
    ASSERT_EQ(documents_array.size(), files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
      if (!alone[i].is_null()) {
        EXPECT_EQ(documents_array[i], alone[i]) << files[i];
      }
    }

    const ToolRun text = run_tool(batch);
    EXPECT_EQ(text.out, text_alone);
  }
}

// One large run on several threads: read in parts, recognised in chunks and its JSON formatted in
// groups, it prints byte for byte what one thread prints, in every format.
TEST(ExtractMany, ALargeRunOnThreadsPrintsWhatOneThreadPrints) {
  const ScratchDirectory scratch;
  for (const std::size_t points : {12000, 70000}) {
    const std::string file = scratch.file("run_" + std::to_string(points) + ".res");
    GeneratedResultsFile summary;
    ASSERT_TRUE(write_results_file(file, points, summary));
    for (const char* format : {"json", "jsonl", "text"}) {
      const ToolRun one = run_tool({"extract", file, "--format", format, "--threads", "1"});
      ASSERT_EQ(one.exit_code, 0) << one.err;
      for (const char* threads : {"2", "7"}) {
        const ToolRun many = run_tool({"extract", file, "--format", format, "--threads", threads});
        EXPECT_EQ(many.exit_code, 0);
        EXPECT_TRUE(many.out == one.out) << points << " points, " << format << ", " << threads;
      }
    }
  }
}

TEST(ExtractMany, ExitCodeIsTheWorstOfTheFiles) {
  TempDir dir;
  const std::string ok = dir.write("ok.txt",
                                   "START\nG800 N1 X0 Y0 Z0 I0 J0 K1 O0 U0.1 L-0.1\n"
                                   "G801 N2 X0 Y0 Z-0.01 R2.5\nEND\n");
  const std::string problem = dir.write("open.txt", "START\n");
  const std::string missing = (dir.path() / "missing.txt").string();
  const struct {
    std::vector<std::string> files;
    int code;
  } cases[] = {
      {{ok, ok}, 0},
      {{ok, problem, ok}, 1},
      {{missing, ok, problem}, 3},
      {{problem, missing, problem}, 3},
      {{ok, problem, missing}, 3},
  };
  for (const auto& c : cases) {
    for (const char* format : {"text", "json", "jsonl"}) {
      SCOPED_TRACE(std::string(format) + " " + std::to_string(c.code));
      const ToolRun run =
          run_tool(with({"extract", "--format", format, "--threads", "2"}, c.files));
      EXPECT_EQ(run.exit_code, c.code) << run.err;
      const std::size_t unreadable =
          static_cast<std::size_t>(std::count(c.files.begin(), c.files.end(), missing));
      EXPECT_EQ(lines_of(run.err).size(), unreadable) << run.err;
      if (std::string(format) == "text") {  // the readable files' texts, a blank line between
        std::string texts;
        for (const std::string& file : c.files) {
          if (file == missing) continue;
          texts += (texts.empty() ? "" : "\n") + run_tool({"extract", file}).out;
        }
        EXPECT_EQ(run.out, texts);
      }
    }
  }
}

// Output refused part of the way through (far more than one block): the workers stop, one line.
TEST(ExtractMany, RefusedOutputEndsTheRunWithExit4) {
  for (const char* threads : {"1", "2", "7"}) {
    std::vector<std::string> args = {"extract", "--format", "jsonl", "--threads", threads};
    args.insert(args.end(), 200, example("bracket_mm.txt"));
    const ToolRun run = run_tool(args, "/dev/full", 60);
    EXPECT_FALSE(run.timed_out) << threads;
    EXPECT_EQ(run.exit_code, 4) << threads;
    EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
  }
}

TEST(ExtractMany, UsageErrors) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"extract", example("bracket_mm.txt"), "--threads", "0"},
        std::vector<std::string>{"extract", example("bracket_mm.txt"), "--format", "lines"},
        std::vector<std::string>{"refs", example("bracket_mm.txt"), "--format", "jsonl"},
        std::vector<std::string>{"extract", "-", example("bracket_mm.txt"), "-"}}) {
    const ToolRun run = run_tool(args);
    EXPECT_EQ(run.exit_code, 2) << args.back();
    EXPECT_EQ(run.out, "");
  }
}

}  // namespace
}  // namespace e2e
