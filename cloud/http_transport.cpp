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
    co_await reply.get();
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid())
        co_return std::nullopt; // refused, timed out, TLS failed: no HTTP answer
    co_return HttpAnswer{status.toInt(), reply->readAll()};
}

} // namespace ravo::cloud
