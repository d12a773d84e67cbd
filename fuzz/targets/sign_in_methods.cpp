// What a server answers GET auth/methods, as the Account page reads it.
#include "base/json_parse.h"
#include "fuzz_check.h"
#include "wire/sign_in_methods.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto json = parseJson(text, {.maxDepth = 64});
    if (!json)
        return 0;
    const auto methods = wire::signInMethodsFromJson(*json);
    if (!methods)
        return 0;
    // What was read is what writing it gives back.
    FUZZ_CHECK(wire::signInMethodsFromJson(wire::toJson(*methods)).value() == *methods);
    return 0;
}
