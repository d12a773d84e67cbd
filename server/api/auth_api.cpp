#include "server/api/api.h"

#include "base/log.h"
#include "server/auth/email_address.h"
#include "server/config/secrets.h"
#include "wire/sign_in_methods.h"

#include <algorithm>
#include <cctype>

namespace ravo::server::AuthApi {

using nlohmann::json;

namespace {

constexpr auto kCodeLifetime = std::chrono::minutes(10);
constexpr int kTriesPerCode = 5;

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
                        wire::toJson(wire::CloudLogin{{device->id, device->name}, token}).dump());
}

bool challengeAcceptable(const std::string& method, const std::string& challenge) {
    return method == "S256" && challenge.size() >= 43 && challenge.size() <= 128;
}

// The per-client line every sign-in request meets first.
std::optional<HttpResponse> clientLimited(ApiContext& context, const HttpRequest& request) {
    const auto decision = context.perClient.take(clientKey(request.clientAddress), context.now());
    if (decision.allowed)
        return std::nullopt;
    return rateLimitedResponse(decision.retryAfter);
}

// Checks the password where there is one. Where there is none the answer waits as long as a
// check takes, so that the time tells nothing about the address.
bool passwordAccepted(ApiContext& context, const std::optional<Account>& account,
                      const std::string& password, std::chrono::milliseconds& delay) {
    const bool checkable = account && account->passwordHash;
    const auto typical = context.passwordTiming.typical();
    if (!checkable && typical) {
        delay = *typical;
        return false;
    }
    // With nothing to measure yet, a check of a made-up hash is the measure.
    static const std::string standIn = Secrets::hashPassword("not anybody's password");
    const auto started = std::chrono::steady_clock::now();
    const bool accepted =
        Secrets::passwordMatches(password, checkable ? *account->passwordHash : standIn) &&
        checkable;
    context.passwordTiming.record(std::chrono::steady_clock::now() - started);
    return accepted;
}

} // namespace

HttpResponse emailStart(ApiContext& context, const HttpRequest& request) {
    if (auto refused = clientLimited(context, request))
        return *refused;
    auto decoded = decodeBody(request, wire::emailSignInRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto* start = &std::get<wire::EmailSignInRequest>(decoded);
    const std::string email = normalizedEmail(start->email);
    if (!looksLikeEmail(email))
        return errorResponse(400, "invalid_email");
    if (!challengeAcceptable(start->codeChallengeMethod, start->codeChallenge))
        return errorResponse(400, "invalid_code_challenge");
    // Mail is what a stranger could make this server send to anyone: a few per client, a few
    // per address an hour and a day (which also caps the guesses at its codes).
    if (const auto mails =
            context.mailsPerClient.take(clientKey(request.clientAddress), context.now());
        !mails.allowed)
        return rateLimitedResponse(mails.retryAfter);
    if (auto refused = refusedByLimit(context, kSignInMails, email))
        return *refused;
    if (auto refused = refusedByLimit(context, kSignInMailsPerDay, email))
        return *refused;

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
    return jsonResponse(200, wire::toJson(wire::EmailSignInStart{attempt.id}).dump());
}

// A wrong, used or stale code is a 401: the app reads that as "The code is wrong or expired."
HttpResponse emailVerify(ApiContext& context, const HttpRequest& request) {
    if (auto refused = clientLimited(context, request))
        return *refused;
    auto decoded = decodeBody(request, wire::emailVerifyRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto& verify = std::get<wire::EmailVerifyRequest>(decoded);
    if (!Secrets::isCanonicalUUID(verify.id))
        return errorResponse(401, "invalid_code");
    const auto verified = context.store.verifyEmailCode(verify.id, codeHash(verify.id, verify.code),
                                                        Secrets::challengeFor(verify.codeVerifier),
                                                        kTriesPerCode, context.now());
    if (!verified)
        return storeFailure(verified.failure());
    switch (verified->kind) {
    case EmailVerification::Kind::wrongCode:
        return errorResponse(401, "invalid_code");
    case EmailVerification::Kind::wrongVerifier:
        return errorResponse(401, "invalid_code_verifier");
    case EmailVerification::Kind::spent:
        return errorResponse(401, "code_expired");
    case EmailVerification::Kind::redeemed:
        break;
    }
    const auto account = context.store.accountForEmail(verified->email, true);
    if (!account)
        return storeFailure(account.failure());
    return signIn(context, *account, verified->deviceName);
}

HttpResponse passwordLogin(ApiContext& context, const HttpRequest& request) {
    if (auto refused = clientLimited(context, request))
        return *refused;
    auto decoded = decodeBody(request, wire::passwordLoginRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto& login = std::get<wire::PasswordLoginRequest>(decoded);
    const std::string email = normalizedEmail(login.email);
    if (!looksLikeEmail(email)) {
        // No account has such an address; the answer still takes as long as any.
        HttpResponse refused = errorResponse(401, "invalid_credentials");
        refused.delay = context.passwordTiming.typical().value_or(std::chrono::milliseconds(50));
        return refused;
    }
    // Every try counts against the address before any work, so parallel guesses cannot
    // overrun the limit; one that succeeds is given back. Unknown addresses count alike.
    if (auto refused = refusedByLimit(context, kPasswordFailures, email))
        return *refused;
    auto found = context.store.accountForEmail(email, false);
    const std::optional<Account> account =
        found ? std::optional<Account>(*found) : std::optional<Account>();
    std::chrono::milliseconds delay{0};
    if (!passwordAccepted(context, account, login.password, delay)) {
        // The same answer whether the address is unknown or the password wrong.
        HttpResponse refused = errorResponse(401, "invalid_credentials");
        refused.delay = delay;
        return refused;
    }
    if (auto forgiven = context.store.forgiveAttempt(limitKey(kPasswordFailures, email)); !forgiven)
        log::error("server", "a sign-in's try was not given back: " + forgiven.error());
    return signIn(context, *account, login.deviceName);
}

HttpResponse methods(const ApiContext& context) {
    const wire::SignInMethods offered{
        .emailCode = true, .password = true, .apple = context.apple != nullptr};
    return jsonResponse(200, wire::toJson(offered).dump());
}

HttpResponse appleStart(ApiContext& context, const HttpRequest& request) {
    if (auto refused = clientLimited(context, request))
        return *refused;
    if (!context.apple)
        return errorResponse(400, "apple_not_configured");
    auto decoded = decodeBody(request, wire::appleStartRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto& start = std::get<wire::AppleStartRequest>(decoded);
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
    return jsonResponse(200, wire::toJson(wire::AppleSignInStart{
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
    if (clientLimited(context, request))
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
    // Without an address (the user hid it and Apple sent none) the account is Apple's id's.
    const std::string email = normalizedEmail(identity->email.value_or(
        identity->subject + "@" + std::string(wire::kHiddenAppleEmailDomain)));
    const std::string code = Secrets::randomToken(24);
    const auto completed =
        context.store.completeAppleAttempt(state, email, codeHash(state, code), context.now());
    if (!completed)
        return storeFailure(completed.failure());
    if (!*completed)
        return back("error=failed"); // a second callback for the same attempt
    return back("code=" + code);
}

HttpResponse appleFinish(ApiContext& context, const HttpRequest& request) {
    if (auto refused = clientLimited(context, request))
        return *refused;
    auto decoded = decodeBody(request, wire::appleFinishRequestFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto& finish = std::get<wire::AppleFinishRequest>(decoded);
    if (!Secrets::isCanonicalUUID(finish.attemptId))
        return errorResponse(401, "apple_sign_in_failed");
    // One try: the code went through a browser and a URL.
    const auto redeemed = context.store.redeemAppleAttempt(finish.attemptId, context.now());
    if (!redeemed)
        return storeFailure(redeemed.failure());
    if (!*redeemed)
        return errorResponse(401, "apple_sign_in_failed");
    const AppleAttempt& attempt = **redeemed;
    if (!Secrets::sameSecret(codeHash(attempt.id, finish.code), *attempt.codeHash) ||
        !Secrets::verifierMatches(finish.codeVerifier, attempt.codeChallenge))
        return errorResponse(401, "apple_sign_in_failed");
    const auto account = context.store.accountForEmail(*attempt.email, true);
    if (!account)
        return storeFailure(account.failure());
    return signIn(context, *account, attempt.deviceName);
}

} // namespace ravo::server::AuthApi
