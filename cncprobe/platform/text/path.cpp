// apPathName and apPath on std::filesystem.
#include "cncprobe/platform/text/path.h"

#include <filesystem>
#include <system_error>

apPathName::apPathName(const std::string& utf8) {
  int error = 0;
  text_ = apString(apStringFromUTF8, std::string_view(utf8), error);
  // A path that is not valid UTF-8 cannot be named faithfully; keep it invalid.
  if (error != 0 || utf8.find('\0') != std::string::npos) text_ = apString();
}

int apPathName::invalid() const {
  if (text_.invalid() || text_.length() == 0) return 1;
  return text_.wstr().find(L'\0') != std::wstring::npos ? 1 : 0;
}

std::string apPath::native() const {
  if (invalid()) return std::string();
  int error = 0;
  std::string bytes = string().utf8(error);
  return error ? std::string() : bytes;
}

std::filesystem::path apPath::filesystem_path() const {
  const std::string utf8 = native();
  // Read as UTF-8 on every system, so Windows opens the file the host named.
  return std::filesystem::path(
      std::u8string_view(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
}

int apPath::exists() const {
  const std::filesystem::path name = filesystem_path();
  if (name.empty()) return 0;
  std::error_code ec;
  return std::filesystem::exists(name, ec) ? 1 : 0;
}

int apPath::is_file() const {
  const std::filesystem::path name = filesystem_path();
  if (name.empty()) return 0;
  std::error_code ec;
  return std::filesystem::is_regular_file(name, ec) ? 1 : 0;
}
