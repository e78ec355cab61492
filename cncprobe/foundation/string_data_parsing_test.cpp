// Tests of kptStringDataParsing: signs apart from digits, units, and the host's number format.
#include "cncprobe/foundation/string_data_parsing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "cncprobe/platform/text/internal/neutral_numbers.h"
#include "cncprobe/platform/text/internal/test_locale.h"

namespace {
// The long way every captured number used to take: the sign in front of the text without its
// leading signs and blanks, read by atof in the neutral format. Only the decimal part counts, so
// the text is cut at its first letter other than an exponent's (the C library would also read
// hexadecimal, infinity and NaN forms).
double read_with_atof(const std::string& text) {
  const nlsNeutralNumbers neutral(nlsTranslationNeutral);
  std::string working = text.find('-') != std::string::npos ? "-" : "";
  const std::size_t first = text.find_first_not_of("+- ");
  if (first != std::string::npos) working += text.substr(first);
  for (std::size_t i = 0; i < working.size(); ++i) {
    const char c = working[i];
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (letter && c != 'e' && c != 'E') working.resize(i);
  }
  return std::atof(working.c_str());
}

// Number texts as a machine prints them and as noise makes them: signs apart from the digits,
// several points, exponents out of range, long mantissas, denormals, letters and commas.
std::vector<std::string> number_texts() {
  const char* const signs[] = {"", "-", "+", "- ", "+ -", " ", "--", "\t", " \t-", "*", "-*"};
  const char* const mantissas[] = {"0",
                                   "12.5",
                                   ".5",
                                   "5.",
                                   ".",
                                   "1.5.2",
                                   "007",
                                   "0.1",
                                   "123456789012345678901234567890",
                                   "9007199254740993",
                                   "1.7976931348623157",
                                   "1.7976931348623159",
                                   "2.2250738585072011",
                                   "4.9406564584124654",
                                   "2.4703282292062327",
                                   "2.4703282292062328",
                                   "0.000000000000000000001",
                                   "",
                                   "e5",
                                   "0x1A",
                                   "inf",
                                   "nan"};
  const char* const exponents[] = {"",
                                   "e",
                                   "e+",
                                   "E-5",
                                   "e308",
                                   "e309",
                                   "e-308",
                                   "e-310",
                                   "e-324",
                                   "e-330",
                                   "e+0",
                                   "e400",
                                   "e99999999999999999999",
                                   "e-99999999999999999999",
                                   "e0001"};
  const char* const tails[] = {"", "-", "x", " 7", ".3", ",5", "e2", "*"};
  std::vector<std::string> texts;
  for (const char* sign : signs)
    for (const char* mantissa : mantissas)
      for (const char* exponent : exponents)
        for (const char* tail : tails)
          texts.push_back(std::string(sign) + mantissa + exponent + tail);
  const std::string nines(400, '9');
  texts.insert(texts.end(),
               {nines + "." + nines + "e-400", "0." + std::string(350, '0') + "1", nines + nines});
  std::mt19937 random(20240611u);
  const std::string alphabet = "0123456789..--++  eE*,\tx";
  for (int i = 0; i < 100000; ++i) {
    std::string text(random() % 24, ' ');
    for (char& c : text) c = alphabet[random() % alphabet.size()];
    texts.push_back(text);
  }
  return texts;
}

void expect_doubles_read_neutrally() {
  struct Case {
    const char* text;
    double value;
  };
  // Fixed values, so that the atof reading below is itself held to them.
  const Case cases[] = {
      {"- 12.5", -12.5}, {"+3", 3.0}, {"--5", -5.0}, {"12-3", -12.0}, {"1.5.2", 1.5}, {"", 0.0},
      {"-", 0.0},        {"*", 0.0},  {"-*10", 0.0}, {"3,5", 3.0},    {"0x1A", 0.0},  {"-inf", 0.0},
  };
  const kptStringDataParsing parsing{kptUnits(kptUnitsMillimetres)};
  for (const Case& c : cases) {
    const double value = parsing.string_to_double(utString(c.text));
    EXPECT_EQ(value, c.value) << "'" << c.text << "'";
    EXPECT_EQ(std::signbit(value), std::signbit(c.value)) << "'" << c.text << "'";
  }
  EXPECT_EQ(parsing.string_to_double(utString()), 0.0) << "an invalid text";

  // The quick reading of the common case must give, bit for bit, what the long way gives.
  int differences = 0;
  for (const std::string& text : number_texts()) {
    const double quick = parsing.string_to_double(utString(text));
    const double slow = read_with_atof(text);
#if defined(_WIN32)
    // MinGW's C library turns an exponent beyond its integer range into an infinity, even a
    // negative one; the reader gives 0 for those tiny numbers, as on every other system.
    if (std::isinf(slow) && text.find("e-") != std::string::npos) continue;
#endif
    if (std::memcmp(&quick, &slow, sizeof quick) != 0 && ++differences <= 10) {
      ADD_FAILURE() << "'" << text << "': " << quick << " but atof reads " << slow;
    }
  }
  EXPECT_EQ(differences, 0);
}
}  // namespace

TEST(StringDataParsing, StringToDoubleReadsAsAtofDoesInAnyNumberFormat) {
  expect_doubles_read_neutrally();
  ScopedThreadLocale comma(kDecimalCommaLocale);
  if (!comma.active()) GTEST_SKIP() << kDecimalCommaLocale << " is not installed (locale -a)";
  ASSERT_TRUE(ScopedThreadLocale::reads_decimal_comma()) << "the comma locale is not in effect";
  expect_doubles_read_neutrally();
  EXPECT_TRUE(ScopedThreadLocale::reads_decimal_comma()) << "the host's format is restored";
}

TEST(StringDataParsing, LongDecimalsReadAsStrtodReadsThem) {
  // Fifteen digits and their power of ten are exact doubles, so one division rounds correctly;
  // a sixteenth digit may already be rounded before the division, which then rounds again.
  // These sixteen- and seventeen-digit texts are ones where that second rounding goes wrong.
  const char* const texts[] = {"9007199254.740993", "91059.33494858065", "96.40772780424519",
                               "9118439148.577435", "1234567890.123456", "0.1234567890123456",
                               ".1234567890123456", "123456789012345.6", "999999999999999.9",
                               "12345.678901234567"};
  const kptStringDataParsing parsing{kptUnits(kptUnitsMillimetres)};
  for (const char* text : texts) {
    for (const bool negative : {false, true}) {
      std::string signed_text = negative ? "-" : "";
      signed_text += text;
      const double read = parsing.string_to_double(utString(signed_text.c_str()));
      const double expected = std::strtod(signed_text.c_str(), nullptr);
      EXPECT_EQ(std::memcmp(&read, &expected, sizeof read), 0)
          << signed_text << ": " << read << " but strtod reads " << expected;
    }
  }
}

TEST(StringDataParsing, StringToMmConvertsFromTheFileUnits) {
  struct Case {
    kptUnitsType type;
    const char* text;
    double mm;
  };
  const Case cases[] = {
      {kptUnitsInches, "1", 25.4},
      {kptUnitsMillimetres, "1", 1.0},
      {kptUnitsInches, "- 2", -50.8},
      {static_cast<kptUnitsType>(5), "2", 2.0},
  };
  for (const Case& c : cases) {
    const kptStringDataParsing parsing{kptUnits(c.type)};
    EXPECT_DOUBLE_EQ(parsing.string_to_mm(utString(c.text)), c.mm) << c.type << " " << c.text;
  }
}

TEST(StringDataParsing, StringToUnsignedInt) {
  struct Case {
    const char* text;
    bool ok;
    unsigned int value;
  };
  const Case cases[] = {
      {"17", true, 17},  {"0", true, 0},    {"2147483647", true, 2147483647u},
      {"-5", false, 0},  {"ABC", false, 0}, {"", false, 0},
      {"1.5", false, 0},
  };
  const kptStringDataParsing parsing;
  for (const Case& c : cases) {
    unsigned int value = 4242;
    EXPECT_EQ(parsing.string_to_unsigned_int(utString(c.text), value), c.ok) << c.text;
    EXPECT_TRUE(!c.ok || value == c.value) << c.text << " read as " << value;
  }
}
