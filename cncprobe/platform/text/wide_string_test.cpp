// Tests of apString's UTF-8 decoding, which decides whether a results-file line is kept.
#include "cncprobe/platform/text/wide_string.h"

#include <gtest/gtest.h>

#include <string>

TEST(WideString, DecodingReportsMalformedUtf8) {
  struct Case {
    std::string bytes;
    bool valid;
    std::wstring text;
  };
  const Case cases[] = {
      {"G800 X1.5", true, L"G800 X1.5"},
      {"\xE9", false, L"\xFFFD"},   // a Latin-1 accented letter alone
      {"\xC3\xA9", true, L"\xE9"},  // the same letter in UTF-8
      {"\xF0\x9F\x98\x80", true, L"\U0001F600"},
      {"\xF4\x90\x80\x80", false, L"\xFFFD\xFFFD\xFFFD\xFFFD"},  // beyond U+10FFFF
      {"\xC0\xAF", false, L"\xFFFD\xFFFD"},                      // overlong "/"
      {"\xE0\x80\xAF", false, L"\xFFFD\xFFFD\xFFFD"},
      {"\xED\xA0\x80", false, L"\xFFFD\xFFFD\xFFFD"},  // a surrogate half
      {"\xED\x9F\xBF", true, L"\xD7FF"},
      {"\xE2\x82", false, L"\xFFFD\xFFFD"},    // cut at the end
      {"\xE2\x82Z", false, L"\xFFFD\xFFFDZ"},  // cut before an ASCII byte
      {"\x80", false, L"\xFFFD"},              // a continuation byte alone
      // Bad bytes on both sides of the eight-byte ASCII stride of the quick test.
      {"ABCDEFG\xE9", false, L"ABCDEFG\xFFFD"},
      {"ABCDEFGH\xE9", false, L"ABCDEFGH\xFFFD"},
      {"ABCDEFGHIJKLMNO\xC3\xA9P", true, L"ABCDEFGHIJKLMNO\xE9P"},
  };
  for (const Case& c : cases) {
    int error = -1;
    const apString decoded(apStringFromUTF8, c.bytes.c_str(), error);
    EXPECT_EQ(error == 0, c.valid) << c.bytes;
    EXPECT_EQ(decoded.wstr(), c.text) << c.bytes;
    EXPECT_EQ(apString::is_valid_utf8(c.bytes), c.valid) << "the quick test agrees: " << c.bytes;
  }
}
