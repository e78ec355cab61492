// LabelRuns: the labels of a report's points, in order, sent to the page compactly.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/report/json_text.h"

namespace tool {

// The labels of the points in order, as runs. Most probe paths number their points ("Path 3:
// Point 1", "Path 3: Point 2", ...), so a run of labels that share everything but a count that
// goes up by one is sent as its prefix, first number and length; the page puts a label together
// when it shows one. Labels that continue no count are sent whole. Splitting a label before its
// trailing ASCII digits changes nothing of how its text is escaped or made valid UTF-8.
class LabelRuns {
 public:
  void add(std::string_view label);
  // [{"p": prefix, "n": first number, "c": count} or {"l": [label, ...]}, ...]
  void write(JsonText& json) const;

 private:
  struct Run {
    std::string prefix;
    long long first = 0;
    std::size_t count = 0;
    std::optional<std::vector<std::string>> whole;  // labels that continue no count
  };
  std::vector<Run> runs_;
};

}  // namespace tool
