#pragma once

#include "base/form_encoding.h"
#include "base/result.h"
#include "base/time.h"

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

// Sign in with Apple's tokens: the client secret the server signs with its key, and the
// identity token Apple signs, checked against Apple's published keys.
namespace ravo::server {

struct AppleSettings {
    std::string clientID; // the Services ID
    std::string teamID;
    std::string keyID;
    std::string privateKeyPEM; // the .p8 key, PKCS#8 P-256
    std::string baseURL = "https://appleid.apple.com";
    bool operator==(const AppleSettings&) const = default;
};

struct AppleIdentity {
    std::string subject;
    std::optional<std::string> email;
    bool operator==(const AppleIdentity&) const = default;
};

// An ES256 JWT that Apple accepts as client_secret for six months.
Result<std::string> appleClientSecret(const AppleSettings& settings, TimePoint now);

// Checks an RS256 identity token against the JWKS `keys`: signature, issuer (the base
// URL), audience (the client id) and expiry. Never throws.
Result<AppleIdentity> verifyAppleIdToken(std::string_view token, const nlohmann::json& keys,
                                         const AppleSettings& settings, TimePoint now);

std::string appleAuthorizeURL(const AppleSettings& settings, const std::string& redirectURI,
                              const std::string& state);

} // namespace ravo::server
