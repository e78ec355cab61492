// A program's stored runs as a trend: the series keys (the library's, as for files), deviations and
// limits are those the inspection rules gave when each run was ingested; nothing is judged again
// here.
#include "tools/stored_trend.h"

#include <cmath>
#include <map>

#include "cncprobe/inspection/feature_check.h"

namespace tool {

namespace {

// The label the inspection rules give the quantity stored under `name`.
std::string quantity_label(const std::string& name) {
  for (std::int32_t q = kptQuantityDiameter; q <= kptQuantityAngle; ++q) {
    if (name == kpt_quantity_name(static_cast<kptQuantity>(q))) {
      return kpt_quantity_label(static_cast<kptQuantity>(q));
    }
  }
  return name;
}

// The feature as a person reads it, from the series key the store kept with the check
// ("feature|circle|3|2|component 1 feature 4|diameter" -> "circle 3 (2) component 1 feature 4").
// The identity may hold a '|' of its own (a feature's name): it is everything between the
// instance and the quantity.
std::string item_of(const std::string& key) {
  std::vector<std::string> head;
  std::size_t at = 0;
  for (int i = 0; i < 4; ++i) {
    const std::size_t bar = key.find('|', at);
    if (bar == std::string::npos) return key;
    head.push_back(key.substr(at, bar - at));
    at = bar + 1;
  }
  const std::size_t last = key.rfind('|');
  if (last < at) return key;
  std::string item = head[1] + " " + head[2];
  if (head[3] != "-1") item += " (" + head[3] + ")";
  return item + " " + key.substr(at, last - at);
}

}  // namespace

bool stored_trend(store::RunStore& runs, const std::string& program, std::int64_t last,
                  TrendData& trend, store::StoreStatus& status,
                  std::vector<store::StoredRun>* listed) {
  store::RunFilter filter;
  filter.program = program;
  if (last > 0) filter.last = last;
  const std::vector<store::StoredRun> found = runs.runs(filter, status);
  if (!status.ok()) return false;
  std::vector<std::int64_t> ids;
  std::map<std::int64_t, std::size_t> column;  // run id -> its place in the trend
  trend = TrendData();
  trend.series = kptTrendSeriesSet(kptZoneDiametral, kMaxTrendPoints);
  for (const store::StoredRun& run : found) {
    column.emplace(run.id, ids.size());
    ids.push_back(run.id);
    trend.runs.push_back({run.path, run.results_file.value_or(std::string()),
                          run.file_time.value_or(std::string()), run.status_name,
                          run.verdict && *run.verdict == "pass"});
    trend.all_succeeded = trend.all_succeeded && run.status_code == 0;
  }

  // Each run's values, as the series set takes them one run at a time.
  std::vector<std::vector<kptTrendSeries>> values(ids.size());
  for (const store::StoredCheck& stored : runs.checks(ids, status)) {
    const store::CheckRow& c = stored.check;
    values[column[stored.run]].push_back({c.series,
                                          item_of(c.series),
                                          c.quantity,
                                          quantity_label(c.quantity),
                                          false,
                                          {c.lower_limit, c.upper_limit},
                                          {c.deviation}});
  }
  if (!status.ok()) return false;
  for (const store::StoredPoint& p : runs.points(ids, status)) {
    values[column[p.run]].push_back({"point|" + p.label,
                                     p.label,
                                     "deviation",
                                     "deviation",
                                     true,
                                     {p.lower_limit, p.upper_limit},
                                     {p.deviation ? *p.deviation : std::nan("")}});
  }
  if (!status.ok()) return false;
  for (const std::vector<kptTrendSeries>& run : values) trend.series.add_run(run);
  if (listed) *listed = found;
  return true;
}

}  // namespace tool
