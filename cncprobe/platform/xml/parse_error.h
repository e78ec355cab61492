// axmParseError: why an XML document could not be loaded, and where in the file.
#pragma once

#include <utility>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"

class CNCPROBE_API axmParseError {
 public:
  // No error: has_error() is false, the position is unknown (-1, -1) and the message is invalid.
  axmParseError() = default;

  // True when an error has been recorded: the load failed and message() says why.
  bool has_error() const noexcept { return error_; }
  // The opposite of has_error(): true when no error has been recorded (the parse error itself is
  // "invalid", as an unset value of the platform is).
  bool invalid() const noexcept { return !error_; }
  // The 1-based line and column of the error; negative when unknown.
  int line_number() const noexcept { return line_; }
  // The 1-based column of the error; negative when unknown.
  int column_number() const noexcept { return column_; }
  // The loader's own description of the error; invalid when there is no error.
  const apString& message() const noexcept { return message_; }

  // Records an error (a loader's operation); use -1 for a position that is not known.
  void set(int line, int column, apString message) {
    error_ = true;
    line_ = line;
    column_ = column;
    message_ = std::move(message);
  }
  // Back to the state of no error.
  void clear() { *this = axmParseError(); }

 private:
  bool error_ = false;
  int line_ = -1;
  int column_ = -1;
  apString message_;
};
