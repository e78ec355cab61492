// The C interface to the control chart of one series.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "cncprobe/capi/internal/c_boundary.h"
#include "cncprobe/cncprobe_c.h"
#include "cncprobe/inspection/control_chart.h"

using namespace capi_internal;

static_assert(sizeof(cncprobe_series_statistics) == 16 * 8 + 3 * 8 + 4 * 4);
static_assert(sizeof(cncprobe_violation) == 24);

namespace {

double or_nan(const std::optional<double>& value) {
  return value ? *value : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

extern "C" {

cncprobe_error cncprobe_series_statistics_compute(const double* values, size_t count,
                                                  double lower_limit, double upper_limit,
                                                  size_t baseline, uint32_t rules,
                                                  size_t first_judged,
                                                  cncprobe_series_statistics* statistics,
                                                  cncprobe_violation* violations, size_t capacity) {
  if ((values == nullptr && count > 0) || statistics == nullptr ||
      (violations == nullptr && capacity > 0) || (rules & ~kptAllRunRules) != 0) {
    return CNCPROBE_ERROR_INVALID_ARGUMENT;
  }
  return guarded([&] {
    const std::span<const double> series(values, count);
    kptCheckLimits tolerance;
    if (!std::isnan(lower_limit)) tolerance.lower = lower_limit;
    if (!std::isnan(upper_limit)) tolerance.upper = upper_limit;
    const std::size_t first = baseline == 0 || baseline > count ? count : baseline;
    const kptControlLimits limits = kptControlChart::baseline(series.first(first));
    const kptSeriesStatistics st =
        kptControlChart::analyse(series, tolerance, limits, rules, first_judged);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto when_set = [&](double v) { return limits.usable() ? v : nan; };
    cncprobe_series_statistics out{};
    out.mean = or_nan(st.mean);
    out.standard_deviation = or_nan(st.standard_deviation);
    out.min = or_nan(st.min);
    out.max = or_nan(st.max);
    out.centre = when_set(limits.centre);
    out.moving_range = when_set(limits.moving_range);
    out.sigma_within = when_set(limits.sigma);
    out.lcl = when_set(limits.lower);
    out.ucl = when_set(limits.upper);
    out.mr_ucl = when_set(limits.moving_range_upper);
    out.cp = or_nan(st.cp);
    out.cpk = or_nan(st.cpk);
    out.cpk_low = or_nan(st.cpk_low);
    out.cpk_high = or_nan(st.cpk_high);
    out.pp = or_nan(st.pp);
    out.ppk = or_nan(st.ppk);
    out.n = st.n;
    out.baseline_n = limits.n;
    out.violation_count = st.violations.size();
    out.state = limits.state;
    out.one_sided = st.one_sided ? 1 : 0;
    out.capability_preliminary = st.capability_preliminary ? 1 : 0;
    out.performance_preliminary = st.performance_preliminary ? 1 : 0;
    const std::size_t written = std::min(capacity, st.violations.size());
    for (std::size_t i = 0; i < written; ++i) {
      const kptRuleViolation& v = st.violations[i];
      violations[i] = {v.value, v.run, v.rule, v.moving_range ? 1 : 0};
    }
    *statistics = out;
    return written < st.violations.size() ? CNCPROBE_ERROR_BUFFER_TOO_SMALL : CNCPROBE_OK;
  });
}

}  // extern "C"
