// Tests of reMatcher: the match-result convention, anchoring and captured texts.
#include "cncprobe/platform/text/internal/matcher.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {
std::unique_ptr<reMatcher> compiled(const char* pattern, int options = 16) {
  auto m = std::make_unique<reMatcher>(utString(pattern));
  utString error;
  int offset = 0;
  EXPECT_NE(m->compile(options, error, offset), 0) << pattern << ": " << error.str();
  m->study(error, 0);
  return m;
}
}  // namespace

const char* const kToolpath = R"(^[\s\*]*TOOLPATHID[\s\*]+(\d+(?:\.\d*)?)[\s\*]*$)";
const char* const kEnd = R"(^END(?:[\s\*]*'.*?')?[\s\*]*)";

TEST(Matcher, ResultIsOneMoreThanTheHighestGroupThatTookPart) {
  struct Case {
    const char* pattern;
    const char* subject;
    int result;
    int options = 16;
  };
  const Case cases[] = {
      {kToolpath, "TOOLPATHID 12.0003", 2},
      {kToolpath, "TOOLPATHID", -1},
      {kEnd, "", -1},
      {kEnd, "END 'PROGRAM 1'", 1},
      {R"(^(a)(b)(c)?)", "abc", 4},
      {R"(^(a)(b)(c)?)", "abx", 3},
      {R"(^(x)?y)", "y", 1},
      {R"(^(x)?(y))", "y", 3},
      {R"(^.*START)", "A\nSTART", 1},  // "." is any byte
      {R"(^X$)", "X\n", -1},           // "$" is the end of the subject only
      {"OUT OF TOL", "X OUT OF TOL", -1},
      {"OUT OF TOL", "X OUT OF TOL", 1, 0},  // 16 anchors
  };
  for (const Case& c : cases) {
    EXPECT_EQ(compiled(c.pattern, c.options)->match(utString(c.subject), 0), c.result)
        << c.pattern << " on '" << c.subject << "'";
  }
  // Catastrophic backtracking ends as no match.
  EXPECT_LT(compiled(R"(^(a+)+$)")->match(utString(std::string(40, 'a') + "b"), 0), 0);
  EXPECT_EQ(compiled(R"(^(a+)+$)")->match(utString(std::string(200000, 'a')), 0), 2);
}

TEST(Matcher, GroupTexts) {
  // The groups are read from the subject in place: each subject outlives the look at its groups.
  auto m = compiled(kToolpath);
  const utString toolpath("  TOOLPATHID 12.0003 **");
  ASSERT_EQ(m->match(toolpath, 0), 2);
  EXPECT_EQ(m->get_substring(1).view(), "12.0003");
  auto lazy = compiled(R"(^NAME[\s\*]*(.*?)[\s\*]*$)");
  const utString name("NAME BORE A  ** ");
  ASSERT_EQ(lazy->match(name, 0), 2);
  EXPECT_EQ(lazy->get_substring(1).view(), "BORE A");
  const utString bare("NAME  ");
  ASSERT_EQ(lazy->match(bare, 0), 2);
  EXPECT_TRUE(lazy->get_substring(1).valid() && lazy->get_substring(1).empty())
      << "an empty group that took part is a valid empty text";
  const utString nothing("nothing");
  EXPECT_LT(m->match(nothing, 0), 0);
  EXPECT_TRUE(m->get_substring(1).invalid()) << "no group text after a failed match";
}

TEST(Matcher, UncompiledOrBadPatternNeverMatches) {
  reMatcher never(utString("abc")), bad(utString("(unclosed"));
  EXPECT_LT(never.match(utString("abc"), 0), 0);
  utString error;
  int offset = -1;
  EXPECT_EQ(bad.compile(16, error, offset), 0);
  EXPECT_FALSE(error.empty());
  EXPECT_LT(bad.match(utString("(unclosed"), 0), 0);
  EXPECT_LT(compiled("a")->match(utString("a"), 5), 0);
}

// The parsers write their patterns with possessive runs and greedy value tails so that no line
// costs quadratic time. Those forms must accept exactly the lines, with exactly the captures, of
// the plain forms of the record and reference formats: compared here over every short line of
// the characters that matter.
TEST(Matcher, LinearTimePatternFormsAgreeWithThePlainForms) {
  struct Pair {
    const char* plain;
    const char* linear;
    const char* prefix;
    const char* alphabet;
  };
  const Pair pairs[] = {
      {R"(^X[\s\*]*([-+]?[\s\*]*[\d\.]+)[\s\*]*Y[\s\*]*([-+]?[\s\*]*[\d\.]+)[\s\*]*)",
       R"(^X[\s\*]*+([-+]?[\s\*]*[\d\.]+)[\s\*]*Y[\s\*]*+([-+]?[\s\*]*[\d\.]+)[\s\*]*)", "X",
       " *-+1.Y"},
      {R"(^[\s\*]*CYCLEDEPTH[\s\*]+([-+]?[\s\*]*[\d\.]+)[\s\*]*)",
       R"(^[\s\*]*CYCLEDEPTH[\s\*]++([-+]?[\s\*]*[\d\.]+)[\s\*]*)", "CYCLEDEPTH", " *-+1.x"},
      {R"(^[\s\*]*RESULTSFILE[\s\*]+(.*?)[\s\*]*$)",
       R"(^[\s\*]*RESULTSFILE[\s\*]++((?:.*[^\s\*])?)[\s\*]*$)", "RESULTSFILE", " *\ta."},
      {R"(^.*NAME[\s\*]+(.*?)[\s\*]*$)", R"(^.*NAME[\s\*]++((?:.*[^\s\*])?)[\s\*]*$)", "",
       " *aNAME"},
      // Bytes that some builds of the library count as newlines: only a line feed is one here.
      {R"(^.*NAME[\s\*]+(.*?)[\s\*]*$)", R"(^.*NAME[\s\*]++((?:.*[^\s\*])?)[\s\*]*$)", "NAME",
       " *a\r\x85"},
      {R"(^N\/?\s+(.*?)\s*$)", R"(^N\/?\s++((?:.*\S)?)\s*$)", "N", " \ta/N"},
      // A position whose nominal is not zero: digits with at most one point and a digit 1 to 9
      // somewhere after the point or, without a point, anywhere; or a first digit of 1 to 9.
      {R"(^X\/?\s*([-\+]?\s*(?:\d*\.?\d*[1-9]+\d*|[1-9]+\d*\.\d*))\/?\s+A)",
       R"(^X\/?\s*+([-\+]?\s*(?:[1-9]\d*+(?:\.\d*+)?|0++[1-9]\d*+|\d*+\.0*+[1-9]\d*+))\/?\s+A)",
       "X", "01. -/A"},
  };
  for (const Pair& pair : pairs) {
    reMatcher plain{utString(pair.plain)}, linear{utString(pair.linear)};
    utString error;
    int offset = 0;
    ASSERT_TRUE(plain.compile(16, error, offset));
    ASSERT_TRUE(linear.compile(16, error, offset)) << error.str();
    const std::string alphabet = pair.alphabet;
    // Every line of up to six characters after the prefix.
    std::vector<std::string> tails{""};
    for (std::size_t i = 0; tails[i].size() < 6; ++i) {
      for (const char c : alphabet) tails.push_back(tails[i] + c);
    }
    for (const std::string& tail : tails) {
      const utString line((std::string(pair.prefix) + tail).c_str());
      const int expected = plain.match(line, 0);
      ASSERT_EQ(linear.match(line, 0), expected) << pair.linear << " on '" << line.str() << "'";
      for (int group = 1; group < expected; ++group) {
        ASSERT_EQ(linear.get_substring(group), plain.get_substring(group)) << line.str();
      }
    }
  }
}

// Matchers of one pattern share its compiled code but not their matches: each keeps the groups of
// its own last match, whatever the others matched since, and a matcher that was never studied
// matches like one that was.
TEST(Matcher, MatchersOfOnePatternKeepTheirOwnMatches) {
  const auto studied = compiled(kToolpath);
  const auto other = compiled(kToolpath);
  reMatcher interpreted{utString(kToolpath)};
  utString error;
  int offset = 0;
  ASSERT_NE(interpreted.compile(16, error, offset), 0);
  const utString first("TOOLPATHID 12.0003");
  const utString second("TOOLPATHID 7");
  const utString neither("TOOLPATHID x");
  ASSERT_EQ(studied->match(first, 0), 2);
  ASSERT_EQ(other->match(second, 0), 2);
  EXPECT_EQ(interpreted.match(neither, 0), -1);
  EXPECT_EQ(studied->group_view(1), "12.0003");
  EXPECT_EQ(other->group_view(1), "7");
  EXPECT_EQ(interpreted.match(first, 0), 2);
  EXPECT_EQ(interpreted.group_view(1), "12.0003");
  // Other options are other code: unanchored, the same pattern less its "^" finds a later match.
  reMatcher anchored{utString("b")};
  reMatcher floating{utString("b")};
  ASSERT_NE(anchored.compile(16, error, offset), 0);
  ASSERT_NE(floating.compile(0, error, offset), 0);
  EXPECT_EQ(anchored.match(utString("ab"), 0), -1);
  EXPECT_EQ(floating.match(utString("ab"), 0), 1);
}

// A long line that takes more stack than the JIT's small default still matches (the thread's JIT
// stack grows for it), and again; one beyond even that stack is no match, never a crash.
TEST(Matcher, LongLinesBeyondTheSmallStack) {
  const auto m = compiled(R"(^(?:(a)|b)*c)");
  std::string line;
  for (int i = 0; i < 5000; ++i) line += "ab";
  const utString subject((line + "c").c_str());
  EXPECT_EQ(m->match(subject, 0), 2);
  EXPECT_EQ(m->match(subject, 0), 2) << "again, with the stack made the first time";
  std::string huge;
  for (int i = 0; i < 200000; ++i) huge += "ab";
  EXPECT_LT(m->match(utString((huge + "c").c_str()), 0), 0);
}
