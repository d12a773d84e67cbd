#pragma once

#include "base/result.h"
#include "base/time.h"
#include "server/checker/site_verdict.h"
#include "wire/monitoring_records.h"
#include "wire/wire_records.h"

#include <optional>
#include <string>
#include <vector>

namespace ravo::server {

struct Account {
    std::string id;
    std::string email;
    std::optional<std::string> passwordHash;
    bool operator==(const Account&) const = default;
};

struct Device {
    std::string id;
    std::string accountID;
    std::string name;
    bool operator==(const Device&) const = default;
};

// A started e-mail sign-in: the code is kept as its hash, with the PKCE challenge.
struct EmailAttempt {
    std::string id;
    std::string email;
    std::string codeHash;
    std::string codeChallenge;
    std::string deviceName;
    TimePoint expiresAt;
    int failedTries = 0;
    bool used = false;
    bool operator==(const EmailAttempt&) const = default;
};

// A started Sign in with Apple: after Apple's callback it knows the account's address and
// holds the hash of the one-time code handed to the app.
struct AppleAttempt {
    std::string id;
    std::string codeChallenge;
    std::string deviceName;
    TimePoint expiresAt;
    std::optional<std::string> email;
    std::optional<std::string> codeHash;
    bool used = false;
    bool operator==(const AppleAttempt&) const = default;
};

// How an e-mail code fared: redeemed, wrong (and so one try fewer), or past using (used,
// out of tries, expired or unknown).
struct EmailVerification {
    enum class Kind { redeemed, wrongCode, wrongVerifier, spent } kind = Kind::spent;
    std::string email;      // redeemed
    std::string deviceName; // redeemed
};

// An attempt counted against a limit kept in the database, so that it holds however many
// processes answer: the attempts in the window so far, this one included.
struct AttemptCount {
    std::int64_t count = 0;
    TimePoint windowStart;
};

// What the database holds, as the operator's metrics count it.
struct StoredTotals {
    std::int64_t accounts = 0;
    std::int64_t sites = 0;
    std::int64_t enabledSites = 0;
    std::int64_t queuedAlerts = 0;
    bool operator==(const StoredTotals&) const = default;
};

// One site whose slot has come, claimed by this process.
struct DueCheck {
    std::int64_t siteKey = 0;
    std::string accountID;
    std::string siteID;
    std::string url;
    std::string name;
    std::optional<std::string> keyword;
    TimePoint slot;
    // The slot after this one: a check still waiting then is one slot too late to run.
    TimePoint nextSlot;
    bool operator==(const DueCheck&) const = default;
};

struct CheckReport {
    DueCheck check;
    CheckOutcome outcome;
};

// An alert waiting for Telegram, with where it goes. The bot token is the account's own
// or nothing (then the server's own bot sends it).
struct QueuedAlert {
    std::string id;
    std::string accountID;
    std::string text;
    int attempts = 0;
    std::optional<std::string> chatID;
    std::optional<std::string> botToken;
};

// An account's site list as one writer read it: `version` moves on with every change.
struct SiteList {
    std::vector<wire::CloudSite> sites;
    std::int64_t version = 0;
};

struct AlertOutcome {
    enum class Kind { sent, retry, failed } kind = Kind::sent;
    TimePoint retryAt;                      // retry
    std::string error;                      // failed: shown in the account's settings
    std::optional<std::string> movedChatID; // the chat became a supergroup
};

// Everything ravo-server keeps. One implementation per database; every operation is one
// transaction, so a failure leaves nothing half written.
class Store {
public:
    virtual ~Store() = default;

    virtual Result<Account> accountForEmail(const std::string& email, bool create) = 0;
    virtual Result<std::optional<Account>> account(const std::string& accountID) = 0;
    virtual Status setPassword(const std::string& email, const std::string& passwordHash) = 0;
    virtual Status deleteAccount(const std::string& accountID) = 0;

    virtual Result<Device> addDevice(const std::string& accountID, const std::string& name,
                                     const std::string& tokenHash) = 0;
    virtual Result<std::optional<Device>> deviceForToken(const std::string& tokenHash) = 0;
    // False when the account has no such device.
    virtual Result<bool> deleteDevice(const std::string& accountID,
                                      const std::string& deviceID) = 0;

    virtual Status addEmailAttempt(const EmailAttempt& attempt) = 0;
    virtual Result<std::optional<EmailAttempt>> emailAttempt(const std::string& id) = 0;
    // Redeems the attempt when both hashes match, or takes one of its `maxTries` tries, in
    // one conditional statement: parallel guesses cannot get more tries nor redeem twice.
    virtual Result<EmailVerification> verifyEmailCode(const std::string& id,
                                                      const std::string& codeHash,
                                                      const std::string& codeChallenge,
                                                      int maxTries, TimePoint now) = 0;

    virtual Status addAppleAttempt(const AppleAttempt& attempt) = 0;
    virtual Result<std::optional<AppleAttempt>> appleAttempt(const std::string& id) = 0;
    // Apple's callback: gives an open attempt its account and code, once. False when the
    // attempt is unknown, used, expired or already had its callback.
    virtual Result<bool> completeAppleAttempt(const std::string& id, const std::string& email,
                                              const std::string& codeHash, TimePoint now) = 0;
    // Marks a completed attempt used and hands it over, once, whatever comes after.
    virtual Result<std::optional<AppleAttempt>> redeemAppleAttempt(const std::string& id,
                                                                   TimePoint now) = 0;

    // Counts one attempt under `key` in a window of `window` that starts with its first.
    virtual Result<AttemptCount> countAttempt(const std::string& key, std::chrono::seconds window,
                                              TimePoint now) = 0;
    // Gives one counted attempt back (it went well).
    virtual Status forgiveAttempt(const std::string& key) = 0;

    virtual Result<std::vector<wire::CloudSite>> sites(const std::string& accountID) = 0;
    // The list and its version together, read in one statement.
    virtual Result<SiteList> siteList(const std::string& accountID) = 0;
    // Replaces the account's whole list at once and moves its version on; statuses of
    // removed sites go with them. With `ifVersion`, only while the list is still at one of
    // those versions, decided in the statement that moves it: false when it had moved.
    virtual Result<bool>
    replaceSites(const std::string& accountID, const std::vector<wire::CloudSite>& sites,
                 const std::optional<std::vector<std::int64_t>>& ifVersion = std::nullopt) = 0;
    virtual Result<std::vector<wire::CloudSiteStatus>>
    siteStatuses(const std::string& accountID) = 0;

    // Claims up to `limit` enabled sites whose slot has come and moves each to its next
    // slot, so that with several processes every slot is checked by one of them.
    virtual Result<std::vector<DueCheck>> claimDueChecks(TimePoint now, int limit) = 0;
    // Puts claimed checks that never started back on their slot, so a server that stops
    // leaves them to the next one; a site that has moved on since (edited, or claimed
    // again) keeps what it has.
    virtual Status returnUnstartedChecks(const std::vector<DueCheck>& checks) = 0;
    // The earliest slot of any enabled site not claimed yet; nothing without sites.
    virtual Result<std::optional<TimePoint>> nextDueAt() = 0;
    // Statuses, history, incidents and queued alerts for a batch of finished checks.
    virtual Status recordChecks(const std::vector<CheckReport>& reports,
                                const CheckPolicy& policy) = 0;
    // Nothing when the account has no such site.
    virtual Result<std::optional<wire::CloudSiteHistory>>
    siteHistory(const std::string& accountID, const std::string& siteID, TimePoint now) = 0;
    // Drops latency points after a day, hourly figures and incidents after `historyDays`.
    virtual Status pruneHistory(TimePoint now, int historyDays) = 0;

    virtual Result<wire::CloudNotificationSettings>
    notificationSettings(const std::string& accountID) = 0;
    virtual Status updateNotificationSettings(const std::string& accountID,
                                              const wire::NotificationSettingsUpdate& update) = 0;
    // The chat and bot token alerts of this account go to.
    virtual Result<QueuedAlert> alertRoute(const std::string& accountID) = 0;
    // Claims alerts that are due; a claimed alert is offered again after two minutes
    // unless finished, so a process that dies mid-send loses nothing.
    virtual Result<std::vector<QueuedAlert>> claimDueAlerts(TimePoint now, int limit) = 0;
    virtual Status finishAlert(const QueuedAlert& alert, const AlertOutcome& outcome) = 0;

    // For the operator: what the database holds, and whether it answers at all.
    virtual Result<StoredTotals> totals() = 0;
    virtual Status ping() = 0;
};

} // namespace ravo::server
