#pragma once

#include "cloud/core/wire_records.h"
#include "core/result.h"
#include "core/time.h"

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
    virtual Status updateEmailAttempt(const EmailAttempt& attempt) = 0;

    virtual Result<std::vector<cloud::CloudSite>> sites(const std::string& accountID) = 0;
    // Replaces the account's whole list at once; statuses of removed sites go with them.
    virtual Status replaceSites(const std::string& accountID,
                                const std::vector<cloud::CloudSite>& sites) = 0;
    virtual Result<std::vector<cloud::CloudSiteStatus>>
    siteStatuses(const std::string& accountID) = 0;
};

} // namespace ravo::server
