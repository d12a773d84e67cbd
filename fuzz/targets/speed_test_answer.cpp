// The measuring tool's standard output, as SpeedTest reads it.
#include "connectivity/core/speed_test_parser.h"
#include "connectivity/core/speed_test_text.h"
#include "fuzz_check.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::connectivity;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view output(reinterpret_cast<const char*>(data), size);
    const auto result = SpeedTestParser::resultFromOutput(output);
    if (!result)
        return 0;
    FUZZ_CHECK(result->downloadBitsPerSecond || result->uploadBitsPerSecond);
    // Whatever the numbers, the text shows none that is not finite.
    for (const auto& [label, value] : speedTestRows(*result)) {
        FUZZ_CHECK(value.find("nan") == std::string::npos);
        FUZZ_CHECK(value.find("inf") == std::string::npos);
    }
    return 0;
}
