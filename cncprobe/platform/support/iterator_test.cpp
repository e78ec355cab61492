// Tests of the iterator handles: the walk through the undefined position, clones and reset.
#include "cncprobe/platform/support/iterator.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using List = std::vector<std::shared_ptr<int>>;

List make_list(const std::vector<int>& values) {
  List list;
  for (int v : values) list.push_back(std::make_shared<int>(v));
  return list;
}

// The positions passed in `steps` steps: element values, "-" for the undefined position.
std::string walk(itIterator<std::shared_ptr<int>>& it, int steps) {
  std::string seen;
  for (int i = 0; i < steps; ++i) {
    const bool on_element = ++it;
    EXPECT_EQ(on_element, !it.undefined());
    EXPECT_EQ(on_element, it() != nullptr);
    seen += on_element ? std::to_string(*it()) : "-";
  }
  return seen;
}

}  // namespace

TEST(Iterator, WalksThroughTheUndefinedPosition) {
  struct Case {
    std::vector<int> values;
    int steps;
    const char* positions;
  };
  const Case cases[] = {
      {{}, 3, "---"},
      {{7}, 4, "7-7-"},
      {{1, 2, 3}, 6, "123-12"},
  };
  for (const Case& c : cases) {
    const List list = make_list(c.values);
    itIterator<std::shared_ptr<int>> it = itIterators::make_iter(list);
    EXPECT_TRUE(it.undefined());
    EXPECT_EQ(it(), nullptr);
    EXPECT_EQ(walk(it, c.steps), c.positions);
  }
}

TEST(Iterator, CopiesMoveIndependentlyAndResetRestarts) {
  const List list = make_list({1, 2, 3});
  itIterator<std::shared_ptr<int>> first = itIterators::make_iter(list);
  ++first;
  itIterator<std::shared_ptr<int>> second = first;
  EXPECT_EQ(walk(second, 2), "23");
  EXPECT_EQ(*first(), 1);
  first = second;
  EXPECT_EQ(walk(first, 2), "-1");
  EXPECT_EQ(*second(), 3);
  first.reset();
  EXPECT_TRUE(first.undefined());
  EXPECT_EQ(walk(first, 1), "1");
  itIterator<std::shared_ptr<int>> empty;
  EXPECT_EQ(walk(empty, 2), "--");
}
