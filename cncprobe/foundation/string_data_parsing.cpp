// kptStringDataParsing: sign handling and locale-independent reading of captured number texts.
#include "cncprobe/foundation/string_data_parsing.h"

#include <cfloat>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include "cncprobe/platform/text/internal/neutral_numbers.h"

#if defined(_MSC_VER)
#define CNCPROBE_OUT_OF_LINE __declspec(noinline)
#else
#define CNCPROBE_OUT_OF_LINE __attribute__((noinline))
#endif

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

// The way almost every printed length looks: at most 15 digits around an optional point and no
// exponent, such as 123.4567. Its digits as a whole number and that number's power of ten are
// both exact doubles, so one division gives the correctly rounded value, the same one the C
// library computes the long way (unless intermediates are wider than a double: they would round
// twice).
constexpr std::ptrdiff_t kShortDecimalDigits = 15;
constexpr bool kExactShortDecimals = FLT_EVAL_METHOD == 0;
constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// Reads a short decimal at the start of `text`; `used` is its length. False, with nothing read,
// for any other text.
bool read_short_decimal(std::string_view text, double& value, std::size_t& used) noexcept {
  if (!kExactShortDecimals) return false;
  const char* p = text.data();
  const char* const end = p + text.size();
  // Past 15 digits the whole number may wrap; it is then not used.
  std::uint64_t digits = 0;
  const char* const integer = p;
  const auto digit = [&end](const char* at) {
    return at != end && static_cast<unsigned char>(*at - '0') < 10;
  };
  while (digit(p)) digits = digits * 10 + static_cast<std::uint64_t>(*p++ - '0');
  std::ptrdiff_t count = p - integer;
  std::ptrdiff_t decimals = 0;
  if (p != end && *p == '.') {
    const char* const fraction = ++p;
    while (digit(p)) digits = digits * 10 + static_cast<std::uint64_t>(*p++ - '0');
    decimals = p - fraction;
    count += decimals;
  }
  // An exponent is left to the general reading; so is a text without digits (".").
  if (count == 0 || count > kShortDecimalDigits || (p != end && (*p == 'e' || *p == 'E')))
    return false;
  value = static_cast<double>(digits) / kPowersOfTen[decimals];
  used = static_cast<std::size_t>(p - text.data());
  return true;
}
// Any captured text, the long way: signs and blanks in front, a sign behind the digits, long
// numbers, exponents, texts that hold no number. Kept apart from the common case, whose few
// registers would otherwise be saved and restored around this one's many.
CNCPROBE_OUT_OF_LINE double read_any_number(std::string_view text) {
  // The number starts after the leading run of signs and blanks; any "-", in that run or
  // anywhere behind it, makes it negative.
  const std::string_view whole = text;
  std::size_t first = 0;
  bool negative = false;
  for (; first < whole.size(); ++first) {
    const char c = whole[first];
    if (c == '-') {
      negative = true;
    } else if (c != '+' && c != ' ') {
      break;
    }
  }
  const std::string_view rest = whole.substr(first);
  const auto minus_in = [&](std::string_view part) {
    return negative || part.find('-') != std::string_view::npos;
  };

  // The common case, a digit or a decimal point after the signs: read the longest leading
  // decimal number without building the working text. Both quick readings give exactly the
  // correctly rounded value that the C library gives, and neither depends on a locale.
  if (!rest.empty() && ((rest.front() >= '0' && rest.front() <= '9') || rest.front() == '.')) {
    double value = 0.0;
    std::size_t used = 0;
    if (read_short_decimal(rest, value, used)) return minus_in(rest.substr(used)) ? -value : value;
    const auto result =
        std::from_chars(rest.data(), rest.data() + rest.size(), value, std::chars_format::general);
    if (result.ec == std::errc()) return minus_in(rest) ? -value : value;
    if (result.ec == std::errc::invalid_argument) return 0.0;  // a lone "." is no number
    // Out of range: let the C library decide between an infinity and a denormal, as it would.
  }
  negative = minus_in(rest);

  // Everything else goes the long way: the sign in front of the rest, read by the C library.
  // Alive until the number has been read: the host may have selected a decimal comma.
  const nlsNeutralNumbers neutral(nlsTranslationNeutral);
  utString working("");
  if (negative) working << '-';
  working << utString(rest);  // the text without its leading signs and blanks
  const char* begin = working.c_str();
  char* end = nullptr;
  const double value = std::strtod(begin, &end);
  // No number at all is +0 (some C libraries give the sign they read in front of nothing).
  if (end == begin) return 0.0;
  return only_decimal(begin, end) ? value : 0.0;
}

}  // namespace

double kptStringDataParsing::string_to_double(const utString& text) const {
  return string_to_double(text.view());
}

double kptStringDataParsing::string_to_double(std::string_view text) const {
  // Nearly every captured value is a short decimal behind at most one sign, such as "-12.5", and
  // is read here in one pass, exactly as the long way would read it.
  const char* p = text.data();
  const char* const end = p + text.size();
  const bool negative = p != end && *p == '-';
  if (p != end && (*p == '-' || *p == '+')) ++p;
  std::uint64_t digits = 0;
  const char* const integer = p;
  while (p != end && static_cast<unsigned char>(*p - '0') < 10) {
    digits = digits * 10 + static_cast<std::uint64_t>(*p++ - '0');
  }
  std::ptrdiff_t count = p - integer;
  std::ptrdiff_t decimals = 0;
  if (p != end && *p == '.') {
    const char* const fraction = ++p;
    while (p != end && static_cast<unsigned char>(*p - '0') < 10) {
      digits = digits * 10 + static_cast<std::uint64_t>(*p++ - '0');
    }
    decimals = p - fraction;
    count += decimals;
  }
  if (kExactShortDecimals && p == end && count > 0 && count <= kShortDecimalDigits) {
    const double value = static_cast<double>(digits) / kPowersOfTen[decimals];
    return negative ? -value : value;
  }
  return read_any_number(text);
}

double kptStringDataParsing::string_to_mm(const utString& text) const {
  return units_.units_to_mm(string_to_double(text.view()));
}

double kptStringDataParsing::string_to_mm(std::string_view text) const {
  return units_.units_to_mm(string_to_double(text));
}

bool kptStringDataParsing::string_to_unsigned_int(const utString& text, unsigned int& value) const {
  int parsed = 0;
  int unused = 0;
  if (!text.parse(parsed, unused)) return false;
  value = static_cast<unsigned int>(parsed);
  return parsed >= 0;
}
