#pragma once

#include "base/result.h"

#include <string>
#include <string_view>

namespace ravo::connectivity {

// The responsiveness server's configuration document: where the small and the endless
// downloads are, and where uploads go.
struct NetqualityConfig {
    std::string smallURL;
    std::string largeURL;
    std::string uploadURL;
    bool operator==(const NetqualityConfig&) const = default;

    static Result<NetqualityConfig> parse(std::string_view document);
};

} // namespace ravo::connectivity
