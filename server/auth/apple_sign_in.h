#pragma once

#include "server/auth/apple_tokens.h"

#include <mutex>

namespace ravo::server {

// Sign in with Apple as configured by the operator: the authorization page, and the code
// Apple hands back exchanged for the identity it names. Apple's keys are kept for an hour.
class AppleSignIn {
public:
    AppleSignIn(AppleSettings settings, const std::string& publicURL);

    std::string authorizeURL(const std::string& state) const;
    Result<AppleIdentity> identityFor(const std::string& code, TimePoint now);

private:
    Result<nlohmann::json> keys(TimePoint now, bool fresh);

    AppleSettings settings_;
    std::string redirectURI_;
    std::mutex mutex_;
    nlohmann::json keys_;
    TimePoint keysFetchedAt_{};
};

} // namespace ravo::server
