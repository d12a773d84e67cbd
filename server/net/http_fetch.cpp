#include "server/net/http_fetch.h"

#include <curl/curl.h>

namespace ravo::server {

namespace {

std::size_t collect(char* bytes, std::size_t size, std::size_t count, void* data) {
    auto* body = static_cast<std::string*>(data);
    if (body->size() < 1024 * 1024)
        body->append(bytes, size * count);
    return size * count;
}

} // namespace

Fetched fetch(const std::string& url, const std::optional<std::string>& body,
              const std::string& contentType, std::chrono::seconds timeout) {
    Fetched fetched;
    CURL* easy = curl_easy_init();
    if (!easy)
        return fetched;
    const std::string header = "Content-Type: " + contentType;
    curl_slist* headers = curl_slist_append(nullptr, header.c_str());
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT, static_cast<long>(timeout.count()));
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    if (body) {
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body->c_str());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
    }
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &fetched.body);
    if (curl_easy_perform(easy) == CURLE_OK)
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &fetched.status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(easy);
    return fetched;
}

} // namespace ravo::server
