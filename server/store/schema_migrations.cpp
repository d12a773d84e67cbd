#include "server/store/schema_migrations.h"

#include "server/auth/email_address.h"
#include "server/store/sql_schema.h"

namespace ravo::server {

namespace {

Status runStatements(SqlDatabase& db, const std::string& statements) {
    // One at a time: PostgreSQL's simple protocol would otherwise make its own transaction.
    for (std::size_t start = 0; start < statements.size();) {
        const auto end = std::min(statements.find(';', start), statements.size());
        const std::string statement = statements.substr(start, end - start);
        if (statement.find_first_not_of(" \n") != std::string::npos)
            if (auto done = db.script(statement); !done)
                return done;
        start = end + 1;
    }
    return success();
}

// Addresses were once kept as typed: each becomes the one spelling sign-in looks up, unless
// another account already has that spelling, which is left for the operator.
Status foldAccountAddresses(SqlDatabase& db) {
    auto rows = db.query("SELECT id, email FROM accounts WHERE email <> lower(email) OR "
                         "email LIKE '%.' OR email LIKE ' %' OR email LIKE '% '");
    if (!rows)
        return rows.failure();
    for (const auto& row : *rows) {
        const std::string folded = normalizedEmail(row.text(1));
        if (folded == row.text(1))
            continue;
        if (auto done = db.execute("UPDATE accounts SET email = ? WHERE id = ? AND NOT EXISTS "
                                   "(SELECT 1 FROM accounts other WHERE other.email = ?)",
                                   {folded, row.text(0), folded});
            !done)
            return done;
    }
    return success();
}

Result<bool> versionTableExists(SqlDatabase& db) {
    auto row = db.first(db.dialect() == SqlDialect::sqlite
                            ? "SELECT 1 FROM sqlite_master WHERE type = 'table' AND "
                              "name = 'schema_version'"
                            : "SELECT 1 WHERE to_regclass('schema_version') IS NOT NULL");
    if (!row)
        return row.failure();
    return row->has_value();
}

Status recordVersion(SqlDatabase& db, int version) {
    if (auto made =
            db.script("CREATE TABLE IF NOT EXISTS schema_version (version BIGINT NOT NULL)");
        !made)
        return made;
    if (auto cleared = db.execute("DELETE FROM schema_version"); !cleared)
        return cleared;
    return db.execute("INSERT INTO schema_version (version) VALUES (?)",
                      {static_cast<std::int64_t>(version)});
}

} // namespace

const std::vector<SchemaMigration>& schemaMigrations() {
    static const std::vector<SchemaMigration> migrations = {
        {1, "accounts, devices, sign-in attempts, sites, their history and alerts",
         [](SqlDatabase& db) { return runStatements(db, storeSchema(db.dialect())); }},
        {2, "account addresses in the one spelling sign-in looks up", foldAccountAddresses},
        // Deleting an account removes its devices and alerts; without these PostgreSQL reads
        // both tables whole to find them.
        {3, "devices and alerts found by their account",
         [](SqlDatabase& db) {
             return runStatements(
                 db, "CREATE INDEX IF NOT EXISTS devices_by_account ON devices (account_id);"
                     "CREATE INDEX IF NOT EXISTS alerts_by_account ON alerts (account_id)");
         }},
        // Writers of the site list say which version they changed; a list that moved since
        // is not overwritten.
        {4, "a version of each account's site list",
         [](SqlDatabase& db) {
             // Processes starting together may each run the steps; PostgreSQL can say
             // IF NOT EXISTS here, and SQLite lets only one writer in.
             return db.script(db.dialect() == SqlDialect::postgres
                                  ? "ALTER TABLE accounts ADD COLUMN IF NOT EXISTS sites_version "
                                    "BIGINT NOT NULL DEFAULT 0"
                                  : "ALTER TABLE accounts ADD COLUMN sites_version BIGINT NOT "
                                    "NULL DEFAULT 0");
         }},
    };
    return migrations;
}

int latestSchemaVersion() {
    return schemaMigrations().back().version;
}

Result<int> schemaVersion(SqlDatabase& db) {
    auto exists = versionTableExists(db);
    if (!exists)
        return exists.failure();
    if (!*exists)
        return 0;
    auto row = db.first("SELECT max(version) FROM schema_version");
    if (!row)
        return row.failure();
    return *row ? static_cast<int>((*row)->integer(0)) : 0;
}

Result<SchemaUpgrade> upgradeSchema(SqlDatabase& db,
                                    const std::vector<SchemaMigration>& migrations) {
    const int latest = migrations.empty() ? 0 : migrations.back().version;
    // The version found, or the refusal of a newer database's.
    const auto current = [&db, latest]() -> Result<int> {
        auto found = schemaVersion(db);
        if (found && *found > latest)
            return Failure{"the database was made by a newer ravo-server (its layout is version " +
                           std::to_string(*found) + ", this release knows up to " +
                           std::to_string(latest) +
                           "); run that release or restore a backup made before it"};
        return found;
    };
    // Nothing to do is the usual case, and takes no lock: a running server's writes go on.
    auto found = current();
    if (!found || *found == latest)
        return found ? Result<SchemaUpgrade>(SchemaUpgrade{latest, latest}) : found.failure();

    SqlTransaction transaction(db);
    // Processes starting together take turns; the later ones find the work done.
    if (db.dialect() == SqlDialect::postgres)
        if (auto locked = db.script("SELECT pg_advisory_xact_lock(74211)"); !locked)
            return locked.failure();
    found = current();
    if (!found || *found == latest)
        return found ? Result<SchemaUpgrade>(SchemaUpgrade{latest, latest}) : found.failure();
    for (const auto& migration : migrations) {
        if (migration.version <= *found)
            continue;
        if (auto applied = migration.apply(db); !applied)
            return Failure{"upgrading the database to version " +
                           std::to_string(migration.version) + " (" + migration.description +
                           "): " + applied.error()};
    }
    if (auto recorded = recordVersion(db, latest); !recorded)
        return recorded.failure();
    if (auto committed = transaction.commit(); !committed)
        return committed.failure();
    return SchemaUpgrade{*found, latest};
}

} // namespace ravo::server
