#include "updates/release_tool/release_signer.h"

#include "updates/core/update_verifier.h"

#include <nlohmann/json.hpp>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace ravo::updates::ReleaseSigner {

namespace {

struct KeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct FileClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
struct DigestContextFree {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using Key = std::unique_ptr<EVP_PKEY, KeyFree>;

Result<Key> loadKey(const std::filesystem::path& path) {
    std::unique_ptr<std::FILE, FileClose> file(std::fopen(path.c_str(), "r"));
    if (!file)
        return Failure{"Cannot read the key " + path.string() + "."};
    Key key(PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr));
    if (!key || EVP_PKEY_get_id(key.get()) != EVP_PKEY_ED25519)
        return Failure{path.string() + " is not an Ed25519 private key in PEM form."};
    return key;
}

std::string rawPublicKey(EVP_PKEY* key) {
    unsigned char raw[32];
    std::size_t length = sizeof raw;
    if (EVP_PKEY_get_raw_public_key(key, raw, &length) != 1)
        return {};
    return UpdateVerifier::encodeBase64(
        std::string_view(reinterpret_cast<const char*>(raw), length));
}

} // namespace

Result<std::string> generateKey(const std::filesystem::path& path) {
    Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"));
    if (!key)
        return Failure{"Could not make a key."};
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0)
        return Failure{"Cannot create " + path.string() + " (it must not exist yet)."};
    std::unique_ptr<std::FILE, FileClose> file(::fdopen(fd, "w"));
    if (!file ||
        PEM_write_PrivateKey(file.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1)
        return Failure{"Could not write " + path.string() + "."};
    return rawPublicKey(key.get());
}

Result<std::string> publicKeyOf(const std::filesystem::path& keyFile) {
    auto key = loadKey(keyFile);
    if (!key)
        return key.failure();
    return rawPublicKey(key->get());
}

Result<std::string> envelope(const std::filesystem::path& keyFile, std::string_view manifest) {
    auto key = loadKey(keyFile);
    if (!key)
        return key.failure();
    std::unique_ptr<EVP_MD_CTX, DigestContextFree> context(EVP_MD_CTX_new());
    unsigned char signature[64];
    std::size_t length = sizeof signature;
    if (!context || EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key->get()) != 1 ||
        EVP_DigestSign(context.get(), signature, &length,
                       reinterpret_cast<const unsigned char*>(manifest.data()),
                       manifest.size()) != 1)
        return Failure{"Could not sign the manifest."};
    const nlohmann::json document{
        {"payload", UpdateVerifier::encodeBase64(manifest)},
        {"signature", UpdateVerifier::encodeBase64(
                          std::string_view(reinterpret_cast<const char*>(signature), length))}};
    return document.dump(2) + "\n";
}

} // namespace ravo::updates::ReleaseSigner
