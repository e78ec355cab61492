// Tests of kptResultsFileVersion: the unversioned state and the numeric, lexicographic order.
#include "cncprobe/filereferences/results_file_version.h"

#include <gtest/gtest.h>

TEST(ResultsFileVersion, OrderAndEquality) {
  using V = kptResultsFileVersion;
  struct Case {
    V a;
    V b;
    bool less;
    bool equal;
  };
  const Case cases[] = {
      {V(1, 2, 3), V(1, 10, 0), true, false},  // numbers, not texts
      {V(2, 0, 0), V(1, 9, 9), false, false},
      {V(1, 2, 3), V(1, 2, 4), true, false},
      {V(1, 2, 3), V(1, 2, 3), false, true},
      {V(), V(1, 0, 0), true, false},
      {V(0, 5, 7), V(), false, false},                   // both unversioned, yet different
      {V(4000000000u, 0, 0), V(5, 0, 0), false, false},  // unsigned, not signed
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.a < c.b, c.less) << c.a.major_number() << "." << c.a.minor_number();
    EXPECT_TRUE((c.a == c.b) == c.equal && (c.a != c.b) != c.equal);
  }
  EXPECT_TRUE(V().unversioned() && V(0, 5, 7).unversioned() && !V(1, 0, 0).unversioned());
}
