#include "app/cloud_services.h"

#include "cloud/platform/linux/keychain_secret_store.h"

namespace ravo::app {

CloudServices CloudServices::forThisComputer() {
    return {std::make_shared<cloud::KeychainSecretStore>(),
            std::make_shared<common::NetworkTransport>()};
}

} // namespace ravo::app
