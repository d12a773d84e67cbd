#include "cloud/pkce.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <array>
#include <cstdlib>

namespace ravo::cloud {

namespace {

std::string base64url(const unsigned char* bytes, std::size_t size) {
    std::string text(4 * ((size + 2) / 3) + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes,
                                       static_cast<int>(size));
    text.resize(static_cast<std::size_t>(length));
    std::string url;
    for (const char c : text)
        if (c != '=')
            url += c == '+' ? '-' : (c == '/' ? '_' : c);
    return url;
}

} // namespace

std::string PKCE::challengeFor(const std::string& verifier) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const unsigned char*>(verifier.data()), verifier.size(), digest.data());
    return base64url(digest.data(), digest.size());
}

PKCE PKCE::make() {
    std::array<unsigned char, 32> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        std::abort(); // no secure randomness: nothing safe can be done
    std::string verifier = base64url(bytes.data(), bytes.size());
    return {verifier, challengeFor(verifier)};
}

} // namespace ravo::cloud
