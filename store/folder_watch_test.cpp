// FolderWatch hands out each settled state of a file once: not while it grows, once when it has
// stood still for the settle time, again when it changes, and never the store's own files.
#include "store/folder_watch.h"

#include <gtest/gtest.h>

#include <fstream>

#include "store/run_record.h"
#include "tests/support/scratch_directory.h"

namespace store {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(FolderWatch, HandsOutEachSettledStateOnce) {
  ScratchDirectory dir;
  const std::string folder = dir.path().string();
  // Names as the folder walk makes them, with the system's own separator.
  const std::string run = (dir.path() / "m1" / "run 1.txt").string();
  const std::string store_file = (dir.path() / "runs.sqlite").string();
  std::filesystem::create_directories(dir.path() / "m1");
  std::ofstream(store_file) << "the store";
  FolderWatch watch({folder}, 5s, {stored_path(store_file)});
  const Clock::time_point t0 = Clock::now();
  auto write = [&](const char* text) { std::ofstream(run, std::ios::app) << text; };
  using Files = std::vector<std::string>;

  write("START\n");
  EXPECT_EQ(watch.poll(t0), Files{});
  write("TOOLPATHID 1\n");  // still being written: the settle time starts again
  EXPECT_EQ(watch.poll(t0 + 4s), Files{});
  EXPECT_EQ(watch.poll(t0 + 8s), Files{});
  EXPECT_EQ(watch.poll(t0 + 9s), Files{run});
  EXPECT_EQ(watch.poll(t0 + 20s), Files{});  // handed out once

  write("END\n");  // the same file, grown: a new state
  EXPECT_EQ(watch.poll(t0 + 21s), Files{});
  EXPECT_EQ(watch.poll(t0 + 26s), Files{run});

  std::filesystem::remove(run);
  EXPECT_EQ(watch.poll(t0 + 27s), Files{});
  write("START\n");  // gone and back: new again
  EXPECT_EQ(watch.poll(t0 + 28s), Files{});
  EXPECT_EQ(watch.poll(t0 + 33s), Files{run});
}

TEST(FolderWatch, MissingFolderGivesNothing) {
  FolderWatch watch({"/no/such/folder"}, 0s, {});
  EXPECT_TRUE(watch.poll(Clock::now()).empty());
}

}  // namespace
}  // namespace store
