// apStringFormatter: fills integers into a wide format text, printf-style, as messages need.
// Internal to the library and not installed: hosts include "cncprobe/cncprobe.h".
#pragma once

#include <initializer_list>
#include <type_traits>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"

class CNCPROBE_API apStringFormatter {
 public:
  // The format with each "%d" (or "%i") replaced by the next argument in decimal and each "%%" by
  // "%"; everything else is copied as it stands, including a conversion for which no argument is
  // left. Only int arguments are taken, so no format can read beyond them. An invalid format gives
  // an invalid string.
  //   apStringFormatter::format(apString(apStringLiteral, L"(%d, %d) "), 12, 7) -> "(12, 7) "
  template <typename... Ints>
  [[nodiscard]] static apString format(apString pattern, Ints... arguments) {
    static_assert((std::is_same_v<Ints, int> && ...), "apStringFormatter takes int arguments only");
    return format_list(pattern, {arguments...});
  }

 private:
  static apString format_list(const apString& format, std::initializer_list<int> arguments);
};
