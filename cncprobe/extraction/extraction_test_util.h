// Test-only: event builders and a one-line summary of an extractor's results.
//
// A table row lists the events a parser would fire, and the results they must leave behind:
//
//   {"pattern instances", {start(), toolpath(12, 1), nominal(), measured()}, kptExtractionSuccess,
//    "path 12(1) M"}
//
// The summary names each result in order: "path <id>[(<instance>)] " followed by one letter per
// inspection point (M measured, U unmeasured), or "<kind> <id>[(<instance>)]" for a feature;
// results are separated by "; ". Never included by library code.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/platform/circle2.h"
#include "cncprobe/platform/inspection_print_data.h"

namespace extraction_test {

using Event = std::function<void(kptResultsFileParserCallback&)>;

inline Event start() {
  return [](kptResultsFileParserCallback& c) { c.on_start(); };
}
inline Event end() {
  return [](kptResultsFileParserCallback& c) { c.on_end(); };
}
inline Event toolpath(unsigned int id, std::optional<unsigned int> instance = std::nullopt) {
  return [=](kptResultsFileParserCallback& c) { c.on_toolpath_instance(id, instance); };
}
inline Event depth(double d) {
  return [=](kptResultsFileParserCallback& c) { c.on_cycle_depth(d); };
}
inline Event output_plane(const giWorkplane3& w) {
  return [=](kptResultsFileParserCallback& c) { c.on_workplane(w); };
}
inline Event cad_plane(const giWorkplane3& w) {
  return [=](kptResultsFileParserCallback& c) { c.on_cad_workplane(w); };
}
inline Event nominal(double x = 1, double y = 2, double z = 3) {
  return [=](kptResultsFileParserCallback& c) {
    c.on_nominal_point(giPoint3(x, y, z), giVector3(0, 0, 2), 0.0, 0.1, -0.1);
  };
}
inline Event measured(double x = 1, double y = 2, double z = 3) {
  return [=](kptResultsFileParserCallback& c) { c.on_measured_point(giPoint3(x, y, z), 2.5); };
}
// A circle report of component 1 and the given feature number.
inline Event circle(unsigned int feature = 1) {
  return [=](kptResultsFileParserCallback& c) {
    c.on_circle_measurement(mtrInspectionPrintData(1, feature), giCircle2(giPoint2(10, 20), 4),
                            giCircle2(giPoint2(10.01, 20), 4.01), std::nullopt, std::nullopt);
  };
}

// A workplane as a G330 or G331 record builds it: turned about X by a, then Y by b, then Z by c,
// then moved to (x, y, z).
inline giWorkplane3 workplane(double x, double y, double z, double a = 0, double b = 0,
                              double c = 0) {
  giXform3 m(giXformTranslate, giVector3(x, y, z));
  m.postmultiply(giXform3(giXformRotate, giAngle(giAngleDegrees, c), giAxisZ));
  m.postmultiply(giXform3(giXformRotate, giAngle(giAngleDegrees, b), giAxisY));
  m.postmultiply(giXform3(giXformRotate, giAngle(giAngleDegrees, a), giAxisX));
  giWorkplane3 w(giWorkplaneWorld);
  w.transform(m);
  return w;
}

inline void run(kptResultsDataExtractor& extractor, const std::vector<Event>& events) {
  kptResultsFileParserCallback& receiver = extractor;  // the events are reached only this way
  for (const Event& event : events) event(receiver);
}

inline std::string summary(const kptResultsDataExtractor& extractor) {
  static const char* const kinds[] = {"path",    "circle", "rectangle", "corner",
                                      "surface", "angle",  "distance"};
  std::string text;
  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  while (++it) {
    const std::shared_ptr<mtrToolpathResult> result = it();
    if (!text.empty()) text += "; ";
    text += std::string(kinds[result->kind()]) + " " + std::to_string(result->id());
    if (result->pattern_instance()) {
      text += "(" + std::to_string(*result->pattern_instance()) + ")";
    }
    if (const auto path = std::dynamic_pointer_cast<mtrProbePath>(result)) {
      text += " ";
      for (unsigned int i = 0; i < path->inspection_points_count(); ++i) {
        text += path->inspection_point(i)->has_measure() ? "M" : "U";
      }
    }
  }
  return text;
}

// The n-th result (from 0) as the given class; null when there is no such result of that class.
template <class Result>
std::shared_ptr<Result> result_at(const kptResultsDataExtractor& extractor, unsigned int n) {
  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  for (unsigned int i = 0; ++it; ++i) {
    if (i == n) return std::dynamic_pointer_cast<Result>(it());
  }
  return nullptr;
}

constexpr double kTol = 1e-9;

inline void expect_near(const giPoint3& actual, const giPoint3& expected) {
  EXPECT_NEAR(actual.x(), expected.x(), kTol);
  EXPECT_NEAR(actual.y(), expected.y(), kTol);
  EXPECT_NEAR(actual.z(), expected.z(), kTol);
}
inline void expect_near(const giVector3& actual, const giVector3& expected) {
  expect_near(giPoint3(actual.x(), actual.y(), actual.z()),
              giPoint3(expected.x(), expected.y(), expected.z()));
}

}  // namespace extraction_test
