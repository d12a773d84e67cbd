#include "cloud/cloud_client.h"

#include "base/json_parse.h"

namespace ravo::cloud {

namespace {

// A 2xx body decoded into the caller's record, or the decoder's complaint.
template <typename Decode>
auto decoded(CloudResult<nlohmann::json> raw, Decode decode)
    -> CloudResult<std::decay_t<decltype(decode(nlohmann::json()).value())>> {
    if (auto* error = std::get_if<CloudError>(&raw))
        return *error;
    auto value = decode(std::get<nlohmann::json>(raw));
    if (!value)
        return CloudError{CloudError::Kind::undecodable, value.error()};
    return std::move(value).value();
}

template <typename Decode> auto listOf(Decode decode) {
    return [decode](const nlohmann::json& json)
               -> Result<std::vector<std::decay_t<decltype(decode(json).value())>>> {
        using Item = std::decay_t<decltype(decode(json).value())>;
        if (!json.is_array())
            return Failure{"the answer is not a list"};
        std::vector<Item> items;
        for (const auto& element : json) {
            auto item = decode(element);
            if (!item)
                return item.failure();
            items.push_back(std::move(item).value());
        }
        return items;
    };
}

Result<EmptyResponse> empty(const nlohmann::json& json) {
    if (!json.is_object() && !json.is_null())
        return Failure{"the answer is not an object"};
    return EmptyResponse{};
}

} // namespace

// One co_await per statement, its result in a variable: GCC 12 mishandles temporaries that
// live across a suspension inside a larger expression.

CloudClient::CloudClient(QUrl baseURL, std::shared_ptr<common::HttpTransport> transport,
                         TokenSource token)
    : baseURL_(std::move(baseURL)), transport_(std::move(transport)), token_(std::move(token)) {}

std::optional<QUrl> CloudClient::baseURLFor(const QString& origin) {
    QString text = origin.trimmed();
    while (text.endsWith('/'))
        text.chop(1);
    const QUrl url(text + "/api/v1/", QUrl::StrictMode);
    if (!url.isValid() || (url.scheme() != "http" && url.scheme() != "https") ||
        url.host().isEmpty() || !url.userInfo().isEmpty() || url.hasQuery() || url.hasFragment())
        return std::nullopt;
    return url;
}

QCoro::Task<CloudResult<nlohmann::json>> CloudClient::send(QByteArray method, QString path,
                                                           std::optional<nlohmann::json> body,
                                                           bool authenticated) const {
    auto answer =
        co_await exchange(std::move(method), std::move(path), std::move(body), authenticated, {});
    if (auto* failure = std::get_if<CloudError>(&answer))
        co_return *failure;
    co_return std::move(std::get<Answer>(answer).body);
}

QCoro::Task<CloudResult<CloudClient::Answer>>
CloudClient::exchange(QByteArray method, QString path, std::optional<nlohmann::json> body,
                      bool authenticated, Condition condition) const {
    if (baseURL_.isEmpty())
        co_return CloudError{CloudError::Kind::rejected, std::string(kNoServerText)};
    common::HttpCall call{
        method, baseURL_.resolved(QUrl(path)), {{"Accept", "application/json"}}, {}};
    if (authenticated) {
        const auto token = token_ ? token_() : std::nullopt;
        if (!token)
            co_return CloudError{CloudError::Kind::signedOut};
        call.headers.append(
            qMakePair(QByteArray("Authorization"), QByteArray("Bearer ") + token->c_str()));
    }
    if (body) {
        call.body = QByteArray::fromStdString(
            body->dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
        call.headers.append(qMakePair(QByteArray("Content-Type"), QByteArray("application/json")));
    }
    if (!condition.second.empty())
        call.headers.append(
            qMakePair(condition.first, QByteArray::fromStdString(condition.second)));
    const auto answer = co_await transport_->send(std::move(call));
    if (!answer)
        co_return CloudError{CloudError::Kind::network};
    if (answer->status == 304 && condition.first == "If-None-Match")
        co_return Answer{{}, condition.second, true};
    const std::string text = answer->body.toStdString();
    if (auto failure = classifyAnswer(answer->status, text)) {
        if (answer->status == 412)
            failure->status = 412; // the list moved: its writer reads and changes it again
        co_return *failure;
    }
    Answer result;
    for (const auto& [name, value] : answer->headers)
        if (name.compare("ETag", Qt::CaseInsensitive) == 0 && value.size() <= 256)
            result.tag = value.toStdString();
    if (text.find_first_not_of(" \t\r\n") == std::string::npos)
        co_return result; // an empty body: nothing of interest
    auto parsed = parseJson(text, {.maxDepth = 64});
    if (!parsed)
        co_return CloudError{CloudError::Kind::undecodable,
                             "The Ravo server's answer is unreadable: " + parsed.error()};
    result.body = std::move(parsed).value();
    co_return result;
}

namespace {

CloudResult<TaggedSites> taggedFrom(CloudResult<nlohmann::json> body, std::string tag) {
    auto sites = decoded(std::move(body), wire::sitesFromJson);
    if (auto* failure = std::get_if<CloudError>(&sites))
        return *failure;
    return TaggedSites{std::move(std::get<std::vector<wire::CloudSite>>(sites)), std::move(tag)};
}

CloudResult<nlohmann::json> bodyOf(const auto& answer) {
    if (const auto* failure = std::get_if<CloudError>(&answer))
        return *failure;
    return std::get<0>(answer).body;
}

std::string tagOf(const auto& answer) {
    return answer.index() == 0 ? std::get<0>(answer).tag : std::string();
}

} // namespace

QCoro::Task<CloudResult<TaggedSites>> CloudClient::taggedSites() const {
    auto answer = co_await exchange("GET", "sites/sync", std::nullopt, true, {});
    co_return taggedFrom(bodyOf(answer), tagOf(answer));
}

QCoro::Task<CloudResult<std::optional<TaggedSites>>>
CloudClient::taggedSitesIfChanged(std::string tag) const {
    auto answer =
        co_await exchange("GET", "sites/sync", std::nullopt, true, {"If-None-Match", tag});
    if (const auto* sent = std::get_if<Answer>(&answer); sent && sent->unchanged)
        co_return std::nullopt;
    auto read = taggedFrom(bodyOf(answer), tagOf(answer));
    if (auto* failure = std::get_if<CloudError>(&read))
        co_return *failure;
    co_return std::move(std::get<TaggedSites>(read));
}

QCoro::Task<CloudResult<TaggedSites>> CloudClient::syncSites(std::vector<wire::CloudSite> sites,
                                                             std::string tag) const {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& site : sites)
        list.push_back(toJson(site));
    auto answer =
        co_await exchange("PUT", "sites/sync", std::move(list), true, {"If-Match", std::move(tag)});
    co_return taggedFrom(bodyOf(answer), tagOf(answer));
}

QCoro::Task<CloudResult<wire::EmailSignInStart>>
CloudClient::startEmailSignIn(wire::EmailSignInRequest request) const {
    auto answer = co_await send("POST", "auth/email/start", toJson(request), false);
    co_return decoded(std::move(answer), wire::emailSignInStartFromJson);
}

QCoro::Task<CloudResult<wire::CloudLogin>>
CloudClient::verifyEmailCode(wire::EmailVerifyRequest request) const {
    auto answer = co_await send("POST", "auth/email/verify", toJson(request), false);
    co_return decoded(std::move(answer), wire::loginFromJson);
}

QCoro::Task<CloudResult<wire::AppleSignInStart>>
CloudClient::startAppleSignIn(wire::AppleStartRequest request) const {
    auto answer = co_await send("POST", "auth/apple/start", toJson(request), false);
    co_return decoded(std::move(answer), wire::appleSignInStartFromJson);
}

QCoro::Task<CloudResult<wire::CloudLogin>>
CloudClient::finishAppleSignIn(wire::AppleFinishRequest request) const {
    auto answer = co_await send("POST", "auth/apple/finish", toJson(request), false);
    co_return decoded(std::move(answer), wire::loginFromJson);
}

QCoro::Task<CloudResult<wire::CloudLogin>>
CloudClient::login(wire::PasswordLoginRequest request) const {
    auto answer = co_await send("POST", "auth/token", toJson(request), false);
    co_return decoded(std::move(answer), wire::loginFromJson);
}

QCoro::Task<CloudResult<wire::SignInMethods>> CloudClient::signInMethods() const {
    auto answer = co_await send("GET", "auth/methods", std::nullopt, false);
    co_return decoded(std::move(answer), wire::signInMethodsFromJson);
}

QCoro::Task<CloudResult<wire::CloudMe>> CloudClient::me() const {
    auto answer = co_await send("GET", "me", std::nullopt, true);
    co_return decoded(std::move(answer), wire::meFromJson);
}

QCoro::Task<CloudResult<EmptyResponse>> CloudClient::deleteAccount() const {
    auto answer = co_await send("DELETE", "me", std::nullopt, true);
    co_return decoded(std::move(answer), empty);
}

QCoro::Task<CloudResult<EmptyResponse>> CloudClient::revokeDevice(std::string deviceID) const {
    auto answer =
        co_await send("DELETE", "devices/" + QString::fromStdString(deviceID), std::nullopt, true);
    co_return decoded(std::move(answer), empty);
}

QCoro::Task<CloudResult<wire::CloudNotificationSettings>>
CloudClient::notificationSettings() const {
    auto answer = co_await send("GET", "notifications/settings", std::nullopt, true);
    co_return decoded(std::move(answer), wire::notificationSettingsFromJson);
}

QCoro::Task<CloudResult<wire::CloudNotificationSettings>>
CloudClient::updateNotificationSettings(wire::NotificationSettingsUpdate update) const {
    auto answer = co_await send("PUT", "notifications/settings", toJson(update), true);
    co_return decoded(std::move(answer), wire::notificationSettingsFromJson);
}

QCoro::Task<CloudResult<EmptyResponse>> CloudClient::sendTelegramTest() const {
    auto answer = co_await send("POST", "notifications/telegram/test", std::nullopt, true);
    co_return decoded(std::move(answer), empty);
}

QCoro::Task<CloudResult<std::vector<wire::CloudSiteStatus>>> CloudClient::siteStatuses() const {
    auto answer = co_await send("GET", "sites/status", std::nullopt, true);
    co_return decoded(std::move(answer), listOf(wire::siteStatusFromJson));
}

QCoro::Task<CloudResult<std::vector<wire::CloudSite>>> CloudClient::sites() const {
    auto answer = co_await send("GET", "sites/sync", std::nullopt, true);
    co_return decoded(std::move(answer), wire::sitesFromJson);
}

QCoro::Task<CloudResult<std::vector<wire::CloudSite>>>
CloudClient::syncSites(std::vector<wire::CloudSite> sites) const {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& site : sites)
        list.push_back(toJson(site));
    auto answer = co_await send("PUT", "sites/sync", std::move(list), true);
    co_return decoded(std::move(answer), wire::sitesFromJson);
}

QCoro::Task<CloudResult<wire::CloudSiteHistory>> CloudClient::history(std::string siteID) const {
    auto answer = co_await send("GET", "sites/" + QString::fromStdString(siteID) + "/history",
                                std::nullopt, true);
    co_return decoded(std::move(answer), wire::siteHistoryFromJson);
}

} // namespace ravo::cloud
