#pragma once

#include "base/result.h"

#include <QString>

#include <optional>
#include <string>

namespace ravo::cloud {

// The desktop's store of secrets (the keychain on macOS, the Secret Service on Linux). A
// store that is absent or locked fails with a sentence that says so; nothing is ever
// written anywhere else instead. Calls wait for the store, which answers at once or fails.
class SecretStore {
public:
    virtual ~SecretStore() = default;
    virtual Result<std::optional<std::string>> read(const QString& service,
                                                    const QString& account) = 0;
    virtual Status write(const QString& service, const QString& account,
                         const std::string& secret) = 0;
    virtual Status remove(const QString& service, const QString& account) = 0;
};

} // namespace ravo::cloud
