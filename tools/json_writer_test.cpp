// Tests of the tool's output rules: numbers that read back exactly, repaired UTF-8, valid JSON.
#include "tools/json_writer.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/repeatable_random.h"

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

// The quick form of short decimals must be exactly the general shortest form: compared on every
// kind of value around and inside its range, with up to eight decimals and either sign.
TEST(JsonNumber, ShortDecimalsAreWrittenAsTheGeneralShortestForm) {
  std::vector<double> values = {0.01, 0.0099999, 0.1, 0.3, 1.0 / 3.0, 9999.999999, 1e4, 9999.9999,
                                1000, 100, 5e-3, 2.54 * 0.1, 0.0105, 0.125, 39.99, -12.5,
                                1e-2 - 1e-17,
                                // round numbers outside, whose scientific form is the shorter
                                1e5, 3e5, 12e4, 1e6, 1e-4, 2e-5};
  RepeatableRandom next(88172645463325252ULL);
  static constexpr double kPowers[] = {1, 10, 100, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
  for (int i = 0; i < 200000; ++i) {
    const int decimals = static_cast<int>(next() % 9);
    const double whole = static_cast<double>(next() % 100000000);
    values.push_back(whole / kPowers[decimals]);
    values.push_back(std::nextafter(values.back(), 1e9));
    double any = 0;
    const std::uint64_t bits = next();
    std::memcpy(&any, &bits, sizeof any);
    values.push_back(any);
  }
  for (const double magnitude : values) {
    for (const double value : {magnitude, -magnitude}) {
      if (!std::isfinite(value)) continue;
      char buffer[kNumberBufferSize];
      char expected[kNumberBufferSize];
      const std::to_chars_result r = std::to_chars(expected, expected + sizeof expected, value);
      ASSERT_EQ(format_json_number(value, buffer),
                std::string_view(expected, static_cast<std::size_t>(r.ptr - expected)))
          << std::hexfloat << value;
    }
  }
}

// The text a JSON string must hold, made the plain way: the whole text repaired first, then every
// byte looked at on its own.
std::string reference_quoted(std::string_view bytes) {
  std::string valid;
  append_valid_utf8(valid, bytes);
  std::string out = "\"";
  for (const char c : valid) {
    const auto u = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '\b') {
      out += "\\b";
    } else if (c == '\f') {
      out += "\\f";
    } else if (u < 0x20) {
      static constexpr char kHex[] = "0123456789abcdef";
      out += "\\u00";
      out += kHex[u >> 4];
      out += kHex[u & 0x0F];
    } else {
      out += c;
    }
  }
  return out + "\"";
}

// Plain runs are copied whole and each run of non-ASCII bytes is repaired on its own: the result
// must be the same as repairing and escaping the whole text, wherever the runs start and end.
TEST(JsonString, RunsGiveTheSameTextAsTheWholeRepaired) {
  std::vector<std::string> cases = {
      "",
      "Path 12 (3): Inspection Point 1",
      "C:\\PROBE\\RUN \"7\".TXT",
      "tab\there\nline\r\x01\x1f\x7f end",
      "back\bspace form\ffeed",
      "\xC3\xA9t\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC",
      "cut \xE2\x82 then ascii",
      "cut at the end \xF0\x9F\x98",
      "\x80\xBF stray at the start",
      "overlong \xC0\xAF surrogate \xED\xA0\x80 beyond \xF4\x90\x80\x80",
      "\xF4\x8F\xBF\xBF\"\xC3\xA9\\\xC3",
  };
  // Random texts from bytes that start, continue, break and escape sequences.
  static constexpr char kAlphabet[] = {'a',    ' ',    '"',    '\\',   '\n',   '\x01', '\b',
                                       '\f',   '\r',   '\t',   '\x7f', '\x80', '\xbf', '\xc2',
                                       '\xc3', '\xe2', '\xed', '\xf0', '\xf4', '\xff'};
  RepeatableRandom next_byte(0x2545F4914F6CDD1DULL);
  for (int i = 0; i < 5000; ++i) {
    std::string text;
    for (int n = 0; n < i % 13; ++n) text += kAlphabet[next_byte() % sizeof kAlphabet];
    cases.push_back(text);
  }
  for (const std::string& text : cases) {
    const std::string quoted = json_quoted(text);
    ASSERT_EQ(quoted, reference_quoted(text));
    // Read back by a JSON parser, the string is the text made valid UTF-8: every escape stands
    // for its own character.
    std::string repaired;
    append_valid_utf8(repaired, text);
    EXPECT_EQ(nlohmann::json::parse(quoted).get<std::string>(), repaired) << quoted;
  }
}

struct Utf8Case {
  const char* name;
  std::string in, out;
};

const std::string kFFFD = "\xEF\xBF\xBD";

// An array written in parts by continuations, each into its own output, and joined in order
// reads exactly as the array written by one writer, in every layout and at any depth.
TEST(JsonWriter, PartsWrittenByContinuationsJoinIntoTheOneDocument) {
  // Writes items [from, to) of the array: objects, a nested array, numbers.
  const auto items = [](JsonWriter& json, int from, int to) {
    for (int i = from; i < to; ++i) {
      json.begin_object(i % 3 == 0);
      json.key("n");
      json.integer(i);
      json.key("list");
      json.begin_array();
      json.number(i / 4.0);
      json.end_array();
      json.end_object();
    }
  };
  // The document: {"a": [items], "b": true}, or the array alone one level down.
  const auto document = [&items](JsonLayout layout, bool nested,
                                 const std::vector<int>& cuts) -> std::string {
    std::string text;
    {
      Output out(text);
      JsonWriter json(out, layout);
      json.begin_object();
      json.key("a");
      if (nested) {
        json.begin_array();
        json.begin_object();
        json.key("deep");
      }
      json.begin_array();
      if (cuts.empty()) {
        items(json, 0, 7);
      } else {
        for (std::size_t k = 0; k + 1 < cuts.size(); ++k) {
          std::string part_text;
          Output part_out(part_text);
          JsonWriter part = json.continuation(part_out, k > 0);
          items(part, cuts[k], cuts[k + 1]);
          part_out.flush();
          out.write(part_text);
        }
        json.items_written_elsewhere();
      }
      json.end_array();
      if (nested) {
        json.end_object();
        json.end_array();
      }
      json.key("b");
      json.boolean(true);
      json.end_object();
      json.finish();
      out.flush();
    }
    return text;
  };
  for (const JsonLayout layout :
       {JsonLayout::kDocument, JsonLayout::kArrayElement, JsonLayout::kLine}) {
    for (const bool nested : {false, true}) {
      const std::string one = document(layout, nested, {});
      for (const std::vector<int>& cuts :
           {std::vector<int>{0, 7}, {0, 1, 7}, {0, 3, 4, 7}, {0, 1, 2, 3, 4, 5, 6, 7}}) {
        EXPECT_EQ(document(layout, nested, cuts), one)
            << static_cast<int>(layout) << " " << nested << " " << cuts.size();
      }
    }
  }
}

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
