#pragma once

#include "base/setting.h"
#include "cloud/cloud_client.h"
#include "cloud/pkce.h"
#include "cloud/secret_store.h"

#include <QObject>
#include <QSettings>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace ravo::cloud {

struct PendingEmailSignIn {
    std::string email;
    std::string attemptID;
    PKCE pkce;
    bool operator==(const PendingEmailSignIn&) const = default;
};

struct PendingAppleSignIn {
    std::string attemptID;
    PKCE pkce;
    bool operator==(const PendingAppleSignIn&) const = default;
};

// This computer's sign-in to the Ravo server: the sign-in flows, the device token in the
// desktop's secret store, the cached account record, refresh, sign-out and deletion. It
// owns the client the rest of website monitoring calls the server with.
class CloudAccount : public QObject {
    Q_OBJECT

public:
    static constexpr const char* kTokenService = "io.halvorsund.Ravo.cloud";
    static constexpr const char* kTokenAccount = "device-token";
    static constexpr const char* kServerKey = "cloudServer";
    // Changed by signing in: the token belongs to the server it was given by.
    static const Setting kServer;
    static constexpr const char* kDeviceKey = "cloudDeviceID";
    static constexpr const char* kAccountKey = "cloudAccount";
    // How long the secret store has to give the token before it counts as having none.
    static constexpr std::chrono::seconds kSecretWait{4};

    CloudAccount(QSettings& settings, std::shared_ptr<SecretStore> secrets,
                 std::shared_ptr<common::HttpTransport> transport);

    // The build's default server, used until the user sets another.
    static QString defaultServer();
    // "Hidden by Apple" for the placeholder addresses of hidden Apple e-mails.
    static std::string displayEmail(const std::string& email);

    // Starts reading the token and returns at once: until the store answers the account is
    // not yet known, and `changed` tells when it is. With a token, the cached record signs
    // the account in without a call. A store that does not answer within kSecretWait
    // counts as one without a token, and nothing is removed from it.
    void resume();
    // The same, waited for (at most kSecretWait), for the commands; nothing when the
    // account is known already.
    QCoro::Task<> resumed();
    // False while the token is being read at start.
    bool isKnown() const { return known_; }

    bool isWorking() const { return working_; }
    const std::optional<std::string>& error() const { return error_; }
    const std::optional<PendingEmailSignIn>& pendingEmail() const { return pendingEmail_; }
    const std::optional<wire::CloudMe>& me() const { return me_; }
    bool isSignedIn() const { return me_.has_value(); }
    const CloudClient& client() const { return *client_; }
    QString server() const;

    // Another server forgets the session on this one. False for an address that is not
    // an http(s) origin.
    QCoro::Task<bool> setServer(QString origin);
    QCoro::Task<> requestEmailCode(std::string email);
    QCoro::Task<> verifyEmailCode(std::string code);
    QCoro::Task<> signIn(std::string email, std::string password);
    // Sign in with Apple, in two halves: the page to open in the browser (nothing on a
    // failure, which `error` tells), then the ravo://auth/callback URL the browser hands
    // back to Ravo.
    QCoro::Task<std::optional<QUrl>> startAppleSignIn();
    QCoro::Task<> finishAppleSignIn(std::string callbackURL);
    bool isWaitingForApple() const { return pendingApple_.has_value(); }
    QCoro::Task<> refresh();
    QCoro::Task<> signOut();
    QCoro::Task<> deleteAccount();
    // The common sink of server errors: a 401 signs out. False when the error is stale:
    // a refusal of a request sent before the user signed out, to be dropped unshown.
    bool handle(const CloudError& error);

signals:
    void changed();

private:
    void makeClient();
    QCoro::Task<> readToken(bool logFailure);
    void setWorking(bool working);
    QCoro::Task<> setUpSession(CloudResult<wire::CloudLogin> login, std::string unauthorizedText);
    void forgetSession();
    std::string deviceName() const;

    QSettings& settings_;
    std::shared_ptr<SecretStore> secrets_;
    std::shared_ptr<common::HttpTransport> transport_;
    std::unique_ptr<CloudClient> client_;
    std::optional<std::string> token_;
    bool working_ = false;
    bool known_ = false;
    bool signingOut_ = false;
    std::optional<std::string> error_;
    std::optional<PendingEmailSignIn> pendingEmail_;
    std::optional<PendingAppleSignIn> pendingApple_;
    std::optional<wire::CloudMe> me_;
};

} // namespace ravo::cloud
