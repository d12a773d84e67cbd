#pragma once

#include "server/core/store.h"

#include <filesystem>
#include <memory>
#include <mutex>

struct sqlite3;

namespace ravo::server {

// The embedded default: one SQLite file in WAL mode, nothing else to install.
class SqliteStore final : public Store {
public:
    static Result<std::unique_ptr<SqliteStore>> open(const std::filesystem::path& file);
    ~SqliteStore() override;

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
    Status updateEmailAttempt(const EmailAttempt& attempt) override;
    Result<std::vector<cloud::CloudSite>> sites(const std::string& accountID) override;
    Status replaceSites(const std::string& accountID,
                        const std::vector<cloud::CloudSite>& sites) override;
    Result<std::vector<cloud::CloudSiteStatus>> siteStatuses(const std::string& accountID) override;

private:
    explicit SqliteStore(sqlite3* db);
    Status migrate();

    sqlite3* db_;
    std::mutex mutex_; // one connection; the front end may call from several threads
};

} // namespace ravo::server
