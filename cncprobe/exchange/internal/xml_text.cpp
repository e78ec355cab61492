// Plain decimals and XML-safe text.
#include "cncprobe/exchange/internal/xml_text.h"

#include <charconv>
#include <cmath>

#include "cncprobe/platform/text/valid_utf8.h"

bool ex_append_decimal(std::string& out, double value) {
  if (!std::isfinite(value)) return false;
  if (value == 0.0) value = 0.0;  // -0 reads as a sign a decimal does not need
  // The fixed form of the largest double has 309 digits before the point; the smallest
  // subnormal, 1074 after it.
  char buffer[1100];
  const std::to_chars_result result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  out.append(buffer, result.ptr);
  return true;
}

std::string ex_xml_text(std::string_view bytes) {
  std::string valid;
  valid.reserve(bytes.size());
  ut_append_valid_utf8(valid, bytes);
  static constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string text;
  text.reserve(valid.size());
  for (std::size_t i = 0; i < valid.size(); ++i) {
    const auto byte = static_cast<unsigned char>(valid[i]);
    if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') {
      text += kReplacement;
    } else if (byte == 0xEF && i + 2 < valid.size() && valid[i + 1] == '\xBF' &&
               (valid[i + 2] == '\xBE' || valid[i + 2] == '\xBF')) {
      text += kReplacement;  // U+FFFE and U+FFFF are not characters
      i += 2;
    } else {
      text += valid[i];
    }
  }
  return text;
}
