// ravo-server: the companion service that keeps Ravo users' accounts and monitored sites.
#include "base/atomic_file.h"
#include "base/log.h"
#include "server/alerts/alert_worker.h"
#include "server/api/api.h"
#include "server/checker/checker.h"
#include "server/config/secrets.h"
#include "server/config/server_config.h"
#include "server/http/http_server.h"
#include "server/mail/mail_queue.h"
#include "server/mail/smtp_mailer.h"
#include "server/store/schema_migrations.h"
#include "server/store/sql_store.h"
#include "server/store/sqlite_backup.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <curl/curl.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {

using namespace ravo;
using namespace ravo::server;

// One line per event on stderr: time, level, category, message.
void logToStandardError(std::string_view category, log::Level level, std::string_view message) {
    char stamp[32];
    const std::time_t now = std::time(nullptr);
    std::tm tm{};
    gmtime_r(&now, &tm);
    std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", &tm);
    const char* word = level == log::Level::error     ? "error"
                       : level == log::Level::warning ? "warning"
                                                      : "info";
    std::fprintf(stderr, "%s %s %.*s: %.*s\n", stamp, word, static_cast<int>(category.size()),
                 category.data(), static_cast<int>(message.size()), message.data());
}

std::map<std::string, std::string> environment() {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; *entry; ++entry) {
        const std::string variable(*entry);
        if (const auto equals = variable.find('='); equals != std::string::npos)
            variables[variable.substr(0, equals)] = variable.substr(equals + 1);
    }
    return variables;
}

int fail(const std::string& message) {
    std::fprintf(stderr, "ravo-server: %s\n", message.c_str());
    return 2;
}

// Secrets given as flags are wiped from the arguments once read, so `ps` shows them only
// for the moment before.
void wipeSecretArguments(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        std::string_view argument = argv[i];
        if (!argument.starts_with("--"))
            continue;
        const auto equals = argument.find('=');
        const std::string_view name = argument.substr(
            2, equals == std::string_view::npos ? std::string_view::npos : equals - 2);
        if (!isSecretSetting(name))
            continue;
        char* value = equals != std::string_view::npos ? argv[i] + equals + 1
                      : i + 1 < argc                   ? argv[++i]
                                                       : nullptr;
        if (value)
            std::memset(value, 'x', std::strlen(value));
    }
}

// As many file descriptors as the system lets this process have; connections may take what
// the checks, the database and the rest leave.
std::size_t defaultMaxConnections(const ServerConfig& config) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 1024;
    if (limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
        getrlimit(RLIMIT_NOFILE, &limit);
    }
    const auto reserved = static_cast<rlim_t>(config.checkConcurrency + config.threads + 64);
    const rlim_t room = limit.rlim_cur > reserved + 16 ? limit.rlim_cur - reserved : 16;
    return static_cast<std::size_t>(std::min<rlim_t>(room, 10000));
}

// A database file left readable by others by an older version is made the server's alone.
void keepDatabasePrivate(const std::string& database) {
    if (!database.starts_with("sqlite:"))
        return;
    const std::string file = database.substr(7);
    for (const std::string& path : {file, file + "-wal", file + "-shm", file + "-journal"}) {
        struct stat status {};
        if (lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            (status.st_mode & 077) != 0 && chmod(path.c_str(), status.st_mode & 0700) == 0)
            log::info("server", path + " was readable by others; now it is the server's alone");
    }
}

int backUp(const ServerConfig& config, const std::string& file) {
    if (!config.database.starts_with("sqlite:"))
        return fail("backup copies a SQLite database; back PostgreSQL up with pg_dump "
                    "(see the README)");
    if (auto copied = backupSqlite(config.database.substr(7), file); !copied)
        return fail("backup: " + copied.error());
    std::printf("%s now holds a copy of %s\n", file.c_str(), config.database.substr(7).c_str());
    return 0;
}

int addUser(Store& store, const std::string& email) {
    std::string password;
    std::getline(std::cin, password);
    if (password.size() < 8)
        return fail("the password must have at least 8 characters");
    if (auto stored = store.setPassword(email, Secrets::hashPassword(password)); !stored)
        return fail(stored.error());
    std::printf("%s can now sign in with that password\n", email.c_str());
    return 0;
}

CheckerOptions checkerOptions(const ServerConfig& config) {
    CheckerOptions options;
    options.probe.timeout = std::chrono::seconds(config.checkTimeoutSeconds);
    options.probe.caFile = config.checkCAFile;
    options.probe.userAgent = std::string("ravo-server/") + RAVO_VERSION + " (uptime check)";
    options.probe.allowNetworks = config.checkAllowNetworks;
    options.policy.slowAfterMs = static_cast<double>(config.slowThresholdMs);
    options.maxInFlight = static_cast<std::size_t>(config.checkConcurrency);
    options.threads = static_cast<int>(
        config.checkThreads.value_or(std::max(1u, std::thread::hardware_concurrency())));
    options.historyDays = static_cast<int>(config.plan.historyDays);
    return options;
}

int serve(Store& store, const ServerConfig& config) {
    SmtpMailer smtp(config);
    ServerTelemetry telemetry;
    MailQueue mailer(smtp);
    mailer.setTelemetry(&telemetry);
    TelegramClient telegram(config.telegramAPI);
    ApiContext context{store, mailer, config, telegram};
    context.telemetry = &telemetry;
    std::unique_ptr<AppleSignIn> apple;
    if (config.appleClientID) {
        const auto key = readFile(*config.applePrivateKeyFile, 64 * 1024);
        if (!key)
            return fail("apple-private-key: cannot read " + *config.applePrivateKeyFile);
        AppleSettings settings{*config.appleClientID, *config.appleTeamID, *config.appleKeyID, *key,
                               config.appleURL};
        if (auto secret = appleClientSecret(settings, Clock::now()); !secret)
            return fail("apple-private-key: " + secret.error());
        apple = std::make_unique<AppleSignIn>(std::move(settings),
                                              config.publicURL.value_or("http://127.0.0.1:8470"));
        context.apple = apple.get();
    }
    boost::asio::io_context io;
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(config.listenHost, error);
    if (error)
        return fail("--listen: \"" + config.listenHost + "\" is not an IP address");
    std::unique_ptr<HttpServer> server;
    HttpLimits limits;
    limits.maxBodyBytes = config.maxBodyBytes;
    limits.maxConnectionsPerClient = static_cast<std::size_t>(config.maxConnectionsPerClient);
    limits.maxConnections = config.maxConnections ? static_cast<std::size_t>(*config.maxConnections)
                                                  : defaultMaxConnections(config);
    TransferBudget::Limits budget;
    budget.bytesPerWindow = static_cast<std::uint64_t>(config.speedTestMiBPerHour) << 20;
    HttpStreams streams{std::string(SpeedTestApi::kLargePath),
                        std::string(SpeedTestApi::kUploadPath),
                        [&context](const HttpRequest& request) {
                            auto refused = SpeedTestApi::admit(context, request);
                            countRequest(context, request, refused ? refused->status : 200);
                            return refused;
                        },
                        std::make_shared<TransferBudget>(budget)};
    try {
        server = std::make_unique<HttpServer>(
            io,
            boost::asio::ip::tcp::endpoint(address, static_cast<unsigned short>(config.listenPort)),
            [&context](const HttpRequest& request) { return handleApi(context, request); }, limits,
            std::move(streams), config.proxyTrust);
    } catch (const boost::system::system_error& bindError) {
        return fail("cannot listen on " + config.listenHost + ":" +
                    std::to_string(config.listenPort) + ": " + bindError.code().message());
    }
    boost::asio::signal_set signals(io, SIGINT, SIGTERM);
    signals.async_wait([&io](const boost::system::error_code&, int) { io.stop(); });
    log::info("server", "listening on " + config.listenHost + ":" + std::to_string(server->port()) +
                            ", database " + redactedDatabase(config.database) + ", at most " +
                            std::to_string(limits.maxConnections) + " connections");
    if (!config.publicURL && config.proxyTrust.proxies.empty() && !address.is_loopback())
        log::info("server", "without public-url or trusted-proxies, the speed test's links use the "
                            "host and port each client asked for; behind a proxy set one of them");
    CheckerOptions options = checkerOptions(config);
    options.telemetry = &telemetry;
    Checker checker(store, options);
    if (config.checker) {
        checker.start();
        context.sitesChanged = [&checker] { checker.sitesChanged(); };
        log::info("checker", "checking on " + std::to_string(options.threads) + " threads");
    }
    AlertWorker alerts(store, telegram, config.telegramBotToken);
    alerts.setTelemetry(&telemetry);
    alerts.start();
    std::vector<std::thread> threads;
    for (int i = 1; i < config.threads; ++i)
        threads.emplace_back([&io] { io.run(); });
    io.run();
    for (auto& thread : threads)
        thread.join();
    checker.stop();
    alerts.stop();
    log::info("server", "stopped");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    // The database, its journal and whatever else the server writes are its own alone.
    umask(077);
    log::setSink(logToStandardError);
    const auto command =
        parseCommandLine(std::vector<std::string>(argv + 1, argv + argc), environment());
    wipeSecretArguments(argc, argv);
    if (!command)
        return fail(command.error());
    for (const auto& warning : command->warnings)
        log::error("server", warning);
    if (command->kind == ServerCommand::Kind::help) {
        std::fputs(helpText().c_str(), stdout);
        return 0;
    }
    if (command->kind == ServerCommand::Kind::version) {
        std::printf("ravo-server %s (database layout %d)\n", RAVO_VERSION, latestSchemaVersion());
        return 0;
    }
    const ServerConfig& config = command->config;
    keepDatabasePrivate(config.database);
    // Before anything opens the database, so a copy taken before an upgrade is of the old one.
    if (command->kind == ServerCommand::Kind::backup)
        return backUp(config, command->backupFile);
    curl_global_init(CURL_GLOBAL_DEFAULT);
    auto store = SqlStore::open(config.database, static_cast<std::size_t>(config.threads) + 3);
    if (!store)
        return fail(store.error());
    (*store)->setMinuteSeconds(static_cast<double>(config.checkMinuteSeconds));
    const int status = command->kind == ServerCommand::Kind::userAdd
                           ? addUser(**store, command->email)
                           : serve(**store, config);
    curl_global_cleanup();
    return status;
}
