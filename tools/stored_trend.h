// The trend of a program's stored runs, for `cncprobe report --db` (and the trend command).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/run_store.h"
#include "tools/report/report_data.h"

namespace tool {

// The newest `last` runs of `program` (all when 0), oldest first, with their feature checks and
// points joined by series. False, with `status` saying why, when the store fails; a program
// without runs gives an empty trend. `listed`, when given, receives the runs as the store lists
// them (their status codes and references).
bool stored_trend(store::RunStore& runs, const std::string& program, std::int64_t last,
                  TrendData& trend, store::StoreStatus& status,
                  std::vector<store::StoredRun>* listed = nullptr);

}  // namespace tool
