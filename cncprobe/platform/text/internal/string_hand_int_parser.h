// apStringHandIntParser: reads a whole wide text as a decimal integer, as settings values are.
// Internal to the library and not installed: hosts include "cncprobe/cncprobe.h".
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"

// The outcome of reading an integer: whether the whole text was one, and its value.
class CNCPROBE_API apStringParseIntResult {
 public:
  apStringParseIntResult(int success, int result) noexcept : success_(success), result_(result) {}
  // Non-zero when the whole text was an integer that fits an int.
  int success() const noexcept { return success_; }
  // The integer; 0 when success() is zero.
  int result() const noexcept { return result_; }

 private:
  int success_;
  int result_;
};

class CNCPROBE_API apStringHandIntParser {
 public:
  // Accepts an optional "+" or "-" followed by one or more decimal digits and nothing else: no
  // blanks, no decimal point, no exponent. An invalid or empty text, or a number beyond the range
  // of an int, fails.
  [[nodiscard]] apStringParseIntResult parse(const apString& text) const noexcept;
};
