// The two back ends of the run store. Internal to store/: hosts open a store through
// RunStore::open (store/run_store.h).
#pragma once

#include <memory>
#include <string>

#include "store/run_store.h"

namespace store {

// Opens (and, for writing, makes) the SQLite file at `path`.
std::unique_ptr<RunStore> open_sqlite_store(const std::string& path, bool for_writing,
                                            StoreStatus& status);
// Connects to PostgreSQL with libpq's connection string or URI; null on builds without libpq.
std::unique_ptr<RunStore> open_postgres_store(const std::string& conninfo, bool for_writing,
                                              StoreStatus& status);

}  // namespace store
