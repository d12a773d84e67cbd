// What a client sends in If-Match when it writes its site list: only tags of ours become
// versions, at most 16, and every version read prints back as the tag it came from.
#include "server/api/site_list_tag.h"
#include "fuzz_check.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::server;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto versions = listVersionsIn(text);
    if (!versions)
        return 0;
    FUZZ_CHECK(versions->size() <= 16);
    for (const auto version : *versions) {
        FUZZ_CHECK(version >= 0);
        FUZZ_CHECK(text.find(entityTagFor(version).substr(1)) != std::string_view::npos ||
                   text.find("sites-0") != std::string_view::npos);
    }
    return 0;
}
