#pragma once

#include "server/store/sql_pool.h"
#include "server/store/store.h"

#include <functional>
#include <memory>
#include <string>

namespace ravo::server {

// The store on SQL: SQLite in one file by default, or PostgreSQL shared by several
// processes. Every operation takes a connection from the pool for its transaction.
class SqlStore final : public Store {
public:
    // "sqlite:PATH" or "postgresql://..."; the tables are created or brought up to date.
    static Result<std::unique_ptr<SqlStore>> open(const std::string& database,
                                                  std::size_t connections = 4);

    Result<Account> accountForEmail(const std::string& email, bool create) override;
    Result<std::optional<Account>> account(const std::string& accountID) override;
    Status setPassword(const std::string& email, const std::string& passwordHash) override;
    Status deleteAccount(const std::string& accountID) override;
    Result<Device> addDevice(const std::string& accountID, const std::string& name,
                             const std::string& tokenHash) override;
    Result<std::optional<Device>> deviceForToken(const std::string& tokenHash) override;
    Result<bool> deleteDevice(const std::string& accountID, const std::string& deviceID) override;
    Status addEmailAttempt(const EmailAttempt& attempt) override;
    Result<std::optional<EmailAttempt>> emailAttempt(const std::string& id) override;
    Result<EmailVerification> verifyEmailCode(const std::string& id, const std::string& codeHash,
                                              const std::string& codeChallenge, int maxTries,
                                              TimePoint now) override;
    Status addAppleAttempt(const AppleAttempt& attempt) override;
    Result<std::optional<AppleAttempt>> appleAttempt(const std::string& id) override;
    Result<bool> completeAppleAttempt(const std::string& id, const std::string& email,
                                      const std::string& codeHash, TimePoint now) override;
    Result<std::optional<AppleAttempt>> redeemAppleAttempt(const std::string& id,
                                                           TimePoint now) override;
    Result<AttemptCount> countAttempt(const std::string& key, std::chrono::seconds window,
                                      TimePoint now) override;
    Status forgiveAttempt(const std::string& key) override;

    // How long an interval's minute lasts: 60, or less for trial runs.
    void setMinuteSeconds(double seconds) { minuteSeconds_ = seconds; }
    // The clock records are dated by; the real one outside tests.
    void setClock(std::function<TimePoint()> now) { now_ = std::move(now); }

    Result<std::vector<wire::CloudSite>> sites(const std::string& accountID) override;
    Result<SiteList> siteList(const std::string& accountID) override;
    Result<bool>
    replaceSites(const std::string& accountID, const std::vector<wire::CloudSite>& sites,
                 const std::optional<std::vector<std::int64_t>>& ifVersion = std::nullopt) override;
    Result<std::vector<wire::CloudSiteStatus>> siteStatuses(const std::string& accountID) override;

    Result<std::vector<DueCheck>> claimDueChecks(TimePoint now, int limit) override;
    Status returnUnstartedChecks(const std::vector<DueCheck>& checks) override;
    Result<std::optional<TimePoint>> nextDueAt() override;
    Status recordChecks(const std::vector<CheckReport>& reports,
                        const CheckPolicy& policy) override;
    Result<std::optional<wire::CloudSiteHistory>>
    siteHistory(const std::string& accountID, const std::string& siteID, TimePoint now) override;
    Status pruneHistory(TimePoint now, int historyDays) override;

    Result<wire::CloudNotificationSettings>
    notificationSettings(const std::string& accountID) override;
    Status updateNotificationSettings(const std::string& accountID,
                                      const wire::NotificationSettingsUpdate& update) override;
    Result<QueuedAlert> alertRoute(const std::string& accountID) override;
    Result<std::vector<QueuedAlert>> claimDueAlerts(TimePoint now, int limit) override;
    Status finishAlert(const QueuedAlert& alert, const AlertOutcome& outcome) override;

    Result<StoredTotals> totals() override;
    Status ping() override;

private:
    explicit SqlStore(std::unique_ptr<SqlPool> pool);
    Status migrate();
    // " FOR UPDATE SKIP LOCKED" where several processes may claim at once.
    const char* skipLocked() const;

    std::unique_ptr<SqlPool> pool_;
    double minuteSeconds_ = 60;
    std::function<TimePoint()> now_ = [] { return Clock::now(); };
};

// The first slot at or after `now` on the site's fixed clock: slots are `interval` apart,
// shifted by an offset drawn from the site's identity so that sites spread evenly.
TimePoint firstSlot(TimePoint now, std::int64_t intervalMinutes, const std::string& identity,
                    double minuteSeconds = 60);

} // namespace ravo::server
