// Tests of utStringcoSList: insertion order, shared elements and the iterator's cycle.
#include "cncprobe/platform/string_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {
// The positions an iterator passes through in `steps` steps: element texts, "-" for the extra one.
std::vector<std::string> walk(const utStringcoSListB& list, int steps) {
  std::vector<std::string> seen;
  utStringcoSListBcoIterator it(&list);
  for (int i = 0; i < steps; ++i) {
    const bool on_element = ++it;
    EXPECT_EQ(on_element, !it.undefined());
    seen.push_back(on_element ? it().str() : "-");
  }
  return seen;
}
}  // namespace

TEST(StringList, IteratorCyclesThroughTheExtraPosition) {
  struct Case { std::vector<const char*> elements; std::vector<std::string> positions; };
  const Case cases[] = {
      {{}, {"-", "-", "-"}},
      {{"A"}, {"A", "-", "A", "-"}},
      {{"A", "B", "C"}, {"A", "B", "C", "-", "A", "B"}},
  };
  for (const Case& c : cases) {
    utStringcoSList list;
    for (const char* e : c.elements) list.insert_last(e);
    EXPECT_EQ(list.size(), c.elements.size());
    EXPECT_EQ(walk(list, static_cast<int>(c.positions.size())), c.positions);
  }
}

TEST(StringList, NewIteratorStandsOnTheExtraPosition) {
  utStringcoSList list;
  list.insert_last("A");
  utStringcoSListBcoIterator it(&list);
  EXPECT_TRUE(it.undefined());
  EXPECT_TRUE(it().invalid()) << "no element to read before the first step";
  EXPECT_TRUE(utStringcoSListBcoIterator(nullptr).undefined());
  utStringcoSListBcoIterator none(nullptr);
  EXPECT_FALSE(++none);
}

TEST(StringList, ElementsShareTheInsertedCharactersAndKeepTheirText) {
  utStringcoSList list;
  utString line("G800 X1");
  list.insert_last(line);
  list.insert_last(utString());
  list.insert_last("");
  EXPECT_EQ(list.at(0).c_str(), line.c_str()) << "inserting must not copy characters";
  line << " Y2";
  EXPECT_EQ(list.at(0).view(), "G800 X1");
  EXPECT_TRUE(list.at(1).invalid());
  EXPECT_TRUE(list.at(2).valid());
  EXPECT_TRUE(list.at(3).invalid()) << "out of range";
}

TEST(StringList, IteratorEqualityNeedsSameListAndPosition) {
  utStringcoSList a;
  utStringcoSList b;
  for (utStringcoSList* list : {&a, &b}) list->insert_last("X");
  utStringcoSListBcoIterator ia(&a);
  utStringcoSListBcoIterator ib(&b);
  utStringcoSListBcoIterator ia2(&a);
  EXPECT_NE(ia, ib) << "the extra positions of two lists differ";
  EXPECT_EQ(ia, ia2);
  ++ia;
  EXPECT_NE(ia, ia2);
  ++ia2;
  EXPECT_EQ(ia, ia2);
}

TEST(StringList, AppendingKeepsAnIteratorOnItsElement) {
  utStringcoSList list;
  list.insert_last("first");
  utStringcoSListBcoIterator it(&list);
  ++it;
  for (int i = 0; i < 1000; ++i) list.insert_last("more");
  EXPECT_EQ(it().view(), "first");
  EXPECT_TRUE(++it);
  EXPECT_EQ(it().view(), "more");
}
