// apPathName and apPath: a file-system path handed in by the host, and what the file system says of
// it.
#pragma once

#include <filesystem>
#include <string>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"

// A path's text and whether it is well formed: not invalid, not empty, no NUL character.
class CNCPROBE_API apPathName {
 public:
  apPathName() = default;
  // A path with this text.
  explicit apPathName(const apString& text) : text_(text) {}
  // A path given as UTF-8 bytes, as a host on this platform usually holds it.
  explicit apPathName(const std::string& utf8);

  // Non-zero when the path is not a usable path.
  int invalid() const;
  // The path's text.
  const apString& string() const noexcept { return text_; }

 private:
  apString text_;
};

// A path that can be asked about the file system; queries never throw and follow links.
class CNCPROBE_API apPath : public apPathName {
 public:
  apPath() = default;
  // A path with this text.
  explicit apPath(const apString& text) : apPathName(text) {}
  // A path given as UTF-8 bytes.
  explicit apPath(const std::string& utf8) : apPathName(utf8) {}
  // A path given as NUL-terminated UTF-8; a null pointer gives an empty, unusable path.
  explicit apPath(const char* utf8) : apPathName(std::string(utf8 ? utf8 : "")) {}

  // Non-zero when the path names an existing file-system object.
  int exists() const;
  // Non-zero when the path names an existing regular file.
  int is_file() const;
  // The path as UTF-8 bytes; empty for an invalid path.
  std::string native() const;
  // The path for the standard library's file functions (on Windows the wide name); empty for an
  // invalid path.
  std::filesystem::path filesystem_path() const;
};
