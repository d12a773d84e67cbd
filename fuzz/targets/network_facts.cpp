// What the connection settings and the interface reader take in: a typed probe address
// and /proc/net/wireless. The first line of the input is the address and the interface.
#include "connectivity/core/network_interface_info.h"
#include "connectivity/core/probe_address.h"
#include "fuzz_check.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::connectivity;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto newline = input.find('\n');
    const std::string_view first = input.substr(0, newline);
    const std::string_view rest =
        newline == std::string_view::npos ? std::string_view{} : input.substr(newline + 1);

    const auto address = ProbeAddress::parse(first);
    if (address) {
        FUZZ_CHECK(address->port != 0);
        FUZZ_CHECK(!address->host.empty());
        // What is stored is read back the same.
        const auto again = ProbeAddress::parse(address->text());
        FUZZ_CHECK(again.ok() && again.value() == address.value());
    }
    if (const auto dbm = wirelessSignalDbm(rest, first))
        FUZZ_CHECK(*dbm < 0 && *dbm >= -150);
    return 0;
}
