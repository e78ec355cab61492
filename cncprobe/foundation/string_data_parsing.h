// kptStringDataParsing: the number texts captured from results-file lines, read as numbers.
//
// Numbers are read with "." as the decimal point whatever number format the host has selected,
// and a sign may stand apart from its digits ("- 12.5"), as the machine prints it.
#pragma once

#include <string_view>

#include "cncprobe/export.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API kptStringDataParsing {
 public:
  // A reader for a file printed in `units` (millimetres by default).
  explicit kptStringDataParsing(const kptUnits& units = kptUnits()) noexcept : units_(units) {}
  kptStringDataParsing(const kptStringDataParsing&) noexcept = default;
  kptStringDataParsing& operator=(const kptStringDataParsing&) noexcept = default;
  ~kptStringDataParsing() = default;

  // The units lengths are read in.
  const kptUnits& units() const noexcept { return units_; }

  // The number in `text`, without unit conversion. Leading signs and blanks are dropped and the
  // number is negative when a "-" stands anywhere in the text (so "- 12.5" is -12.5, "--5" is -5
  // and "12-3" is -12). The leading decimal number is read ("1.5.2" is 1.5); a text without one
  // (empty, invalid, "-", "*", letters) gives 0, and so do hexadecimal, "inf" and "nan" forms.
  [[nodiscard]] double string_to_double(const utString& text) const;
  // The same for a captured text seen in place, so that reading a number copies nothing.
  [[nodiscard]] double string_to_double(std::string_view text) const;

  // string_to_double(text) read as a length in the file's units, returned in millimetres.
  [[nodiscard]] double string_to_mm(const utString& text) const;
  [[nodiscard]] double string_to_mm(std::string_view text) const;

  // True with `value` set when `text` is a decimal integer of 0 or more, such as a component or
  // feature number. False for a text that is no integer (`value` untouched) or a negative one.
  [[nodiscard]] bool string_to_unsigned_int(const utString& text, unsigned int& value) const;

 private:
  kptUnits units_;
};
