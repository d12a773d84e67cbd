#include "server/auth/apple_sign_in.h"

#include "base/json_parse.h"
#include "server/net/http_fetch.h"

namespace ravo::server {

namespace {

std::string withoutSlash(std::string url) {
    while (!url.empty() && url.back() == '/')
        url.pop_back();
    return url;
}

} // namespace

AppleSignIn::AppleSignIn(AppleSettings settings, const std::string& publicURL)
    : settings_(std::move(settings)),
      redirectURI_(withoutSlash(publicURL) + "/api/v1/auth/apple/callback") {}

std::string AppleSignIn::authorizeURL(const std::string& state) const {
    return appleAuthorizeURL(settings_, redirectURI_, state);
}

Result<nlohmann::json> AppleSignIn::keys(TimePoint now, bool fresh) {
    std::lock_guard lock(mutex_);
    if (!fresh && !keys_.is_null() && now - keysFetchedAt_ < std::chrono::hours(1))
        return keys_;
    const Fetched answer = fetch(withoutSlash(settings_.baseURL) + "/auth/keys");
    auto parsed = parseJson(answer.body, {.maxDepth = 16});
    if (answer.status != 200 || !parsed)
        return Failure{"Apple's keys cannot be read (HTTP " + std::to_string(answer.status) + ")"};
    keys_ = std::move(parsed).value();
    keysFetchedAt_ = now;
    return keys_;
}

Result<AppleIdentity> AppleSignIn::identityFor(const std::string& code, TimePoint now) {
    const auto secret = appleClientSecret(settings_, now);
    if (!secret)
        return secret.failure();
    const Fetched answer = fetch(withoutSlash(settings_.baseURL) + "/auth/token",
                                 "grant_type=authorization_code&code=" + formEncode(code) +
                                     "&redirect_uri=" + formEncode(redirectURI_) +
                                     "&client_id=" + formEncode(settings_.clientID) +
                                     "&client_secret=" + formEncode(*secret),
                                 "application/x-www-form-urlencoded");
    const auto tokens = parseJson(answer.body, {.maxDepth = 16});
    if (answer.status != 200 || !tokens || !tokens->is_object() || !tokens->contains("id_token") ||
        !tokens->at("id_token").is_string())
        return Failure{"Apple refused the code (HTTP " + std::to_string(answer.status) + ")"};
    const std::string idToken = tokens->at("id_token").get<std::string>();
    auto current = keys(now, false);
    if (!current)
        return current.failure();
    auto identity = verifyAppleIdToken(idToken, *current, settings_, now);
    if (identity)
        return identity;
    // Apple rotates its keys: one fresh look before giving up.
    auto renewed = keys(now, true);
    if (!renewed)
        return renewed.failure();
    return verifyAppleIdToken(idToken, *renewed, settings_, now);
}

} // namespace ravo::server
