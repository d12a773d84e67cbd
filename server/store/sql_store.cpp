#include "server/store/sql_store.h"

#include "base/log.h"
#include "server/config/secrets.h"
#include "server/store/postgres_database.h"
#include "server/store/schema_migrations.h"
#include "server/store/sqlite_database.h"

#include <algorithm>
#include <cmath>

namespace ravo::server {

namespace {

Account readAccount(const SqlRow& row) {
    return Account{row.text(0), row.text(1), row.optionalText(2)};
}

template <typename T, typename Read>
Result<std::optional<T>> firstAs(SqlDatabase& db, std::string_view sql,
                                 const std::vector<SqlValue>& parameters, Read read) {
    auto row = db.first(sql, parameters);
    if (!row)
        return row.failure();
    if (!*row)
        return std::optional<T>();
    return std::optional<T>(read(**row));
}

template <typename Database> SqlPool::Opener opener(std::string address) {
    return [address]() -> Result<std::unique_ptr<SqlDatabase>> {
        auto db = Database::open(address);
        if (!db)
            return db.failure();
        return std::unique_ptr<SqlDatabase>(std::move(db).value());
    };
}

} // namespace

TimePoint firstSlot(TimePoint now, std::int64_t intervalMinutes, const std::string& identity,
                    double minuteSeconds) {
    const double interval =
        static_cast<double>(std::max<std::int64_t>(1, intervalMinutes)) * minuteSeconds;
    // FNV-1a: stable across processes and builds, unlike std::hash.
    std::uint64_t hash = 14695981039346656037ull;
    for (const unsigned char c : identity)
        hash = (hash ^ c) * 1099511628211ull;
    const double offset = static_cast<double>(hash % 1000000) / 1000000 * interval;
    const double slots = std::ceil((unixSeconds(now) - offset) / interval);
    return fromUnixSeconds(offset + slots * interval);
}

Result<std::unique_ptr<SqlStore>> SqlStore::open(const std::string& database,
                                                 std::size_t connections) {
    std::unique_ptr<SqlPool> pool;
    if (database.starts_with("sqlite:"))
        pool = std::make_unique<SqlPool>(opener<SqliteDatabase>(database.substr(7)), connections,
                                         SqlDialect::sqlite);
    else if (database.starts_with("postgresql://") || database.starts_with("postgres://"))
        pool = std::make_unique<SqlPool>(opener<PostgresDatabase>(database), connections,
                                         SqlDialect::postgres);
    else
        return Failure{"--database must be sqlite:PATH or postgresql://..."};
    std::unique_ptr<SqlStore> store(new SqlStore(std::move(pool)));
    if (auto migrated = store->migrate(); !migrated)
        return Failure{"cannot prepare the database: " + migrated.error()};
    return store;
}

SqlStore::SqlStore(std::unique_ptr<SqlPool> pool) : pool_(std::move(pool)) {}

const char* SqlStore::skipLocked() const {
    return pool_->dialect() == SqlDialect::postgres ? " FOR UPDATE SKIP LOCKED" : "";
}

Status SqlStore::migrate() {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto upgrade = upgradeSchema(**db, schemaMigrations());
    if (!upgrade)
        return upgrade.failure();
    if (upgrade->from != upgrade->to)
        log::info("server", "database upgraded from layout version " +
                                std::to_string(upgrade->from) + " to " +
                                std::to_string(upgrade->to));
    return success();
}

Result<StoredTotals> SqlStore::totals() {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto row = (*db)->first("SELECT (SELECT count(*) FROM accounts), (SELECT count(*) FROM sites), "
                            "(SELECT count(*) FROM sites WHERE enabled = 1), "
                            "(SELECT count(*) FROM alerts)");
    if (!row)
        return row.failure();
    if (!*row)
        return Failure{"database: no totals"};
    return StoredTotals{(*row)->integer(0), (*row)->integer(1), (*row)->integer(2),
                        (*row)->integer(3)};
}

Status SqlStore::ping() {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    return (*db)->execute("SELECT 1");
}

Result<Account> SqlStore::accountForEmail(const std::string& email, bool create) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    SqlDatabase& sql = **db;
    auto found = firstAs<Account>(
        sql, "SELECT id, email, password_hash FROM accounts WHERE email = ?", {email}, readAccount);
    if (!found)
        return found.failure();
    if (*found)
        return **found;
    if (!create)
        return Failure{"no such account"};
    // Two sign-ins of a new address at once: the second finds the first one's row.
    auto inserted = firstAs<Account>(
        sql,
        "INSERT INTO accounts (id, email, created_at) VALUES (?, ?, ?) ON CONFLICT (email) "
        "DO UPDATE SET email = excluded.email RETURNING id, email, password_hash",
        {Secrets::randomUUID(), email, unixSeconds(now_())}, readAccount);
    if (!inserted)
        return inserted.failure();
    if (!*inserted)
        return Failure{"database: the account was not stored"};
    return **inserted;
}

Result<std::optional<Account>> SqlStore::account(const std::string& accountID) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    return firstAs<Account>(**db, "SELECT id, email, password_hash FROM accounts WHERE id = ?",
                            {accountID}, readAccount);
}

Status SqlStore::setPassword(const std::string& email, const std::string& passwordHash) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    return (*db)->execute("INSERT INTO accounts (id, email, password_hash, created_at) "
                          "VALUES (?, ?, ?, ?) ON CONFLICT (email) DO UPDATE SET "
                          "password_hash = excluded.password_hash",
                          {Secrets::randomUUID(), email, passwordHash, unixSeconds(now_())});
}

Status SqlStore::deleteAccount(const std::string& accountID) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    return (*db)->execute("DELETE FROM accounts WHERE id = ?", {accountID});
}

Result<Device> SqlStore::addDevice(const std::string& accountID, const std::string& name,
                                   const std::string& tokenHash) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    Device device{Secrets::randomUUID(), accountID, name};
    if (auto done = (*db)->execute("INSERT INTO devices (id, account_id, name, token_hash, "
                                   "created_at) VALUES (?, ?, ?, ?, ?)",
                                   {device.id, accountID, name, tokenHash, unixSeconds(now_())});
        !done)
        return done.failure();
    return device;
}

Result<std::optional<Device>> SqlStore::deviceForToken(const std::string& tokenHash) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    return firstAs<Device>(**db, "SELECT id, account_id, name FROM devices WHERE token_hash = ?",
                           {tokenHash}, [](const SqlRow& row) {
                               return Device{row.text(0), row.text(1), row.text(2)};
                           });
}

Result<bool> SqlStore::deleteDevice(const std::string& accountID, const std::string& deviceID) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto removed = (*db)->query("DELETE FROM devices WHERE account_id = ? AND id = ? RETURNING id",
                                {accountID, deviceID});
    if (!removed)
        return removed.failure();
    return !removed->empty();
}

Result<std::vector<wire::CloudSite>> SqlStore::sites(const std::string& accountID) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto rows = (*db)->query("SELECT id, url, name, keyword, enabled, interval_minutes FROM "
                             "sites WHERE account_id = ? ORDER BY position",
                             {accountID});
    if (!rows)
        return rows.failure();
    std::vector<wire::CloudSite> sites;
    for (const auto& row : *rows)
        sites.push_back({row.text(0), row.text(1), row.text(2), row.optionalText(3),
                         row.integer(4) != 0, row.integer(5)});
    return sites;
}

Result<SiteList> SqlStore::siteList(const std::string& accountID) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    // One statement, so the version is the one of these very rows.
    auto rows = (*db)->query(
        "SELECT a.sites_version, s.id, s.url, s.name, s.keyword, s.enabled, s.interval_minutes "
        "FROM accounts a LEFT JOIN sites s ON s.account_id = a.id WHERE a.id = ? "
        "ORDER BY s.position",
        {accountID});
    if (!rows)
        return rows.failure();
    SiteList list;
    for (const auto& row : *rows) {
        list.version = row.integer(0);
        if (row.optionalText(1))
            list.sites.push_back({row.text(1), row.text(2), row.text(3), row.optionalText(4),
                                  row.integer(5) != 0, row.integer(6)});
    }
    return list;
}

Result<bool> SqlStore::replaceSites(const std::string& accountID,
                                    const std::vector<wire::CloudSite>& sites,
                                    const std::optional<std::vector<std::int64_t>>& ifVersion) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    SqlDatabase& sql = **db;
    SqlTransaction transaction(sql);
    // The version moves first and only while it is one the writer read: the row stays
    // locked to the end, so a second writer of the same version finds it moved.
    std::string bump = "UPDATE accounts SET sites_version = sites_version + 1 WHERE id = ?";
    std::vector<SqlValue> parameters{accountID};
    if (ifVersion) {
        if (ifVersion->empty())
            return false;
        bump += " AND sites_version IN (";
        for (std::size_t n = 0; n < ifVersion->size(); ++n) {
            bump += n == 0 ? "?" : ", ?";
            parameters.emplace_back((*ifVersion)[n]);
        }
        bump += ")";
    }
    auto bumped = sql.query(bump + " RETURNING sites_version", parameters);
    if (!bumped)
        return bumped.failure();
    if (bumped->empty()) {
        if (!ifVersion)
            return Failure{"no such account"};
        return false;
    }
    // Sites that stay keep their rows, and so their statuses and history.
    if (auto done = sql.execute("UPDATE sites SET position = -1 WHERE account_id = ?", {accountID});
        !done)
        return done.failure();
    const TimePoint moment = now_();
    std::int64_t position = 0;
    for (const auto& site : sites) {
        const double slot = unixSeconds(
            firstSlot(moment, site.intervalMinutes, accountID + "/" + site.id, minuteSeconds_));
        if (auto done = sql.execute(
                "INSERT INTO sites (account_id, id, position, url, name, keyword, enabled, "
                "interval_minutes, next_check_at) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?) "
                "ON CONFLICT (account_id, id) DO UPDATE SET position = excluded.position, "
                "url = excluded.url, name = excluded.name, keyword = excluded.keyword, "
                "enabled = excluded.enabled, next_check_at = CASE WHEN "
                "sites.interval_minutes = excluded.interval_minutes THEN sites.next_check_at "
                "ELSE excluded.next_check_at END, interval_minutes = excluded.interval_minutes",
                {accountID, site.id, position++, site.url, site.name, sqlValue(site.keyword),
                 std::int64_t{site.enabled}, site.intervalMinutes, slot});
            !done)
            return done.failure();
    }
    if (auto done =
            sql.execute("DELETE FROM sites WHERE account_id = ? AND position = -1", {accountID});
        !done)
        return done.failure();
    if (auto committed = transaction.commit(); !committed)
        return committed.failure();
    return true;
}

Result<std::vector<wire::CloudSiteStatus>> SqlStore::siteStatuses(const std::string& accountID) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto rows = (*db)->query(
        "SELECT s.id, st.health, st.last_checked_at, st.last_status_code, st.last_latency_ms, "
        "st.last_problem_kind, st.last_problem_detail, st.last_certificate_expiry FROM sites s "
        "LEFT JOIN site_status st ON st.site_key = s.key WHERE s.account_id = ? "
        "ORDER BY s.position",
        {accountID});
    if (!rows)
        return rows.failure();
    std::vector<wire::CloudSiteStatus> statuses;
    for (const auto& row : *rows)
        statuses.push_back({row.text(0), row.optionalText(1).value_or("unknown"),
                            dateFromSeconds(row.optionalReal(2)), row.optionalInteger(3),
                            row.optionalReal(4), row.optionalText(5), row.optionalText(6),
                            dateFromSeconds(row.optionalReal(7))});
    return statuses;
}

} // namespace ravo::server
