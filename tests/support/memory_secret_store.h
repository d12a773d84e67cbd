#pragma once

#include "cloud/secret_store.h"

#include <map>
#include <utility>

namespace ravo::testing {

// A secret store in memory, for tests about what lies above the store; the real Secret
// Service is exercised by the command-line integration tests.
class MemorySecretStore final : public cloud::SecretStore {
public:
    Result<std::optional<std::string>> read(const QString& service,
                                            const QString& account) override {
        const auto found = secrets.find({service, account});
        return found == secrets.end() ? std::optional<std::string>() : found->second;
    }
    Status write(const QString& service, const QString& account,
                 const std::string& secret) override {
        secrets[{service, account}] = secret;
        return success();
    }
    Status remove(const QString& service, const QString& account) override {
        secrets.erase({service, account});
        return success();
    }

    std::map<std::pair<QString, QString>, std::string> secrets;
};

} // namespace ravo::testing
