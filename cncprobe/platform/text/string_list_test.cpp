// Tests of utStringcoSList: the iterator's cycle through the extra position.
#include "cncprobe/platform/text/string_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(StringList, IteratorCyclesThroughTheExtraPosition) {
  struct Case {
    std::vector<const char*> elements;
    std::vector<std::string> positions;
  };
  const Case cases[] = {
      {{}, {"-", "-"}},
      {{"A"}, {"A", "-", "A"}},
      {{"A", "B", "C"}, {"A", "B", "C", "-", "A"}},
  };
  for (const Case& c : cases) {
    utStringcoSList list;
    for (const char* e : c.elements) list.insert_last(e);
    utStringcoSListBcoIterator it(&list);
    EXPECT_TRUE(it.undefined() && it().invalid()) << "a new iterator stands before the first";
    std::vector<std::string> seen;
    for (std::size_t i = 0; i < c.positions.size(); ++i) {
      const bool on_element = ++it;
      EXPECT_EQ(on_element, !it.undefined());
      seen.push_back(on_element ? it().str() : "-");
    }
    EXPECT_EQ(seen, c.positions);
  }
}
