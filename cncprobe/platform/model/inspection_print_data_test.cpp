// Tests of mtrInspectionPrintData: which feature identities count as the same feature.
#include "cncprobe/platform/model/inspection_print_data.h"

#include <gtest/gtest.h>

TEST(InspectionPrintData, SameFeatureOnlyForSameFormAndValues) {
  const mtrInspectionPrintData invalid;
  struct Case {
    mtrInspectionPrintData a;
    mtrInspectionPrintData b;
    bool equal;
  };
  const Case cases[] = {
      {{3, 12u}, {3, 12u}, true},
      {{3, 12u}, {12, 3u}, false},
      {{3, 12u}, {4, 12u}, false},
      {{12, utString("BORE")}, {12, utString("BORE")}, true},
      {{12, utString("BORE")}, {12, utString("bore")}, false},
      {{12, utString("BORE")}, {13, utString("BORE")}, false},
      {{12, utString("")}, {12, utString()}, false},  // empty and missing names differ
      {{0, 12u}, {12, utString("")}, false},          // the two forms never meet
      {{0, 12u}, invalid, false},
      {invalid, invalid, true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.a == c.b, c.equal)
        << c.a.component_number() << "/" << c.a.feature_number() << " vs " << c.b.component_number()
        << "/" << c.b.feature_number();
    EXPECT_EQ(c.b == c.a, c.equal);
  }
  mtrInspectionPrintData numbered(3, 12u);
  numbered.set_invalid();
  EXPECT_EQ(numbered, invalid);
}
