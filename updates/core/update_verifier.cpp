#include "updates/core/update_verifier.h"

#include "base/json_parse.h"

#include <openssl/evp.h>

#include <memory>
#include <vector>

#ifndef RAVO_UPDATE_PUBLIC_KEY
#define RAVO_UPDATE_PUBLIC_KEY "bWFkZS11cC1lZDI1NTE5LXZlcmlmaWNhdGlvbi1rIQ=="
#endif

namespace ravo::updates::UpdateVerifier {

namespace {

struct KeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct DigestContextFree {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

const unsigned char* bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

} // namespace

std::string_view defaultPublicKey() {
    return RAVO_UPDATE_PUBLIC_KEY;
}

std::optional<std::string> decodeBase64(std::string_view text) {
    if (text.size() % 4 != 0 || text.size() > kEnvelopeLimit)
        return std::nullopt;
    std::vector<unsigned char> out(text.size() / 4 * 3 + 1);
    const int length = EVP_DecodeBlock(out.data(), bytes(text), static_cast<int>(text.size()));
    if (length < 0)
        return std::nullopt;
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=')
        ++padding;
    std::string decoded(reinterpret_cast<const char*>(out.data()),
                        static_cast<std::size_t>(length) - padding);
    // OpenSSL lets white space and stray bits through; the canonical form does not.
    if (encodeBase64(decoded) != text)
        return std::nullopt;
    return decoded;
}

std::string encodeBase64(std::string_view data) {
    std::vector<unsigned char> out(4 * ((data.size() + 2) / 3) + 1);
    const int length = EVP_EncodeBlock(out.data(), bytes(data), static_cast<int>(data.size()));
    return std::string(reinterpret_cast<const char*>(out.data()), static_cast<std::size_t>(length));
}

bool isSignedBy(std::string_view message, std::string_view signature, std::string_view publicKey) {
    if (publicKey.size() != 32 || signature.size() != 64)
        return false;
    std::unique_ptr<EVP_PKEY, KeyFree> key(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, bytes(publicKey), 32));
    std::unique_ptr<EVP_MD_CTX, DigestContextFree> context(EVP_MD_CTX_new());
    if (!key || !context ||
        EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1)
        return false;
    return EVP_DigestVerify(context.get(), bytes(signature), signature.size(), bytes(message),
                            message.size()) == 1;
}

std::string sha256(std::string_view data) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(data.data(), data.size(), digest, &length, EVP_sha256(), nullptr) != 1)
        return {};
    static constexpr char kHex[] = "0123456789abcdef";
    std::string hex;
    for (unsigned int i = 0; i < length; ++i) {
        hex += kHex[digest[i] >> 4];
        hex += kHex[digest[i] & 0xf];
    }
    return hex;
}

std::variant<ReleaseManifest, UpdateError> manifest(std::string_view envelope,
                                                    std::string_view publicKeyBase64) {
    if (envelope.size() > kEnvelopeLimit)
        return UpdateError::malformed;
    const auto outer = parseJson(envelope, {.maxDepth = 8});
    if (!outer || !outer->is_object())
        return UpdateError::malformed;
    const auto payloadText = outer->find("payload");
    const auto signatureText = outer->find("signature");
    if (payloadText == outer->end() || !payloadText->is_string() || signatureText == outer->end() ||
        !signatureText->is_string())
        return UpdateError::malformed;
    const auto payload = decodeBase64(payloadText->get_ref<const std::string&>());
    const auto signature = decodeBase64(signatureText->get_ref<const std::string&>());
    if (!payload || !signature)
        return UpdateError::malformed;
    const auto key = decodeBase64(publicKeyBase64);
    if (!key || !isSignedBy(*payload, *signature, *key))
        return UpdateError::badSignature;
    const auto inner = parseJson(*payload, {.maxDepth = 32});
    if (!inner)
        return UpdateError::malformed;
    auto release = ReleaseManifest::fromJson(*inner);
    if (!release)
        return UpdateError::malformed;
    if (!release->downloadURL.starts_with("https://"))
        return UpdateError::insecureDownload;
    return *std::move(release);
}

} // namespace ravo::updates::UpdateVerifier
