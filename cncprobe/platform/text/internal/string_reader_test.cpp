// Tests of apStringReaderUTF8: where lines end, the byte-order mark, and what ends reading.
#include "cncprobe/platform/text/internal/string_reader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {
// Every line the reader hands out until its first error, as UTF-8.
std::vector<std::string> read_all(std::istream& in, apStringReaderUTF8 reader) {
  std::vector<std::string> lines;
  for (int error = 0; lines.size() < 100;) {
    const apString line = reader.read_line(in, error);
    if (error != 0) break;
    lines.push_back(line.utf8());
  }
  return lines;
}
}  // namespace

TEST(StringReaderUTF8, LineEndsByteOrderMarkAndWhatEndsReading) {
  struct Case {
    std::string bytes;
    std::vector<std::string> lines;
  };
  const Case cases[] = {
      {"A\r\n\r\nB", {"A", "", "B"}},  // a last line without a line end is still a line
      {"A\rB\n\r\n\r", {"A", "B", "", ""}},
      {"", {}},
      {"\xEF\xBB\xBF"
       "A\nB",
       {"A", "B"}},
      {"\xEF\xBB!\n", {}},  // a partial mark is no mark, and no UTF-8 either
      {"A\n\xEF\xBB\xBF"
       "B",
       {"A",
        "\xEF\xBB\xBF"
        "B"}},                    // skipped only at the start
      {" b\t*\n", {" b\t*"}},     // blanks and asterisks are kept
      {"A\nx\xE9y\nB\n", {"A"}},  // Latin-1, not UTF-8: the error ends reading
      {"A\n\xED\xA0\x80\nB\n", {"A"}},
      {"abcd\nabcde\nB\n", {"abcd"}},  // over the limit of 4 bytes
  };
  for (const Case& c : cases) {
    std::istringstream in(c.bytes);
    EXPECT_EQ(read_all(in, apStringReaderUTF8(4)), c.lines) << c.bytes;
  }
}

TEST(StringReaderUTF8, StreamWithoutLineEndsIsNotTakenIntoMemory) {
  std::istringstream in(std::string(8 * apStringReader::kDefaultMaxLineBytes, 'x'));
  EXPECT_TRUE(read_all(in, apStringReaderUTF8()).empty());
  EXPECT_LE(static_cast<std::size_t>(in.tellg()), apStringReader::kDefaultMaxLineBytes + 1);
}
