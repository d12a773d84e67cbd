// /proc/[pid]/stat as any process can shape it: its name is whatever it chose to call itself.
#include "fuzz_check.h"
#include "metrics/platform/linux/proc_parsers.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using namespace ravo::metrics;

namespace {

// What the name shows is valid UTF-8 without control characters.
bool isSafeText(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x20 || lead == 0x7f)
            return false;
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
        if (lead >= 0x80 && (lead < 0xc2 || lead > 0xf4))
            return false;
        if (i + length > text.size())
            return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xc0) != 0x80)
                return false;
        i += length;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto stat = kernel::parseProcessStat(text);
    std::string name = "reused";
    if (stat) {
        FUZZ_CHECK(stat->pid > 0);
        FUZZ_CHECK(stat->name.data() >= text.data() &&
                   stat->name.data() + stat->name.size() <= text.data() + text.size());
        kernel::assignDisplayName(name, stat->name);
    } else {
        kernel::assignDisplayName(name, text);
    }
    FUZZ_CHECK(isSafeText(name));
    return 0;
}
