#include "common/http_transport.h"

#include <QCoro/QCoroNetworkReply>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <memory>

namespace ravo::common {

QCoro::Task<std::optional<HttpAnswer>> NetworkTransport::send(HttpCall call) {
    QNetworkRequest request(call.url);
    for (const auto& [name, value] : call.headers)
        request.setRawHeader(name, value);
    request.setTransferTimeout(static_cast<int>(call.timeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    std::unique_ptr<QNetworkReply> reply(
        manager_.sendCustomRequest(request, call.method, call.body));
    // Never more than the limit in memory: Qt holds a small buffer, the body is taken from
    // it as it comes, and the reply is dropped as soon as it says or shows it is longer.
    reply->setReadBufferSize(64 * 1024);
    bool tooLarge = false;
    QByteArray body;
    QNetworkReply* raw = reply.get();
    const auto cutOff = [raw, &tooLarge, &body] {
        tooLarge = true;
        body = QByteArray();
        raw->abort();
    };
    QObject::connect(raw, &QNetworkReply::metaDataChanged, raw, [raw, &call, cutOff] {
        const QVariant length = raw->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > call.maxBytes)
            cutOff();
    });
    QObject::connect(raw, &QNetworkReply::readyRead, raw, [raw, &call, &body, &tooLarge, cutOff] {
        if (tooLarge)
            return;
        // Room for the whole limit at once: growing by doubling would copy it, twice the
        // memory for a moment. Pages not written to cost nothing.
        if (body.capacity() < call.maxBytes + 65536 && call.maxBytes <= (64 << 20))
            body.reserve(call.maxBytes + 65536);
        body += raw->readAll();
        if (body.size() > call.maxBytes)
            cutOff();
    });
    co_await raw;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (tooLarge)
        co_return HttpAnswer{status.toInt(), {}, true, {}};
    if (!status.isValid())
        co_return std::nullopt; // refused, timed out, TLS failed: no HTTP answer
    co_return HttpAnswer{status.toInt(), body + reply->readAll(), false, reply->rawHeaderPairs()};
}

} // namespace ravo::common
