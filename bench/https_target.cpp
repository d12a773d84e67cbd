// A fast HTTPS website for the checker benchmark: answers every request with 200 and a
// short page, then closes, so each check pays a full TCP and TLS set-up as in real use.
//   ravo_bench_https_target PORT CERT KEY [THREADS]
#include <utility>

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>

#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace asio = boost::asio;
namespace ssl = asio::ssl;
using tcp = asio::ip::tcp;

namespace {

constexpr std::string_view kAnswer = "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n"
                                     "Content-Length: 19\r\nConnection: close\r\n\r\n"
                                     "Welcome to the shop";

class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(tcp::socket socket, ssl::context& context) : stream_(std::move(socket), context) {}

    void start() {
        stream_.async_handshake(ssl::stream_base::server,
                                [self = shared_from_this()](boost::system::error_code error) {
                                    if (!error)
                                        self->readRequest();
                                });
    }

private:
    void readRequest() {
        asio::async_read_until(
            stream_, asio::dynamic_buffer(request_), "\r\n\r\n",
            [self = shared_from_this()](boost::system::error_code error, std::size_t) {
                if (!error)
                    self->answer();
            });
    }

    void answer() {
        asio::async_write(stream_, asio::buffer(kAnswer.data(), kAnswer.size()),
                          [self = shared_from_this()](boost::system::error_code, std::size_t) {
                              boost::system::error_code ignored;
                              self->stream_.lowest_layer().shutdown(tcp::socket::shutdown_both,
                                                                    ignored);
                          });
    }

    ssl::stream<tcp::socket> stream_;
    std::string request_;
};

void accept(tcp::acceptor& acceptor, ssl::context& context) {
    acceptor.async_accept(
        [&acceptor, &context](boost::system::error_code error, tcp::socket socket) {
            if (!error)
                std::make_shared<Connection>(std::move(socket), context)->start();
            accept(acceptor, context);
        });
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: %s PORT CERT KEY [THREADS]\n", argv[0]);
        return 2;
    }
    ssl::context context(ssl::context::tls_server);
    context.use_certificate_chain_file(argv[2]);
    context.use_private_key_file(argv[3], ssl::context::pem);
    asio::io_context io;
    tcp::acceptor acceptor(io, tcp::endpoint(asio::ip::make_address("127.0.0.1"),
                                             static_cast<unsigned short>(std::stoi(argv[1]))));
    acceptor.listen(4096);
    accept(acceptor, context);
    std::vector<std::thread> threads;
    for (int i = 1; i < (argc > 4 ? std::stoi(argv[4]) : 1); ++i)
        threads.emplace_back([&io] { io.run(); });
    io.run();
}
