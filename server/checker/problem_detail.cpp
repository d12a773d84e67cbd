#include "server/checker/problem_detail.h"

namespace ravo::server {

std::string problemDetailFor(std::string_view problemKind) {
    if (problemKind == "dns_failed")
        return "The name was not found in DNS. Check the address for typos.";
    if (problemKind == "connection_failed")
        return "Nothing accepted the connection. Check that the site runs and is reachable "
               "from the internet.";
    if (problemKind == "tls_failed")
        return "The secure connection could not be set up. Check the site's HTTPS set-up.";
    if (problemKind == "too_many_redirects")
        return "The site redirects too many times. Check its redirects for a loop.";
    return "The connection broke off before a full answer. Check the site's web server.";
}

} // namespace ravo::server
