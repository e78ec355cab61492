// kptTrendAnalysis: the control charts of every series of a set of runs.
#include "cncprobe/inspection/trend_analysis.h"

#include <algorithm>
#include <span>

namespace {

template <class LimitsOf>
std::vector<kptSeriesStatistics> analyse_all(const std::vector<kptTrendSeries>& list,
                                             LimitsOf&& limits_of, kptRunRules rules,
                                             std::size_t first_judged) {
  std::vector<kptSeriesStatistics> out;
  out.reserve(list.size());
  for (const kptTrendSeries& s : list) {
    out.push_back(
        kptControlChart::analyse(s.values, s.tolerance, limits_of(s), rules, first_judged));
  }
  return out;
}

void add_saved(std::vector<kptSavedSeries>& out, const std::vector<kptTrendSeries>& list,
               const std::vector<kptSeriesStatistics>& stats) {
  for (std::size_t i = 0; i < list.size() && i < stats.size(); ++i) {
    out.push_back({list[i].key, list[i].item, list[i].quantity, stats[i].limits});
  }
}

}  // namespace

bool kptTrendAnalysis::drifting() const {
  const auto fired = [](const kptSeriesStatistics& s) { return !s.violations.empty(); };
  return std::any_of(features.begin(), features.end(), fired) ||
         std::any_of(points.begin(), points.end(), fired);
}

kptTrendAnalysis kptTrendAnalysis::from_baseline(const kptTrendSeriesSet& set,
                                                 std::size_t baseline_runs, kptRunRules rules) {
  kptTrendAnalysis a;
  a.runs = set.runs();
  a.rules = rules;
  a.baseline_runs = baseline_runs == 0 || baseline_runs > a.runs ? a.runs : baseline_runs;
  a.first_judged = a.baseline_runs < a.runs ? a.baseline_runs : 0;
  const auto limits_of = [&a](const kptTrendSeries& s) {
    return kptControlChart::baseline(
        std::span(s.values).first(std::min(a.baseline_runs, s.values.size())));
  };
  a.features = analyse_all(set.features(), limits_of, rules, a.first_judged);
  a.points = analyse_all(set.points(), limits_of, rules, a.first_judged);
  return a;
}

kptTrendAnalysis kptTrendAnalysis::from_saved(const kptTrendSeriesSet& set,
                                              const kptControlLimitsFile& saved,
                                              kptRunRules rules) {
  kptTrendAnalysis a;
  a.runs = set.runs();
  a.rules = rules;
  a.baseline_runs = saved.baseline_runs;
  a.saved_limits = true;
  a.first_judged = 0;
  const auto limits_of = [&saved](const kptTrendSeries& s) {
    if (const kptControlLimits* limits = saved.find(s.key)) return *limits;
    kptControlLimits none;
    none.state = kptControlNoBaseline;
    return none;
  };
  a.features = analyse_all(set.features(), limits_of, rules, 0);
  a.points = analyse_all(set.points(), limits_of, rules, 0);
  return a;
}

kptControlLimitsFile kptTrendAnalysis::limits_file(
    const kptTrendSeriesSet& set, const kptTrendProgram& program,
    const std::vector<std::string>& run_files) const {
  kptControlLimitsFile file;
  file.program = program;
  file.baseline_runs = baseline_runs;
  file.runs = run_files;
  add_saved(file.series, set.features(), features);
  add_saved(file.series, set.points(), points);
  return file;
}
