// Tests of kptStatusText: every status has its name and a meaning of its own.
#include "cncprobe/inspection/status_text.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(StatusText, NamesAndMeaningsOfEveryStatus) {
  std::string names;
  std::set<std::string> meanings;
  for (int value = 0; value <= 8; ++value) {
    const auto status = static_cast<kptResultsExtractionStatus>(value);
    names += kptStatusText::name(status);
    names += ' ';
    meanings.insert(kptStatusText::meaning(status));
  }
  EXPECT_EQ(names,
            "success missing_end multiple_starts unmatched_measured_point unmeasured_nominal_point "
            "no_results outside_start_end result_conflict unknown ");
  EXPECT_EQ(meanings.size(), 9u);
  EXPECT_STREQ(kptStatusText::meaning(kptExtractionMissingEnd),
               "the last START has no END after it; the results are kept");
  EXPECT_STREQ(kpt_status_name(kptExtractionResultConflict), "result_conflict");
}
