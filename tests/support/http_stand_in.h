#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ravo::testing {

// An HTTP/1.1 server on loopback inside the test, for a service that is out of reach (the
// Telegram Bot API) or a website to watch: each request goes to `answer`, and every request is
// kept.
class HttpStandIn {
public:
    struct Request {
        QByteArray method;
        QByteArray path;
        QByteArray body;
    };
    struct Answer {
        int status = 200;
        QByteArray body;
    };

    explicit HttpStandIn(std::function<Answer(const Request&)> answer, quint16 port = 0)
        : answer_(std::move(answer)) {
        server_.listen(QHostAddress::LocalHost, port);
        QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] { accept(); });
    }

    quint16 port() const { return server_.serverPort(); }
    QString origin() const { return QString("http://127.0.0.1:%1").arg(server_.serverPort()); }
    std::vector<Request> requests;

private:
    void accept() {
        while (QTcpSocket* socket = server_.nextPendingConnection()) {
            auto buffer = std::make_shared<QByteArray>();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, buffer] {
                *buffer += socket->readAll();
                const auto end = buffer->indexOf("\r\n\r\n");
                if (end < 0)
                    return;
                const QByteArray head = buffer->left(end);
                qsizetype length = 0;
                for (const QByteArray& line : head.split('\n'))
                    if (line.toLower().startsWith("content-length:"))
                        length = line.mid(15).trimmed().toLongLong();
                if (buffer->size() < end + 4 + length)
                    return;
                const QList<QByteArray> words = head.left(head.indexOf("\r\n")).split(' ');
                Request request{words.value(0), words.value(1), buffer->mid(end + 4, length)};
                requests.push_back(request);
                const Answer answer = answer_(request);
                socket->write("HTTP/1.1 " + QByteArray::number(answer.status) +
                              " Stand-in\r\nContent-Type: application/json\r\nContent-Length: " +
                              QByteArray::number(answer.body.size()) +
                              "\r\nConnection: close\r\n\r\n" + answer.body);
                socket->disconnectFromHost();
            });
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    }

    QTcpServer server_;
    std::function<Answer(const Request&)> answer_;
};

// A website on loopback that answers every request with `status`, and can be taken down
// and brought back on the same port.
class LoopbackWebsite {
public:
    explicit LoopbackWebsite(int status = 200) : status_(status) { bringBack(); }
    void takeDown() { server_.reset(); }
    void bringBack() {
        server_ = std::make_unique<HttpStandIn>(
            [this](const auto&) {
                return HttpStandIn::Answer{status_, "Hello"};
            },
            port_);
        port_ = server_->port();
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

private:
    int status_;
    quint16 port_ = 0;
    std::unique_ptr<HttpStandIn> server_;
};

} // namespace ravo::testing
