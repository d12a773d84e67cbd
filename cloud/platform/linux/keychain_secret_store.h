#pragma once

#include "cloud/secret_store.h"

namespace ravo::cloud {

// The Secret Service (GNOME Keyring, KWallet) through QtKeychain, without its plain-file
// fallback.
class KeychainSecretStore final : public SecretStore {
public:
    Result<std::optional<std::string>> read(const QString& service,
                                            const QString& account) override;
    Status write(const QString& service, const QString& account,
                 const std::string& secret) override;
    Status remove(const QString& service, const QString& account) override;
};

} // namespace ravo::cloud
