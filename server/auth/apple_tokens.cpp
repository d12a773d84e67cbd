#include "server/auth/apple_tokens.h"

#include "base/json_parse.h"
#include "server/config/secrets.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>

#include <charconv>
#include <memory>

namespace ravo::server {

namespace {

template <typename T, void (*Free)(T*)> struct Freer {
    void operator()(T* p) const { Free(p); }
};
using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY, EVP_PKEY_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX, EVP_MD_CTX_free>>;
using Number = std::unique_ptr<BIGNUM, Freer<BIGNUM, BN_free>>;

std::string base64urlJson(const nlohmann::json& value) {
    return Secrets::base64url(value.dump());
}

// A DER ECDSA signature as the 64 bytes r || s that JWS wants.
std::optional<std::string> rawSignature(const std::string& der) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
    ECDSA_SIG* signature = d2i_ECDSA_SIG(nullptr, &bytes, static_cast<long>(der.size()));
    if (!signature)
        return std::nullopt;
    std::string raw(64, '\0');
    const bool ok = BN_bn2binpad(ECDSA_SIG_get0_r(signature),
                                 reinterpret_cast<unsigned char*>(raw.data()), 32) == 32 &&
                    BN_bn2binpad(ECDSA_SIG_get0_s(signature),
                                 reinterpret_cast<unsigned char*>(raw.data()) + 32, 32) == 32;
    ECDSA_SIG_free(signature);
    return ok ? std::optional(raw) : std::nullopt;
}

Key rsaKey(const std::string& modulus, const std::string& exponent) {
    Number n(BN_bin2bn(reinterpret_cast<const unsigned char*>(modulus.data()),
                       static_cast<int>(modulus.size()), nullptr));
    Number e(BN_bin2bn(reinterpret_cast<const unsigned char*>(exponent.data()),
                       static_cast<int>(exponent.size()), nullptr));
    OSSL_PARAM_BLD* builder = OSSL_PARAM_BLD_new();
    if (!n || !e || !builder) {
        OSSL_PARAM_BLD_free(builder);
        return nullptr;
    }
    OSSL_PARAM_BLD_push_BN(builder, OSSL_PKEY_PARAM_RSA_N, n.get());
    OSSL_PARAM_BLD_push_BN(builder, OSSL_PKEY_PARAM_RSA_E, e.get());
    OSSL_PARAM* parameters = OSSL_PARAM_BLD_to_param(builder);
    EVP_PKEY_CTX* context = EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr);
    EVP_PKEY* key = nullptr;
    if (parameters && context && EVP_PKEY_fromdata_init(context) == 1)
        EVP_PKEY_fromdata(context, &key, EVP_PKEY_PUBLIC_KEY, parameters);
    EVP_PKEY_CTX_free(context);
    OSSL_PARAM_free(parameters);
    OSSL_PARAM_BLD_free(builder);
    return Key(key);
}

bool verifies(EVP_PKEY* key, std::string_view signedPart, const std::string& signature) {
    DigestContext context(EVP_MD_CTX_new());
    return context &&
           EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key) == 1 &&
           EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char*>(signature.data()),
                            signature.size(),
                            reinterpret_cast<const unsigned char*>(signedPart.data()),
                            signedPart.size()) == 1;
}

std::optional<nlohmann::json> jsonPart(std::string_view part) {
    const auto bytes = Secrets::fromBase64url(part);
    if (!bytes)
        return std::nullopt;
    auto parsed = parseJson(*bytes, {.maxDepth = 16});
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    return std::move(parsed).value();
}

std::string textOf(const nlohmann::json& object, const char* key) {
    const auto it = object.find(key);
    return it != object.end() && it->is_string() ? it->get<std::string>() : std::string();
}

std::string trimmedBase(std::string url) {
    while (!url.empty() && url.back() == '/')
        url.pop_back();
    return url;
}

} // namespace

Result<std::string> appleClientSecret(const AppleSettings& settings, TimePoint now) {
    std::unique_ptr<BIO, Freer<BIO, BIO_free_all>> pem(BIO_new_mem_buf(
        settings.privateKeyPEM.data(), static_cast<int>(settings.privateKeyPEM.size())));
    Key key(pem ? PEM_read_bio_PrivateKey(pem.get(), nullptr, nullptr, nullptr) : nullptr);
    if (!key || EVP_PKEY_get_base_id(key.get()) != EVP_PKEY_EC)
        return Failure{"the Apple key is not a PKCS#8 EC key"};
    const auto issued = static_cast<std::int64_t>(unixSeconds(now));
    const std::string signedPart = base64urlJson({{"alg", "ES256"}, {"kid", settings.keyID}}) +
                                   "." +
                                   base64urlJson({{"iss", settings.teamID},
                                                  {"iat", issued},
                                                  {"exp", issued + 180 * 86400},
                                                  {"aud", trimmedBase(settings.baseURL)},
                                                  {"sub", settings.clientID}});
    DigestContext context(EVP_MD_CTX_new());
    std::size_t length = 0;
    if (!context ||
        EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) != 1 ||
        EVP_DigestSign(context.get(), nullptr, &length,
                       reinterpret_cast<const unsigned char*>(signedPart.data()),
                       signedPart.size()) != 1)
        return Failure{"signing the Apple client secret failed"};
    std::string der(length, '\0');
    if (EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(der.data()), &length,
                       reinterpret_cast<const unsigned char*>(signedPart.data()),
                       signedPart.size()) != 1)
        return Failure{"signing the Apple client secret failed"};
    der.resize(length);
    const auto raw = rawSignature(der);
    if (!raw)
        return Failure{"signing the Apple client secret failed"};
    return signedPart + "." + Secrets::base64url(*raw);
}

Result<AppleIdentity> verifyAppleIdToken(std::string_view token, const nlohmann::json& keys,
                                         const AppleSettings& settings, TimePoint now) {
    const auto firstDot = token.find('.');
    const auto secondDot = token.find('.', firstDot == std::string_view::npos ? 0 : firstDot + 1);
    if (firstDot == std::string_view::npos || secondDot == std::string_view::npos ||
        token.find('.', secondDot + 1) != std::string_view::npos)
        return Failure{"the identity token is not a JWT"};
    const auto header = jsonPart(token.substr(0, firstDot));
    const auto claims = jsonPart(token.substr(firstDot + 1, secondDot - firstDot - 1));
    const auto signature = Secrets::fromBase64url(token.substr(secondDot + 1));
    if (!header || !claims || !signature)
        return Failure{"the identity token is not a JWT"};
    if (textOf(*header, "alg") != "RS256")
        return Failure{"the identity token is not signed with RS256"};
    const std::string kid = textOf(*header, "kid");
    const auto list = keys.is_object() ? keys.find("keys") : keys.end();
    if (!keys.is_object() || list == keys.end() || !list->is_array())
        return Failure{"Apple's keys are unreadable"};
    bool verified = false;
    for (const auto& jwk : *list) {
        if (!jwk.is_object() || textOf(jwk, "kid") != kid || textOf(jwk, "kty") != "RSA")
            continue;
        const auto n = Secrets::fromBase64url(textOf(jwk, "n"));
        const auto e = Secrets::fromBase64url(textOf(jwk, "e"));
        if (!n || !e || n->empty() || e->empty() || n->size() > 1024)
            continue;
        const Key key = rsaKey(*n, *e);
        verified = key && verifies(key.get(), token.substr(0, secondDot), *signature);
        break;
    }
    if (!verified)
        return Failure{"the identity token's signature is wrong"};
    if (textOf(*claims, "iss") != trimmedBase(settings.baseURL))
        return Failure{"the identity token is from another issuer"};
    const auto audience = claims->find("aud");
    const bool forUs =
        audience != claims->end() &&
        ((audience->is_string() && audience->get<std::string>() == settings.clientID) ||
         (audience->is_array() &&
          std::any_of(audience->begin(), audience->end(), [&](const nlohmann::json& a) {
              return a.is_string() && a.get<std::string>() == settings.clientID;
          })));
    if (!forUs)
        return Failure{"the identity token is for another client"};
    const auto expiry = claims->find("exp");
    if (expiry == claims->end() || !expiry->is_number() ||
        expiry->get<double>() < unixSeconds(now) - 60)
        return Failure{"the identity token has expired"};
    AppleIdentity identity{textOf(*claims, "sub"), std::nullopt};
    if (identity.subject.empty())
        return Failure{"the identity token names nobody"};
    if (const std::string email = textOf(*claims, "email"); !email.empty())
        identity.email = email;
    return identity;
}

std::string appleAuthorizeURL(const AppleSettings& settings, const std::string& redirectURI,
                              const std::string& state) {
    return trimmedBase(settings.baseURL) +
           "/auth/authorize?response_type=code&response_mode=form_post&scope=email&client_id=" +
           formEncode(settings.clientID) + "&redirect_uri=" + formEncode(redirectURI) +
           "&state=" + formEncode(state);
}

} // namespace ravo::server
