// kptTrendSeriesSet: runs gathered into one series per feature quantity and per point label.
#include "cncprobe/inspection/trend_series.h"

#include <cmath>
#include <optional>
#include <utility>

#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"

namespace {

// The nominal and actual point whose radial offset a centre or corner check holds.
std::optional<std::pair<giPoint3, giPoint3>> offset_points(const mtrToolpathResult& result) {
  switch (result.kind()) {
    case mtrResultCircle: {
      const auto& f = static_cast<const mtrCircleFeature&>(result);
      return std::pair{f.nominal().centre(), f.actual().centre()};
    }
    case mtrResultRectangle: {
      const auto& f = static_cast<const mtrRectangleFeature&>(result);
      return std::pair{f.nominal().centre(), f.actual().centre()};
    }
    case mtrResultCorner: {
      const auto& f = static_cast<const mtrCornerFeature&>(result);
      return std::pair{f.nominal().point(), f.actual().point()};
    }
    default:
      return std::nullopt;
  }
}

}  // namespace

kptTrendSeriesSet::kptTrendSeriesSet(kptZoneConvention convention, std::size_t max_points)
    : convention_(convention), max_points_(max_points) {}

kptTrendSeries& kptTrendSeriesSet::series(std::vector<kptTrendSeries>& list,
                                          std::map<std::string, std::size_t>& index,
                                          kptTrendSeries&& fresh) {
  const auto [it, added] = index.try_emplace(fresh.key, list.size());
  if (added) {
    // Runs before this one had no value of it.
    fresh.values.assign(runs_ + 1, std::nan(""));
    list.push_back(std::move(fresh));
  }
  return list[it->second];
}

std::string kptTrendSeriesSet::feature_key(const mtrToolpathResult& result,
                                           std::string_view quantity) {
  const auto* feature = dynamic_cast<const mtrInspectionFeature*>(&result);
  const std::string identity = feature ? kptResultNames::identity_text(feature->print_data()) : "-";
  const long long instance =
      result.pattern_instance() ? static_cast<long long>(*result.pattern_instance()) : -1;
  std::string key = "feature|" + kptResultNames::kind_text(result) + "|" +
                    std::to_string(result.id()) + "|" + std::to_string(instance) + "|" + identity +
                    "|";
  key += quantity;
  return key;
}

std::string kptTrendSeriesSet::feature_item(const mtrToolpathResult& result) {
  const auto* feature = dynamic_cast<const mtrInspectionFeature*>(&result);
  return kptResultNames::kind_text(result) + " " + kptResultNames::toolpath_text(result) + " " +
         (feature ? kptResultNames::identity_text(feature->print_data()) : std::string("-"));
}

void kptTrendSeriesSet::add_run(const kptResultsDataExtractor& extractor) {
  const std::size_t run = runs_;
  for (kptTrendSeries& s : features_) s.values.push_back(std::nan(""));
  for (kptTrendSeries& s : points_) s.values.push_back(std::nan(""));

  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  while (++it) {
    const std::shared_ptr<mtrToolpathResult> result = it();
    if (!result) continue;
    if (const auto* path = dynamic_cast<const mtrProbePath*>(result.get())) {
      for (unsigned int i = 0, count = path->inspection_points_count(); i < count; ++i) {
        const mtrInspectionPoint* const point = &path->inspection_point_ref(i);
        std::string label(point->label().view());
        std::string key = "point|" + label;
        if (!point_index_.count(key) && points_.size() >= max_points_) {
          omitted_[label] = true;
          continue;
        }
        kptTrendSeries& s = series(
            points_, point_index_,
            {key, label, "deviation", "deviation", true, kptPointChecks::limits(*point), {}});
        const kptPointCheck check = kptPointChecks::of(*point);
        if (check.deviation) s.values[run] = *check.deviation;
      }
      continue;
    }
    const auto* feature = dynamic_cast<const mtrInspectionFeature*>(result.get());
    if (!feature) continue;
    const std::string base = feature_key(*result, "");
    const std::string item = feature_item(*result);
    for (const kptFeatureCheck& check : kptFeatureChecks::of(*result, convention_)) {
      const kptCheckLimits tolerance = kptFeatureChecks::limits(check, convention_);
      const std::string quantity = kpt_quantity_name(check.quantity);
      kptTrendSeries& s = series(features_, feature_index_,
                                 {base + quantity,
                                  item,
                                  quantity,
                                  kpt_quantity_label(check.quantity),
                                  false,
                                  tolerance,
                                  {}});
      if (std::isfinite(check.deviation)) s.values[run] = check.deviation;

      if (check.quantity != kptQuantityCentreOffset && check.quantity != kptQuantityCornerOffset) {
        continue;
      }
      const auto points = offset_points(*result);
      if (!points) continue;
      // Each component may reach what the radial offset may: the zone's half width (or the
      // radial limit) on either side.
      kptCheckLimits component;
      if (tolerance.upper) component = {-*tolerance.upper, *tolerance.upper};
      const bool centre = check.quantity == kptQuantityCentreOffset;
      const std::string prefix = centre ? "centre" : "corner";
      const double dx = points->second.x() - points->first.x();
      const double dy = points->second.y() - points->first.y();
      for (const auto& [axis, value] : {std::pair{"x", dx}, std::pair{"y", dy}}) {
        kptTrendSeries& c = series(features_, feature_index_,
                                   {base + prefix + "_" + axis,
                                    item,
                                    prefix + "_" + axis,
                                    prefix + " " + (axis[0] == 'x' ? "X" : "Y"),
                                    false,
                                    component,
                                    {}});
        if (std::isfinite(value)) c.values[run] = value;
      }
    }
  }
  ++runs_;
}

void kptTrendSeriesSet::add_run(const std::vector<kptTrendSeries>& entries) {
  const std::size_t run = runs_;
  for (kptTrendSeries& s : features_) s.values.push_back(std::nan(""));
  for (kptTrendSeries& s : points_) s.values.push_back(std::nan(""));
  for (const kptTrendSeries& entry : entries) {
    const double value = entry.values.empty() ? std::nan("") : entry.values.front();
    kptTrendSeries fresh{entry.key,       entry.item, entry.quantity, entry.label, entry.point,
                         entry.tolerance, {}};
    if (entry.point && !point_index_.count(entry.key) && points_.size() >= max_points_) {
      omitted_[entry.item] = true;
      continue;
    }
    kptTrendSeries& s = entry.point ? series(points_, point_index_, std::move(fresh))
                                    : series(features_, feature_index_, std::move(fresh));
    if (std::isfinite(value)) s.values[run] = value;
  }
  ++runs_;
}
