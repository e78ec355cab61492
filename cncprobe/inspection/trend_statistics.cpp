// kptTrendStatistics: a quantity's spread and capability over several runs.
#include "cncprobe/inspection/trend_statistics.h"

#include <algorithm>
#include <cmath>

#include "cncprobe/inspection/point_check.h"

kptTrendLimits kptTrendStatistics::limits_of(const kptFeatureCheck& check,
                                             kptZoneConvention convention) {
  return kptFeatureChecks::limits(check, convention);
}

kptTrendLimits kptTrendStatistics::limits_of(const mtrInspectionPoint& point) {
  return kptPointChecks::limits(point);
}

kptTrendSummary kptTrendStatistics::of(std::span<const double> values,
                                       const kptTrendLimits& limits) {
  kptTrendSummary summary;
  double sum = 0.0;
  for (const double v : values) {
    if (std::isnan(v)) continue;
    ++summary.n;
    sum += v;
    summary.min = summary.min ? std::min(*summary.min, v) : v;
    summary.max = summary.max ? std::max(*summary.max, v) : v;
  }
  if (summary.n == 0) return summary;
  const double mean = sum / static_cast<double>(summary.n);
  summary.mean = mean;
  if (summary.n < 2) return summary;
  double squares = 0.0;  // about the mean, in a second pass: no cancellation for tight spreads
  for (const double v : values) {
    if (!std::isnan(v)) squares += (v - mean) * (v - mean);
  }
  const double s = std::sqrt(squares / static_cast<double>(summary.n - 1));
  summary.standard_deviation = s;
  if (!(s > 0.0)) return summary;
  if (limits.lower && limits.upper) summary.cp = (*limits.upper - *limits.lower) / (6.0 * s);
  std::optional<double> nearer;
  if (limits.upper) nearer = *limits.upper - mean;
  if (limits.lower)
    nearer = nearer ? std::min(*nearer, mean - *limits.lower) : mean - *limits.lower;
  if (nearer) summary.cpk = *nearer / (3.0 * s);
  return summary;
}
