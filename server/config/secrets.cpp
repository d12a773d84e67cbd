#include "server/config/secrets.h"

#include <cctype>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <vector>

namespace ravo::server::Secrets {

namespace {

std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(count)) != 1)
        throw std::runtime_error("the system has no randomness to give");
    return bytes;
}

std::string hex(std::string_view bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char c : bytes) {
        text += digits[c >> 4];
        text += digits[c & 15];
    }
    return text;
}

std::string sha256(std::string_view data) {
    std::string digest(SHA256_DIGEST_LENGTH, '\0');
    SHA256(reinterpret_cast<const unsigned char*>(data.data()), data.size(),
           reinterpret_cast<unsigned char*>(digest.data()));
    return digest;
}

constexpr int kPasswordIterations = 200'000;

std::string pbkdf2(std::string_view password, std::string_view salt, int iterations) {
    std::string key(32, '\0');
    PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                      reinterpret_cast<const unsigned char*>(salt.data()),
                      static_cast<int>(salt.size()), iterations, EVP_sha256(),
                      static_cast<int>(key.size()), reinterpret_cast<unsigned char*>(key.data()));
    return key;
}

} // namespace

std::string base64url(std::string_view bytes) {
    std::vector<unsigned char> out(4 * ((bytes.size() + 2) / 3) + 1);
    const int length =
        EVP_EncodeBlock(out.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                        static_cast<int>(bytes.size()));
    std::string text(reinterpret_cast<const char*>(out.data()), static_cast<std::size_t>(length));
    for (char& c : text)
        c = c == '+' ? '-' : (c == '/' ? '_' : c);
    while (!text.empty() && text.back() == '=')
        text.pop_back();
    return text;
}

std::optional<std::string> fromBase64url(std::string_view text) {
    if (text.size() > 64 * 1024 || text.size() % 4 == 1)
        return std::nullopt;
    std::string padded(text);
    for (char& c : padded) {
        if (c == '-')
            c = '+';
        else if (c == '_')
            c = '/';
        else if (!std::isalnum(static_cast<unsigned char>(c)))
            return std::nullopt;
    }
    while (padded.size() % 4)
        padded += '=';
    std::vector<unsigned char> out(padded.size() / 4 * 3 + 1);
    const int length =
        EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(padded.data()),
                        static_cast<int>(padded.size()));
    if (length < 0)
        return std::nullopt;
    // EVP_DecodeBlock counts the padding as zero bytes.
    const std::size_t padding = padded.size() - text.size();
    return std::string(reinterpret_cast<const char*>(out.data()),
                       static_cast<std::size_t>(length) - padding);
}

std::string randomToken(std::size_t bytes) {
    return base64url(randomBytes(bytes));
}

std::string randomUUID() {
    std::string b = randomBytes(16);
    b[6] = static_cast<char>((b[6] & 0x0f) | 0x40);
    b[8] = static_cast<char>((b[8] & 0x3f) | 0x80);
    const std::string h = hex(b);
    return h.substr(0, 8) + "-" + h.substr(8, 4) + "-" + h.substr(12, 4) + "-" + h.substr(16, 4) +
           "-" + h.substr(20);
}

std::string sixDigitCode() {
    // Rejection sampling keeps every code equally likely.
    for (;;) {
        const std::string b = randomBytes(4);
        std::uint32_t value = 0;
        for (unsigned char c : b)
            value = (value << 8) | c;
        if (value >= 4'294'000'000u)
            continue;
        std::string code = std::to_string(value % 1'000'000);
        return std::string(6 - code.size(), '0') + code;
    }
}

std::string sha256Hex(std::string_view data) {
    return hex(sha256(data));
}

std::string challengeFor(std::string_view verifier) {
    // RFC 7636: 43 to 128 characters.
    if (verifier.size() < 43 || verifier.size() > 128)
        return {};
    return base64url(sha256(verifier));
}

bool verifierMatches(std::string_view verifier, std::string_view challenge) {
    const std::string expected = challengeFor(verifier);
    return !expected.empty() && sameSecret(expected, challenge);
}

std::string hashPassword(std::string_view password) {
    const std::string salt = randomBytes(16);
    return "pbkdf2-sha256$" + std::to_string(kPasswordIterations) + "$" + base64url(salt) + "$" +
           base64url(pbkdf2(password, salt, kPasswordIterations));
}

bool passwordMatches(std::string_view password, std::string_view stored) {
    std::array<std::string_view, 4> parts;
    for (auto& part : parts) {
        const auto dollar = stored.find('$');
        part = stored.substr(0, dollar);
        stored = dollar == std::string_view::npos ? std::string_view() : stored.substr(dollar + 1);
    }
    int iterations = 0;
    std::from_chars(parts[1].data(), parts[1].data() + parts[1].size(), iterations);
    if (parts[0] != "pbkdf2-sha256" || iterations < 1000 || iterations > 10'000'000)
        return false;
    // The salt went in as raw bytes; decode it back from base64url.
    if (parts[2].size() < 4)
        return false;
    std::string salt64(parts[2]);
    for (char& c : salt64)
        c = c == '-' ? '+' : (c == '_' ? '/' : c);
    while (salt64.size() % 4)
        salt64 += '=';
    std::vector<unsigned char> salt(salt64.size());
    const int decoded =
        EVP_DecodeBlock(salt.data(), reinterpret_cast<const unsigned char*>(salt64.data()),
                        static_cast<int>(salt64.size()));
    if (decoded < 0)
        return false;
    const std::size_t padding =
        static_cast<std::size_t>(std::count(salt64.end() - 2, salt64.end(), '='));
    const std::string saltBytes(reinterpret_cast<const char*>(salt.data()),
                                static_cast<std::size_t>(decoded) - padding);
    return sameSecret(base64url(pbkdf2(password, saltBytes, iterations)), parts[3]);
}

bool sameSecret(std::string_view a, std::string_view b) {
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

bool isCanonicalUUID(std::string_view text) {
    if (text.size() != 36)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (c != '-')
                return false;
        } else if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'))) {
            return false;
        }
    }
    return true;
}

} // namespace ravo::server::Secrets
