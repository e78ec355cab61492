// mtrInspectionPoint: the label of a numbered point, made when asked for.
#include "cncprobe/platform/model/inspection_point.h"

#include <charconv>

utString mtrInspectionPoint::label() const {
  if (number_ == 0) return label_;
  char digits[16];
  const auto length =
      static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, number_).ptr - digits);
  const std::string_view prefix = label_.view();
  std::string text;
  text.reserve(prefix.size() + length);
  text.append(prefix).append(digits, length);
  return utString(text);
}
