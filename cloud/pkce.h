#pragma once

#include <string>

namespace ravo::cloud {

// A PKCE pair for one sign-in: 32 random bytes as base64url (43 characters), and the
// base64url SHA-256 of that text. The method is always S256.
struct PKCE {
    std::string verifier;
    std::string challenge;
    static PKCE make();
    static std::string challengeFor(const std::string& verifier);
    bool operator==(const PKCE&) const = default;
};

} // namespace ravo::cloud
