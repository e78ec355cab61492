// Tests of kptResultsFileCursor: what ends and drops a line, unreadable files, copies and stepping.
#include "cncprobe/foundation/results_file_cursor.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/scratch_directory.h"

namespace {
namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// Reads a file through the per-line contract alone, as a check on the chunked reader.
class LineByLine : public kptResultsFileCursor {
 public:
  static Lines read(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    Lines lines;
    while (stream.good()) {
      const utString line = read_line(stream);
      if (line.length() != 0) lines.push_back(line.str());
    }
    return lines;
  }
};

Lines lines_of(kptResultsFileCursor cursor) {
  Lines lines;
  while (++cursor) lines.push_back(cursor().str());
  return lines;
}

class ResultsFileCursorTest : public ::testing::Test {
 protected:
  fs::path write(const std::string& bytes) {
    return scratch_.write(std::to_string(files_++), bytes);
  }
  static kptResultsFileCursor open(const fs::path& path) {
    return kptResultsFileCursor(utString(path.string()));
  }

  ScratchDirectory scratch_;
  const fs::path& dir_ = scratch_.path();
  int files_ = 0;
};
}  // namespace

TEST_F(ResultsFileCursorTest, LineEndsBlankLinesAndTheEncodingTest) {
  // The test process runs in the "C" locale. Its multibyte encoding is ASCII here: a line that is
  // not UTF-8 fails both tests and is dropped. On Windows it takes every byte for a character,
  // and such a line is kept.
  const bool ascii = std::mbstowcs(nullptr, "\xE9", 2147483647) == static_cast<std::size_t>(-1);
#if !defined(_WIN32)
  ASSERT_TRUE(ascii);
#endif
  const auto unless_ascii = [ascii](Lines kept, Lines dropped) { return ascii ? dropped : kept; };
  const std::string mib_less_one((std::size_t{1} << 20) - 1, 'y');  // the read buffer's size
  const std::string big(3 << 20, 'x');
  struct Case {
    std::string bytes;
    Lines lines;
  };
  const Case cases[] = {
      {"A\r\n\r\nB", {"A", "B"}},
      {"A\rB\rC\r", {"A", "B", "C"}},
      {std::string("AB\0CD\n", 6), {"AB", "CD"}},
      {std::string("\n\r\n\r\0\n", 6), {}},
      {"", {}},
      {"\n\n START \n\n\n*** END ***\t", {" START ", "*** END ***\t"}},
      {"caf\xC3\xA9\nbad \xE9 line\nok\n",
       unless_ascii({"caf\xC3\xA9", "bad \xE9 line", "ok"}, {"caf\xC3\xA9", "ok"})},
      {"G800\n\xC3", unless_ascii({"G800", "\xC3"}, {"G800"})},
      {"A\n" + big + "\nB", {"A", big, "B"}},
      {mib_less_one + "\r\nB", {mib_less_one, "B"}},  // CR ends one chunk, LF starts the next
      {mib_less_one + "Z\nB", {mib_less_one + "Z", "B"}},
      {mib_less_one + "\xC3\xA9\n", {mib_less_one + "\xC3\xA9"}},  // a letter cut by a chunk
  };
  for (const Case& c : cases) {
    const fs::path path = write(c.bytes);
    EXPECT_TRUE(lines_of(open(path)) == c.lines && LineByLine::read(path) == c.lines)
        << testing::PrintToString(c.bytes.substr(0, 40));
    EXPECT_TRUE(lines_of(kptResultsFileCursor(kptInputFile::from_text(c.bytes))) == c.lines)
        << "in memory: " << testing::PrintToString(c.bytes.substr(0, 40));
  }
}

TEST_F(ResultsFileCursorTest, UnreadableFilesGiveNoLines) {
  const fs::path locked = write("START\n");
  fs::permissions(locked, fs::perms::none);
  std::vector<kptResultsFileCursor> cursors = {open(dir_ / "missing.res"), open(dir_),
                                               kptResultsFileCursor(utString(""))};
#if defined(_WIN32)
  cursors.push_back(open("NUL"));  // a device
#else
  // A FIFO without a writer would block and a device never ends: neither is read.
  ASSERT_EQ(::mkfifo((dir_ / "fifo").c_str(), 0600), 0);
  cursors.push_back(open(dir_ / "fifo"));
  cursors.push_back(open("/dev/zero"));
  if (::geteuid() != 0) cursors.push_back(open(locked));  // root reads it regardless
#endif
  for (kptResultsFileCursor& cursor : cursors) {
    EXPECT_FALSE(++cursor);
    EXPECT_TRUE(cursor.undefined());
  }
}

TEST(ResultsFileCursor, InitializerListSkipsEmptyLinesAndStepsWrapAround) {
  kptResultsFileCursor cursor{utString("A"), utString(""), utString(), utString("B")};
  EXPECT_TRUE(cursor.undefined());
  const char* const positions[] = {"A", "B", nullptr, "A"};
  for (const char* line : positions) {
    EXPECT_EQ(++cursor, line != nullptr);
    EXPECT_EQ(cursor.undefined(), line == nullptr);
    EXPECT_EQ(cursor().view(), line ? line : "");
  }
}

TEST_F(ResultsFileCursorTest, CopiesShareLinesAndKeepTheirOwnPosition) {
  const fs::path path = write("START\nG800\nEND\n");
  kptResultsFileCursor original = open(path);
  ++original;
  kptResultsFileCursor copy = original;
  EXPECT_TRUE(copy == original && copy().view() == original().view()) << "a copy shares the line";
  ++copy;
  EXPECT_NE(copy, original);
  EXPECT_EQ(original().view(), "START") << "stepping a copy leaves the original";
  original = copy;
  EXPECT_TRUE(original == copy && original().view() == "G800");
  // Separately built cursors differ, even when both are undefined.
  kptResultsFileCursor first = open(path), second = open(path);
  EXPECT_NE(first, second);
}

// A reader that only steps forward gives back the lines it passed: they read as no line, through
// every copy, while the current line and those after it read as before; a few passed lines are
// not worth giving back and stay readable.
TEST_F(ResultsFileCursorTest, PassedLinesAreGivenBackAndReadAsNoLine) {
  std::string bytes;
  Lines expected;
  for (int i = 0; i < 60000; ++i) {
    expected.push_back("G800 N" + std::to_string(i) + " X1.000 Y2.000 Z3.000 I0 J0 K1 O0 U.1 L-.1");
    bytes += expected.back() + "\r\n";
  }
  kptResultsFileCursor cursor = open(write(bytes));
  ASSERT_TRUE(++cursor);
  kptResultsFileCursor at_start = cursor;
  for (int i = 0; i < 10; ++i) ++cursor;
  cursor.release_passed_lines();
  EXPECT_EQ(at_start().view(), expected[0]) << "ten lines are not worth a page";

  for (int i = 10; i < 50000; ++i) ++cursor;
  kptResultsFileCursor behind = at_start;
  ++behind;  // on line 2, made after the release below
  cursor.release_passed_lines();
  EXPECT_EQ(cursor().view(), expected[50000]);
  EXPECT_TRUE(behind().invalid()) << "a passed line reads as no line";
  EXPECT_EQ(cursor.line_number(), 50001u);
  Lines rest;
  while (++cursor) rest.push_back(cursor().str());
  EXPECT_EQ(rest, Lines(expected.begin() + 50001, expected.end()));
  cursor.release_passed_lines();  // on no line: nothing happens
}

// A large file read and cut into lines on several threads gives the lines of one pass, whatever
// lies where the parts meet: each byte sequence below is put at every place a part of 2 or 3
// threads begins.
TEST_F(ResultsFileCursorTest, LargeFilesCutOnThreadsGiveTheLinesOfOnePass) {
  const std::size_t size = 13 << 20;  // three parts of at least 4 MiB
  std::string filler(size, 'x');
  for (std::size_t i = 0; i < size; i += 50) filler[i] = '\n';
  struct Case {
    const char* what;
    std::string bytes;  // written at each part's first byte (the offset below)
    long offset;
    bool no_line_end_after;  // no line end from the part's first byte on
  };
  const Case cases[] = {
      {"CR LF across the cut", "\r\n", -1, false},
      {"a line end on the cut", "\n", 0, false},
      {"a NUL after the cut", std::string("\0", 1), 1, false},
      {"a letter cut in two", "\xC3\xA9", -1, false},
      {"a byte that is no text", "\xE9", 0, false},
      {"blank lines", "\n\n\r\n\n", -2, false},
      {"one line to the end", "", 0, true},
  };
  for (const Case& c : cases) {
    std::string bytes = filler;
    for (const std::size_t parts : {2, 3}) {
      for (std::size_t k = 1; k < parts; ++k) {
        const std::size_t at =
            static_cast<std::size_t>(static_cast<long>(size / parts * k) + c.offset);
        bytes.replace(at, c.bytes.size(), c.bytes);
        if (c.no_line_end_after && parts == 2) {
          std::replace(bytes.begin() + static_cast<long>(at), bytes.end(), '\n', 'y');
        }
      }
    }
    const fs::path path = write(bytes);
    const Lines expected = LineByLine::read(path);
    for (const unsigned threads : {1u, 2u, 3u, 7u}) {
      kptInputStream stream = kptInputStream::open(utString(path.string()));
      EXPECT_TRUE(lines_of(kptResultsFileCursor(stream, threads)) == expected)
          << c.what << " on " << threads << " threads";
    }
  }
}
