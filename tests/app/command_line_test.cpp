#include "app/command_line.h"

#include <gtest/gtest.h>

namespace ravo::app {
namespace {

TEST(CommandLine, RecognisesCommandsAndOptions) {
    EXPECT_EQ(parseCommandLine({}).kind, Command::Kind::run);
    EXPECT_EQ(parseCommandLine({"status"}),
              (Command{Command::Kind::status, false, {}, "", {}, {}, {}, {}}));
    EXPECT_TRUE(parseCommandLine({"status", "--json"}).json);
    EXPECT_EQ(parseCommandLine({"--help"}).kind, Command::Kind::help);
    EXPECT_EQ(parseCommandLine({"--version"}).kind, Command::Kind::version);
}

TEST(CommandLine, ExplainsWhatItDoesNotKnow) {
    const auto unknown = parseCommandLine({"stauts"});
    EXPECT_EQ(unknown.kind, Command::Kind::invalid);
    EXPECT_EQ(unknown.error, "Unknown command: stauts");
    const auto badOption = parseCommandLine({"status", "--yaml"});
    EXPECT_EQ(badOption.kind, Command::Kind::invalid);
    EXPECT_EQ(badOption.error, "Unknown option for status: --yaml");
}

TEST(CommandLine, AccountAndSitesTakeTheirWordsAndOptions) {
    const auto signin = parseCommandLine(
        {"account", "signin", "--server", "https://ravo.example.org", "--email", "a@b.org"});
    EXPECT_EQ(signin.kind, Command::Kind::account);
    EXPECT_EQ(signin.account,
              (AccountRequest{"signin", "https://ravo.example.org", "a@b.org", false}));
    EXPECT_TRUE(parseCommandLine({"account", "signin", "--email", "a@b.org", "--password-stdin"})
                    .account.passwordFromStandardInput);
    EXPECT_EQ(parseCommandLine({"account", "status"}).account.action, "status");
    for (const std::vector<std::string>& wrong :
         {std::vector<std::string>{"account"},
          {"account", "signin"},
          {"account", "signin", "--email"},
          {"account", "signout", "now"},
          {"account", "signin", "--email", "a@b.org", "--pasword-stdin"}})
        EXPECT_EQ(parseCommandLine(wrong).kind, Command::Kind::invalid) << wrong.size();

    EXPECT_TRUE(parseCommandLine({"sites", "--json"}).sites.json);
    EXPECT_EQ(
        parseCommandLine({"sites", "add", "example.com", "--keyword", "Hi", "--name", "Ex"}).sites,
        (SitesRequest{"add", false, "example.com", "Ex", "Hi"}));
    EXPECT_EQ(parseCommandLine({"sites", "remove", "example.com"}).sites.action, "remove");
    EXPECT_EQ(parseCommandLine({"sites", "add"}).kind, Command::Kind::invalid);
    EXPECT_EQ(parseCommandLine({"sites", "add", "x", "--name"}).kind, Command::Kind::invalid);
    EXPECT_EQ(parseCommandLine({"speedtest", "--json", "--server", "https://r.example"}).speedTest,
              (SpeedTestRequest{"https://r.example", true}));
    EXPECT_EQ(parseCommandLine({"speedtest", "--server"}).kind, Command::Kind::invalid);
    EXPECT_EQ(parseCommandLine({"speedtest", "--history", "--json"}).speedTest,
              (SpeedTestRequest{std::nullopt, true, true}));
    EXPECT_EQ(parseCommandLine({"speedtest", "--history", "--server", "https://r.example"}).kind,
              Command::Kind::invalid);
    EXPECT_EQ(parseCommandLine({"settings"}).settings, (SettingsRequest{"list", "", ""}));
    EXPECT_EQ(parseCommandLine({"settings", "set", "connectionAlertsEnabled", "off"}).settings,
              (SettingsRequest{"set", "connectionAlertsEnabled", "off"}));
    EXPECT_EQ(parseCommandLine({"settings", "set", "x"}).kind, Command::Kind::invalid);
    EXPECT_EQ(parseCommandLine({"settings", "get"}).kind, Command::Kind::invalid);
}

} // namespace
} // namespace ravo::app
