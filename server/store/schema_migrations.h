#pragma once

#include "server/store/sql_database.h"

#include <functional>
#include <string>
#include <vector>

namespace ravo::server {

// One step of the database's layout, applied once and in order. Its number is recorded in
// the database, so a later release knows where to go on from.
struct SchemaMigration {
    int version = 0;
    std::string description;
    std::function<Status(SqlDatabase&)> apply;
};

// Every step this release knows, oldest first.
const std::vector<SchemaMigration>& schemaMigrations();
int latestSchemaVersion();

// The version recorded in the database: 0 for an empty one, or one made before versions
// were recorded (its tables are those of version 1).
Result<int> schemaVersion(SqlDatabase& db);

// What `db` was at and what it is at now.
struct SchemaUpgrade {
    int from = 0;
    int to = 0;
    bool operator==(const SchemaUpgrade&) const = default;
};

// Brings the database up to the last of `migrations` in one transaction: all steps or none.
// A database from a newer release is refused, untouched. Several processes may start at
// once; one upgrades and the others find it done.
Result<SchemaUpgrade> upgradeSchema(SqlDatabase& db,
                                    const std::vector<SchemaMigration>& migrations);

} // namespace ravo::server
