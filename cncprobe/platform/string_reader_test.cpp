// Tests of apStringReaderUTF8: where lines end, the byte-order mark, and what ends reading.
#include "cncprobe/platform/string_reader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {
// Every line the reader hands out until its first error, as UTF-8.
std::vector<std::string> read_all(std::istream& in, apStringReaderUTF8& reader) {
  std::vector<std::string> lines;
  for (int guard = 0; guard < 100; ++guard) {
    int error = 0;
    const apString line = reader.read_line(in, error);
    if (error != 0) {
      EXPECT_TRUE(line.invalid() != 0);
      break;
    }
    lines.push_back(line.utf8());
  }
  return lines;
}
}  // namespace

TEST(StringReaderUTF8, LineEndsAndByteOrderMark) {
  struct Case { std::string bytes; std::vector<std::string> lines; };
  const Case cases[] = {
      {"A\nB\n", {"A", "B"}},
      {"A\r\nB\r\n", {"A", "B"}},
      {"A\rB\r", {"A", "B"}},
      {"A\r\n\r\nB", {"A", "", "B"}},     // a last line without a line end is still a line
      {"A\n\r\n\rB\n\n", {"A", "", "", "B", ""}},
      {"", {}},
      {"\n", {""}},
      {"\xEF\xBB\xBF" "A\nB", {"A", "B"}},   // the mark at the start is skipped
      {"\xEF\xBB\xBF", {}},
      {"\xEF\xBB!\n", {}},                  // a partial mark is no mark, and no UTF-8 either
      {"A\n\xEF\xBB\xBF" "B", {"A", "\xEF\xBB\xBF" "B"}},  // only at the start of the stream
      {"  a\tb * \n", {"  a\tb * "}},
      {"x\xC3\xA9y\n", {"x\xC3\xA9y"}},
      {"A\nx\xE9y\nB\n", {"A"}},          // not UTF-8: the error ends reading
      {"A\n\xED\xA0\x80\nB\n", {"A"}},    // an encoded surrogate is no UTF-8 either
      {std::string("A\0B\n", 4), {std::string("A\0B", 3)}},
  };
  for (const Case& c : cases) {
    std::istringstream in(c.bytes);
    apStringReaderUTF8 reader;
    EXPECT_EQ(read_all(in, reader), c.lines) << c.bytes;
  }
}

TEST(StringReaderUTF8, EndOfStreamSetsErrorAndStreamFlags) {
  std::istringstream in("A\nB");
  apStringReaderUTF8 reader;
  int error = 0;
  EXPECT_EQ(reader.read_line(in, error).utf8(), "A");
  EXPECT_TRUE(in.good());
  EXPECT_EQ(reader.read_line(in, error).utf8(), "B");
  EXPECT_EQ(error, 0);
  EXPECT_TRUE(in.eof()) << "the caller's loop on good() ends after a last line without line end";
  (void)reader.read_line(in, error);
  EXPECT_NE(error, 0);
}

TEST(StringReaderUTF8, OverLongLineStopsWithoutReadingTheRest) {
  apStringReaderUTF8 small(4);
  std::istringstream fits("abcd\nabcde\nz\n");
  EXPECT_EQ(read_all(fits, small), std::vector<std::string>{"abcd"});

  // A stream without line ends is not taken into memory as a whole.
  const std::string blob(8 * apStringReader::kDefaultMaxLineBytes, 'x');
  std::istringstream in(blob);
  apStringReaderUTF8 reader;
  int error = 0;
  EXPECT_TRUE(reader.read_line(in, error).invalid() != 0);
  EXPECT_NE(error, 0);
  EXPECT_LE(static_cast<std::size_t>(in.tellg()), apStringReader::kDefaultMaxLineBytes + 1);
}
