#include "core/atomic_file.h"
#include "server/core/server_config.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace ravo::server
