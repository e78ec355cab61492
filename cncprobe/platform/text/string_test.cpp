// Tests of utString: sharing, the invalid state and the text operations the parsers rely on.
#include "cncprobe/platform/text/string.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

TEST(String, DefaultIsInvalidAndAppendingMakesItValid) {
  utString s, t;
  EXPECT_TRUE(s.invalid() && s.c_str() == nullptr && s.length() == 0u);
  s << -12 << ' ' << 0 << ' ' << 2147483647 << '\xE9' << utString("abc");
  EXPECT_EQ(s.view(), std::string_view("-12 0 2147483647\xE9"
                                       "abc"));
  t << utString("");
  EXPECT_TRUE(t.valid()) << "appending the empty text still gives a valid string";
  EXPECT_NE(t, utString());
  EXPECT_EQ(t, utString(""));
  EXPECT_EQ((utString("a") + utString("b")).view(), "ab");
}

TEST(String, CopiesShareUntilOneChanges) {
  utString a("G800"), piece;
  utString b = a, c = a, d = a;
  EXPECT_EQ(a.c_str(), b.c_str()) << "a copy must not copy characters";
  b << ' ' << 12;
  c.convert(::tolower);
  d.extract_string("8", piece);
  EXPECT_STREQ(a.c_str(), "G800");
  EXPECT_STREQ(b.c_str(), "G800 12");
  EXPECT_STREQ(c.c_str(), "g800");
  // Appending a string's own bytes, which the append outgrows and so moves.
  utString self("ab");
  self << self;
  self << self.c_str();
  EXPECT_STREQ(self.c_str(), "abababab");
  self.extract_string("b", self);
  EXPECT_STREQ(self.c_str(), "a") << "a string extracting into itself keeps the piece";
}

TEST(String, RemoveLeadingChars) {
  struct Case {
    const char* in;
    const char* out;
  };
  for (const Case& c : {Case{"- 12.5", "12.5"}, Case{"+3", "3"}, Case{"-", ""}, Case{"*", "*"},
                        Case{" -+ 7", "7"}, Case{"", ""}, Case{"-*10", "*10"}}) {
    utString in(c.in);
    EXPECT_EQ(in.remove_leading_chars("+- ").view(), c.out) << c.in;
    EXPECT_EQ(in.view(), c.in) << "the original is unchanged";
  }
  EXPECT_TRUE(utString("-").remove_leading_chars("+- ").valid());
}

TEST(String, ParseAndLocateSubstring) {
  EXPECT_LT(utString("12.5").locate_substring("-"), 0);
  EXPECT_EQ(utString("12-3").locate_substring("-"), 2);
  EXPECT_LT(utString().locate_substring("-"), 0);
  struct Case {
    const char* text;
    int ok;
    int value;
  };
  for (const Case& c : {Case{"17", 1, 17}, Case{"007", 1, 7}, Case{"-5", 1, -5}, Case{"+4", 1, 4},
                        Case{"", 0, 0}, Case{"ABC", 0, 0}, Case{"12a", 0, 0}, Case{" 1", 0, 0},
                        Case{"99999999999", 0, 0}, Case{"+-3", 0, 0}}) {
    int value = -999, second = -1;
    EXPECT_EQ(utString(c.text).parse(value, second) != 0, c.ok != 0) << c.text;
    EXPECT_TRUE(!c.ok || value == c.value) << c.text << " read as " << value;
  }
}

TEST(String, ExtractStringSplitsAtTheDelimiter) {
  utString text("2.10.0");
  utString piece;
  std::vector<std::string> pieces;
  while (text.extract_string(".", piece)) pieces.push_back(piece.str());
  EXPECT_EQ(pieces, (std::vector<std::string>{"2", "10", "0"}));
  EXPECT_TRUE(text.valid() && text.empty());

  utString trailing("1.");
  ASSERT_TRUE(trailing.extract_string(".", piece));
  EXPECT_EQ(piece.view(), "1");
  EXPECT_EQ(trailing.extract_string(".", piece), 0) << "nothing is left after a trailing delimiter";
}

TEST(String, ArenaStringsOutliveTheArenaAndDetachOnChange) {
  std::vector<utString> kept;
  {
    utStringArena arena;
    for (int i = 0; i < 10000; ++i) {  // lines enough for many blocks
      const std::string text = "G800 N" + std::to_string(i);
      kept.push_back(arena.make(text.data(), text.size()));
    }
    const std::string long_line(100000, 'x');  // too long to share a block
    kept.push_back(arena.make(long_line.data(), long_line.size()));
    kept.push_back(arena.make("", 0));
  }
  // Release every other line, so that each block is freed by whichever line goes last.
  for (std::size_t i = 0; i < 10000; i += 2) kept[i] = utString();
  utString changed = kept[1];
  changed << '!';
  kept[3].convert(::tolower);
  EXPECT_EQ(kept[1].str() + changed.str() + kept[3].str() + kept[5].str() + kept[9999].str(),
            "G800 N1G800 N1!g800 n3G800 N5G800 N9999");
  EXPECT_EQ(kept[10000].length(), 100000u);
  EXPECT_TRUE(kept[10001].valid() && kept[10001].empty());
}

// A string refilled in place never changes a copy made of it, and takes bytes from its own text.
TEST(String, AssignKeepsStorageOnlyWhenUnshared) {
  utString line;
  line.assign("G800 N1 X1", 10);
  const char* const storage = line.c_str();
  line.assign("END", 3);
  EXPECT_EQ(line.view(), "END");
  EXPECT_EQ(line.c_str(), storage) << "a shorter text reuses the storage";

  const utString kept = line;
  line.assign("START", 5);
  EXPECT_EQ(kept.view(), "END") << "a kept copy is left as it was";
  EXPECT_EQ(line.view(), "START");

  line.assign(line.c_str() + 2, 3);  // from its own bytes
  EXPECT_EQ(line.view(), "ART");
  line.assign(std::string(300, 'x').c_str(), 300);  // longer than the room
  EXPECT_EQ(line.length(), 300u);
  line.assign(nullptr, 0);
  EXPECT_TRUE(line.valid() && line.empty());
  utString nul_inside;
  nul_inside.assign("a\0b", 3);
  EXPECT_EQ(nul_inside.view(), std::string_view("a\0b", 3));
}
