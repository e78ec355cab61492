// kptStringDataParsing: sign handling and locale-independent reading of captured number texts.
#include "cncprobe/foundation/string_data_parsing.h"

#include <charconv>
#include <cstdlib>
#include <string_view>
#include <system_error>

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
  const std::string_view whole = text.view();
  const bool negative = whole.find('-') != std::string_view::npos;
  const std::size_t first = whole.find_first_not_of("+- ");
  const std::string_view rest =
      first == std::string_view::npos ? std::string_view() : whole.substr(first);

  // The common case, a digit or a decimal point after the signs: read the longest leading
  // decimal number without building the working text. std::from_chars reads exactly the decimal
  // forms the C library reads, correctly rounded and in no locale, so the value is the same.
  if (!rest.empty() && ((rest.front() >= '0' && rest.front() <= '9') || rest.front() == '.')) {
    double value = 0.0;
    const auto result = std::from_chars(rest.data(), rest.data() + rest.size(), value,
                                        std::chars_format::general);
    if (result.ec == std::errc()) return negative ? -value : value;
    if (result.ec == std::errc::invalid_argument) return 0.0;  // a lone "." is no number
    // Out of range: let the C library decide between an infinity and a denormal, as it would.
  }

  // Everything else goes the long way: the sign in front of the rest, read by the C library.
  // Alive until the number has been read: the host may have selected a decimal comma.
  const nlsNeutralNumbers neutral(nlsTranslationNeutral);
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
