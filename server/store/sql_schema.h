#pragma once

#include "server/store/sql_database.h"

#include <string>

namespace ravo::server {

// The tables, written once for both databases: SQLite reads DOUBLE PRECISION and BIGINT
// by affinity. Only the site key's auto-numbering differs.
std::string storeSchema(SqlDialect dialect);

} // namespace ravo::server
