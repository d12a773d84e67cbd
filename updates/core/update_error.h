#pragma once

#include <string_view>

namespace ravo::updates {

// Why a release manifest or a download is not acted on.
enum class UpdateError { malformed, badSignature, insecureDownload, checksumMismatch };

constexpr std::string_view text(UpdateError error) {
    switch (error) {
    case UpdateError::malformed:
        return "The update information is unreadable.";
    case UpdateError::badSignature:
        return "The update information isn't signed by Ravo.";
    case UpdateError::insecureDownload:
        return "The update download link isn't secure.";
    case UpdateError::checksumMismatch:
        return "The downloaded update is damaged or was tampered with.";
    }
    return {};
}

} // namespace ravo::updates
