// kptTrendAnalysis: every series of a set of runs charted and judged in one go, against limits
// from a baseline of the first runs or saved earlier; the one place the tool, the report, the
// Python package and a run store get their control charts from.
//
//   const kptTrendAnalysis a = kptTrendAnalysis::from_baseline(set, 20);
//   if (a.drifting()) stop_the_machine();
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/inspection/control_chart.h"
#include "cncprobe/inspection/control_limits_file.h"
#include "cncprobe/inspection/trend_series.h"

// Every series of many runs judged against a baseline or saved limits.
struct CNCPROBE_API kptTrendAnalysis {
  // The runs analysed.
  std::size_t runs = 0;
  // The runs the limits came from (the first ones given; those of the saved file's baseline).
  std::size_t baseline_runs = 0;
  bool saved_limits = false;  // the limits came from a saved file
  // The first run judged: the one after the baseline, or 0 when the baseline is every run given
  // or the limits were saved.
  std::size_t first_judged = 0;
  // The run rules applied.
  kptRunRules rules = kptAllRunRules;
  // One entry per series of the set, in its order.
  // The statistics of the feature series, in the order of the set.
  std::vector<kptSeriesStatistics> features;
  // The statistics of the point series.
  std::vector<kptSeriesStatistics> points;

  // True when a rule fired on a judged run of any series.
  bool drifting() const;

  // Limits from the first `baseline_runs` runs of the set (0, or more than there are: all).
  static kptTrendAnalysis from_baseline(const kptTrendSeriesSet& set, std::size_t baseline_runs,
                                        kptRunRules rules = kptAllRunRules);
  // Limits from a saved file; a series the file does not know gets none (kptControlNoBaseline).
  // Every run given is judged.
  static kptTrendAnalysis from_saved(const kptTrendSeriesSet& set,
                                     const kptControlLimitsFile& saved,
                                     kptRunRules rules = kptAllRunRules);
  // The limits file that freezes this analysis' limits for `program`; `run_files` names the
  // baseline's runs.
  kptControlLimitsFile limits_file(const kptTrendSeriesSet& set, const kptTrendProgram& program,
                                   const std::vector<std::string>& run_files) const;
};
