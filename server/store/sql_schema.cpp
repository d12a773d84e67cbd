#include "server/store/sql_schema.h"

namespace ravo::server {

namespace {

// Times are Unix seconds. History is keyed by the site's number, not its two UUIDs, so
// the rows that pile up stay small.
constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS accounts (
    id TEXT PRIMARY KEY,
    email TEXT NOT NULL UNIQUE,
    password_hash TEXT,
    created_at DOUBLE PRECISION NOT NULL
);
CREATE TABLE IF NOT EXISTS devices (
    id TEXT PRIMARY KEY,
    account_id TEXT NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    name TEXT NOT NULL,
    token_hash TEXT NOT NULL UNIQUE,
    created_at DOUBLE PRECISION NOT NULL
);
CREATE TABLE IF NOT EXISTS email_attempts (
    id TEXT PRIMARY KEY,
    email TEXT NOT NULL,
    code_hash TEXT NOT NULL,
    code_challenge TEXT NOT NULL,
    device_name TEXT NOT NULL,
    expires_at DOUBLE PRECISION NOT NULL,
    failed_tries BIGINT NOT NULL DEFAULT 0,
    used BIGINT NOT NULL DEFAULT 0
);
CREATE TABLE IF NOT EXISTS apple_attempts (
    id TEXT PRIMARY KEY,
    code_challenge TEXT NOT NULL,
    device_name TEXT NOT NULL,
    expires_at DOUBLE PRECISION NOT NULL,
    email TEXT,
    code_hash TEXT,
    used BIGINT NOT NULL DEFAULT 0
);
CREATE TABLE IF NOT EXISTS sites (
    key @SERIAL_KEY@,
    account_id TEXT NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    id TEXT NOT NULL,
    position BIGINT NOT NULL,
    url TEXT NOT NULL,
    name TEXT NOT NULL,
    keyword TEXT,
    enabled BIGINT NOT NULL,
    interval_minutes BIGINT NOT NULL,
    next_check_at DOUBLE PRECISION NOT NULL,
    UNIQUE (account_id, id)
);
CREATE INDEX IF NOT EXISTS sites_due ON sites (next_check_at) WHERE enabled = 1;
CREATE TABLE IF NOT EXISTS site_status (
    site_key BIGINT PRIMARY KEY REFERENCES sites(key) ON DELETE CASCADE,
    health TEXT NOT NULL,
    last_checked_at DOUBLE PRECISION,
    last_status_code BIGINT,
    last_latency_ms DOUBLE PRECISION,
    last_problem_kind TEXT,
    last_problem_detail TEXT,
    last_certificate_expiry DOUBLE PRECISION,
    failures BIGINT NOT NULL DEFAULT 0,
    failing_since DOUBLE PRECISION,
    certificate_warned_for DOUBLE PRECISION
);
CREATE TABLE IF NOT EXISTS latency_points (
    site_key BIGINT NOT NULL REFERENCES sites(key) ON DELETE CASCADE,
    slot DOUBLE PRECISION NOT NULL,
    latency_sum DOUBLE PRECISION NOT NULL,
    checks BIGINT NOT NULL,
    PRIMARY KEY (site_key, slot)
);
CREATE INDEX IF NOT EXISTS latency_points_age ON latency_points (slot);
CREATE TABLE IF NOT EXISTS hourly_stats (
    site_key BIGINT NOT NULL REFERENCES sites(key) ON DELETE CASCADE,
    hour DOUBLE PRECISION NOT NULL,
    checks BIGINT NOT NULL,
    successes BIGINT NOT NULL,
    latency_sum DOUBLE PRECISION NOT NULL,
    latency_count BIGINT NOT NULL,
    PRIMARY KEY (site_key, hour)
);
CREATE INDEX IF NOT EXISTS hourly_stats_age ON hourly_stats (hour);
CREATE TABLE IF NOT EXISTS incidents (
    site_key BIGINT NOT NULL REFERENCES sites(key) ON DELETE CASCADE,
    started_at DOUBLE PRECISION NOT NULL,
    ended_at DOUBLE PRECISION,
    reason TEXT NOT NULL
);
CREATE INDEX IF NOT EXISTS incidents_by_site ON incidents (site_key, started_at);
CREATE TABLE IF NOT EXISTS notification_settings (
    account_id TEXT PRIMARY KEY REFERENCES accounts(id) ON DELETE CASCADE,
    telegram_chat_id TEXT,
    telegram_bot_token TEXT,
    last_delivery_error TEXT
);
CREATE TABLE IF NOT EXISTS alerts (
    id TEXT PRIMARY KEY,
    account_id TEXT NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    text TEXT NOT NULL,
    created_at DOUBLE PRECISION NOT NULL,
    next_attempt_at DOUBLE PRECISION NOT NULL,
    attempts BIGINT NOT NULL DEFAULT 0
);
CREATE INDEX IF NOT EXISTS alerts_due ON alerts (next_attempt_at);
CREATE TABLE IF NOT EXISTS attempt_counters (
    key TEXT PRIMARY KEY,
    window_start DOUBLE PRECISION NOT NULL,
    count BIGINT NOT NULL
);
CREATE INDEX IF NOT EXISTS attempt_counters_age ON attempt_counters (window_start);
)sql";

} // namespace

std::string storeSchema(SqlDialect dialect) {
    std::string schema = kSchema;
    const std::string marker = "@SERIAL_KEY@";
    schema.replace(schema.find(marker), marker.size(),
                   dialect == SqlDialect::sqlite ? "INTEGER PRIMARY KEY" : "BIGSERIAL PRIMARY KEY");
    return schema;
}

} // namespace ravo::server
