// kptStringDataParsing: sign handling and locale-independent reading of captured number texts.
#include "cncprobe/foundation/string_data_parsing.h"

#include <cstdlib>

#include "cncprobe/platform/neutral_numbers.h"

namespace {
// The C library also reads hexadecimal ("0x1A"), "inf" and "nan" forms. The numbers a machine
// prints are decimal, and those texts hold no decimal number beyond a leading zero, so they read
// as 0 rather than letting an infinity or a NaN into a measured point.
bool only_decimal(const char* begin, const char* end) {
  for (const char* p = begin; p != end; ++p) {
    const char c = *p;
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (letter && c != 'e' && c != 'E') return false;
  }
  return true;
}
}  // namespace

double kptStringDataParsing::string_to_double(const utString& text) const {
  // Alive until the number has been read: the host may have selected a decimal comma.
  const nlsNeutralNumbers neutral(nlsTranslationNeutral);
  const bool negative = text.locate_substring("-") >= 0;
  utString working("");
  if (negative) working << '-';
  working << text.remove_leading_chars("+- ");
  const char* begin = working.c_str();
  char* end = nullptr;
  const double value = std::strtod(begin, &end);
  return only_decimal(begin, end) ? value : 0.0;
}

double kptStringDataParsing::string_to_mm(const utString& text) const {
  return units_.units_to_mm(string_to_double(text));
}

bool kptStringDataParsing::string_to_unsigned_int(const utString& text,
                                                  unsigned int& value) const {
  int parsed = 0;
  int unused = 0;
  if (!text.parse(parsed, unused)) return false;
  value = static_cast<unsigned int>(parsed);
  return parsed >= 0;
}
