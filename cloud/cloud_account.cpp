#include "cloud/cloud_account.h"

#include "base/json_parse.h"
#include "base/log.h"
#include "base/trimmed.h"
#include "cloud/core/apple_callback.h"

#include <QLocale>
#include <QPointer>
#include <QSysInfo>

namespace ravo::cloud {

CloudAccount::CloudAccount(QSettings& settings, std::shared_ptr<SecretStore> secrets,
                           std::shared_ptr<common::HttpTransport> transport)
    : settings_(settings), secrets_(std::move(secrets)), transport_(std::move(transport)) {
    makeClient();
}

const Setting CloudAccount::kServer{kServerKey,
                                    Setting::Kind::text,
                                    "the Ravo server that checks your websites",
                                    false,
                                    false,
                                    RAVO_DEFAULT_SERVER,
                                    Setting::Store::app,
                                    "Use ravo account signin --server URL: the sign-in belongs to "
                                    "its server."};

QString CloudAccount::defaultServer() {
    return QStringLiteral(RAVO_DEFAULT_SERVER);
}

std::string CloudAccount::displayEmail(const std::string& email) {
    const auto at = email.rfind('@');
    return at != std::string::npos && email.substr(at + 1) == wire::kHiddenAppleEmailDomain
               ? "Hidden by Apple"
               : email;
}

QString CloudAccount::server() const {
    return settings_.value(kServerKey, defaultServer()).toString();
}

void CloudAccount::makeClient() {
    // No server named yet: every call says so rather than going anywhere.
    const auto base = CloudClient::baseURLFor(server()).value_or(QUrl());
    client_ = std::make_unique<CloudClient>(base, transport_, [this] { return token_; });
}

void CloudAccount::setWorking(bool working) {
    working_ = working;
    emit changed();
}

std::string CloudAccount::deviceName() const {
    const std::string host = QSysInfo::machineHostName().toStdString();
    return host.empty() ? "Linux" : host;
}

void CloudAccount::resume() {
    readToken(true);
}

QCoro::Task<> CloudAccount::resumed() {
    co_await readToken(false);
}

// The commands say the failure themselves; the app has only its log to say it in.
QCoro::Task<> CloudAccount::readToken(bool logFailure) {
    if (known_)
        co_return;
    const QPointer<CloudAccount> self(this);
    const auto token = co_await secrets_->readWithin(kTokenService, kTokenAccount, kSecretWait);
    // Gone, or signed in or out while the store took its time: that is newer than the token.
    if (!self || known_)
        co_return;
    known_ = true;
    if (!token) {
        if (logFailure)
            log::error("cloud", "Reading the device token failed: " + token.error());
        error_ = token.error();
        emit changed();
        co_return;
    }
    token_ = *token;
    if (token_) {
        const auto cached = parseJson(settings_.value(kAccountKey).toString().toStdString());
        if (cached)
            if (auto record = wire::meFromJson(*cached))
                me_ = std::move(record).value();
    }
    emit changed();
}

QCoro::Task<bool> CloudAccount::setServer(QString origin) {
    if (!CloudClient::baseURLFor(origin))
        co_return false;
    QString normalized = origin.trimmed();
    while (normalized.endsWith('/'))
        normalized.chop(1);
    if (normalized == server())
        co_return true;
    // A token is only good on the server that gave it.
    if (token_ || me_)
        forgetSession();
    settings_.setValue(kServerKey, normalized);
    makeClient();
    emit changed();
    co_return true;
}

QCoro::Task<> CloudAccount::requestEmailCode(std::string email) {
    const std::string address = trimmed(email);
    error_.reset();
    setWorking(true);
    const PKCE pkce = PKCE::make();
    std::string language = QLocale().name().left(2).toStdString();
    if (language.empty() || language == "C")
        language = "en";
    wire::EmailSignInRequest request{address,  "mac",          deviceName(),
                                     language, pkce.challenge, "S256"};
    const auto started = co_await client_->startEmailSignIn(std::move(request));
    if (const auto* failure = std::get_if<CloudError>(&started))
        error_ = failure->text();
    else
        pendingEmail_ =
            PendingEmailSignIn{address, std::get<wire::EmailSignInStart>(started).attemptId, pkce};
    setWorking(false);
}

QCoro::Task<> CloudAccount::verifyEmailCode(std::string code) {
    if (!pendingEmail_)
        co_return;
    const PendingEmailSignIn pending = *pendingEmail_;
    error_.reset();
    setWorking(true);
    wire::EmailVerifyRequest request{pending.attemptID, trimmed(code), pending.pkce.verifier};
    auto login = co_await client_->verifyEmailCode(std::move(request));
    co_await setUpSession(std::move(login), "The code is wrong or expired.");
    if (isSignedIn())
        pendingEmail_.reset();
    setWorking(false);
}

QCoro::Task<> CloudAccount::signIn(std::string email, std::string password) {
    error_.reset();
    setWorking(true);
    wire::PasswordLoginRequest request{trimmed(email), password, "mac", deviceName()};
    auto login = co_await client_->login(std::move(request));
    co_await setUpSession(std::move(login), "Wrong email or password.");
    setWorking(false);
}

QCoro::Task<std::optional<QUrl>> CloudAccount::startAppleSignIn() {
    error_.reset();
    setWorking(true);
    const PKCE pkce = PKCE::make();
    wire::AppleStartRequest request{"mac", deviceName(), pkce.challenge, "S256"};
    const auto started = co_await client_->startAppleSignIn(std::move(request));
    setWorking(false);
    if (const auto* failure = std::get_if<CloudError>(&started)) {
        error_ = failure->text();
        emit changed();
        co_return std::nullopt;
    }
    const auto& attempt = std::get<wire::AppleSignInStart>(started);
    const QUrl page(QString::fromStdString(attempt.authorizeUrl));
    if (!page.isValid() || (page.scheme() != "https" && page.scheme() != "http")) {
        error_ = AppleCallback::kGenericFailure;
        emit changed();
        co_return std::nullopt;
    }
    pendingApple_ = PendingAppleSignIn{attempt.attemptId, pkce};
    emit changed();
    co_return page;
}

QCoro::Task<> CloudAccount::finishAppleSignIn(std::string callbackURL) {
    if (!pendingApple_) {
        log::error("cloud", "A sign-in callback arrived with no Apple sign-in under way");
        co_return;
    }
    const PendingAppleSignIn pending = *std::exchange(pendingApple_, std::nullopt);
    const auto outcome = AppleCallback::parse(callbackURL, pending.attemptID);
    error_.reset();
    if (outcome.kind == AppleCallback::Kind::cancelled) {
        emit changed();
        co_return;
    }
    if (outcome.kind == AppleCallback::Kind::failure) {
        error_ = outcome.text;
        emit changed();
        co_return;
    }
    setWorking(true);
    wire::AppleFinishRequest request{pending.attemptID, outcome.text, pending.pkce.verifier};
    auto login = co_await client_->finishAppleSignIn(std::move(request));
    co_await setUpSession(std::move(login), AppleCallback::kGenericFailure);
    setWorking(false);
}

QCoro::Task<> CloudAccount::setUpSession(CloudResult<wire::CloudLogin> login,
                                         std::string unauthorizedText) {
    if (const auto* failure = std::get_if<CloudError>(&login)) {
        error_ =
            failure->kind == CloudError::Kind::unauthorized ? unauthorizedText : failure->text();
        co_return;
    }
    const wire::CloudLogin& session = std::get<wire::CloudLogin>(login);
    if (auto stored = secrets_->write(kTokenService, kTokenAccount, session.token); !stored) {
        error_ = stored.error();
        co_return;
    }
    token_ = session.token;
    known_ = true;
    settings_.setValue(kDeviceKey, QString::fromStdString(session.device.id));
    const auto record = co_await client_->me();
    if (const auto* failure = std::get_if<CloudError>(&record)) {
        // Half a sign-in leaves no token behind.
        forgetSession();
        error_ = failure->text();
        co_return;
    }
    me_ = std::get<wire::CloudMe>(record);
    settings_.setValue(kAccountKey, QString::fromStdString(toJson(*me_).dump()));
    settings_.sync();
    log::info("cloud", "signed in as device " + session.device.id);
}

QCoro::Task<> CloudAccount::refresh() {
    const auto record = co_await client_->me();
    if (const auto* failure = std::get_if<CloudError>(&record)) {
        if (failure->kind == CloudError::Kind::unauthorized)
            handle(*failure);
        else
            log::error("cloud", "Account refresh failed: " + failure->text());
        co_return;
    }
    me_ = std::get<wire::CloudMe>(record);
    settings_.setValue(kAccountKey, QString::fromStdString(toJson(*me_).dump()));
    emit changed();
}

QCoro::Task<> CloudAccount::signOut() {
    const std::string device = settings_.value(kDeviceKey).toString().toStdString();
    // Polls still on their way are refused once the device is revoked; that is no news.
    signingOut_ = true;
    if (!device.empty()) {
        const auto revoked = co_await client_->revokeDevice(device);
        if (const auto* failure = std::get_if<CloudError>(&revoked))
            log::error("cloud", "Device revoke failed: " + failure->text());
    }
    signingOut_ = false;
    forgetSession();
    error_.reset();
    emit changed();
}

QCoro::Task<> CloudAccount::deleteAccount() {
    setWorking(true);
    const auto deleted = co_await client_->deleteAccount();
    if (const auto* failure = std::get_if<CloudError>(&deleted))
        handle(*failure);
    else
        forgetSession();
    setWorking(false);
}

bool CloudAccount::handle(const CloudError& error) {
    if (error.kind == CloudError::Kind::unauthorized) {
        if (!token_ || signingOut_)
            return false;
        forgetSession();
    }
    error_ = error.text();
    emit changed();
    return true;
}

void CloudAccount::forgetSession() {
    if (auto removed = secrets_->remove(kTokenService, kTokenAccount); !removed)
        log::error("cloud", removed.error());
    token_.reset();
    known_ = true;
    settings_.remove(kDeviceKey);
    settings_.remove(kAccountKey);
    settings_.sync();
    me_.reset();
}

} // namespace ravo::cloud
