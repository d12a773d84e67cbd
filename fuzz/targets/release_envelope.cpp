// The body of the release endpoint: a signed envelope from the network.
#include "fuzz_check.h"
#include "updates/core/update_verifier.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::updates;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view envelope(reinterpret_cast<const char*>(data), size);
    // Nothing random carries a valid signature, so only an error may come back.
    const auto verified = UpdateVerifier::manifest(envelope, UpdateVerifier::defaultPublicKey());
    FUZZ_CHECK(std::holds_alternative<UpdateError>(verified));
    if (const auto decoded = UpdateVerifier::decodeBase64(envelope))
        FUZZ_CHECK(UpdateVerifier::encodeBase64(*decoded) == envelope);
    return 0;
}
