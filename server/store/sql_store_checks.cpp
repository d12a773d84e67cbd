#include "server/store/sql_store.h"

#include "server/checker/check_record.h"
#include "server/config/secrets.h"
#include "wire/site_url.h"

#include <cmath>

namespace ravo::server {

namespace {

Status recordOne(SqlDatabase& sql, const CheckReport& report, const CheckPolicy& policy) {
    const DueCheck& check = report.check;
    const CheckOutcome& outcome = report.outcome;
    auto current = sql.first(
        "SELECT s.key, st.health, st.failures, st.failing_since, st.certificate_warned_for, "
        "n.telegram_chat_id FROM sites s LEFT JOIN site_status st ON st.site_key = s.key "
        "LEFT JOIN notification_settings n ON n.account_id = s.account_id WHERE s.key = ?",
        {check.siteKey});
    if (!current)
        return current.failure();
    if (!*current)
        return success(); // removed while it was being checked
    const SqlRow& row = **current;
    SiteCondition before{row.optionalText(1).value_or("unknown"), static_cast<int>(row.integer(2)),
                         dateFromSeconds(row.optionalReal(3)),
                         dateFromSeconds(row.optionalReal(4))};
    const CheckRecord record =
        recordOf(before, outcome, policy, wire::siteDisplayName(check.name, check.url), check.url,
                 row.optionalText(5).has_value());
    const SiteCondition& after = record.condition;
    const double at = unixSeconds(outcome.at);
    if (auto done = sql.execute(
            "INSERT INTO site_status (site_key, health, last_checked_at, last_status_code, "
            "last_latency_ms, last_problem_kind, last_problem_detail, last_certificate_expiry, "
            "failures, failing_since, certificate_warned_for) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, "
            "?, ?) ON CONFLICT (site_key) DO UPDATE SET health = excluded.health, "
            "last_checked_at = excluded.last_checked_at, "
            "last_status_code = excluded.last_status_code, "
            "last_latency_ms = excluded.last_latency_ms, "
            "last_problem_kind = excluded.last_problem_kind, "
            "last_problem_detail = excluded.last_problem_detail, "
            "last_certificate_expiry = COALESCE(excluded.last_certificate_expiry, "
            "site_status.last_certificate_expiry), failures = excluded.failures, "
            "failing_since = excluded.failing_since, "
            "certificate_warned_for = excluded.certificate_warned_for",
            {check.siteKey, after.health, at, sqlValue(outcome.statusCode),
             sqlValue(outcome.latencyMs), sqlValue(outcome.problemKind),
             sqlValue(outcome.problemDetail), secondsValue(outcome.certificateExpiry),
             std::int64_t{after.failures}, secondsValue(after.failingSince),
             secondsValue(after.certificateWarnedFor)});
        !done)
        return done;
    if (record.latencySlot)
        if (auto done = sql.execute(
                "INSERT INTO latency_points (site_key, slot, latency_sum, checks) VALUES "
                "(?, ?, ?, 1) ON CONFLICT (site_key, slot) DO UPDATE SET latency_sum = "
                "latency_points.latency_sum + excluded.latency_sum, checks = "
                "latency_points.checks + 1",
                {check.siteKey, *record.latencySlot, record.latencyMs});
            !done)
            return done;
    const bool measured = record.latencySlot.has_value();
    if (auto done = sql.execute(
            "INSERT INTO hourly_stats (site_key, hour, checks, successes, latency_sum, "
            "latency_count) VALUES (?, ?, 1, ?, ?, ?) ON CONFLICT (site_key, hour) DO UPDATE SET "
            "checks = hourly_stats.checks + 1, successes = hourly_stats.successes + "
            "excluded.successes, latency_sum = hourly_stats.latency_sum + excluded.latency_sum, "
            "latency_count = hourly_stats.latency_count + excluded.latency_count",
            {check.siteKey, record.hour, std::int64_t{record.passed},
             measured ? record.latencyMs : 0.0, std::int64_t{measured}});
        !done)
        return done;
    if (record.incidentFrom)
        if (auto done = sql.execute(
                "INSERT INTO incidents (site_key, started_at, reason) VALUES (?, ?, ?)",
                {check.siteKey, unixSeconds(*record.incidentFrom), record.incidentReason});
            !done)
            return done;
    if (record.incidentEnd)
        if (auto done = sql.execute("UPDATE incidents SET ended_at = ? WHERE site_key = ? AND "
                                    "ended_at IS NULL",
                                    {unixSeconds(*record.incidentEnd), check.siteKey});
            !done)
            return done;
    for (const std::string& text : record.alerts)
        if (auto done = sql.execute("INSERT INTO alerts (id, account_id, text, created_at, "
                                    "next_attempt_at) VALUES (?, ?, ?, ?, ?)",
                                    {Secrets::randomUUID(), check.accountID, text, at, at});
            !done)
            return done;
    return success();
}

} // namespace

Result<std::vector<DueCheck>> SqlStore::claimDueChecks(TimePoint now, int limit) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    // The next slot is the first one after now: a server that was away skips the slots it
    // missed instead of checking them all at once.
    const bool postgres = pool_->dialect() == SqlDialect::postgres;
    const std::string wholeIntervals =
        postgres ? "FLOOR((? - next_check_at) / (interval_minutes * ?))"
                 : "CAST((? - next_check_at) / (interval_minutes * ?) AS INTEGER)";
    const std::string sql =
        "UPDATE sites SET next_check_at = next_check_at + interval_minutes * ? * (" +
        wholeIntervals +
        " + 1) WHERE key IN (SELECT key FROM sites WHERE enabled = 1 AND next_check_at <= ? "
        "ORDER BY next_check_at LIMIT ?" +
        skipLocked() +
        ") RETURNING key, account_id, id, url, name, keyword, next_check_at, interval_minutes";
    const double moment = unixSeconds(now);
    auto rows =
        (*db)->query(sql, {minuteSeconds_, moment, minuteSeconds_, moment, std::int64_t{limit}});
    if (!rows)
        return rows.failure();
    std::vector<DueCheck> due;
    due.reserve(rows->size());
    for (const auto& row : *rows)
        due.push_back(
            {row.integer(0), row.text(1), row.text(2), row.text(3), row.text(4),
             row.optionalText(5),
             fromUnixSeconds(row.real(6) - static_cast<double>(row.integer(7)) * minuteSeconds_),
             fromUnixSeconds(row.real(6))});
    return due;
}

Status SqlStore::returnUnstartedChecks(const std::vector<DueCheck>& checks) {
    if (checks.empty())
        return success();
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    SqlTransaction transaction(**db);
    for (const auto& check : checks)
        // Only while the site still waits for the slot its claim moved it to; the times
        // went through a double and back, hence the millisecond.
        if (auto done = (*db)->execute(
                "UPDATE sites SET next_check_at = ? WHERE key = ? AND "
                "ABS(next_check_at - ?) < 0.001",
                {unixSeconds(check.slot), check.siteKey, unixSeconds(check.nextSlot)});
            !done)
            return done;
    return transaction.commit();
}

Result<std::optional<TimePoint>> SqlStore::nextDueAt() {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    // The partial index on due sites answers this from its first entry.
    auto earliest = (*db)->first("SELECT MIN(next_check_at) FROM sites WHERE enabled = 1");
    if (!earliest)
        return earliest.failure();
    if (!*earliest)
        return std::optional<TimePoint>();
    return dateFromSeconds((*earliest)->optionalReal(0));
}

Status SqlStore::recordChecks(const std::vector<CheckReport>& reports, const CheckPolicy& policy) {
    if (reports.empty())
        return success();
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    SqlTransaction transaction(**db);
    for (const auto& report : reports)
        if (auto done = recordOne(**db, report, policy); !done)
            return done;
    return transaction.commit();
}

Result<std::optional<wire::CloudSiteHistory>>
SqlStore::siteHistory(const std::string& accountID, const std::string& siteID, TimePoint now) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    SqlDatabase& sql = **db;
    auto site =
        sql.first("SELECT key FROM sites WHERE account_id = ? AND id = ?", {accountID, siteID});
    if (!site)
        return site.failure();
    if (!*site)
        return std::optional<wire::CloudSiteHistory>();
    const std::int64_t key = (*site)->integer(0);
    const double moment = unixSeconds(now);
    const double hourStart = std::floor(moment / 3600) * 3600;

    wire::CloudSiteHistory history;
    const std::pair<std::optional<double>*, int> windows[] = {
        {&history.uptime24h, 1}, {&history.uptime7d, 7}, {&history.uptime30d, 30}};
    for (const auto& [uptime, days] : windows) {
        // Whole hours: the window reaches back to the start of the hour `days` ago.
        auto sums = sql.first("SELECT SUM(successes), SUM(checks) FROM hourly_stats WHERE "
                              "site_key = ? AND hour >= ?",
                              {key, hourStart - days * 86400.0});
        if (!sums)
            return sums.failure();
        const double checks = (*sums)->optionalReal(1).value_or(0);
        if (checks > 0)
            *uptime = (*sums)->optionalReal(0).value_or(0) / checks;
    }
    auto points = sql.query("SELECT slot, latency_sum / checks FROM latency_points WHERE "
                            "site_key = ? AND slot >= ? ORDER BY slot",
                            {key, moment - 86400});
    if (!points)
        return points.failure();
    for (const auto& row : *points)
        history.latency24h.push_back({fromUnixSeconds(row.real(0)), row.real(1)});
    auto hours = sql.query("SELECT hour, latency_sum / latency_count FROM hourly_stats WHERE "
                           "site_key = ? AND hour >= ? AND latency_count > 0 ORDER BY hour",
                           {key, hourStart - 7 * 86400.0});
    if (!hours)
        return hours.failure();
    for (const auto& row : *hours)
        history.latency7dHourly.push_back({fromUnixSeconds(row.real(0)), row.real(1)});
    auto incidents = sql.query("SELECT started_at, ended_at, reason FROM incidents WHERE "
                               "site_key = ? ORDER BY started_at DESC LIMIT 100",
                               {key});
    if (!incidents)
        return incidents.failure();
    for (const auto& row : *incidents)
        history.incidents.push_back(
            {fromUnixSeconds(row.real(0)), dateFromSeconds(row.optionalReal(1)), row.text(2)});
    return std::optional<wire::CloudSiteHistory>(std::move(history));
}

Status SqlStore::pruneHistory(TimePoint now, int historyDays) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    const double moment = unixSeconds(now);
    const double kept = std::max(historyDays, 30) * 86400.0 + 3600;
    for (const auto& [sql, before] : std::initializer_list<std::pair<const char*, double>>{
             {"DELETE FROM latency_points WHERE slot < ?",
              moment - 86400 - CheckRecord::kLatencyPointSeconds},
             {"DELETE FROM hourly_stats WHERE hour < ?", moment - kept},
             {"DELETE FROM incidents WHERE ended_at < ?", moment - kept},
             {"DELETE FROM email_attempts WHERE expires_at < ?", moment - 86400},
             {"DELETE FROM apple_attempts WHERE expires_at < ?", moment - 86400},
             {"DELETE FROM attempt_counters WHERE window_start < ?", moment - 86400}})
        if (auto done = (*db)->execute(sql, {before}); !done)
            return done;
    return success();
}

} // namespace ravo::server
