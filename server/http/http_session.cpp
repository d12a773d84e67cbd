#include "server/http/http_session.h"

#include "server/http/http_request_reader.h"

#include "base/log.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <array>
#include <limits>
#include <optional>
#include <vector>

namespace ravo::server {

namespace beast = boost::beast;
namespace http = beast::http;
namespace asio = boost::asio;
using tcp = asio::ip::tcp;

namespace {

http::response<http::string_body> toMessage(const HttpResponse& response, unsigned version,
                                            bool keepAlive) {
    http::response<http::string_body> message{static_cast<http::status>(response.status), version};
    message.set(http::field::server, "ravo-server");
    message.set(http::field::content_type, response.contentType);
    message.set(http::field::cache_control, "no-store");
    for (const auto& [name, value] : response.headers)
        message.set(name, value);
    message.keep_alive(keepAlive);
    message.body() = response.body;
    message.prepare_payload();
    return message;
}

constexpr std::uint64_t kEndlessBytes = 8ull << 30; // "endless": 8 GiB, the client stops first
constexpr std::size_t kChunkBytes = 64 * 1024;

const std::array<char, kChunkBytes>& zeros() {
    static const std::array<char, kChunkBytes> chunk{};
    return chunk;
}

} // namespace

IpAddress peerOf(const tcp::socket& socket) {
    beast::error_code error;
    const auto endpoint = socket.remote_endpoint(error);
    if (error)
        return IpAddress{}; // "::": counted as one unknown client
    const auto address = endpoint.address();
    if (address.is_v4()) {
        const auto bytes = address.to_v4().to_bytes();
        return ipv4Address(bytes[0], bytes[1], bytes[2], bytes[3]);
    }
    IpAddress v6;
    const auto bytes = address.to_v6().to_bytes();
    std::copy(bytes.begin(), bytes.end(), v6.bytes.begin());
    return v6;
}

namespace {

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(tcp::socket socket, std::shared_ptr<HttpSessionOwner> owner, const IpAddress& peer,
            std::string peerKey)
        : owner_(std::move(owner)), shared_(owner_->shared()), peer_(peer),
          peerKey_(std::move(peerKey)), stream_(std::move(socket)), timer_(stream_.get_executor()) {
    }

    ~Session() {
        endTransfer();
        owner_->sessionEnded(peerKey_);
    }

    void start() { read(); }

private:
    void read() {
        header_.emplace();
        header_->header_limit(static_cast<std::uint32_t>(shared_.limits.maxHeaderBytes));
        // The body's size is judged once the path is known: uploads to the sink have none.
        header_->body_limit(std::numeric_limits<std::uint64_t>::max());
        stream_.expires_after(first_ ? shared_.limits.requestTimeout : shared_.limits.idleTimeout);
        http::async_read_header(stream_, buffer_, *header_,
                                [self = shared_from_this()](beast::error_code error, std::size_t) {
                                    self->onHeader(error);
                                });
    }

    void onHeader(beast::error_code headerError) {
        first_ = false;
        if (headerError)
            return onRead(headerError);
        const auto& header = header_->get();
        client_ = clientOf(peer_, header, shared_.trust);
        clientKey_ = clientKey(client_);
        if (hasBadFraming(header, header.version()))
            return onRead(http::error::bad_transfer_encoding);
        const auto& streams = shared_.streams;
        const bool upload =
            header.method() == http::verb::post && header.target() == streams.uploadSinkPath;
        const bool download =
            header.method() == http::verb::get && header.target() == streams.endlessDownloadPath;
        if (upload || download) {
            if (auto refused = admitTransfer())
                return write(toMessage(*refused, header.version(), false));
            return upload ? discardUpload() : sendEndless();
        }
        if (header_->content_length().value_or(0) > shared_.limits.maxBodyBytes)
            return onRead(http::error::body_limit);
        parser_.emplace(std::move(*header_));
        parser_->body_limit(shared_.limits.maxBodyBytes);
        stream_.expires_after(shared_.limits.requestTimeout);
        http::async_read(stream_, buffer_, *parser_,
                         [self = shared_from_this()](beast::error_code error, std::size_t) {
                             self->onRead(error);
                         });
    }

    // Who may stream, and how much: the server's rule, then the client's budget.
    std::optional<HttpResponse> admitTransfer() {
        const auto& streams = shared_.streams;
        if (streams.admit) {
            http::request<http::string_body> head(header_->get());
            if (auto refused = streams.admit(requestFromMessage(head, client_)))
                return refused;
        }
        if (!streams.budget)
            return std::nullopt;
        const auto decision = streams.budget->begin(clientKey_, Clock::now());
        if (!decision.allowed)
            return rateLimitedResponse(decision.retryAfter);
        transferOpen_ = true;
        return std::nullopt;
    }

    void endTransfer() {
        if (transferOpen_ && shared_.streams.budget)
            shared_.streams.budget->end(clientKey_);
        transferOpen_ = false;
    }

    std::uint64_t allowance(std::uint64_t wanted) {
        const auto& budget = shared_.streams.budget;
        return budget ? budget->take(clientKey_, wanted, Clock::now()) : wanted;
    }

    void discardUpload() {
        scratch_.resize(kChunkBytes);
        sink_.emplace(std::move(*header_));
        sink_->body_limit(std::numeric_limits<std::uint64_t>::max());
        readUploadChunk();
    }

    void readUploadChunk() {
        sink_->get().body().data = scratch_.data();
        sink_->get().body().size = scratch_.size();
        stream_.expires_after(shared_.limits.requestTimeout);
        http::async_read(stream_, buffer_, *sink_,
                         [self = shared_from_this()](beast::error_code error, std::size_t) {
                             self->onUploadChunk(error);
                         });
    }

    void onUploadChunk(beast::error_code error) {
        if (error == http::error::need_buffer)
            error = {};
        if (error)
            return close();
        const std::uint64_t received = scratch_.size() - sink_->get().body().size;
        if (allowance(received) < received)
            return close(); // the client's bytes for the hour are spent
        if (!sink_->is_done())
            return readUploadChunk();
        endTransfer();
        write(toMessage(jsonResponse(200, "{}"), 11, sink_->get().keep_alive()));
    }

    void sendEndless() {
        auto head = std::make_shared<std::string>(
            "HTTP/1.1 200 OK\r\nServer: ravo-server\r\nContent-Type: application/octet-stream\r\n"
            "Cache-Control: no-store\r\nConnection: close\r\nContent-Length: " +
            std::to_string(kEndlessBytes) + "\r\n\r\n");
        stream_.expires_after(shared_.limits.requestTimeout);
        asio::async_write(stream_, asio::buffer(*head),
                          [self = shared_from_this(), head](beast::error_code error, std::size_t) {
                              if (error)
                                  return self->close();
                              self->sendZeros(0);
                          });
    }

    void sendZeros(std::uint64_t sent) {
        const std::uint64_t chunk =
            allowance(std::min<std::uint64_t>(kChunkBytes, kEndlessBytes - sent));
        if (sent >= kEndlessBytes || chunk == 0)
            return close();
        stream_.expires_after(shared_.limits.requestTimeout);
        asio::async_write(
            stream_, asio::buffer(zeros().data(), static_cast<std::size_t>(chunk)),
            [self = shared_from_this(), sent](beast::error_code error, std::size_t written) {
                if (error)
                    return self->close();
                self->sendZeros(sent + written);
            });
    }

    void onRead(beast::error_code error) {
        if (error == http::error::end_of_stream || error == beast::error::timeout ||
            error == asio::error::operation_aborted || error == asio::error::connection_reset)
            return close();
        if (error) {
            // Say why, then hang up: the stream may be anywhere in a broken request.
            log::info("http", "refused a request from " +
                                  (client_.empty() ? toString(peer_) : client_) + ": " +
                                  error.message());
            const int status = error == http::error::body_limit     ? 413
                               : error == http::error::header_limit ? 431
                                                                    : 400;
            return write(
                toMessage(errorResponse(status, status == 413 ? "body_too_large" : "bad_request"),
                          11, false));
        }
        auto request = parser_->release();
        auto handed = requestFromMessage(request, client_);
        handed.viaTrustedProxy = isTrustedProxy(peer_, shared_.trust);
        const HttpResponse response = shared_.handler(handed);
        auto message = toMessage(response, request.version(), request.keep_alive());
        if (response.delay <= std::chrono::milliseconds::zero())
            return write(std::move(message));
        timer_.expires_after(response.delay);
        timer_.async_wait([self = shared_from_this(),
                           held = std::make_shared<decltype(message)>(std::move(message))](
                              beast::error_code) { self->write(std::move(*held)); });
    }

    void write(http::response<http::string_body> message) {
        auto shared = std::make_shared<http::response<http::string_body>>(std::move(message));
        stream_.expires_after(shared_.limits.requestTimeout);
        http::async_write(
            stream_, *shared,
            [self = shared_from_this(), shared](beast::error_code error, std::size_t) {
                if (error || !shared->keep_alive())
                    return self->close();
                self->read();
            });
    }

    void close() {
        endTransfer();
        beast::error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
    }

    std::shared_ptr<HttpSessionOwner> owner_;
    const HttpShared& shared_;
    IpAddress peer_;
    std::string peerKey_;
    std::string client_;
    std::string clientKey_; // what its limits count under
    beast::tcp_stream stream_;
    asio::steady_timer timer_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<http::empty_body>> header_;
    std::optional<http::request_parser<http::string_body>> parser_;
    std::optional<http::request_parser<http::buffer_body>> sink_;
    std::vector<char> scratch_; // only for uploads
    bool first_ = true;
    bool transferOpen_ = false;
};

} // namespace

void startHttpSession(tcp::socket socket, std::shared_ptr<HttpSessionOwner> owner,
                      const IpAddress& peer, std::string peerKey) {
    std::make_shared<Session>(std::move(socket), std::move(owner), peer, std::move(peerKey))
        ->start();
}

} // namespace ravo::server
