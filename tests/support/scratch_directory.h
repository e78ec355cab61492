// ScratchDirectory: a directory of its own for each test that writes files, removed afterwards.
//
// ctest runs test cases as parallel processes, so two tests that name their files alike in a shared
// temporary folder overwrite and delete each other's files. Each ScratchDirectory is made by
// mkdtemp under the system's temporary folder and is unique among all running processes.
//
//   ScratchDirectory dir;
//   const std::string file = dir.write("run.res", "START\nEND\n");
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "cncprobe-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  // The directory; empty when it could not be made (a test then fails on its missing files).
  const std::filesystem::path& path() const noexcept { return path_; }

  // The path of `name` inside the directory, without creating anything.
  std::string file(std::string_view name) const { return (path_ / name).string(); }

  // Writes `bytes` exactly (binary) to `name` inside the directory and returns its path.
  std::string write(std::string_view name, std::string_view bytes) const {
    const std::string target = file(name);
    std::ofstream(target, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return target;
  }

 private:
  std::filesystem::path path_;
};
