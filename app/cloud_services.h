#pragma once

#include "cloud/secret_store.h"
#include "common/http_transport.h"

#include <memory>

namespace ravo::app {

// This computer's secret store and HTTP transport: what everything that talks to the Ravo
// server shares, the app and the terminal commands alike.
struct CloudServices {
    std::shared_ptr<cloud::SecretStore> secrets;
    std::shared_ptr<common::HttpTransport> transport;

    static CloudServices forThisComputer();
};

} // namespace ravo::app
