// apStringSimpleDoubleParser: reads a whole wide text as a plain decimal real number.
// Internal to the library and not installed: hosts include "cncprobe/cncprobe.h".
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"

// The outcome of reading a real number: whether the whole text was one, and its value.
class CNCPROBE_API apStringParseDoubleResult {
 public:
  apStringParseDoubleResult(int success, double result) noexcept
      : success_(success), result_(result) {}
  // Non-zero when the whole text was a real number within the range of a double.
  int success() const noexcept { return success_; }
  // The number; 0 when success() is zero.
  double result() const noexcept { return result_; }

 private:
  int success_;
  double result_;
};

class CNCPROBE_API apStringSimpleDoubleParser {
 public:
  // Accepts an optional "+" or "-", digits with an optional "." (at least one digit in all, as
  // in "2", "2.", ".5", "2.5"), then an optional exponent ("e" or "E", an optional sign, digits),
  // and nothing else: no blanks, no "inf" or "nan", no hexadecimal, no decimal comma. "." is the
  // decimal point whatever the process's number format. An invalid or empty text, or a number
  // too large or too small in magnitude for a double, fails.
  [[nodiscard]] apStringParseDoubleResult parse(const apString& text) const noexcept;
};
