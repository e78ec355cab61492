// kptTrendSeries: the values one quantity takes over many runs of the same probing program, so
// it can be charted and judged for drift (see kptControlChart).
//
// A feature quantity is matched across runs by the feature's kind, tool path, pattern instance,
// identity and the quantity; a point by its label. Each value is a deviation from nominal
// (actual - nominal; the radial offset of a centre or corner; d for a point). A centre or corner
// also gives its X and Y deviations as series of their own, so a shift has a direction.
//
//   kptTrendSeriesSet set(kptZoneDiametral);
//   for (const auto& extractor : runs) set.add_run(extractor);
//   for (const kptTrendSeries& s : set.features()) chart(s.values, s.tolerance);
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/verdict.h"

struct kptTrendSeries {
  // What matches the series across runs, and names it in a saved limits file: "feature|circle|3|
  // -1|component 1 feature 4|diameter" or "point|P12".
  std::string key;
  // The feature ("circle 3 component 1 feature 4") or the point's label, as a person reads it.
  std::string item;
  // The quantity's name: those of kpt_quantity_name, "centre_x", "centre_y", "corner_x",
  // "corner_y"; "deviation" for a point.
  std::string quantity;
  // The quantity as a person reads it ("centre offset", "centre X").
  std::string label;
  // True for a point series (a point's d), false for a feature quantity.
  bool point = false;
  // The deviations at which the verdict turns (the first run's); an offset has no lower limit.
  kptCheckLimits tolerance;
  // One value per run added; NaN where a run had none.
  std::vector<double> values;
};

// The series of many runs: one per feature quantity (with X and Y of centres and corners) and per
// point label.
class CNCPROBE_API kptTrendSeriesSet {
 public:
  // Point series beyond `max_points` distinct labels are counted, not kept (a scan of a million
  // points would make a million charts).
  explicit kptTrendSeriesSet(kptZoneConvention convention = kptZoneDiametral,
                             std::size_t max_points = 5000);

  // Adds one run's values to every series, creating the series it is the first to have.
  void add_run(const kptResultsDataExtractor& extractor);
  // Adds one run whose values were kept elsewhere (a run store): each entry names its series (key,
  // item, quantity, label, point, tolerance) and holds the run's value as its one value (none or
  // NaN: the run had none). Series are matched by key and created as the other add_run does.
  void add_run(const std::vector<kptTrendSeries>& entries);

  // The key of a feature quantity's series ("feature|circle|3|-1|component 1 feature 4|diameter"):
  // kind with its probing axis, tool path, pattern instance (-1 none), identity and quantity name.
  // A run store keeps it with each check, so stored runs and files join the same series.
  static std::string feature_key(const mtrToolpathResult& result, std::string_view quantity);
  // The feature as a person reads it, the series' item: "circle 3 (2) component 1 feature 4".
  static std::string feature_item(const mtrToolpathResult& result);

  // The runs added so far.
  std::size_t runs() const noexcept { return runs_; }
  // Feature series in the order they first appeared (a feature's quantities in check order, the
  // X and Y deviations after a centre or corner offset).
  const std::vector<kptTrendSeries>& features() const noexcept { return features_; }
  // Point series in the order they first appeared.
  const std::vector<kptTrendSeries>& points() const noexcept { return points_; }
  // The distinct point labels left out beyond the maximum.
  std::size_t points_omitted() const noexcept { return omitted_.size(); }

 private:
  kptTrendSeries& series(std::vector<kptTrendSeries>& list,
                         std::map<std::string, std::size_t>& index, kptTrendSeries&& fresh);

  kptZoneConvention convention_;
  std::size_t max_points_;
  std::size_t runs_ = 0;
  std::vector<kptTrendSeries> features_;
  std::vector<kptTrendSeries> points_;
  std::map<std::string, std::size_t> feature_index_;
  std::map<std::string, std::size_t> point_index_;
  std::map<std::string, bool> omitted_;
};
