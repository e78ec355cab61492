// File names as the run store keeps them: UTF-8 text on every system. On Windows a narrow
// std::filesystem name is read in the ANSI code page, which cannot hold every file name, so names
// go through char8_t. Internal to store/.
#pragma once

#include <filesystem>
#include <string>

namespace store {

inline std::filesystem::path path_of(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

inline std::string utf8_of(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

}  // namespace store
