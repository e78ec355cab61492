// kptControlChart: I-MR limits, the run rules and the capability indices of one series.
#include "cncprobe/inspection/control_chart.h"

#include <algorithm>
#include <cmath>

namespace {

// The values present, with the run each came from.
struct Present {
  std::vector<double> values;
  std::vector<std::size_t> runs;
};

Present present(std::span<const double> values) {
  Present p;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (std::isnan(values[i])) continue;
    p.values.push_back(values[i]);
    p.runs.push_back(i);
  }
  return p;
}

// Each rule over the standardised values z (distance from the centre in sigmas), true when the
// value at `i` completes the rule's pattern.
bool beyond_three(const std::vector<double>& z, std::size_t i) { return std::fabs(z[i]) > 3.0; }

bool nine_on_one_side(const std::vector<double>& z, std::size_t i) {
  if (i + 1 < 9) return false;
  const bool above = z[i] > 0.0;
  if (z[i] == 0.0) return false;  // a value on the centre breaks the run
  for (std::size_t k = i + 1 - 9; k <= i; ++k) {
    if (above ? !(z[k] > 0.0) : !(z[k] < 0.0)) return false;
  }
  return true;
}

bool six_steadily(const std::vector<double>& z, std::size_t i) {
  if (i + 1 < 6) return false;
  bool up = true, down = true;
  for (std::size_t k = i + 1 - 5; k <= i; ++k) {
    up = up && z[k] > z[k - 1];
    down = down && z[k] < z[k - 1];
  }
  return up || down;
}

bool fourteen_alternating(const std::vector<double>& z, std::size_t i) {
  if (i + 1 < 14) return false;
  // Thirteen steps between fourteen values, each the opposite way of the one before.
  for (std::size_t k = i + 1 - 13; k <= i; ++k) {
    const double step = z[k] - z[k - 1];
    if (step == 0.0) return false;
    if (k > i + 1 - 13) {
      const double previous = z[k - 1] - z[k - 2];
      if ((step > 0.0) == (previous > 0.0)) return false;
    }
  }
  return true;
}

// `count` of the last `window` values beyond `sigmas` on the side of the value at i, which is
// itself beyond: the value at i is the one that completes the pattern.
bool some_of_last_beyond(const std::vector<double>& z, std::size_t i, std::size_t count,
                         std::size_t window, double sigmas) {
  if (i + 1 < count) return false;
  const bool above = z[i] > sigmas;
  if (!above && !(z[i] < -sigmas)) return false;
  std::size_t found = 0;
  for (std::size_t k = i + 1 - std::min(window, i + 1); k <= i; ++k) {
    if (above ? z[k] > sigmas : z[k] < -sigmas) ++found;
  }
  return found >= count;
}

bool fifteen_within_one(const std::vector<double>& z, std::size_t i) {
  if (i + 1 < 15) return false;
  for (std::size_t k = i + 1 - 15; k <= i; ++k) {
    if (std::fabs(z[k]) > 1.0) return false;
  }
  return true;
}

bool eight_outside_one_both_sides(const std::vector<double>& z, std::size_t i) {
  if (i + 1 < 8) return false;
  bool above = false, below = false;
  for (std::size_t k = i + 1 - 8; k <= i; ++k) {
    if (std::fabs(z[k]) <= 1.0) return false;
    above = above || z[k] > 0.0;
    below = below || z[k] < 0.0;
  }
  return above && below;
}

bool completes(int rule, const std::vector<double>& z, std::size_t i) {
  switch (rule) {
    case 1:
      return beyond_three(z, i);
    case 2:
      return nine_on_one_side(z, i);
    case 3:
      return six_steadily(z, i);
    case 4:
      return fourteen_alternating(z, i);
    case 5:
      return some_of_last_beyond(z, i, 2, 3, 2.0);
    case 6:
      return some_of_last_beyond(z, i, 4, 5, 1.0);
    case 7:
      return fifteen_within_one(z, i);
    case 8:
      return eight_outside_one_both_sides(z, i);
    default:
      return false;
  }
}

std::optional<double> finite_or_none(double value) {
  return std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

// Cp (or Pp) and Cpk (or Ppk) of a centre and a sigma against the tolerance limits.
void indices(const kptCheckLimits& tolerance, double centre, double sigma,
             std::optional<double>& spread_index, std::optional<double>& centred_index) {
  if (!(sigma > 0.0) || !std::isfinite(sigma)) return;
  if (tolerance.lower && tolerance.upper) {
    spread_index = finite_or_none((*tolerance.upper - *tolerance.lower) / (6.0 * sigma));
  }
  std::optional<double> nearer;
  if (tolerance.upper) nearer = *tolerance.upper - centre;
  if (tolerance.lower) {
    nearer = nearer ? std::min(*nearer, centre - *tolerance.lower) : centre - *tolerance.lower;
  }
  if (nearer) centred_index = finite_or_none(*nearer / (3.0 * sigma));
}

}  // namespace

const char* kpt_control_state_name(kptControlState state) noexcept {
  switch (state) {
    case kptControlLimitsSet:
      return "limits";
    case kptControlTooFewValues:
      return "too_few_values";
    case kptControlNoSpread:
      return "no_spread";
    case kptControlNoBaseline:
      return "no_baseline";
  }
  return "unknown";
}

kptControlLimits kptControlChart::frozen(std::size_t n, double centre, double moving_range) {
  kptControlLimits limits;
  limits.n = n;
  limits.centre = centre;
  limits.moving_range = moving_range;
  if (n < 2 || !std::isfinite(centre)) {
    limits.state = kptControlTooFewValues;
    return limits;
  }
  // A value the machine prints with fewer digits than it varies can repeat exactly: no spread
  // to set limits from, and any rule would fire on the first value that differs.
  if (!(moving_range > 0.0) || !std::isfinite(moving_range)) {
    limits.state = kptControlNoSpread;
    return limits;
  }
  limits.state = kptControlLimitsSet;
  limits.sigma = moving_range / kptMovingRangeD2;
  limits.lower = centre - 3.0 * limits.sigma;
  limits.upper = centre + 3.0 * limits.sigma;
  limits.moving_range_upper = kptMovingRangeD4 * moving_range;
  return limits;
}

kptControlLimits kptControlChart::baseline(std::span<const double> values) {
  const Present p = present(values);
  if (p.values.size() < 2) {
    kptControlLimits limits;
    limits.n = p.values.size();
    if (!p.values.empty()) limits.centre = p.values.front();
    return limits;
  }
  double sum = 0.0;
  for (const double v : p.values) sum += v;
  double ranges = 0.0;
  for (std::size_t i = 1; i < p.values.size(); ++i)
    ranges += std::fabs(p.values[i] - p.values[i - 1]);
  const double n = static_cast<double>(p.values.size());
  return frozen(p.values.size(), sum / n, ranges / (n - 1.0));
}

std::vector<kptRuleViolation> kptControlChart::violations(std::span<const double> values,
                                                          const kptControlLimits& limits,
                                                          kptRunRules rules,
                                                          std::size_t first_judged) {
  std::vector<kptRuleViolation> found;
  if (!limits.usable()) return found;
  const Present p = present(values);
  std::vector<double> z(p.values.size());
  for (std::size_t i = 0; i < z.size(); ++i) z[i] = (p.values[i] - limits.centre) / limits.sigma;
  for (std::size_t i = 0; i < z.size(); ++i) {
    if (p.runs[i] < first_judged) continue;
    for (int rule = 1; rule <= 8; ++rule) {
      if ((rules & kpt_run_rule(rule)) && completes(rule, z, i)) {
        found.push_back({p.runs[i], rule, false, p.values[i]});
      }
    }
    // A jump between two runs larger than the moving-range chart allows.
    if ((rules & kpt_run_rule(1)) && i > 0) {
      const double range = std::fabs(p.values[i] - p.values[i - 1]);
      if (range > limits.moving_range_upper) found.push_back({p.runs[i], 1, true, range});
    }
  }
  return found;
}

kptSeriesStatistics kptControlChart::analyse(std::span<const double> values,
                                             const kptCheckLimits& tolerance,
                                             const kptControlLimits& limits, kptRunRules rules,
                                             std::size_t first_judged) {
  kptSeriesStatistics st;
  st.limits = limits;
  st.one_sided = static_cast<bool>(tolerance.lower) != static_cast<bool>(tolerance.upper);
  const Present p = present(values);
  st.n = p.values.size();
  st.performance_preliminary = st.n < kptPreliminaryBelow;
  st.capability_preliminary = limits.n < kptPreliminaryBelow;
  if (st.n > 0) {
    double sum = 0.0;
    for (const double v : p.values) sum += v;
    const double mean = sum / static_cast<double>(st.n);
    st.mean = mean;
    st.min = *std::min_element(p.values.begin(), p.values.end());
    st.max = *std::max_element(p.values.begin(), p.values.end());
    if (st.n >= 2) {
      double squares = 0.0;  // about the mean, in a second pass: no cancellation for tight spreads
      for (const double v : p.values) squares += (v - mean) * (v - mean);
      // Equal values have no spread, whatever the rounding of their mean leaves behind.
      const double s =
          *st.min == *st.max ? 0.0 : std::sqrt(squares / static_cast<double>(st.n - 1));
      st.standard_deviation = s;
      indices(tolerance, mean, s, st.pp, st.ppk);
    }
  }
  if (limits.usable()) {
    indices(tolerance, limits.centre, limits.sigma, st.cp, st.cpk);
    if (st.cpk) {
      const double n = static_cast<double>(limits.n);
      const double half =
          1.96 * std::sqrt(1.0 / (9.0 * n) + (*st.cpk * *st.cpk) / (2.0 * (n - 1.0)));
      st.cpk_low = *st.cpk - half;
      st.cpk_high = *st.cpk + half;
    }
  }
  st.violations = violations(values, limits, rules, first_judged);
  return st;
}

std::optional<kptRunRules> kptControlChart::parse_rules(std::string_view list) {
  kptRunRules rules = 0;
  bool digit_seen = false, any = false;
  int rule = 0;
  const auto close = [&]() {
    if (!digit_seen || kpt_run_rule(rule) == 0) return false;
    rules |= kpt_run_rule(rule);
    any = true;
    digit_seen = false;
    rule = 0;
    return true;
  };
  for (const char c : list) {
    if (c == ' ') continue;
    if (c == ',') {
      if (!close()) return std::nullopt;
    } else if (c >= '0' && c <= '9' && !digit_seen) {
      rule = c - '0';
      digit_seen = true;
    } else {
      return std::nullopt;
    }
  }
  if (!close() || !any) return std::nullopt;
  return rules;
}
