// Test-only: event builders and readable descriptions of an extractor's results.
//
// A table row lists the events a parser would fire and the results they must leave behind:
//
//   {"pattern instances", {start(), toolpath(12, 1), nominal(), measured()}, kptExtractionSuccess,
//    "path 12(1) M"}
//
// summary() names each result in order: "path <id>[(<instance>)] " and one letter per inspection
// point (M measured, U unmeasured), or "<kind> <id>[(<instance>)]" for a feature, separated by
// "; ". detail() spells out one result's geometry and tolerances; numbers have ten significant
// digits and rounding noise below 1e-9 prints as 0. Never included by library code.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"

namespace extraction_test {

using Event = std::function<void(kptResultsFileParserCallback&)>;
using Receiver = kptResultsFileParserCallback;

// clang-format off
inline Event start() { return [](Receiver& r) { r.on_start(); }; }
inline Event end() { return [](Receiver& r) { r.on_end(); }; }
inline Event toolpath(unsigned int id, std::optional<unsigned int> instance = std::nullopt) {
  return [=](Receiver& r) { r.on_toolpath_instance(id, instance); };
}
inline Event depth(double d) { return [=](Receiver& r) { r.on_cycle_depth(d); }; }
inline Event output_plane(const giWorkplane3& w) { return [=](Receiver& r) { r.on_workplane(w); }; }
inline Event cad_plane(const giWorkplane3& w) { return [=](Receiver& r) { r.on_cad_workplane(w); }; }
inline Event nominal(double x = 1, double y = 2, double z = 3) {
  return [=](Receiver& r) { r.on_nominal_point({x, y, z}, {0, 0, 2}, 0.0, 0.1, -0.1); };
}
inline Event measured(double x = 1, double y = 2, double z = 3) {
  return [=](Receiver& r) { r.on_measured_point({x, y, z}, 2.5); };
}
// A circle report of component 1 and the given feature number.
inline Event circle(unsigned int feature = 1) {
  return [=](Receiver& r) {
    r.on_circle_measurement(mtrInspectionPrintData(1, feature), giCircle2(giPoint2(10, 20), 4),
                            giCircle2(giPoint2(10.01, 20), 4.01), std::nullopt, std::nullopt);
  };
}
// clang-format on

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

inline std::string str(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", std::fabs(value) < 1e-9 ? 0.0 : value);
  return text;
}
inline std::string str(const char* text) { return text; }
inline std::string str(const std::optional<double>& value) { return value ? str(*value) : "-"; }
// Strings here are built by appending: putting a literal in front of a temporary string
// ("(" + str(x)) makes GCC 12 at -O3 warn (-Wrestrict) about an overlap that cannot happen.
inline std::string in_brackets(const std::string& inner) {
  std::string text(1, '(');
  text += inner;
  text += ')';
  return text;
}
inline std::string str(const giVector3& v) {
  std::string inner = str(v.x());
  for (const double c : {v.y(), v.z()}) {
    inner += ' ';
    inner += str(c);
  }
  return in_brackets(inner);
}
inline std::string str(const giPoint3& p) { return str(giVector3(p.x(), p.y(), p.z())); }
inline std::string str(const giUnitVec3& v) { return str(v.vector()); }
inline std::string str(const std::optional<giAngle>& a) { return a ? str(a->degrees()) : "-"; }
// The parts printed with str(), separated by blanks.
template <class... Parts>
std::string cat(const Parts&... parts) {
  std::string text;
  const auto append = [&text](const std::string& part) {
    if (!text.empty()) text += ' ';
    text += part;
  };
  (append(str(parts)), ...);
  return text;
}

// One result: its points, or its nominal geometry | actual geometry | tolerances.
inline std::string detail(const std::shared_ptr<mtrToolpathResult>& result) {
  if (const auto p = std::dynamic_pointer_cast<mtrProbePath>(result)) {
    std::string text;
    for (unsigned int i = 0; i < p->inspection_points_count(); ++i) {
      const auto q = p->inspection_point(i);
      if (i) text += "; ";
      text += cat(q->label().c_str(), q->nominal_point(), q->direction(), q->o_value(),
                  q->u_value(), q->l_value());
      text += ' ';
      text += q->has_measure() ? cat(q->measured_point(), q->r_value()) : "-";
    }
    return text;
  }
  if (const auto f = std::dynamic_pointer_cast<mtrCircleFeature>(result)) {
    const giCircle3 &n = f->nominal(), &a = f->actual();
    return cat(n.centre(), n.normal(), n.radius().value(), "|", a.centre(), a.radius().value(), "|",
               f->diameter_tolerance(), f->true_position_tolerance());
  }
  if (const auto f = std::dynamic_pointer_cast<mtrRectangleFeature>(result)) {
    const mtgRectangle3 &n = f->nominal(), &a = f->actual();
    return cat(n.centre(), n.normal(), n.length_direction(), n.length().value(), n.width().value(),
               "|", a.centre(), a.length().value(), a.width().value(), "|", f->length_tolerance(),
               f->width_tolerance(), f->position_tolerance());
  }
  if (const auto f = std::dynamic_pointer_cast<mtrPerpendicularDistanceFeature>(result)) {
    const mtgPerpendicularDistance &n = f->nominal(), &a = f->actual();
    return cat("axis", f->axis(), n.point(), n.normal(), n.direction(), n.distance().value(), "|",
               a.point(), a.distance().value(), "|", f->distance_tolerance(),
               f->position_tolerance());
  }
  if (const auto f = std::dynamic_pointer_cast<mtrSurfaceFeature>(result)) {
    return cat("axis", f->axis(), f->nominal().point(), f->nominal().normal(), "|",
               f->actual().point(), "|", f->position_tolerance());
  }
  if (const auto f = std::dynamic_pointer_cast<mtrCornerFeature>(result)) {
    return cat(f->nominal().point(), f->nominal().direction(), "|", f->actual().point(), "|",
               f->true_position_tolerance());
  }
  if (const auto f = std::dynamic_pointer_cast<mtrAngleSurfaceFeature>(result)) {
    return cat(f->reference_plane().point(), f->reference_plane().normal(),
               f->reference_direction(), f->nominal().degrees(), "|", f->actual().degrees(), "|",
               f->angular_tolerance());
  }
  return "?";
}

// For an extractor or a kptFileExtraction taken from one.
template <class Extraction>
std::string summary(const Extraction& extractor) {
  static const char* const kinds[] = {"path",    "circle", "rectangle", "corner",
                                      "surface", "angle",  "distance"};
  std::string text;
  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  while (++it) {
    const std::shared_ptr<mtrToolpathResult> result = it();
    if (!text.empty()) text += "; ";
    text += kinds[result->kind()];
    text += ' ';
    text += std::to_string(result->id());
    if (result->pattern_instance())
      text += in_brackets(std::to_string(*result->pattern_instance()));
    if (const auto path = std::dynamic_pointer_cast<mtrProbePath>(result)) {
      text += " ";
      for (unsigned int i = 0; i < path->inspection_points_count(); ++i) {
        text += path->inspection_point(i)->has_measure() ? "M" : "U";
      }
    }
  }
  return text;
}

// The details of every result, one string each, in order.
template <class Extraction>
std::vector<std::string> details(const Extraction& extractor) {
  std::vector<std::string> all;
  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  while (++it) all.push_back(detail(it()));
  return all;
}

// The measured paths are the very probe paths of results(), in the same order, and both counts
// agree with what the iterators hand out.
template <class Extraction>
void expect_lists_agree(const Extraction& extractor) {
  std::vector<std::shared_ptr<mtrToolpathResult>> paths_in_results;
  unsigned int results = 0;
  itIterator<std::shared_ptr<mtrToolpathResult>> all = extractor.results();
  while (++all) {
    ++results;
    if (std::dynamic_pointer_cast<mtrProbePath>(all())) paths_in_results.push_back(all());
  }
  std::vector<std::shared_ptr<mtrToolpathResult>> paths;
  itIterator<std::shared_ptr<mtrProbePath>> it = extractor.measured_paths();
  while (++it) paths.push_back(it());
  EXPECT_EQ(paths, paths_in_results);
  EXPECT_EQ(extractor.number_of_results(), results);
  EXPECT_EQ(extractor.measured_paths_count(), paths.size());
}

}  // namespace extraction_test
