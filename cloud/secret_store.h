#pragma once

#include "base/result.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <chrono>
#include <optional>
#include <string>

namespace ravo::cloud {

// The desktop's store of secrets (the keychain on macOS, the Secret Service on Linux). A
// store that is absent or locked fails with a sentence that says so; nothing is ever
// written anywhere else instead. The plain calls wait for the store; `readWithin` waits
// for no one, as a store that is stuck (a keyring that never answers) holds up nothing.
class SecretStore {
public:
    using SecretRead = Result<std::optional<std::string>>;

    virtual ~SecretStore() = default;
    virtual SecretRead read(const QString& service, const QString& account) = 0;
    // The answer, or a failure that says the store did not answer within `limit`.
    virtual QCoro::Task<SecretRead> readWithin(const QString& service, const QString& account,
                                               std::chrono::milliseconds /*limit*/) {
        co_return read(service, account);
    }
    virtual Status write(const QString& service, const QString& account,
                         const std::string& secret) = 0;
    virtual Status remove(const QString& service, const QString& account) = 0;
};

} // namespace ravo::cloud
