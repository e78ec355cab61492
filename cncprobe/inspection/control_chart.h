// kptControlChart: individuals and moving-range (I-MR) charts of one series (one quantity of a
// feature or one point, one value per run of the same program), the eight run rules that say a
// process is drifting before it is out of tolerance, and capability (Cp, Cpk) beside performance
// (Pp, Ppk).
//
// One run makes one part, so each run gives one observation: the spread within the process is
// estimated from the moving ranges |x[i] - x[i-1]| (sigma = mean moving range / 1.128), which a
// tool-wear trend hardly inflates, while the sample standard deviation of all runs takes the
// trend in. Control limits come from a baseline (the first runs, or limits saved earlier) and are
// then frozen: later runs are judged against them, never move them.
//
//   const kptControlLimits limits = kptControlChart::baseline(std::span(values).first(20));
//   const kptSeriesStatistics st =
//       kptControlChart::analyse(values, tolerance_limits, limits, kptAllRunRules, 20);
//   for (const kptRuleViolation& v : st.violations) ...
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/inspection/feature_check.h"

// A set of run rules: bit r - 1 stands for rule r (1 to 8).
using kptRunRules = std::uint32_t;
// All eight run rules.
inline constexpr kptRunRules kptAllRunRules = 0xFF;
// The set holding rule `rule` (1 to 8) alone; empty for any other number.
constexpr kptRunRules kpt_run_rule(int rule) {
  return rule >= 1 && rule <= 8 ? kptRunRules{1} << (rule - 1) : 0;
}

// d2 for moving ranges of two, and D4: the upper limit of the moving-range chart over its mean.
inline constexpr double kptMovingRangeD2 = 1.128;
// D4 for moving ranges of two: the moving-range chart's upper limit over its mean.
inline constexpr double kptMovingRangeD4 = 3.267;
// Capability indices from fewer baseline values than this are preliminary.
inline constexpr std::size_t kptPreliminaryBelow = 25;

// Why a series has control limits or not.
enum kptControlState : std::int32_t {
  kptControlLimitsSet = 0,     // the baseline gives limits; the rules apply
  kptControlTooFewValues = 1,  // fewer than two values in the baseline: no moving range
  kptControlNoSpread = 2,      // the baseline's moving ranges are all zero: no limits, no rule
  kptControlNoBaseline = 3,    // the saved limits do not know the series
};

// "limits", "too_few_values", "no_spread", "no_baseline"; "unknown" otherwise. Never null.
CNCPROBE_API const char* kpt_control_state_name(kptControlState state) noexcept;

// The frozen limits of one series: what a baseline leaves behind.
struct kptControlLimits {
  // Whether the baseline gave limits, and why not.
  kptControlState state = kptControlTooFewValues;
  std::size_t n = 0;                // values in the baseline
  double centre = 0.0;              // their mean: the centre line
  double moving_range = 0.0;        // the mean moving range MR-bar
  double sigma = 0.0;               // sigma within: MR-bar / 1.128
  double lower = 0.0;               // centre - 3 sigma (meaningful only with kptControlLimitsSet)
  double upper = 0.0;               // centre + 3 sigma
  double moving_range_upper = 0.0;  // 3.267 MR-bar; the moving-range chart's lower limit is 0

  // True when the baseline gave limits and the rules apply.
  bool usable() const { return state == kptControlLimitsSet; }
};

// A run rule that fired, at the run that completes its pattern.
struct kptRuleViolation {
  std::size_t run = 0;        // the index of the run (in the values given) that completes it
  int rule = 0;               // 1 to 8
  bool moving_range = false;  // on the moving-range chart (rule 1 only); value is the range
  double value = 0.0;         // the value (or moving range) at that run
};

// The statistics of one series over the runs: its values, control limits, capability and
// violations.
struct kptSeriesStatistics {
  std::size_t n = 0;  // the runs that had a value (NaN marks a run without one)
  std::optional<double> mean, standard_deviation, min, max;  // standard deviation: n >= 2
  // The control limits the series is judged against (its baseline's, or saved ones).
  kptControlLimits limits;
  // Capability from the baseline's centre and sigma within, with n = limits.n; performance from
  // the mean and standard deviation of all values, with n = this->n. With only an upper limit
  // (a radial offset) cp and pp are absent and cpk, ppk are the upper indices (Cpu, Ppu). Absent
  // without tolerance, without spread or with fewer than two values.
  std::optional<double> cp, cpk, pp, ppk;
  bool one_sided = false;  // only one tolerance limit: cpk and ppk are one-sided indices
  bool capability_preliminary = true;   // limits.n < 25
  bool performance_preliminary = true;  // n < 25
  // The approximate 95% interval of Cpk (Bissell): Cpk +- 1.96 sqrt(1/(9n) + Cpk^2/(2(n-1))).
  std::optional<double> cpk_low, cpk_high;
  // Every violation of the chosen rules, in run order (on a run, the individuals chart first).
  std::vector<kptRuleViolation> violations;
};

class CNCPROBE_API kptControlChart {
 public:
  // The limits the values give as a baseline (NaN values are skipped; moving ranges join the
  // values present, in order). kptControlTooFewValues with fewer than two values,
  // kptControlNoSpread when every moving range is zero.
  static kptControlLimits baseline(std::span<const double> values);
  // Limits saved earlier (centre, mean moving range, baseline size): the derived lines and the
  // state recomputed. A non-finite or negative moving range gives kptControlNoSpread.
  static kptControlLimits frozen(std::size_t n, double centre, double moving_range);

  // The violations of `rules` among the values against usable limits (none otherwise), each at
  // the run that completes it. Runs before `first_judged` take part in a pattern but are not
  // reported.
  static std::vector<kptRuleViolation> violations(std::span<const double> values,
                                                  const kptControlLimits& limits,
                                                  kptRunRules rules = kptAllRunRules,
                                                  std::size_t first_judged = 0);

  // Everything about one series: its statistics, its indices against `tolerance` (the deviations
  // at which its verdict turns) and the violations from `first_judged` on.
  static kptSeriesStatistics analyse(std::span<const double> values,
                                     const kptCheckLimits& tolerance,
                                     const kptControlLimits& limits,
                                     kptRunRules rules = kptAllRunRules,
                                     std::size_t first_judged = 0);

  // Parses "1,2,3,5" (rules 1 to 8, comma separated, spaces allowed) into a set; absent when the
  // list is empty or names anything else.
  static std::optional<kptRunRules> parse_rules(std::string_view list);
};
