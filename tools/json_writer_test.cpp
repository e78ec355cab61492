// Tests of the tool's output rules: numbers that read back exactly, repaired UTF-8, valid JSON.
#include "tools/json_writer.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace tool {
namespace {

TEST(JsonNumber, ReadsBackToTheSameDoubleNonFiniteIsNull) {
  const double values[] = {
      0.0,   -0.0,    0.1,     1.0 / 3.0, 25.4254, 2.54 * 0.1,           -127.0,
      1e300, -1e-300, DBL_MAX, DBL_MIN,   5e-324,  123456789012345678.0, 0.30000000000000004};
  for (const double value : values) {
    char buffer[kNumberBufferSize];
    const std::string text(format_json_number(value, buffer));
    const double back = std::strtod(text.c_str(), nullptr);
    EXPECT_EQ(std::memcmp(&back, &value, sizeof value), 0) << text;
    EXPECT_EQ(nlohmann::json::parse(text).get<double>(), value) << text;
  }
  for (const double value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity()}) {
    char buffer[kNumberBufferSize];
    EXPECT_EQ(format_json_number(value, buffer), "null");
  }
}

struct Utf8Case {
  const char* name;
  std::string in, out;
};

const std::string kFFFD = "\xEF\xBF\xBD";

TEST(ValidUtf8, EveryBadByteBecomesOneReplacement) {
  const Utf8Case cases[] = {
      {"four-byte", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
      {"latin-1 byte inside ascii",
       "a\xFF"
       "b",
       "a" + kFFFD + "b"},
      {"stray continuation", "\x80", kFFFD},
      {"cut two-byte at end", "x\xC3", "x" + kFFFD},
      {"cut three-byte",
       "\xE2\x82"
       "A",
       kFFFD + kFFFD + "A"},
      {"overlong slash", "\xC0\xAF", kFFFD + kFFFD},
      {"overlong three-byte", "\xE0\x80\xAF", kFFFD + kFFFD + kFFFD},
      {"surrogate", "\xED\xA0\x80", kFFFD + kFFFD + kFFFD},
      {"beyond U+10FFFF", "\xF4\x90\x80\x80", kFFFD + kFFFD + kFFFD + kFFFD},
      {"largest code point", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
  };
  for (const Utf8Case& c : cases) {
    std::string out;
    append_valid_utf8(out, c.in);
    EXPECT_EQ(out, c.out) << c.name;
  }
}

}  // namespace
}  // namespace tool
