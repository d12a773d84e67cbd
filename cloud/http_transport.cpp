#include "cloud/http_transport.h"

#include <QCoro/QCoroNetworkReply>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <memory>

namespace ravo::cloud {

QCoro::Task<std::optional<HttpAnswer>> NetworkTransport::send(HttpCall call) {
    QNetworkRequest request(call.url);
    for (const auto& [name, value] : call.headers)
        request.setRawHeader(name, value);
    request.setTransferTimeout(static_cast<int>(call.timeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    std::unique_ptr<QNetworkReply> reply(
        manager_.sendCustomRequest(request, call.method, call.body));
    // Never more than the limit in memory: Qt stops reading past its buffer, and the reply
    // is dropped as soon as it says or shows that it is longer.
    reply->setReadBufferSize(call.maxBytes + 1);
    bool tooLarge = false;
    QNetworkReply* raw = reply.get();
    const auto cutOff = [raw, &tooLarge] {
        tooLarge = true;
        raw->abort();
    };
    QObject::connect(raw, &QNetworkReply::metaDataChanged, raw, [raw, &call, cutOff] {
        const QVariant length = raw->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > call.maxBytes)
            cutOff();
    });
    QObject::connect(raw, &QNetworkReply::downloadProgress, raw,
                     [&call, cutOff](qint64 received, qint64) {
                         if (received > call.maxBytes)
                             cutOff();
                     });
    co_await raw;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (tooLarge)
        co_return HttpAnswer{status.toInt(), {}, true};
    if (!status.isValid())
        co_return std::nullopt; // refused, timed out, TLS failed: no HTTP answer
    co_return HttpAnswer{status.toInt(), reply->readAll()};
}

} // namespace ravo::cloud
