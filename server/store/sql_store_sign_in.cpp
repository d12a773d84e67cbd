// Sign-in attempts and the counters behind the limits: each change is one conditional
// statement, so that parallel requests, in one process or several, cannot slip past.
#include "server/store/sql_store.h"

namespace ravo::server {

namespace {

AppleAttempt readAppleAttempt(const SqlRow& row) {
    return AppleAttempt{
        row.text(0),         row.text(1),         row.text(2),        fromUnixSeconds(row.real(3)),
        row.optionalText(4), row.optionalText(5), row.integer(6) != 0};
}

constexpr const char* kAppleColumns =
    "id, code_challenge, device_name, expires_at, email, code_hash, used";

} // namespace

Status SqlStore::addEmailAttempt(const EmailAttempt& a) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    return (*db)->execute("INSERT INTO email_attempts (id, email, code_hash, code_challenge, "
                          "device_name, expires_at, failed_tries, used) "
                          "VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
                          {a.id, a.email, a.codeHash, a.codeChallenge, a.deviceName,
                           unixSeconds(a.expiresAt), std::int64_t{a.failedTries},
                           std::int64_t{a.used}});
}

Result<std::optional<EmailAttempt>> SqlStore::emailAttempt(const std::string& id) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto row = (*db)->first(
        "SELECT id, email, code_hash, code_challenge, device_name, expires_at, failed_tries, "
        "used FROM email_attempts WHERE id = ?",
        {id});
    if (!row)
        return row.failure();
    if (!*row)
        return std::optional<EmailAttempt>();
    const SqlRow& r = **row;
    return std::optional(EmailAttempt{r.text(0), r.text(1), r.text(2), r.text(3), r.text(4),
                                      fromUnixSeconds(r.real(5)), static_cast<int>(r.integer(6)),
                                      r.integer(7) != 0});
}

Result<EmailVerification> SqlStore::verifyEmailCode(const std::string& id,
                                                    const std::string& codeHash,
                                                    const std::string& codeChallenge, int maxTries,
                                                    TimePoint now) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    // Both SET expressions read the row as it was, so "right" is judged once.
    auto row =
        (*db)->first("UPDATE email_attempts SET "
                     "used = CASE WHEN code_hash = ? AND code_challenge = ? THEN 1 ELSE 0 END, "
                     "failed_tries = failed_tries + "
                     "CASE WHEN code_hash = ? AND code_challenge = ? THEN 0 ELSE 1 END "
                     "WHERE id = ? AND used = 0 AND failed_tries < ? AND expires_at >= ? "
                     "RETURNING used, code_hash, email, device_name",
                     {codeHash, codeChallenge, codeHash, codeChallenge, id, std::int64_t{maxTries},
                      unixSeconds(now)});
    if (!row)
        return row.failure();
    if (!*row)
        return EmailVerification{};
    const SqlRow& r = **row;
    if (r.integer(0) == 1)
        return EmailVerification{EmailVerification::Kind::redeemed, r.text(2), r.text(3)};
    return EmailVerification{r.text(1) == codeHash ? EmailVerification::Kind::wrongVerifier
                                                   : EmailVerification::Kind::wrongCode,
                             "", ""};
}

Status SqlStore::addAppleAttempt(const AppleAttempt& a) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    return (*db)->execute("INSERT INTO apple_attempts (id, code_challenge, device_name, "
                          "expires_at, email, code_hash, used) VALUES (?, ?, ?, ?, ?, ?, ?)",
                          {a.id, a.codeChallenge, a.deviceName, unixSeconds(a.expiresAt),
                           sqlValue(a.email), sqlValue(a.codeHash), std::int64_t{a.used}});
}

Result<std::optional<AppleAttempt>> SqlStore::appleAttempt(const std::string& id) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto row = (*db)->first(
        std::string("SELECT ") + kAppleColumns + " FROM apple_attempts WHERE id = ?", {id});
    if (!row)
        return row.failure();
    return *row ? std::optional(readAppleAttempt(**row)) : std::nullopt;
}

Result<bool> SqlStore::completeAppleAttempt(const std::string& id, const std::string& email,
                                            const std::string& codeHash, TimePoint now) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto row = (*db)->first("UPDATE apple_attempts SET email = ?, code_hash = ? WHERE id = ? "
                            "AND used = 0 AND code_hash IS NULL AND expires_at >= ? RETURNING id",
                            {email, codeHash, id, unixSeconds(now)});
    if (!row)
        return row.failure();
    return row->has_value();
}

Result<std::optional<AppleAttempt>> SqlStore::redeemAppleAttempt(const std::string& id,
                                                                 TimePoint now) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto row = (*db)->first(std::string("UPDATE apple_attempts SET used = 1 WHERE id = ? AND "
                                        "used = 0 AND code_hash IS NOT NULL AND email IS NOT "
                                        "NULL AND expires_at >= ? RETURNING ") +
                                kAppleColumns,
                            {id, unixSeconds(now)});
    if (!row)
        return row.failure();
    return *row ? std::optional(readAppleAttempt(**row)) : std::nullopt;
}

Result<AttemptCount> SqlStore::countAttempt(const std::string& key, std::chrono::seconds window,
                                            TimePoint now) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    const double moment = unixSeconds(now);
    const double windowOver = moment - static_cast<double>(window.count());
    auto row =
        (*db)->first("INSERT INTO attempt_counters (key, window_start, count) VALUES (?, ?, 1) "
                     "ON CONFLICT (key) DO UPDATE SET "
                     "count = CASE WHEN attempt_counters.window_start <= ? THEN 1 "
                     "ELSE attempt_counters.count + 1 END, "
                     "window_start = CASE WHEN attempt_counters.window_start <= ? "
                     "THEN excluded.window_start ELSE attempt_counters.window_start END "
                     "RETURNING count, window_start",
                     {key, moment, windowOver, windowOver});
    if (!row)
        return row.failure();
    if (!*row)
        return Failure{"database: the attempt was not counted"};
    return AttemptCount{(*row)->integer(0), fromUnixSeconds((*row)->real(1))};
}

Status SqlStore::forgiveAttempt(const std::string& key) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    return (*db)->execute(
        "UPDATE attempt_counters SET count = count - 1 WHERE key = ? AND count > 0", {key});
}

} // namespace ravo::server
