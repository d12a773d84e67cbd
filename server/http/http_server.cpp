#include "server/http/http_server.h"

#include "server/http/http_session.h"

#include "base/log.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>

#include <algorithm>
#include <unordered_map>

namespace ravo::server {

namespace asio = boost::asio;
using tcp = asio::ip::tcp;

namespace {

constexpr auto kFirstBackoff = std::chrono::milliseconds(50);
constexpr auto kLongestBackoff = std::chrono::seconds(1);
constexpr auto kQuietLogFor = std::chrono::seconds(60);

bool outOfResources(const boost::system::error_code& error) {
    return error == asio::error::no_descriptors || error == asio::error::no_buffer_space ||
           error == asio::error::no_memory ||
           error == boost::system::errc::too_many_files_open_in_system;
}

} // namespace

// Owns the listening socket and counts connections; sessions keep it alive, so a session
// that ends after the server is gone still has somewhere to report to. Everything runs on
// one strand.
class HttpServer::Listener : public std::enable_shared_from_this<Listener>,
                             public HttpSessionOwner {
public:
    Listener(asio::io_context& io, RequestHandler handler, HttpLimits limits, HttpStreams streams,
             ProxyTrust trust)
        : io_(io), strand_(asio::make_strand(io)), acceptor_(strand_),
          backoff_(strand_), shared_{std::move(handler), limits, std::move(streams),
                                     std::move(trust)} {}

    void listen(const tcp::endpoint& endpoint) {
        acceptor_.open(endpoint.protocol());
        acceptor_.set_option(asio::socket_base::reuse_address(true));
        acceptor_.bind(endpoint);
        acceptor_.listen(asio::socket_base::max_listen_connections);
        asio::post(strand_, [self = shared_from_this()] { self->accept(); });
    }

    unsigned short port() const { return acceptor_.local_endpoint().port(); }

    void close() {
        asio::post(strand_, [self = shared_from_this()] {
            self->closed_ = true;
            boost::system::error_code ignored;
            self->acceptor_.close(ignored);
            self->backoff_.cancel();
        });
    }

    const HttpShared& shared() const override { return shared_; }

    void sessionEnded(const std::string& peerKey) override {
        asio::post(strand_, [self = shared_from_this(), peerKey] {
            --self->open_;
            if (const auto found = self->perPeer_.find(peerKey);
                found != self->perPeer_.end() && --found->second == 0)
                self->perPeer_.erase(found);
            if (self->waitingForRoom_ && self->open_ < self->shared_.limits.maxConnections) {
                self->waitingForRoom_ = false;
                self->accept();
            }
        });
    }

private:
    void accept() {
        if (closed_)
            return;
        if (open_ >= shared_.limits.maxConnections) {
            // The next one waits in the kernel's queue until a session ends.
            if (!waitingForRoom_)
                quietLog("at " + std::to_string(open_) +
                         " connections (max-connections); new ones wait");
            waitingForRoom_ = true;
            return;
        }
        acceptor_.async_accept(
            asio::make_strand(io_),
            [self = shared_from_this()](boost::system::error_code error, tcp::socket socket) {
                self->onAccept(error, std::move(socket));
            });
    }

    void onAccept(const boost::system::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted || closed_)
            return;
        if (outOfResources(error)) {
            // Waiting, not retrying at once: the queue stays readable and would spin.
            quietLog("cannot accept connections (" + error.message() + "); trying again in " +
                     std::to_string(backoffFor_.count()) + " ms");
            backoff_.expires_after(backoffFor_);
            backoffFor_ = std::min<std::chrono::milliseconds>(backoffFor_ * 2, kLongestBackoff);
            backoff_.async_wait([self = shared_from_this()](boost::system::error_code waited) {
                if (!waited)
                    self->accept();
            });
            return;
        }
        backoffFor_ = kFirstBackoff;
        if (!error)
            admit(std::move(socket));
        accept();
    }

    // One client may not take every connection: past its share, it is hung up on at once.
    void admit(tcp::socket socket) {
        const IpAddress peer = peerOf(socket);
        std::string key;
        if (!anyContains(shared_.trust.proxies, peer)) {
            key = clientKey(peer);
            if (perPeer_[key] >= shared_.limits.maxConnectionsPerClient) {
                quietLog(key + " holds " + std::to_string(perPeer_[key]) +
                         " connections (max-connections-per-client); closing more");
                boost::system::error_code ignored;
                socket.close(ignored);
                return;
            }
            ++perPeer_[key];
        }
        ++open_;
        startHttpSession(std::move(socket), shared_from_this(), peer, std::move(key));
    }

    void quietLog(const std::string& message) {
        const auto now = std::chrono::steady_clock::now();
        if (lastLogged_ && now - *lastLogged_ < kQuietLogFor)
            return;
        lastLogged_ = now;
        log::error("http", message);
    }

    asio::io_context& io_;
    asio::strand<asio::io_context::executor_type> strand_;
    tcp::acceptor acceptor_;
    asio::steady_timer backoff_;
    HttpShared shared_;
    std::size_t open_ = 0;
    std::unordered_map<std::string, std::size_t> perPeer_; // untrusted peers' open connections
    bool waitingForRoom_ = false;
    bool closed_ = false;
    std::chrono::milliseconds backoffFor_ = kFirstBackoff;
    std::optional<std::chrono::steady_clock::time_point> lastLogged_;
};

HttpServer::HttpServer(asio::io_context& io, const tcp::endpoint& endpoint, RequestHandler handler,
                       HttpLimits limits, HttpStreams streams, ProxyTrust trust)
    : listener_(std::make_shared<Listener>(io, std::move(handler), limits, std::move(streams),
                                           std::move(trust))) {
    listener_->listen(endpoint);
}

HttpServer::~HttpServer() {
    listener_->close();
}

unsigned short HttpServer::port() const {
    return listener_->port();
}

} // namespace ravo::server
