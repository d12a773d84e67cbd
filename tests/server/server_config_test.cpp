#include "base/atomic_file.h"
#include "server/config/server_config.h"
#include "server/mail/smtp_mailer.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace ravo::server {
namespace {

TEST(ServerConfiguration, FlagsOverVariablesOverTheFile) {
    testing::TemporaryFolder folder;
    ASSERT_TRUE(writeFileAtomically(folder / "server.conf",
                                    "# the operator's file\nlisten = 0.0.0.0:9000\n"
                                    "plan-max-sites = 50\nmail-from = a@example.org\n")
                    .ok());
    const auto command = parseCommandLine(
        {"--config", (folder / "server.conf").string(), "--plan-max-sites=70", "--smtp",
         "smtp://127.0.0.1:2525"},
        {{"RAVO_SERVER_PLAN_MAX_SITES", "60"}, {"RAVO_SERVER_MAIL_FROM", "b@example.org"}});
    ASSERT_TRUE(command.ok()) << command.error();
    EXPECT_EQ(command->config.listenHost, "0.0.0.0");
    EXPECT_EQ(command->config.listenPort, 9000);
    EXPECT_EQ(command->config.plan.maxSites, 70);
    EXPECT_EQ(command->config.mailFrom, "b@example.org");
    EXPECT_EQ(command->config.smtpURL, "smtp://127.0.0.1:2525");
}

TEST(ServerConfiguration, BadSettingsAreOneClearLine) {
    const std::map<std::string, std::string> none;
    EXPECT_EQ(parseCommandLine({"--listen", "nowhere"}, none).error(),
              "--listen: listen: \"nowhere\" is not HOST:PORT");
    EXPECT_EQ(parseCommandLine({"--plan-min-interval", "0"}, none).error(),
              "--plan-min-interval: plan-min-interval: \"0\" is not a whole number from 1 to 1440");
    EXPECT_NE(parseCommandLine({"--colour", "blue"}, none).error().find("unknown setting"),
              std::string::npos);
    EXPECT_NE(parseCommandLine({"--smtp"}, none).error().find("needs a value"), std::string::npos);
    EXPECT_NE(parseCommandLine({}, {{"RAVO_SERVER_DATABASE", "mysql://x"}})
                  .error()
                  .find("RAVO_SERVER_DATABASE"),
              std::string::npos);
    EXPECT_NE(
        parseCommandLine({"--config", "/nonexistent/ravo.conf"}, none).error().find("Cannot read"),
        std::string::npos);
    EXPECT_EQ(parseCommandLine({"user", "add", "x@example.org", "--password-stdin"}, none)->kind,
              ServerCommand::Kind::userAdd);
    EXPECT_FALSE(parseCommandLine({"user", "add", "x@example.org"}, none).ok());
    EXPECT_NE(helpText().find("--plan-max-sites"), std::string::npos);
}

TEST(ServerConfiguration, CheckThreadsDefaultToOnePerCoreAndTakeAVariable) {
    const std::map<std::string, std::string> none;
    EXPECT_FALSE(parseCommandLine({}, none)->config.checkThreads) << "one per core, decided later";
    EXPECT_EQ(parseCommandLine({}, {{"RAVO_SERVER_CHECK_THREADS", "6"}})->config.checkThreads, 6);
    EXPECT_EQ(parseCommandLine({"--check-threads", "3"}, {{"RAVO_SERVER_CHECK_THREADS", "6"}})
                  ->config.checkThreads,
              3);
    for (const char* bad : {"0", "257", "-1", "two", ""})
        EXPECT_FALSE(parseCommandLine({"--check-threads", bad}, none).ok()) << bad;
}

TEST(ServerConfiguration, NetworksAndAccessAreParsedOrNamed) {
    const std::map<std::string, std::string> none;
    const auto command = parseCommandLine(
        {"--check-allow-networks", "192.168.1.0/24, 127.0.0.1", "--trusted-proxies", "::1",
         "--forwarded-header", "forwarded", "--speedtest", "signed-in", "--max-connections", "64"},
        none);
    ASSERT_TRUE(command.ok()) << command.error();
    const auto& config = command->config;
    ASSERT_EQ(config.checkAllowNetworks.size(), 2u);
    EXPECT_EQ(toString(config.checkAllowNetworks[1]), "127.0.0.1/32");
    EXPECT_EQ(config.proxyTrust.header, ForwardedHeader::forwarded);
    EXPECT_EQ(config.speedTest, SpeedTestAccess::signedIn);
    EXPECT_EQ(config.maxConnections, 64);
    // By default checks reach only the public internet and no proxy is believed.
    EXPECT_TRUE(parseCommandLine({}, none)->config.checkAllowNetworks.empty());
    EXPECT_TRUE(parseCommandLine({}, none)->config.proxyTrust.proxies.empty());
    EXPECT_EQ(parseCommandLine({"--check-allow-networks", "home"}, none).error(),
              "--check-allow-networks: check-allow-networks: \"home\" is not an IP address or "
              "network (such as 192.168.1.0/24)");
    EXPECT_FALSE(parseCommandLine({"--speedtest", "friends"}, none).ok());
}

TEST(ServerConfiguration, SecretsComeFromFilesCredentialsOrWithAWarning) {
    testing::TemporaryFolder folder;
    ASSERT_TRUE(writeFileAtomically(folder / "smtp", "from a file\n").ok());
    ASSERT_TRUE(writeFileAtomically(folder / "empty", "\n").ok());
    std::filesystem::create_directory(folder / "credentials");
    ASSERT_TRUE(
        writeFileAtomically(folder / "credentials" / "telegram-bot-token", "123:credential").ok());
    ASSERT_TRUE(writeFileAtomically(folder / "credentials" / "smtp-password", "overridden").ok());
    const std::map<std::string, std::string> systemd{
        {"CREDENTIALS_DIRECTORY", (folder / "credentials").string()}};

    const auto fromFiles =
        parseCommandLine({"--smtp-password-file", (folder / "smtp").string()}, systemd);
    ASSERT_TRUE(fromFiles.ok()) << fromFiles.error();
    EXPECT_EQ(fromFiles->config.smtpPassword, "from a file");
    EXPECT_EQ(fromFiles->config.telegramBotToken, "123:credential");
    EXPECT_TRUE(fromFiles->warnings.empty());

    const auto fromFlags = parseCommandLine(
        {"--smtp-password", "in the open", "--database", "postgresql://ravo:pw@db/ravo"}, {});
    ASSERT_TRUE(fromFlags.ok());
    ASSERT_EQ(fromFlags->warnings.size(), 2u);
    EXPECT_NE(fromFlags->warnings[0].find("--smtp-password-file"), std::string::npos);
    EXPECT_NE(fromFlags->warnings[1].find("pgpass"), std::string::npos);
    EXPECT_TRUE(parseCommandLine({"--smtp-password"}, {}).error().find("needs a value") !=
                std::string::npos);

    EXPECT_NE(parseCommandLine({"--smtp-password-file", (folder / "empty").string()}, {})
                  .error()
                  .find("is empty"),
              std::string::npos);
    EXPECT_NE(parseCommandLine({"--telegram-bot-token-file", "/nonexistent"}, {})
                  .error()
                  .find("cannot read /nonexistent"),
              std::string::npos);
    EXPECT_TRUE(isSecretSetting("smtp-password"));
    EXPECT_TRUE(isSecretSetting("database"));
    EXPECT_FALSE(isSecretSetting("smtp-password-file"));
}

TEST(ServerConfiguration, AnAddressIsOneAccountWhateverItsCase) {
    const auto command =
        parseCommandLine({"user", "add", " Mixed@Example.ORG", "--password-stdin"}, {});
    ASSERT_TRUE(command.ok()) << command.error();
    EXPECT_EQ(command->email, "mixed@example.org");
    EXPECT_FALSE(parseCommandLine({"user", "add", "a@b@c", "--password-stdin"}, {}).ok());
}

TEST(SmtpMailer, MailLeavesLoopbackOnlyEncrypted) {
    EXPECT_TRUE(SmtpMailer::requiresTls("smtp://mail.example.org:587", true));
    EXPECT_TRUE(SmtpMailer::requiresTls("smtp://10.0.0.5", true));
    EXPECT_TRUE(SmtpMailer::requiresTls("smtp://[2001:db8::25]:25", true));
    EXPECT_TRUE(SmtpMailer::requiresTls("smtp://user@127.0.0.1.example.org", true));
    EXPECT_FALSE(SmtpMailer::requiresTls("smtp://127.0.0.1:2525", true));
    EXPECT_FALSE(SmtpMailer::requiresTls("smtp://localhost", true));
    EXPECT_FALSE(SmtpMailer::requiresTls("smtp://[::1]:25/", true));
    EXPECT_FALSE(SmtpMailer::requiresTls("smtp://mail.example.org:587", false));
}

} // namespace
} // namespace ravo::server
