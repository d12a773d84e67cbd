#pragma once

#include "cloud/secret_store.h"

namespace ravo::cloud {

// The Secret Service (GNOME Keyring, KWallet) through QtKeychain, without its plain-file
// fallback. Only `readWithin` leaves the event loop alone: the others wait in a loop of
// their own, as the sign-in and sign-out that use them do.
class KeychainSecretStore final : public SecretStore {
public:
    SecretRead read(const QString& service, const QString& account) override;
    QCoro::Task<SecretRead> readWithin(const QString& service, const QString& account,
                                       std::chrono::milliseconds limit) override;
    Status write(const QString& service, const QString& account,
                 const std::string& secret) override;
    Status remove(const QString& service, const QString& account) override;
};

} // namespace ravo::cloud
