// Tests of kptResultsFileCursor: what ends and drops a line, unreadable files, copies and stepping.
#include "cncprobe/foundation/results_file_cursor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cncprobe/platform/test_locale.h"

namespace {
namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr std::size_t kMiB = std::size_t{1} << 20;

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
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    dir_ = fs::temp_directory_path() /
           ("cncprobe_cursor_" + std::to_string(::getpid()) + "_" + info->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  fs::path write(const std::string& name, const std::string& bytes) {
    const fs::path path = dir_ / name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  static kptResultsFileCursor open(const fs::path& path) {
    return kptResultsFileCursor(utString(path.string()));
  }

  fs::path dir_;
};
}  // namespace

TEST_F(ResultsFileCursorTest, LineEndsBlankLinesAndTheEncodingTest) {
  // The test process runs in the "C" locale, whose multibyte encoding is ASCII: a line that is
  // not UTF-8 fails both tests and is dropped.
  ASSERT_EQ(std::mbstowcs(nullptr, "\xE9", 2147483647), static_cast<std::size_t>(-1));
  struct Case { std::string bytes; Lines lines; };
  const Case cases[] = {
      {"A\r\n\r\nB", {"A", "B"}},
      {"A\rB\rC\r", {"A", "B", "C"}},
      {"A\nB\n", {"A", "B"}},
      {std::string("AB\0CD\n", 6), {"AB", "CD"}},
      {std::string("\n\r\n\r\0\0\n", 7), {}},
      {"", {}},
      {"\n\n START \n\n\n*** END ***\t", {" START ", "*** END ***\t"}},
      {"caf\xC3\xA9\nbad \xE9 line\nok\n", {"caf\xC3\xA9", "ok"}},
      {"\xE9", {}},
      {"G800\n\xC3", {"G800"}},
      {"\xEF\xBB\xBFSTART\n", {"\xEF\xBB\xBFSTART"}},
  };
  int n = 0;
  for (const Case& c : cases) {
    const fs::path path = write("case" + std::to_string(n++), c.bytes);
    EXPECT_EQ(lines_of(open(path)), c.lines) << testing::PrintToString(c.bytes);
    EXPECT_EQ(LineByLine::read(path), c.lines) << testing::PrintToString(c.bytes);
  }
}

TEST_F(ResultsFileCursorTest, LinesAcrossAndBeyondTheReadBuffer) {
  const std::string big(3 * kMiB + 17, 'x');
  const std::string edge(kMiB - 1, 'y');
  struct Case { std::string bytes; Lines lines; };
  const Case cases[] = {
      {"A\n" + big + "\nB", {"A", big, "B"}},
      {big, {big}},
      {edge + "\r\nB", {edge, "B"}},            // CR ends the first chunk, LF starts the next
      {edge + "Z\nB", {edge + "Z", "B"}},       // the line end starts the next chunk
      {edge + "\xC3\xA9\n", {edge + "\xC3\xA9"}},  // a letter cut by the chunk boundary
      {edge + "\xE9\xE9\nB", {"B"}},
  };
  int n = 0;
  for (const Case& c : cases) {
    const fs::path path = write("case" + std::to_string(n++), c.bytes);
    EXPECT_TRUE(lines_of(open(path)) == c.lines) << "case " << n - 1;
    EXPECT_TRUE(LineByLine::read(path) == c.lines) << "case " << n - 1;
  }
}

TEST_F(ResultsFileCursorTest, UnreadableFilesGiveNoLines) {
  const fs::path locked = write("locked", "START\n");
  fs::permissions(locked, fs::perms::none);
  std::vector<kptResultsFileCursor> cursors = {
      open(dir_ / "missing.res"), open(dir_), kptResultsFileCursor(utString("")),
      kptResultsFileCursor(utString())};
  if (::geteuid() != 0) cursors.push_back(open(locked));  // root reads it regardless
  for (kptResultsFileCursor& cursor : cursors) {
    EXPECT_EQ(cursor.line_count(), 0u);
    EXPECT_FALSE(++cursor);
    EXPECT_TRUE(cursor.undefined());
    EXPECT_TRUE(cursor().invalid());
  }
}

TEST_F(ResultsFileCursorTest, LegacyEncodingLinesSurviveUnderALatin1Locale) {
  ScopedThreadLocale latin1("de_DE.ISO-8859-1");
  if (!latin1.active()) GTEST_SKIP() << "de_DE.ISO-8859-1 is not installed (locale -a)";
  EXPECT_EQ(lines_of(open(write("latin1", "Stra\xDF" "e\n"))), Lines{"Stra\xDF" "e"});
}

TEST(ResultsFileCursor, InitializerListSkipsEmptyStrings) {
  EXPECT_EQ(lines_of(kptResultsFileCursor{utString("A"), utString(""), utString(), utString("B")}),
            (Lines{"A", "B"}));
  EXPECT_EQ(kptResultsFileCursor(std::initializer_list<utString>{}).line_count(), 0u);
}

TEST(ResultsFileCursor, StepsWrapThroughTheUndefinedPosition) {
  kptResultsFileCursor cursor{utString("A"), utString("B")};
  EXPECT_TRUE(cursor.undefined());
  EXPECT_EQ(cursor.line_number(), 0u);
  struct Step { bool on_line; const char* line; std::size_t number; };
  const Step steps[] = {{true, "A", 1}, {true, "B", 2}, {false, nullptr, 0}, {true, "A", 1}};
  for (const Step& s : steps) {
    EXPECT_EQ(++cursor, s.on_line);
    EXPECT_EQ(cursor.undefined(), !s.on_line);
    EXPECT_EQ(cursor.line_number(), s.number);
    if (s.on_line) {
      EXPECT_EQ(cursor().view(), s.line);
    } else {
      EXPECT_TRUE(cursor().invalid());
    }
  }
}

TEST_F(ResultsFileCursorTest, CopiesShareLinesAndKeepTheirOwnPosition) {
  const fs::path path = write("run.res", "START\nG800\nEND\n");
  kptResultsFileCursor original = open(path);
  ++original;
  kptResultsFileCursor copy = original;
  EXPECT_EQ(copy, original);
  EXPECT_EQ(&copy(), &original()) << "a copy shares the line, it does not copy it";

  ++copy;
  EXPECT_NE(copy, original);
  EXPECT_EQ(original().view(), "START") << "stepping a copy leaves the original";
  original = copy;
  EXPECT_EQ(original().view(), "G800") << "assigning the copy back moves the original";
  EXPECT_EQ(original, copy);

  kptResultsFileCursor& self = original;
  original = self;
  EXPECT_EQ(original().view(), "G800");

  kptResultsFileCursor other = open(path);
  kptResultsFileCursor undefined = open(path);
  EXPECT_NE(other, undefined) << "separately built cursors differ even when both are undefined";
  ++other;
  ++undefined;
  EXPECT_NE(other, undefined) << "and when both stand on the same line";
}

TEST(ResultsFileCursor, AListOutlivesTheCursorItWasBuiltBy) {
  kptResultsFileCursor* first = new kptResultsFileCursor{utString("A"), utString("B")};
  ++*first;
  const kptResultsFileCursor copy = *first;
  delete first;
  EXPECT_EQ(copy().view(), "A");
}
