#include "server/store/sql_store.h"

namespace ravo::server {

namespace {

constexpr double kClaimSeconds = 120; // a claimed alert is offered again after this

} // namespace

Result<wire::CloudNotificationSettings>
SqlStore::notificationSettings(const std::string& accountID) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto row = (*db)->first("SELECT telegram_chat_id, telegram_bot_token, last_delivery_error "
                            "FROM notification_settings WHERE account_id = ?",
                            {accountID});
    if (!row)
        return row.failure();
    if (!*row)
        return wire::CloudNotificationSettings{};
    return wire::CloudNotificationSettings{
        (*row)->optionalText(0), (*row)->optionalText(1).has_value(), (*row)->optionalText(2)};
}

Status SqlStore::updateNotificationSettings(const std::string& accountID,
                                            const wire::NotificationSettingsUpdate& update) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    SqlDatabase& sql = **db;
    SqlTransaction transaction(sql);
    if (auto done = sql.execute("INSERT INTO notification_settings (account_id) VALUES (?) "
                                "ON CONFLICT (account_id) DO NOTHING",
                                {accountID});
        !done)
        return done;
    // An empty text clears the setting; a changed setting clears the last delivery error.
    const auto valueOf = [](const std::string& text) {
        return text.empty() ? SqlValue() : SqlValue(text);
    };
    if (update.telegramChatId)
        if (auto done = sql.execute("UPDATE notification_settings SET telegram_chat_id = ?, "
                                    "last_delivery_error = NULL WHERE account_id = ?",
                                    {valueOf(*update.telegramChatId), accountID});
            !done)
            return done;
    if (update.telegramBotToken)
        if (auto done = sql.execute("UPDATE notification_settings SET telegram_bot_token = ?, "
                                    "last_delivery_error = NULL WHERE account_id = ?",
                                    {valueOf(*update.telegramBotToken), accountID});
            !done)
            return done;
    return transaction.commit();
}

Result<QueuedAlert> SqlStore::alertRoute(const std::string& accountID) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    auto row = (*db)->first("SELECT telegram_chat_id, telegram_bot_token FROM "
                            "notification_settings WHERE account_id = ?",
                            {accountID});
    if (!row)
        return row.failure();
    QueuedAlert route;
    route.accountID = accountID;
    if (*row) {
        route.chatID = (*row)->optionalText(0);
        route.botToken = (*row)->optionalText(1);
    }
    return route;
}

Result<std::vector<QueuedAlert>> SqlStore::claimDueAlerts(TimePoint now, int limit) {
    std::vector<SqlRow> claimed;
    {
        auto db = pool_->acquire();
        if (!db)
            return db.failure();
        const double moment = unixSeconds(now);
        auto rows = (*db)->query(std::string("UPDATE alerts SET next_attempt_at = ?, attempts = "
                                             "attempts + 1 WHERE id IN (SELECT id FROM alerts "
                                             "WHERE next_attempt_at <= ? ORDER BY "
                                             "next_attempt_at LIMIT ?") +
                                     skipLocked() + ") RETURNING id, account_id, text, attempts",
                                 {moment + kClaimSeconds, moment, std::int64_t{limit}});
        if (!rows)
            return rows.failure();
        claimed = std::move(rows).value();
    }
    std::vector<QueuedAlert> alerts;
    for (const auto& row : claimed) {
        auto route = alertRoute(row.text(1));
        if (!route)
            return route.failure();
        QueuedAlert alert = std::move(route).value();
        alert.id = row.text(0);
        alert.text = row.text(2);
        alert.attempts = static_cast<int>(row.integer(3));
        alerts.push_back(std::move(alert));
    }
    return alerts;
}

Status SqlStore::finishAlert(const QueuedAlert& alert, const AlertOutcome& outcome) {
    auto db = pool_->acquire();
    if (!db)
        return db.failure();
    SqlDatabase& sql = **db;
    SqlTransaction transaction(sql);
    if (outcome.movedChatID)
        if (auto done =
                sql.execute("UPDATE notification_settings SET telegram_chat_id = ? "
                            "WHERE account_id = ? AND telegram_chat_id = ?",
                            {*outcome.movedChatID, alert.accountID, sqlValue(alert.chatID)});
            !done)
            return done;
    Status done = success();
    switch (outcome.kind) {
    case AlertOutcome::Kind::retry:
        done = sql.execute("UPDATE alerts SET next_attempt_at = ? WHERE id = ?",
                           {unixSeconds(outcome.retryAt), alert.id});
        break;
    case AlertOutcome::Kind::failed:
        done = sql.execute("UPDATE notification_settings SET last_delivery_error = ? WHERE "
                           "account_id = ?",
                           {outcome.error, alert.accountID});
        if (done)
            done = sql.execute("DELETE FROM alerts WHERE id = ?", {alert.id});
        break;
    case AlertOutcome::Kind::sent:
        done = sql.execute("UPDATE notification_settings SET last_delivery_error = NULL WHERE "
                           "account_id = ?",
                           {alert.accountID});
        if (done)
            done = sql.execute("DELETE FROM alerts WHERE id = ?", {alert.id});
        break;
    }
    if (!done)
        return done;
    return transaction.commit();
}

} // namespace ravo::server
