// ravo-netquality: measures the connection against a responsiveness server and prints the
// figures with the keys of macOS's networkQuality, so one parser reads both.
#include "connectivity/netquality/responsiveness_client.h"

#include <charconv>
#include <csignal>
#include <iostream>
#include <string_view>

#include <sys/prctl.h>

#ifndef RAVO_NETQUALITY_CONFIG
#define RAVO_NETQUALITY_CONFIG "https://mensura.cdn-apple.com/api/v1/gm/config"
#endif

namespace {

constexpr const char* kUsage =
    "Usage: ravo-netquality [-c] [-M SECONDS] [--config URL]\n"
    "\n"
    "Measures download and upload throughput, responsiveness under load (round trips per\n"
    "minute) and the idle round-trip time against a server of the IETF responsiveness test.\n"
    "\n"
    "  -c            print the results as JSON\n"
    "  -M SECONDS    stop after at most SECONDS (default 30)\n"
    "  --config URL  the server's configuration document, for example\n"
    "                https://ravo.example.org/api/v1/speedtest/config\n"
    "                (default " RAVO_NETQUALITY_CONFIG ")\n";

int usageError(const std::string& message) {
    std::cerr << "ravo-netquality: " << message << "\n\n" << kUsage;
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    // Started by Ravo in a process group of its own, so a Ctrl-C meant for `ravo speedtest`
    // does not reach it: it ends with its parent instead.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    bool json = false;
    long seconds = 30;
    std::string config = RAVO_NETQUALITY_CONFIG;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "-c") {
            json = true;
        } else if (argument == "-M" || argument == "--config") {
            if (i + 1 >= argc)
                return usageError(std::string(argument) + " needs a value.");
            const std::string_view value = argv[++i];
            if (argument == "--config") {
                config = value;
                continue;
            }
            const auto [end, error] =
                std::from_chars(value.data(), value.data() + value.size(), seconds);
            if (error != std::errc{} || end != value.data() + value.size() || seconds < 5 ||
                seconds > 600)
                return usageError("-M takes a number of seconds from 5 to 600.");
        } else if (argument == "-h" || argument == "--help") {
            std::cout << kUsage;
            return 0;
        } else {
            return usageError("Unknown argument " + std::string(argument) + ".");
        }
    }
    ravo::connectivity::ResponsivenessClient client({config, std::chrono::seconds(seconds)});
    const auto report = client.run();
    if (!report) {
        std::cerr << "ravo-netquality: " << report.error() << "\n";
        return 1;
    }
    std::cout << (json ? report->json() + "\n" : report->text());
    return 0;
}
