#pragma once

#include "updates/core/release_manifest.h"
#include "updates/core/update_error.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>

// Turns the manifest endpoint's body into a release that may be acted on, or says why not.
// The signature is checked before anything in the payload is read.
namespace ravo::updates::UpdateVerifier {

// The largest envelope read: an answer past it is refused unread.
inline constexpr std::size_t kEnvelopeLimit = 4 * 1024 * 1024;

// The key releases are signed with, unless the build names another (RAVO_UPDATE_PUBLIC_KEY).
std::string_view defaultPublicKey();

std::variant<ReleaseManifest, UpdateError> manifest(std::string_view envelope,
                                                    std::string_view publicKeyBase64);

// Ed25519 over exactly `message`; false for a key or signature of the wrong size.
bool isSignedBy(std::string_view message, std::string_view signature, std::string_view publicKey);

// Lower-case hexadecimal SHA-256 digest.
std::string sha256(std::string_view data);

// Standard base64 with its padding; anything else (white space, a wrong alphabet, bits
// after the last byte) gives nothing.
std::optional<std::string> decodeBase64(std::string_view text);
std::string encodeBase64(std::string_view bytes);

} // namespace ravo::updates::UpdateVerifier
