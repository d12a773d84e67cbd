#include "server/http/http_request_reader.h"

#include "base/trimmed.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

#include <algorithm>
#include <cctype>
#include <limits>

namespace ravo::server {

namespace http = boost::beast::http;

namespace {

bool equalsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

} // namespace

HttpRequest requestFromMessage(const http::request<http::string_body>& message,
                               const std::string& client) {
    HttpRequest request;
    request.method = std::string(message.method_string());
    const std::string target(message.target());
    const auto question = target.find('?');
    request.path = target.substr(0, question);
    if (question != std::string::npos)
        request.query = target.substr(question + 1);
    for (const auto& field : message) {
        std::string name(field.name_string());
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        request.headers[name] = std::string(field.value());
    }
    request.body = message.body();
    request.clientAddress = client;
    return request;
}

std::string clientOf(const IpAddress& peer, const http::fields& fields, const ProxyTrust& trust) {
    if (trust.proxies.empty())
        return toString(peer);
    const boost::beast::string_view name =
        trust.header == ForwardedHeader::forwarded ? "Forwarded" : "X-Forwarded-For";
    std::string joined;
    for (auto [at, end] = fields.equal_range(name); at != end; ++at) {
        if (!joined.empty())
            joined += ", ";
        joined.append(at->value().data(), at->value().size());
    }
    return toString(clientAddress(peer, joined, trust));
}

bool hasBadFraming(const http::fields& fields, unsigned version) {
    const auto [first, end] = fields.equal_range(http::field::transfer_encoding);
    if (first == end)
        return false;
    return std::next(first) != end ||
           !equalsNoCase(
               trimmedView(std::string_view(first->value().data(), first->value().size())),
               "chunked") ||
           fields.count(http::field::content_length) != 0 || version < 11;
}

std::variant<HttpRequest, int> readHttpRequest(std::string_view bytes, const HttpLimits& limits,
                                               const IpAddress& peer, const ProxyTrust& trust) {
    const auto refusal = [](const boost::system::error_code& error) {
        return error == http::error::body_limit     ? 413
               : error == http::error::header_limit ? 431
                                                    : 400;
    };
    http::request_parser<http::empty_body> header;
    header.header_limit(static_cast<std::uint32_t>(limits.maxHeaderBytes));
    header.body_limit(std::numeric_limits<std::uint64_t>::max());
    header.eager(false);
    boost::system::error_code error;
    const std::size_t used = header.put(boost::asio::buffer(bytes.data(), bytes.size()), error);
    if (error || !header.is_header_done())
        return error ? refusal(error) : 400;
    if (hasBadFraming(header.get(), header.get().version()))
        return 400;
    if (header.content_length().value_or(0) > limits.maxBodyBytes)
        return 413;
    const std::string client = clientOf(peer, header.get(), trust);
    http::request_parser<http::string_body> whole(std::move(header));
    whole.body_limit(limits.maxBodyBytes);
    bytes.remove_prefix(used);
    while (!whole.is_done() && !bytes.empty()) {
        const std::size_t taken = whole.put(boost::asio::buffer(bytes.data(), bytes.size()), error);
        if (error == http::error::need_more)
            break;
        if (error)
            return refusal(error);
        if (taken == 0)
            break;
        bytes.remove_prefix(taken);
    }
    if (!whole.is_done())
        whole.put_eof(error);
    if (error || !whole.is_done())
        return error ? refusal(error) : 400;
    auto request = requestFromMessage(whole.get(), client);
    request.viaTrustedProxy = isTrustedProxy(peer, trust);
    return request;
}

} // namespace ravo::server
