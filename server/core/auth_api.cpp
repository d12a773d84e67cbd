#include "server/core/api.h"

#include "core/log.h"
#include "server/core/secrets.h"

#include <algorithm>
#include <cctype>

namespace ravo::server::AuthApi {

using nlohmann::json;

namespace {

constexpr auto kCodeLifetime = std::chrono::minutes(10);
constexpr int kTriesPerCode = 5;

std::string normalizedEmail(std::string email) {
    const auto first = email.find_first_not_of(" \t");
    const auto last = email.find_last_not_of(" \t");
    email = first == std::string::npos ? std::string() : email.substr(first, last - first + 1);
    std::transform(email.begin(), email.end(), email.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return email;
}

bool looksLikeEmail(const std::string& email) {
    const auto at = email.find('@');
    return email.size() <= 254 && at != std::string::npos && at > 0 && at + 1 < email.size() &&
           email.find('@', at + 1) == std::string::npos &&
           std::none_of(email.begin(), email.end(), [](unsigned char c) {
               return c <= ' ' || c == '<' || c == '>' || c == ',' || c == ';';
           });
}

std::string codeHash(const std::string& attemptID, const std::string& code) {
    return Secrets::sha256Hex(attemptID + ":" + code);
}

std::string deviceName(const std::string& name) {
    return name.empty() ? "Ravo" : name.substr(0, 120);
}

// A new device with its own token; only the token's hash is kept.
HttpResponse signIn(ApiContext& context, const Account& account, const std::string& name) {
    const std::string token = Secrets::randomToken();
    const auto device =
        context.store.addDevice(account.id, deviceName(name), Secrets::sha256Hex(token));
    if (!device)
        return storeFailure(device.failure());
    log::info("server", "signed in " + account.email + " on device " + device->id);
    return jsonResponse(200,
                        cloud::toJson(cloud::CloudLogin{{device->id, device->name}, token}).dump());
}

bool challengeAcceptable(const std::string& method, const std::string& challenge) {
    return method == "S256" && challenge.size() >= 43 && challenge.size() <= 128;
}

bool limited(ApiContext& context, const HttpRequest& request) {
    return !context.perClient.allow("client:" + request.clientAddress, context.now());
}

} // namespace

HttpResponse emailStart(ApiContext& context, const HttpRequest& request) {
    if (limited(context, request))
        return errorResponse(429, "rate_limited");
    auto decoded = decodeBody(request, cloud::emailSignInRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto* start = &std::get<cloud::EmailSignInRequest>(decoded);
    const std::string email = normalizedEmail(start->email);
    if (!looksLikeEmail(email))
        return errorResponse(400, "invalid_email");
    if (!challengeAcceptable(start->codeChallengeMethod, start->codeChallenge))
        return errorResponse(400, "invalid_code_challenge");
    if (!context.perEmail.allow("email:" + email, context.now()))
        return errorResponse(429, "rate_limited");

    const std::string code = Secrets::sixDigitCode();
    EmailAttempt attempt{Secrets::randomUUID(),
                         email,
                         "",
                         start->codeChallenge,
                         deviceName(start->deviceName),
                         context.now() + kCodeLifetime,
                         0,
                         false};
    attempt.codeHash = codeHash(attempt.id, code);
    if (auto stored = context.store.addEmailAttempt(attempt); !stored)
        return storeFailure(stored.failure());
    const auto sent = context.mailer.send(
        {email, "Your Ravo sign-in code: " + code,
         "Your code to sign in to Ravo is\n\n    " + code +
             "\n\nIt works once, for 10 minutes. If you did not ask for it, ignore this mail.\n"});
    if (!sent) {
        log::error("server", "sign-in mail to " + email + " failed: " + sent.error());
        return jsonResponse(503, json{{"detail", "mail_unavailable"}}.dump());
    }
    return jsonResponse(200, cloud::toJson(cloud::EmailSignInStart{attempt.id}).dump());
}

// A wrong, used or stale code is a 401: the app reads that as "The code is wrong or expired."
HttpResponse emailVerify(ApiContext& context, const HttpRequest& request) {
    if (limited(context, request))
        return errorResponse(429, "rate_limited");
    auto decoded = decodeBody(request, cloud::emailVerifyRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto* verify = &std::get<cloud::EmailVerifyRequest>(decoded);
    if (!Secrets::isCanonicalUUID(verify->id))
        return errorResponse(401, "invalid_code");
    auto found = context.store.emailAttempt(verify->id);
    if (!found)
        return storeFailure(found.failure());
    if (!*found)
        return errorResponse(401, "invalid_code");
    EmailAttempt attempt = **found;
    if (attempt.used || attempt.failedTries >= kTriesPerCode || context.now() > attempt.expiresAt)
        return errorResponse(401, "code_expired");
    const bool codeRight =
        Secrets::sameSecret(codeHash(attempt.id, verify->code), attempt.codeHash);
    const bool pairRight = Secrets::verifierMatches(verify->codeVerifier, attempt.codeChallenge);
    if (!codeRight || !pairRight) {
        ++attempt.failedTries;
        if (auto stored = context.store.updateEmailAttempt(attempt); !stored)
            return storeFailure(stored.failure());
        return errorResponse(401, codeRight ? "invalid_code_verifier" : "invalid_code");
    }
    attempt.used = true; // once only, even if what follows fails
    if (auto stored = context.store.updateEmailAttempt(attempt); !stored)
        return storeFailure(stored.failure());
    const auto account = context.store.accountForEmail(attempt.email, true);
    if (!account)
        return storeFailure(account.failure());
    return signIn(context, *account, attempt.deviceName);
}

HttpResponse passwordLogin(ApiContext& context, const HttpRequest& request) {
    if (limited(context, request))
        return errorResponse(429, "rate_limited");
    auto decoded = decodeBody(request, cloud::passwordLoginRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto* login = &std::get<cloud::PasswordLoginRequest>(decoded);
    const auto account = context.store.accountForEmail(normalizedEmail(login->email), false);
    // The same answer whether the address is unknown or the password wrong.
    if (!account || !account->passwordHash ||
        !Secrets::passwordMatches(login->password, *account->passwordHash))
        return errorResponse(401, "invalid_credentials");
    return signIn(context, *account, login->deviceName);
}

HttpResponse appleStart(ApiContext& context, const HttpRequest& request) {
    if (limited(context, request))
        return errorResponse(429, "rate_limited");
    if (!context.apple)
        return errorResponse(400, "apple_not_configured");
    auto decoded = decodeBody(request, cloud::appleStartRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto& start = std::get<cloud::AppleStartRequest>(decoded);
    if (!challengeAcceptable(start.codeChallengeMethod, start.codeChallenge))
        return errorResponse(400, "invalid_code_challenge");
    const AppleAttempt attempt{Secrets::randomUUID(),
                               start.codeChallenge,
                               deviceName(start.deviceName),
                               context.now() + kCodeLifetime,
                               std::nullopt,
                               std::nullopt,
                               false};
    if (auto stored = context.store.addAppleAttempt(attempt); !stored)
        return storeFailure(stored.failure());
    return jsonResponse(200, cloud::toJson(cloud::AppleSignInStart{
                                               attempt.id, context.apple->authorizeURL(attempt.id)})
                                 .dump());
}

HttpResponse appleCallback(ApiContext& context, const HttpRequest& request) {
    const auto form = parseForm(request.body);
    const auto field = [&form](const char* name) {
        const auto it = form.find(name);
        return it == form.end() ? std::string() : it->second;
    };
    const std::string state = field("state");
    if (!Secrets::isCanonicalUUID(state))
        return errorResponse(400, "invalid_state");
    const auto back = [&state](const std::string& query) {
        HttpResponse redirect;
        redirect.status = 302;
        redirect.contentType = "text/plain; charset=utf-8";
        redirect.headers["Location"] = "ravo://auth/callback?attempt=" + state + "&" + query;
        redirect.body = "Back to Ravo.\n";
        return redirect;
    };
    if (!field("error").empty())
        return back(field("error") == "user_cancelled_authorize" ? "error=cancelled"
                                                                 : "error=failed");
    if (!context.apple)
        return back("error=apple_not_configured");
    if (limited(context, request))
        return back("error=rate_limited");
    auto found = context.store.appleAttempt(state);
    if (!found)
        return storeFailure(found.failure());
    if (!*found || (*found)->used || (*found)->codeHash || context.now() > (*found)->expiresAt)
        return back("error=failed");
    const auto identity = context.apple->identityFor(field("code"), context.now());
    if (!identity) {
        log::error("server", "Sign in with Apple failed: " + identity.error());
        return back("error=failed");
    }
    AppleAttempt attempt = **found;
    // Without an address (the user hid it and Apple sent none) the account is Apple's id's.
    attempt.email = normalizedEmail(identity->email.value_or(
        identity->subject + "@" + std::string(cloud::kHiddenAppleEmailDomain)));
    const std::string code = Secrets::randomToken(24);
    attempt.codeHash = codeHash(attempt.id, code);
    if (auto stored = context.store.updateAppleAttempt(attempt); !stored)
        return storeFailure(stored.failure());
    return back("code=" + code);
}

HttpResponse appleFinish(ApiContext& context, const HttpRequest& request) {
    if (limited(context, request))
        return errorResponse(429, "rate_limited");
    auto decoded = decodeBody(request, cloud::appleFinishRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto& finish = std::get<cloud::AppleFinishRequest>(decoded);
    if (!Secrets::isCanonicalUUID(finish.attemptId))
        return errorResponse(401, "apple_sign_in_failed");
    auto found = context.store.appleAttempt(finish.attemptId);
    if (!found)
        return storeFailure(found.failure());
    if (!*found || (*found)->used || !(*found)->codeHash || !(*found)->email ||
        context.now() > (*found)->expiresAt)
        return errorResponse(401, "apple_sign_in_failed");
    AppleAttempt attempt = **found;
    attempt.used = true; // one try: the code went through a browser and a URL
    if (auto stored = context.store.updateAppleAttempt(attempt); !stored)
        return storeFailure(stored.failure());
    if (!Secrets::sameSecret(codeHash(attempt.id, finish.code), *attempt.codeHash) ||
        !Secrets::verifierMatches(finish.codeVerifier, attempt.codeChallenge))
        return errorResponse(401, "apple_sign_in_failed");
    const auto account = context.store.accountForEmail(*attempt.email, true);
    if (!account)
        return storeFailure(account.failure());
    return signIn(context, *account, attempt.deviceName);
}

} // namespace ravo::server::AuthApi
