#pragma once

#include "server/store/sql_database.h"

#include <string>

namespace ravo::server {

// The tables of layout version 1, as the first release made them; a change goes in a step of
// its own after it. Written once for both databases: SQLite reads DOUBLE PRECISION and BIGINT
// by affinity. Only the site key's auto-numbering differs.
std::string storeSchema(SqlDialect dialect);

} // namespace ravo::server
