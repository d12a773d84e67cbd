// What reaches ravo-server from Sign in with Apple: the form Apple posts back, and the
// identity token it hands out, checked against a key set.
#include "fuzz_check.h"
#include "server/auth/apple_tokens.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;
using namespace ravo::server;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    // Before the first newline: the form; after it: the token.
    const auto newline = input.find('\n');
    const auto form = parseForm(input.substr(0, newline));
    for (const auto& [name, value] : form)
        FUZZ_CHECK(!name.empty() && value.size() <= size);
    if (newline == std::string_view::npos)
        return 0;
    static const nlohmann::json keys = {
        {"keys",
         {{{"kty", "RSA"},
           {"kid", "k1"},
           {"n", "sXchDaQebHnPiGvyDOAT4saGEUetSyo9MKLOoWFsueri23bOdgWp4Dy1WlUzewbgBHod5pcM9H95GQRV3"
                 "JDXboIRROSBigeC5yjU1hGzHHyXss8UDprecbAYxknTcQkhslANGRUZmdTOQ5qTRsLAt6BTYuyvVRdhS8"
                 "exSZEy_c4gs_7svlJJQ4H9_NxsiIoLwAEk7-Q3UXERGYw_75IDrGA84-lA_-"
                 "Ct4eTlXHBIY2EaV7t7LjJaynVJCpkv4LKjTTAumiGUIuQhrNhZLuF_RJLqHpM2kgWFLU7-"
                 "VTdL1VbC2tejvcI2BlMkEpk1BzBZI0KQB0GaDWFLN-aEAw3vRw"},
           {"e", "AQAB"}}}}};
    const AppleSettings settings{"io.example.ravo.web", "TEAM", "KEY", "",
                                 "https://appleid.apple.com"};
    const auto identity = verifyAppleIdToken(input.substr(newline + 1), keys, settings,
                                             fromUnixSeconds(1'800'000'000));
    // Nothing made up passes: the fuzzer cannot sign with that key.
    FUZZ_CHECK(!identity);
    return 0;
}
