// Items made on many threads come out in order, every one once, and a failure stops the work.
#include "tools/ordered_work.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tool {
namespace {

// Item i takes longer the smaller i % 5 is, so later items are often made before earlier ones.
void slow_item(std::size_t i, std::string& text) {
  std::this_thread::sleep_for(std::chrono::microseconds(100 * (5 - i % 5)));
  text = "item " + std::to_string(i);
}

TEST(OrderedWork, ItemsAreTakenInOrderWhateverTheThreads) {
  for (const std::size_t count : {0u, 1u, 2u, 3u, 50u, 301u}) {
    for (const std::size_t threads : {1u, 2u, 3u, 7u, 64u}) {
      SCOPED_TRACE(std::to_string(count) + " items on " + std::to_string(threads) + " threads");
      std::vector<std::string> taken;
      std::vector<int> busy(threads, 0);
      run_in_order(
          count, threads,
          [&](std::size_t worker, std::size_t i, std::string& text) {
            // A worker runs one item at a time: its own state needs no lock.
            EXPECT_EQ(busy[worker]++, 0);
            slow_item(i, text);
            --busy[worker];
          },
          [&](std::size_t i, std::string& text) {
            EXPECT_EQ(i, taken.size());
            taken.push_back(text);
          });
      ASSERT_EQ(taken.size(), count);
      for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(taken[i], "item " + std::to_string(i));
    }
  }
}

TEST(OrderedWork, AFailureInMakingOrTakingStopsTheWorkAndIsThrown) {
  for (const bool in_take : {false, true}) {
    for (const std::size_t threads : {1u, 2u, 7u}) {
      SCOPED_TRACE(std::string(in_take ? "take" : "make") + " on " + std::to_string(threads));
      std::size_t taken = 0;
      const auto make = [&](std::size_t, std::size_t i, std::string& text) {
        if (!in_take && i == 40) throw std::runtime_error("item 40");
        slow_item(i, text);
      };
      const auto take = [&](std::size_t i, std::string&) {
        if (in_take && i == 40) throw std::runtime_error("item 40");
        ++taken;
      };
      EXPECT_THROW(run_in_order(10000, threads, make, take), std::runtime_error);
      EXPECT_LE(taken, 40u);
    }
  }
}

}  // namespace
}  // namespace tool
