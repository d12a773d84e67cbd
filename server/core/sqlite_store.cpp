#include "server/core/sqlite_store.h"

#include "server/core/secrets.h"
#include "server/core/sqlite_statement.h"

#include <sqlite3.h>

namespace ravo::server {

namespace {

constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS accounts (
    id TEXT PRIMARY KEY,
    email TEXT NOT NULL UNIQUE,
    password_hash TEXT,
    created_at REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS devices (
    id TEXT PRIMARY KEY,
    account_id TEXT NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    name TEXT NOT NULL,
    token_hash TEXT NOT NULL UNIQUE,
    created_at REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS email_attempts (
    id TEXT PRIMARY KEY,
    email TEXT NOT NULL,
    code_hash TEXT NOT NULL,
    code_challenge TEXT NOT NULL,
    device_name TEXT NOT NULL,
    expires_at REAL NOT NULL,
    failed_tries INTEGER NOT NULL DEFAULT 0,
    used INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE IF NOT EXISTS sites (
    account_id TEXT NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    id TEXT NOT NULL,
    position INTEGER NOT NULL,
    url TEXT NOT NULL,
    name TEXT NOT NULL,
    keyword TEXT,
    enabled INTEGER NOT NULL,
    interval_minutes INTEGER NOT NULL,
    PRIMARY KEY (account_id, id)
);
CREATE TABLE IF NOT EXISTS site_status (
    account_id TEXT NOT NULL,
    site_id TEXT NOT NULL,
    health TEXT NOT NULL,
    last_checked_at REAL,
    last_status_code INTEGER,
    last_latency_ms REAL,
    last_problem_kind TEXT,
    last_problem_detail TEXT,
    last_certificate_expiry REAL,
    PRIMARY KEY (account_id, site_id),
    FOREIGN KEY (account_id, site_id) REFERENCES sites(account_id, id) ON DELETE CASCADE
);
)sql";

Account readAccount(const SqliteStatement& row) {
    return Account{row.text(0), row.text(1), row.optionalText(2)};
}

double now() {
    return unixSeconds(Clock::now());
}

std::optional<TimePoint> optionalDate(const std::optional<double>& seconds) {
    if (!seconds)
        return std::nullopt;
    return fromUnixSeconds(*seconds);
}

} // namespace

Result<std::unique_ptr<SqliteStore>> SqliteStore::open(const std::filesystem::path& file) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        std::string message = db ? sqlite3_errmsg(db) : "out of memory";
        sqlite3_close(db);
        return Failure{"Cannot open the database " + file.string() + ": " + message};
    }
    sqlite3_busy_timeout(db, 5000);
    std::unique_ptr<SqliteStore> store(new SqliteStore(db));
    for (const char* pragma :
         {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=NORMAL", "PRAGMA foreign_keys=ON"})
        if (auto done = sqliteExecute(db, pragma); !done)
            return Failure{"Cannot open the database " + file.string() + ": " + done.error()};
    if (auto migrated = store->migrate(); !migrated)
        return Failure{"Cannot prepare the database " + file.string() + ": " + migrated.error()};
    return store;
}

SqliteStore::SqliteStore(sqlite3* db) : db_(db) {}

SqliteStore::~SqliteStore() {
    sqlite3_close(db_);
}

Status SqliteStore::migrate() {
    return sqliteExecute(db_, kSchema);
}

Result<Account> SqliteStore::accountForEmail(const std::string& email, bool create) {
    std::lock_guard lock(mutex_);
    SqliteTransaction transaction(db_);
    SqliteStatement find(db_, "SELECT id, email, password_hash FROM accounts WHERE email = ?");
    const auto found = find.bind(1, email).first(readAccount);
    if (!found)
        return found.failure();
    if (*found)
        return **found;
    if (!create)
        return Failure{"no such account"};
    Account account{Secrets::randomUUID(), email, std::nullopt};
    SqliteStatement insert(db_, "INSERT INTO accounts (id, email, created_at) VALUES (?, ?, ?)");
    if (auto inserted = insert.bind(1, account.id).bind(2, email).bind(3, now()).run(); !inserted)
        return inserted.failure();
    if (auto committed = transaction.commit(); !committed)
        return committed.failure();
    return account;
}

Result<std::optional<Account>> SqliteStore::account(const std::string& accountID) {
    std::lock_guard lock(mutex_);
    SqliteStatement find(db_, "SELECT id, email, password_hash FROM accounts WHERE id = ?");
    return find.bind(1, accountID).first(readAccount);
}

Status SqliteStore::setPassword(const std::string& email, const std::string& passwordHash) {
    std::lock_guard lock(mutex_);
    SqliteTransaction transaction(db_);
    SqliteStatement upsert(db_, "INSERT INTO accounts (id, email, password_hash, created_at) "
                                "VALUES (?, ?, ?, ?) ON CONFLICT (email) DO UPDATE SET "
                                "password_hash = excluded.password_hash");
    if (auto done = upsert.bind(1, Secrets::randomUUID())
                        .bind(2, email)
                        .bind(3, passwordHash)
                        .bind(4, now())
                        .run();
        !done)
        return done;
    return transaction.commit();
}

Status SqliteStore::deleteAccount(const std::string& accountID) {
    std::lock_guard lock(mutex_);
    SqliteTransaction transaction(db_);
    SqliteStatement remove(db_, "DELETE FROM accounts WHERE id = ?");
    if (auto done = remove.bind(1, accountID).run(); !done)
        return done;
    return transaction.commit();
}

Result<Device> SqliteStore::addDevice(const std::string& accountID, const std::string& name,
                                      const std::string& tokenHash) {
    std::lock_guard lock(mutex_);
    Device device{Secrets::randomUUID(), accountID, name};
    SqliteStatement insert(db_, "INSERT INTO devices (id, account_id, name, token_hash, "
                                "created_at) VALUES (?, ?, ?, ?, ?)");
    if (auto done = insert.bind(1, device.id)
                        .bind(2, accountID)
                        .bind(3, name)
                        .bind(4, tokenHash)
                        .bind(5, now())
                        .run();
        !done)
        return done.failure();
    return device;
}

Result<std::optional<Device>> SqliteStore::deviceForToken(const std::string& tokenHash) {
    std::lock_guard lock(mutex_);
    SqliteStatement find(db_, "SELECT id, account_id, name FROM devices WHERE token_hash = ?");
    return find.bind(1, tokenHash).first([](const SqliteStatement& row) {
        return Device{row.text(0), row.text(1), row.text(2)};
    });
}

Result<bool> SqliteStore::deleteDevice(const std::string& accountID, const std::string& deviceID) {
    std::lock_guard lock(mutex_);
    SqliteStatement remove(db_, "DELETE FROM devices WHERE account_id = ? AND id = ?");
    if (auto done = remove.bind(1, accountID).bind(2, deviceID).run(); !done)
        return done.failure();
    return sqlite3_changes(db_) > 0;
}

Status SqliteStore::addEmailAttempt(const EmailAttempt& a) {
    std::lock_guard lock(mutex_);
    SqliteStatement insert(db_, "INSERT INTO email_attempts (id, email, code_hash, "
                                "code_challenge, device_name, expires_at, failed_tries, used) "
                                "VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    return insert.bind(1, a.id)
        .bind(2, a.email)
        .bind(3, a.codeHash)
        .bind(4, a.codeChallenge)
        .bind(5, a.deviceName)
        .bind(6, unixSeconds(a.expiresAt))
        .bind(7, static_cast<std::int64_t>(a.failedTries))
        .bind(8, static_cast<std::int64_t>(a.used))
        .run();
}

Result<std::optional<EmailAttempt>> SqliteStore::emailAttempt(const std::string& id) {
    std::lock_guard lock(mutex_);
    SqliteStatement find(db_, "SELECT id, email, code_hash, code_challenge, device_name, "
                              "expires_at, failed_tries, used FROM email_attempts WHERE id = ?");
    return find.bind(1, id).first([](const SqliteStatement& row) {
        return EmailAttempt{row.text(0),
                            row.text(1),
                            row.text(2),
                            row.text(3),
                            row.text(4),
                            fromUnixSeconds(row.optionalReal(5).value_or(0)),
                            static_cast<int>(row.integer(6)),
                            row.integer(7) != 0};
    });
}

Status SqliteStore::updateEmailAttempt(const EmailAttempt& a) {
    std::lock_guard lock(mutex_);
    SqliteStatement update(db_,
                           "UPDATE email_attempts SET failed_tries = ?, used = ? WHERE id = ?");
    return update.bind(1, static_cast<std::int64_t>(a.failedTries))
        .bind(2, static_cast<std::int64_t>(a.used))
        .bind(3, a.id)
        .run();
}

Result<std::vector<cloud::CloudSite>> SqliteStore::sites(const std::string& accountID) {
    std::lock_guard lock(mutex_);
    SqliteStatement list(db_, "SELECT id, url, name, keyword, enabled, interval_minutes FROM "
                              "sites WHERE account_id = ? ORDER BY position");
    list.bind(1, accountID);
    std::vector<cloud::CloudSite> sites;
    while (list.step())
        sites.push_back({list.text(0), list.text(1), list.text(2), list.optionalText(3),
                         list.integer(4) != 0, list.integer(5)});
    if (auto status = list.status(); !status)
        return status.failure();
    return sites;
}

Status SqliteStore::replaceSites(const std::string& accountID,
                                 const std::vector<cloud::CloudSite>& sites) {
    std::lock_guard lock(mutex_);
    SqliteTransaction transaction(db_);
    // Sites that stay keep their rows, and so their statuses and history.
    SqliteStatement clear(db_, "UPDATE sites SET position = -1 WHERE account_id = ?");
    if (auto done = clear.bind(1, accountID).run(); !done)
        return done;
    std::int64_t position = 0;
    for (const auto& site : sites) {
        SqliteStatement upsert(
            db_, "INSERT INTO sites (account_id, id, position, url, name, keyword, enabled, "
                 "interval_minutes) VALUES (?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (account_id, id) "
                 "DO UPDATE SET position = excluded.position, url = excluded.url, "
                 "name = excluded.name, keyword = excluded.keyword, enabled = excluded.enabled, "
                 "interval_minutes = excluded.interval_minutes");
        if (auto done = upsert.bind(1, accountID)
                            .bind(2, site.id)
                            .bind(3, position++)
                            .bind(4, site.url)
                            .bind(5, site.name)
                            .bind(6, site.keyword)
                            .bind(7, static_cast<std::int64_t>(site.enabled))
                            .bind(8, site.intervalMinutes)
                            .run();
            !done)
            return done;
    }
    SqliteStatement prune(db_, "DELETE FROM sites WHERE account_id = ? AND position = -1");
    if (auto done = prune.bind(1, accountID).run(); !done)
        return done;
    return transaction.commit();
}

Result<std::vector<cloud::CloudSiteStatus>>
SqliteStore::siteStatuses(const std::string& accountID) {
    std::lock_guard lock(mutex_);
    SqliteStatement list(
        db_, "SELECT s.id, st.health, st.last_checked_at, st.last_status_code, "
             "st.last_latency_ms, st.last_problem_kind, st.last_problem_detail, "
             "st.last_certificate_expiry FROM sites s LEFT JOIN site_status st ON "
             "st.account_id = s.account_id AND st.site_id = s.id WHERE s.account_id = ? "
             "ORDER BY s.position");
    list.bind(1, accountID);
    std::vector<cloud::CloudSiteStatus> statuses;
    while (list.step())
        statuses.push_back({list.text(0), list.optionalText(1).value_or("unknown"),
                            optionalDate(list.optionalReal(2)), list.optionalInteger(3),
                            list.optionalReal(4), list.optionalText(5), list.optionalText(6),
                            optionalDate(list.optionalReal(7))});
    if (auto status = list.status(); !status)
        return status.failure();
    return statuses;
}

} // namespace ravo::server
