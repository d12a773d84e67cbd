#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QList>
#include <QNetworkAccessManager>
#include <QPair>
#include <QUrl>

#include <chrono>
#include <optional>

namespace ravo::common {

struct HttpCall {
    QByteArray method;
    QUrl url;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;
    std::chrono::milliseconds timeout{20000};
    // An answer longer than this is cut off as it arrives, whatever it says its length is.
    qint64 maxBytes = 4 * 1024 * 1024;
};

struct HttpAnswer {
    int status = 0; // 0: not an HTTP answer
    QByteArray body;
    bool tooLarge = false; // cut off at the call's maxBytes; the body is empty
    QList<QPair<QByteArray, QByteArray>> headers;
};

// Sends one complete request; nothing when it could not be sent or answered at all.
class HttpTransport {
public:
    virtual ~HttpTransport() = default;
    virtual QCoro::Task<std::optional<HttpAnswer>> send(HttpCall call) = 0;
};

// The production transport: Qt Network, with the call's time-out.
class NetworkTransport final : public HttpTransport {
public:
    QCoro::Task<std::optional<HttpAnswer>> send(HttpCall call) override;

private:
    QNetworkAccessManager manager_;
};

} // namespace ravo::common
