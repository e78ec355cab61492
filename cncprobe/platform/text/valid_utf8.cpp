// Text repaired into UTF-8 for readers that accept nothing else.
#include "cncprobe/platform/text/valid_utf8.h"

namespace {

// Length of the well-formed UTF-8 sequence that starts at bytes[i], or 0 when the byte there
// starts none. Follows the table of well-formed byte sequences of the Unicode standard.
std::size_t utf8_sequence_length(std::string_view bytes, std::size_t i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(bytes[k]); };
  const unsigned char b0 = byte(i);
  if (b0 < 0x80) return 1;
  std::size_t length = 0;
  unsigned char low = 0x80;  // the allowed range of the second byte
  unsigned char high = 0xBF;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    length = 2;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    length = 3;
    if (b0 == 0xE0) low = 0xA0;   // no overlong forms
    if (b0 == 0xED) high = 0x9F;  // no surrogates
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    length = 4;
    if (b0 == 0xF0) low = 0x90;   // no overlong forms
    if (b0 == 0xF4) high = 0x8F;  // nothing beyond U+10FFFF
  } else {
    return 0;
  }
  if (bytes.size() - i < length) return 0;
  if (byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (std::size_t k = 2; k < length; ++k) {
    if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 0;
  }
  return length;
}

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

}  // namespace

void ut_append_valid_utf8(std::string& out, std::string_view bytes) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    // A run of ASCII, nearly all of a label or a name, goes in one piece.
    std::size_t ascii = i;
    while (ascii < bytes.size() && static_cast<unsigned char>(bytes[ascii]) < 0x80) ++ascii;
    if (ascii != i) {
      out.append(bytes.substr(i, ascii - i));
      i = ascii;
      continue;
    }
    const std::size_t length = utf8_sequence_length(bytes, i);
    if (length == 0) {
      out.append(kReplacement);
      ++i;
    } else {
      out.append(bytes.substr(i, length));
      i += length;
    }
  }
}
