#include "tools/report/report_page.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ReportPage, JsonForScriptLeavesNothingThatEndsOrBendsTheScriptElement) {
  const struct {
    std::string in, out;
  } cases[] = {
      {R"({"a":"</script><img src=x>"})", R"({"a":"\u003c/script\u003e\u003cimg src=x\u003e"})"},
      {R"({"a":"<!-- & -->"})", R"({"a":"\u003c!-- \u0026 --\u003e"})"},
      {"\"x\xE2\x80\xA8y\xE2\x80\xA9z\"", R"("x\u2028y\u2029z")"},
      {"\"\xE2\x82\xAC\"", "\"\xE2\x82\xAC\""},  // the euro sign shares the first byte: kept
      {"\"\xE2\"", "\"\xE2\""},                  // a lone lead byte at the end
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(tool::json_for_script(c.in), c.out) << c.in;
}

TEST(ReportPage, HtmlEscapedMakesMarkupText) {
  EXPECT_EQ(tool::html_escaped(R"(<b a="1">'&'</b>)"),
            "&lt;b a=&quot;1&quot;&gt;&#39;&amp;&#39;&lt;/b&gt;");
  EXPECT_EQ(tool::html_escaped("a\xFF"), "a\xEF\xBF\xBD");  // invalid UTF-8 replaced
}

TEST(ReportPage, Base64OfEveryTailLength) {
  const struct {
    std::string in, out;
  } cases[] = {{"", ""},        {"f", "Zg=="},        {"fo", "Zm8="},
               {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xFF\xFE\xFD", "//79"}};
  for (const auto& c : cases) EXPECT_EQ(tool::base64(c.in.data(), c.in.size()), c.out);
}

}  // namespace
