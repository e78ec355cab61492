// ScratchDirectory: a directory of its own for each test that writes files, removed afterwards.
//
// ctest runs test cases as parallel processes, so two tests that name their files alike in a shared
// temporary folder overwrite and delete each other's files. Each ScratchDirectory is a new
// directory of a random name under the system's temporary folder: creating a directory fails when
// the name is taken, so it is unique among all running processes.
//
//   ScratchDirectory dir;
//   const std::string file = dir.write("run.res", "START\nEND\n");
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::error_code ec;
    const std::filesystem::path temp = std::filesystem::temp_directory_path(ec);
    std::random_device seed;
    std::mt19937_64 random(seed());
    for (int attempt = 0; attempt < 100 && !ec; ++attempt) {
      std::filesystem::path candidate = temp / ("cncprobe-test-" + std::to_string(random()));
      if (std::filesystem::create_directory(candidate, ec)) {
        path_ = std::move(candidate);
        return;
      }
    }
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  // The directory; empty when it could not be made (a test then fails on its missing files).
  const std::filesystem::path& path() const noexcept { return path_; }

  // The path of `name` inside the directory, in UTF-8, without creating anything. The name's
  // bytes are kept as they are, so a test can also name a file in bytes that are not UTF-8.
  std::string file(std::string_view name) const {
    const std::u8string dir = path_.u8string();
    std::string joined(dir.begin(), dir.end());
    joined += static_cast<char>(std::filesystem::path::preferred_separator);
    return joined.append(name);
  }

  // Writes `bytes` exactly (binary) to `name` inside the directory and returns its path.
  std::string write(std::string_view name, std::string_view bytes) const {
    const std::string target = file(name);
    std::ofstream(utf8_path(target), std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return target;
  }

  // A UTF-8 name as a path the standard library opens faithfully (on Windows too).
  static std::filesystem::path utf8_path(std::string_view name) {
    return std::filesystem::path(
        std::u8string_view(reinterpret_cast<const char8_t*>(name.data()), name.size()));
  }

 private:
  std::filesystem::path path_;
};
