// What a running Ravo answers `ravo sites` over its socket: taken only in its one form, and
// then exactly what sending that listing gives.
#include "cloud/core/sites_listing.h"
#include "fuzz_check.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::cloud;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto listing = fromAnswer(text);
    if (!listing)
        return 0;
    FUZZ_CHECK(!listing->error || !listing->error->empty());
    FUZZ_CHECK(toAnswer(*listing) == text);
    return 0;
}
