#include "base/atomic_file.h"
#include "connectivity/core/network_interface_info.h"
#include "connectivity/core/network_probe.h"
#include "connectivity/core/probe_address.h"
#include "connectivity/network_info_reader.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ravo::connectivity {
namespace {

TEST(ProbeAddress, AcceptsHostAndPortAndExplainsWhatIsWrong) {
    EXPECT_EQ(ProbeAddress::parse("1.1.1.1:443").value(), (ProbeAddress{"1.1.1.1", 443}));
    EXPECT_EQ(ProbeAddress::parse(" resolver.example:8443 ").value(),
              (ProbeAddress{"resolver.example", 8443}));
    const auto ipv6 = ProbeAddress::parse("[2606:4700::1111]:443");
    ASSERT_TRUE(ipv6.ok());
    EXPECT_EQ(ipv6->host, "2606:4700::1111");
    EXPECT_EQ(ipv6->text(), "[2606:4700::1111]:443");

    for (const char* shapeless : {"", "1.1.1.1", "2606:4700::1111:443", "[::1]", "[1.1.1.1]:443",
                                  ":443", "host name:443", "host/x:443"})
        EXPECT_EQ(ProbeAddress::parse(shapeless).error(),
                  "Give the address as host:port, for example 1.1.1.1:443.")
            << shapeless;
    for (const char* badPort : {"1.1.1.1:", "1.1.1.1:0", "1.1.1.1:65536", "1.1.1.1:44x"})
        EXPECT_EQ(ProbeAddress::parse(badPort).error(),
                  "The port must be a number from 1 to 65535.")
            << badPort;
}

// A real listener on loopback: the kernel finishes the handshake from its backlog.
class LoopbackListener {
public:
    LoopbackListener() {
        fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        ::bind(fd_, reinterpret_cast<sockaddr*>(&address), size);
        ::listen(fd_, 16);
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
    }
    ~LoopbackListener() { close(); }
    void close() {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
    }
    std::uint16_t port() const { return port_; }

private:
    int fd_ = -1;
    std::uint16_t port_ = 0;
};

TEST(NetworkProbe, TimesRealConnectionsAndCountsRefusedOnesAsFailed) {
    LoopbackListener listener;
    const ProbeAddress address{"127.0.0.1", listener.port()};
    const auto sample = NetworkProbe::connectTime(address);
    ASSERT_TRUE(sample.has_value());
    EXPECT_GE(*sample, 0.0);
    EXPECT_LT(*sample, 500.0);

    const auto summary = NetworkProbe::latency(address, 4);
    ASSERT_TRUE(summary.has_value());
    EXPECT_GE(summary->meanMs, 0.0);
    EXPECT_GE(summary->jitterMs, 0.0);

    listener.close(); // nobody listens: every sample is refused
    EXPECT_EQ(NetworkProbe::connectTime(address), std::nullopt);
    EXPECT_EQ(NetworkProbe::latency(address, 4), std::nullopt);
    EXPECT_EQ(NetworkProbe::latency({"no-such-host.invalid", 443}, 2), std::nullopt);
}

TEST(NetworkProbe, GivesUpOnASilentAddressAtTheTimeOut) {
    // TEST-NET-1 is never routed; with a route the SYN goes unanswered, without one the
    // connection fails at once. Either way the sample is absent and on time.
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(NetworkProbe::connectTime({"192.0.2.1", 443}, std::chrono::milliseconds(300)),
              std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(2));
}

TEST(NetworkInterfaceInfo, ReadsTheSignalLevelOfTheNamedWirelessInterface) {
    const std::string wireless =
        "Inter-| sta-|   Quality        |   Discarded packets               | Missed | WE\n"
        " face | tus | link level noise |  nwid  crypt   frag  retry   misc | beacon | 22\n"
        "wlp2s0: 0000   54.  -56.  -256        0      0      0      0      0        0\n"
        " wlan1: 0000   0.  0.  -256        0      0      0      0      0        0\n"
        " wlan2: 0000   60  200  0        0      0      0      0      0        0\n"
        " wlan3: 0000   60  loud  0        0      0      0      0      0        0\n";
    EXPECT_EQ(wirelessSignalDbm(wireless, "wlp2s0"), -56);
    EXPECT_EQ(wirelessSignalDbm(wireless, "wlan1"), std::nullopt); // not associated
    EXPECT_EQ(wirelessSignalDbm(wireless, "wlan2"), -56);          // an unsigned byte
    EXPECT_EQ(wirelessSignalDbm(wireless, "wlan3"), std::nullopt);
    EXPECT_EQ(wirelessSignalDbm(wireless, "eth0"), std::nullopt);
    EXPECT_EQ(wirelessSignalDbm("", "wlp2s0"), std::nullopt);
}

// A machine's /proc and /sys laid out in a folder.
class NetworkInfoReaderTest : public ::testing::Test {
protected:
    void route(const std::string& lines) {
        std::filesystem::create_directories(folder / "proc/net");
        writeFileAtomically(folder / "proc/net/route",
                            "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU"
                            "\tWindow\tIRTT\n" +
                                lines);
    }
    void device(const std::string& name, const std::string& address, bool wireless) {
        const auto folderOf = folder / "sys" / name;
        std::filesystem::create_directories(folderOf / "device");
        if (wireless)
            std::filesystem::create_directories(folderOf / "wireless");
        writeFileAtomically(folderOf / "address", address + "\n");
        writeFileAtomically(folderOf / "type", "1\n");
    }
    NetworkInfoReader::Roots roots() const { return {folder / "proc", folder / "sys"}; }

    testing::TemporaryFolder folder;
};

TEST_F(NetworkInfoReaderTest, DescribesTheDefaultRouteInterface) {
    route("lo\t00000000\t00000000\t0001\t0\t0\t0\t00000000\t0\t0\t0\n"
          "wlp2s0\t0000A8C0\t00000000\t0001\t0\t0\t600\t00FFFFFF\t0\t0\t0\n"
          "wlp2s0\t00000000\t0100A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n");
    device("wlp2s0", "3c:22:fb:01:02:03", true);
    writeFileAtomically(folder / "proc/net/wireless",
                        "h1\nh2\nwlp2s0: 0000   54.  -61.  -256  0 0 0 0 0 0\n");
    const auto info = NetworkInfoReader::read(roots());
    EXPECT_EQ(info.bsdName, "wlp2s0");
    EXPECT_EQ(info.displayName, "Wi-Fi");
    EXPECT_EQ(info.macAddress, "3c:22:fb:01:02:03");
    EXPECT_EQ(info.wifiRSSI, -61);
    // No such interface on this machine, so no address either.
    EXPECT_EQ(info.localIPv4, std::nullopt);
}

TEST_F(NetworkInfoReaderTest, WithoutADefaultRouteEveryFactIsAbsent) {
    route("eth0\t0000A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n");
    device("eth0", "52:54:00:12:34:56", false);
    EXPECT_EQ(NetworkInfoReader::read(roots()), NetworkInterfaceInfo{});
    EXPECT_EQ(NetworkInfoReader::read({folder / "nothing", folder / "nothing"}),
              NetworkInterfaceInfo{});
}

TEST_F(NetworkInfoReaderTest, AnIPv6OnlyNetworkHasItsInterfaceToo) {
    // No IPv4 default route; ::/0 leaves over enp3s0 (the loopback's ::/0 is not a way out).
    route("enp3s0\t0000A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n");
    writeFileAtomically(folder / "proc/net/ipv6_route",
                        "00000000000000000000000000000000 00 00000000000000000000000000000000 00 "
                        "00000000000000000000000000000000 ffffffff 00000001 00000000 00200200 lo\n"
                        "00000000000000000000000000000000 00 00000000000000000000000000000000 00 "
                        "fe800000000000000000000000000001 00000400 00000001 00000000 00000003 "
                        "enp3s0\n");
    device("enp3s0", "52:54:00:12:34:56", false);
    const auto info = NetworkInfoReader::read(roots());
    EXPECT_EQ(info.bsdName, "enp3s0");
    EXPECT_EQ(info.displayName, "Ethernet");
    EXPECT_EQ(info.localIPv4, std::nullopt);
}

TEST_F(NetworkInfoReaderTest, AWiredInterfaceHasNoSignal) {
    route("enp3s0\t00000000\t0100A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n");
    device("enp3s0", "52:54:00:12:34:56", false);
    const auto info = NetworkInfoReader::read(roots());
    EXPECT_EQ(info.displayName, "Ethernet");
    EXPECT_EQ(info.wifiRSSI, std::nullopt);
}

TEST(NetworkInfoReader, FindsTheIPv4AddressOfARealInterface) {
    EXPECT_EQ(NetworkInfoReader::ipv4Address("lo"), "127.0.0.1");
    EXPECT_EQ(NetworkInfoReader::ipv4Address("no-such-interface"), std::nullopt);
    // The loopback's ::1 reaches nowhere beyond this machine.
    EXPECT_EQ(NetworkInfoReader::ipv6Address("lo"), std::nullopt);
    EXPECT_EQ(NetworkInfoReader::ipv6Address("no-such-interface"), std::nullopt);
}

TEST(NetworkInfo, ShowsAnIPv6AddressThatReachesBeyondTheLink) {
    EXPECT_EQ(preferredIPv6({"fe80::1", "fd00::5", "2001:db8::7"}), "2001:db8::7");
    EXPECT_EQ(preferredIPv6({"FE80::1", "fd12::5", "fc00::9"}), "fd12::5");
    EXPECT_EQ(preferredIPv6({"::1", "fe80::1", "feb0::2", ""}), std::nullopt);
    EXPECT_EQ(preferredIPv6({}), std::nullopt);
    EXPECT_EQ(preferredIPv6({"2001:DB8::A"}), "2001:db8::a");
    NetworkInterfaceInfo info;
    info.localIPv6 = "2001:db8::7";
    EXPECT_EQ(toJson(info)["ipv6"], "2001:db8::7");
    EXPECT_TRUE(toJson(NetworkInterfaceInfo{})["ipv6"].is_null());
}

} // namespace
} // namespace ravo::connectivity
