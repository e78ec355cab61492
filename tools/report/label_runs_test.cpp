#include "tools/report/label_runs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(LabelRuns, CountingLabelsBecomeRunsAndTheRestGoWhole) {
  const struct {
    std::vector<std::string> labels;
    std::string json;
  } cases[] = {
      {{}, "[]"},
      {{"Path 1: Inspection Point 1", "Path 1: Inspection Point 2", "Path 1: Inspection Point 3",
        "Path 2 (1): Inspection Point 1"},
       R"([{"p":"Path 1: Inspection Point ","n":1,"c":3},)"
       R"({"p":"Path 2 (1): Inspection Point ","n":1,"c":1}])"},
      // A gap or a step back starts a new run; so does another prefix with the next number.
      {{"P9", "P10", "P12", "P11", "Q12"},
       R"([{"p":"P","n":9,"c":2},{"p":"P","n":12,"c":1},{"p":"P","n":11,"c":1},)"
       R"({"p":"Q","n":12,"c":1}])"},
      {{"Path 1: Inspection Point 1", "Path 1: Inspection Point 2", "Path 2: Inspection Point 3"},
       R"([{"p":"Path 1: Inspection Point ","n":1,"c":2},)"
       R"({"p":"Path 2: Inspection Point ","n":3,"c":1}])"},
      // No digits, a leading zero, a count of more than 15 digits, and the empty label: whole.
      {{"A", "P07", "P1234567890123456", "", "0", "1"},
       R"([{"l":["A","P07","P1234567890123456",""]},{"p":"","n":0,"c":2}])"},
      {{"P999999999999999", "P1000000000000000"},
       R"([{"p":"P","n":999999999999999,"c":1},{"l":["P1000000000000000"]}])"},
      // The prefix is escaped for the page like any text from a file; a byte that is not UTF-8
      // becomes U+FFFD before the digits as it would in the whole label.
      {{"</script>\xE2\x80\xA8\xC3"
        "1",
        "</script>\xE2\x80\xA8\xC3"
        "2"},
       "[{\"p\":\"\\u003c/script\\u003e\\u2028\xEF\xBF\xBD\",\"n\":1,\"c\":2}]"},
  };
  for (const auto& c : cases) {
    tool::LabelRuns runs;
    for (const std::string& label : c.labels) runs.add(label);
    tool::JsonText json;
    runs.write(json);
    EXPECT_EQ(json.text(), c.json) << (c.labels.empty() ? "" : c.labels.front());
  }
}

}  // namespace
