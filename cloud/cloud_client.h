#pragma once

#include "cloud/core/cloud_error.h"
#include "common/http_transport.h"
#include "wire/monitoring_records.h"
#include "wire/sign_in_methods.h"
#include "wire/wire_records.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ravo::cloud {

template <typename T> using CloudResult = std::variant<T, CloudError>;

// The account's site list with the tag of its version: a write that names the tag is kept
// only while the list is still that version.
struct TaggedSites {
    std::vector<wire::CloudSite> sites;
    std::string tag;
};

// What endpoints that answer nothing of interest decode into.
struct EmptyResponse {
    bool operator==(const EmptyResponse&) const = default;
};

// The one HTTP client of the Ravo server: every call goes through `send`, so headers, the
// 20 s time-out, JSON and the mapping of failures are the same for all. It keeps no state
// but its configuration; the token comes from the account through `token`.
class CloudClient {
public:
    using TokenSource = std::function<std::optional<std::string>()>;

    // An empty `baseURL`: no server is named yet, and every call fails with kNoServerText.
    CloudClient(QUrl baseURL, std::shared_ptr<common::HttpTransport> transport, TokenSource token);
    static constexpr std::string_view kNoServerText =
        "No Ravo server is set. Name yours in Settings → Account, or with --server.";

    // "https://ravo.example.org" -> "https://ravo.example.org/api/v1/"; nothing when the
    // text is not an http(s) origin.
    static std::optional<QUrl> baseURLFor(const QString& origin);
    const QUrl& baseURL() const { return baseURL_; }

    QCoro::Task<CloudResult<nlohmann::json>> send(QByteArray method, QString path,
                                                  std::optional<nlohmann::json> body,
                                                  bool authenticated) const;

    QCoro::Task<CloudResult<wire::EmailSignInStart>>
    startEmailSignIn(wire::EmailSignInRequest request) const;
    QCoro::Task<CloudResult<wire::CloudLogin>>
    verifyEmailCode(wire::EmailVerifyRequest request) const;
    QCoro::Task<CloudResult<wire::AppleSignInStart>>
    startAppleSignIn(wire::AppleStartRequest request) const;
    QCoro::Task<CloudResult<wire::CloudLogin>>
    finishAppleSignIn(wire::AppleFinishRequest request) const;
    QCoro::Task<CloudResult<wire::CloudLogin>> login(wire::PasswordLoginRequest request) const;
    // What the server lets users sign in with; a server from before it said fails with 404.
    QCoro::Task<CloudResult<wire::SignInMethods>> signInMethods() const;
    QCoro::Task<CloudResult<wire::CloudMe>> me() const;
    QCoro::Task<CloudResult<EmptyResponse>> deleteAccount() const;
    QCoro::Task<CloudResult<EmptyResponse>> revokeDevice(std::string deviceID) const;
    QCoro::Task<CloudResult<wire::CloudNotificationSettings>> notificationSettings() const;
    QCoro::Task<CloudResult<wire::CloudNotificationSettings>>
    updateNotificationSettings(wire::NotificationSettingsUpdate update) const;
    QCoro::Task<CloudResult<EmptyResponse>> sendTelegramTest() const;
    QCoro::Task<CloudResult<std::vector<wire::CloudSiteStatus>>> siteStatuses() const;
    // The account's list as the server keeps it.
    QCoro::Task<CloudResult<std::vector<wire::CloudSite>>> sites() const;
    QCoro::Task<CloudResult<std::vector<wire::CloudSite>>>
    syncSites(std::vector<wire::CloudSite> sites) const;
    QCoro::Task<CloudResult<TaggedSites>> taggedSites() const;
    // Nothing while the list is still the version `tag` names: the server answers 304.
    QCoro::Task<CloudResult<std::optional<TaggedSites>>>
    taggedSitesIfChanged(std::string tag) const;
    // A 412 `rejected` when the list moved since `tag` was read.
    QCoro::Task<CloudResult<TaggedSites>> syncSites(std::vector<wire::CloudSite> sites,
                                                    std::string tag) const;
    QCoro::Task<CloudResult<wire::CloudSiteHistory>> history(std::string siteID) const;

private:
    struct Answer {
        nlohmann::json body;
        std::string tag;
        bool unchanged = false; // 304 to an If-None-Match
    };
    // A precondition header and its tag, or none.
    using Condition = std::pair<QByteArray, std::string>;
    QCoro::Task<CloudResult<Answer>> exchange(QByteArray method, QString path,
                                              std::optional<nlohmann::json> body,
                                              bool authenticated, Condition condition) const;

    QUrl baseURL_;
    std::shared_ptr<common::HttpTransport> transport_;
    TokenSource token_;
};

} // namespace ravo::cloud
