#include "tools/report/report_page.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tools/report/json_text.h"

namespace {

TEST(ReportPage, DataStringsLeaveNothingThatEndsOrBendsTheScriptElement) {
  const struct {
    std::string in, out;
  } cases[] = {
      {"</script><img src=x>", R"("\u003c/script\u003e\u003cimg src=x\u003e")"},
      {"<!-- & -->", R"("\u003c!-- \u0026 --\u003e")"},
      {"x\xE2\x80\xA8y\xE2\x80\xA9z", R"("x\u2028y\u2029z")"},
      {"\xE2\x82\xAC", "\"\xE2\x82\xAC\""},  // the euro sign shares the first byte: kept
      {"a\xE2", "\"a\xEF\xBF\xBD\""},        // a lone lead byte at the end: replaced
      {"\xE2\x80<\xA8", "\"\xEF\xBF\xBD\xEF\xBF\xBD\\u003c\xEF\xBF\xBD\""},  // cut, not U+2028
      {"q\"b\\t\tn\n\x01\x7F", R"("q\"b\\t\tn\n\u0001)"
                               "\x7F\""},
      // every control character with a short escape, each its own
      {"\b\f\r\t\n", R"("\b\f\r\t\n")"},
      {"", R"("")"},
  };
  for (const auto& c : cases) {
    std::string out;
    tool::append_script_json_string(out, c.in);
    EXPECT_EQ(out, c.out) << c.in;
  }
}

TEST(ReportPage, StreamedDataEqualsDataBuiltInMemory) {
  // A column larger than a block, so the text is handed on part way through it.
  std::string column(300 * 1024 + 1, '\0');
  for (std::size_t i = 0; i < column.size(); ++i) column[i] = static_cast<char>(i * 7);
  const auto write = [&](tool::JsonText& json) {
    json.begin_object().key("a<").string("</script>").key("n").integer(-3);
    json.key("x").number(1.5).key("column").base64_string(column.data(), column.size());
    json.key("l").begin_array().null().boolean(true).end_array().end_object();
  };
  tool::JsonText memory;
  write(memory);
  const std::string head = R"({"a\u003c":"\u003c/script\u003e","n":-3,"x":1.5,"column":")";
  EXPECT_EQ(memory.text(),
            head + tool::base64(column.data(), column.size()) + R"(","l":[null,true]})");

  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  {
    tool::Output out(file);
    tool::JsonText streamed(out);
    write(streamed);
    streamed.flush();
    out.flush();
  }
  std::rewind(file);
  std::string read(memory.text().size() + 1, '\0');
  read.resize(std::fread(read.data(), 1, read.size(), file));
  std::fclose(file);
  EXPECT_EQ(read, memory.text());
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
