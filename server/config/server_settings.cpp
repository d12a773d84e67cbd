#include "server/config/server_settings.h"

#include "base/atomic_file.h"

#include <charconv>

namespace ravo::server {

namespace {

constexpr std::size_t kMaxSecretBytes = 64 * 1024;

} // namespace

Result<std::string> secretFromFile(const std::string& path) {
    auto text = readFile(path, kMaxSecretBytes);
    if (!text)
        return Failure{"cannot read " + path};
    while (!text->empty() && (text->back() == '\n' || text->back() == '\r'))
        text->pop_back();
    if (text->empty())
        return Failure{path + " is empty"};
    return *text;
}

namespace {

auto secretFileInto(std::optional<std::string> ServerConfig::*field) {
    return [field](ServerConfig& config, const std::string& path) -> Status {
        auto secret = secretFromFile(path);
        if (!secret)
            return secret.failure();
        config.*field = *secret;
        return success();
    };
}

auto networksInto(std::vector<IpNetwork> ServerConfig::*field) {
    return [field](ServerConfig& config, const std::string& value) -> Status {
        auto networks = parseIpNetworks(value);
        if (!networks)
            return networks.failure();
        config.*field = *networks;
        return success();
    };
}

Status onOrOff(bool& field, const std::string& value) {
    if (value != "on" && value != "off")
        return Failure{"\"" + value + "\" is not on or off"};
    field = value == "on";
    return success();
}

Result<std::int64_t> wholeNumber(const std::string& text, std::int64_t low, std::int64_t high) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < low || value > high)
        return Failure{"\"" + text + "\" is not a whole number from " + std::to_string(low) +
                       " to " + std::to_string(high)};
    return value;
}

Status setNumber(std::int64_t& field, const std::string& text, std::int64_t low,
                 std::int64_t high) {
    auto value = wholeNumber(text, low, high);
    if (!value)
        return value.failure();
    field = *value;
    return success();
}

// Settings that take any text as it stands.
auto textInto(std::string ServerConfig::*field) {
    return [field](ServerConfig& config, const std::string& value) -> Status {
        config.*field = value;
        return success();
    };
}
auto textInto(std::optional<std::string> ServerConfig::*field) {
    return [field](ServerConfig& config, const std::string& value) -> Status {
        config.*field = value;
        return success();
    };
}

} // namespace

const std::vector<ServerSetting>& serverSettings() {
    static const std::vector<ServerSetting> all{
        {"listen", "HOST:PORT to serve the API on (default 127.0.0.1:8470)",
         [](ServerConfig& c, const std::string& v) -> Status {
             const auto colon = v.rfind(':');
             if (colon == std::string::npos || colon == 0)
                 return Failure{"\"" + v + "\" is not HOST:PORT"};
             std::int64_t port = 0;
             if (auto set = setNumber(port, v.substr(colon + 1), 0, 65535); !set)
                 return set;
             c.listenHost = v.substr(0, colon);
             if (c.listenHost.size() > 2 && c.listenHost.front() == '[')
                 c.listenHost = c.listenHost.substr(1, c.listenHost.size() - 2);
             c.listenPort = static_cast<int>(port);
             return success();
         }},
        {"database",
         "sqlite:PATH (default sqlite:ravo-server.db), or postgresql://USER@HOST/NAME "
         "to share one database among several processes",
         [](ServerConfig& c, const std::string& v) -> Status {
             const bool sqlite = v.starts_with("sqlite:") && v.size() > 7;
             const bool postgres = v.starts_with("postgresql://") || v.starts_with("postgres://");
             if (!sqlite && !postgres)
                 return Failure{"\"" + v + "\" is not sqlite:PATH or postgresql://..."};
             c.database = v;
             return success();
         }},
        {"smtp", "smtp://HOST:PORT or smtps://HOST:PORT for the sign-in mail",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (!v.starts_with("smtp://") && !v.starts_with("smtps://"))
                 return Failure{"\"" + v + "\" is not an smtp:// or smtps:// address"};
             c.smtpURL = v;
             return success();
         }},
        {"smtp-user", "user name for the SMTP server", textInto(&ServerConfig::smtpUser)},
        {"smtp-password", "password for the SMTP server (better: smtp-password-file)",
         textInto(&ServerConfig::smtpPassword), true},
        {"smtp-password-file", "a file that holds the SMTP server's password",
         secretFileInto(&ServerConfig::smtpPassword)},
        {"smtp-tls",
         "on or off: mail goes over TLS, STARTTLS for smtp:// (default on; loopback needs none)",
         [](ServerConfig& c, const std::string& v) { return onOrOff(c.smtpTls, v); }},
        {"smtp-ca-file",
         "certificate authorities (PEM) the SMTP server's certificate is checked with",
         textInto(&ServerConfig::smtpCAFile)},
        {"mail-from", "the sender of the sign-in mail",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (v.find('@') == std::string::npos)
                 return Failure{"\"" + v + "\" is not an e-mail address"};
             c.mailFrom = v;
             return success();
         }},
        {"public-url",
         "the address users reach this server at (default: the address each request names)",
         [](ServerConfig& c, const std::string& v) -> Status {
             if ((!v.starts_with("http://") && !v.starts_with("https://")) ||
                 std::any_of(v.begin(), v.end(), [](unsigned char ch) { return ch <= ' '; }))
                 return Failure{"\"" + v + "\" is not an http:// or https:// address"};
             c.publicURL = v;
             return success();
         }},
        {"telegram-api", "the Telegram Bot API's base address",
         textInto(&ServerConfig::telegramAPI)},
        {"telegram-bot-token", "the server's own Telegram bot (better: telegram-bot-token-file)",
         textInto(&ServerConfig::telegramBotToken), true},
        {"telegram-bot-token-file", "a file that holds the server's own Telegram bot's token",
         secretFileInto(&ServerConfig::telegramBotToken)},
        {"release-dir", "the folder of published release envelopes and notes",
         textInto(&ServerConfig::releaseDir)},
        {"apple-client-id", "Sign in with Apple: the Services ID",
         textInto(&ServerConfig::appleClientID)},
        {"apple-team-id", "Sign in with Apple: the developer team's id",
         textInto(&ServerConfig::appleTeamID)},
        {"apple-key-id", "Sign in with Apple: the id of the key below",
         textInto(&ServerConfig::appleKeyID)},
        {"apple-private-key", "Sign in with Apple: the key file (.p8) from Apple",
         textInto(&ServerConfig::applePrivateKeyFile)},
        {"apple-url", "Sign in with Apple's address (default https://appleid.apple.com)",
         textInto(&ServerConfig::appleURL)},
        {"plan-name", "the plan every account has (default self-hosted)",
         [](ServerConfig& c, const std::string& v) -> Status {
             c.plan.plan = v;
             return success();
         }},
        {"plan-max-sites", "how many sites an account may monitor (default 1000)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.plan.maxSites, v, 0, 1'000'000);
         }},
        {"plan-min-interval", "the shortest check interval in minutes (default 1)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.plan.minIntervalMinutes, v, 1, 1440);
         }},
        {"plan-history-days", "days of history kept (default 30)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.plan.historyDays, v, 1, 3650);
         }},
        {"check-timeout", "seconds a site has to answer a check (default 10)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.checkTimeoutSeconds, v, 1, 120);
         }},
        {"check-concurrency", "checks that may run at once (default 256)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.checkConcurrency, v, 1, 10000);
         }},
        {"check-threads", "threads that run checks, each with its share (default: one per core)",
         [](ServerConfig& c, const std::string& v) -> Status {
             std::int64_t threads = 0;
             if (auto set = setNumber(threads, v, 1, 256); !set)
                 return set;
             c.checkThreads = threads;
             return success();
         }},
        {"slow-threshold-ms", "a site that answers slower than this is slow (default 3000)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.slowThresholdMs, v, 1, 120000);
         }},
        {"check-minute",
         "seconds in an interval's minute (default 60; shorter only to try things out)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.checkMinuteSeconds, v, 1, 60);
         }},
        {"check-ca-file", "certificate authorities (PEM) that checks trust instead of the system's",
         textInto(&ServerConfig::checkCAFile)},
        {"check-allow-networks",
         "networks checks may reach besides the public internet, such as 192.168.1.0/24 "
         "(default none: no loopback, private or link-local addresses)",
         networksInto(&ServerConfig::checkAllowNetworks)},
        {"metrics-allow-networks",
         "who may read /metrics, as networks (default 127.0.0.0/8, ::1/128: this machine "
         "only)",
         networksInto(&ServerConfig::metricsAllowNetworks)},
        {"trusted-proxies",
         "the proxies (networks) whose forwarding header names the client (default none)",
         [](ServerConfig& c, const std::string& v) -> Status {
             auto networks = parseIpNetworks(v);
             if (!networks)
                 return networks.failure();
             c.proxyTrust.proxies = *networks;
             return success();
         }},
        {"forwarded-header",
         "x-forwarded-for or forwarded: the header the trusted proxies append the client to "
         "(default x-forwarded-for)",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (v == "x-forwarded-for")
                 c.proxyTrust.header = ForwardedHeader::xForwardedFor;
             else if (v == "forwarded")
                 c.proxyTrust.header = ForwardedHeader::forwarded;
             else
                 return Failure{"\"" + v + "\" is not x-forwarded-for or forwarded"};
             return success();
         }},
        {"max-connections",
         "open connections at most; more wait to be accepted (default: from the open-file limit)",
         [](ServerConfig& c, const std::string& v) -> Status {
             std::int64_t connections = 0;
             if (auto set = setNumber(connections, v, 8, 1'000'000); !set)
                 return set;
             c.maxConnections = connections;
             return success();
         }},
        {"max-connections-per-client",
         "open connections one client (an address, an IPv6 /64) may hold; trusted proxies are "
         "not counted (default 64)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.maxConnectionsPerClient, v, 1, 1'000'000);
         }},
        {"speedtest", "public, signed-in or off: who may run the speed test (default public)",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (v == "public")
                 c.speedTest = SpeedTestAccess::everyone;
             else if (v == "signed-in")
                 c.speedTest = SpeedTestAccess::signedIn;
             else if (v == "off")
                 c.speedTest = SpeedTestAccess::off;
             else
                 return Failure{"\"" + v + "\" is not public, signed-in or off"};
             return success();
         }},
        {"speedtest-mib-per-hour",
         "MiB a client may move through the speed test in an hour (default 16384)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.speedTestMiBPerHour, v, 1, 1'000'000'000);
         }},
        {"checker", "on or off: whether this process checks sites (default on)",
         [](ServerConfig& c, const std::string& v) { return onOrOff(c.checker, v); }},
        {"max-body", "the largest request body in bytes (default 262144)",
         [](ServerConfig& c, const std::string& v) -> Status {
             std::int64_t bytes = 0;
             if (auto set = setNumber(bytes, v, 1024, 64 * 1024 * 1024); !set)
                 return set;
             c.maxBodyBytes = static_cast<std::size_t>(bytes);
             return success();
         }},
        {"threads", "threads that answer requests (default 2)",
         [](ServerConfig& c, const std::string& v) -> Status {
             std::int64_t threads = 0;
             if (auto set = setNumber(threads, v, 1, 64); !set)
                 return set;
             c.threads = static_cast<int>(threads);
             return success();
         }},
    };
    return all;
}

} // namespace ravo::server
