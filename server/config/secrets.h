#pragma once

#include <optional>
#include <string>
#include <string_view>

// Tokens, codes and hashes, all from OpenSSL.
namespace ravo::server::Secrets {

// `bytes` random bytes as base64url without padding.
std::string randomToken(std::size_t bytes = 32);
// A random RFC 4122 version 4 UUID in canonical lower-case text.
std::string randomUUID();
// Six decimal digits, uniformly drawn.
std::string sixDigitCode();

std::string sha256Hex(std::string_view data);
std::string base64url(std::string_view bytes);
// Nothing when `text` is not base64url (padding may be left out).
std::optional<std::string> fromBase64url(std::string_view text);

// PKCE S256: base64url(SHA-256(verifier)) == challenge.
bool verifierMatches(std::string_view verifier, std::string_view challenge);
// The S256 challenge of a verifier; empty (matching no challenge) when the verifier is not
// 43 to 128 characters.
std::string challengeFor(std::string_view verifier);

// Salted PBKDF2-SHA256, stored as "pbkdf2-sha256$<iterations>$<salt>$<hash>".
std::string hashPassword(std::string_view password);
bool passwordMatches(std::string_view password, std::string_view stored);

// Whether two secrets are equal, in time that does not depend on where they differ.
bool sameSecret(std::string_view a, std::string_view b);

bool isCanonicalUUID(std::string_view text);

} // namespace ravo::server::Secrets
