#include "app/command_line.h"

#include <gtest/gtest.h>

namespace ravo::app {
namespace {

TEST(CommandLine, RecognisesCommandsAndOptions) {
    EXPECT_EQ(parseCommandLine({}).kind, Command::Kind::run);
    EXPECT_EQ(parseCommandLine({"status"}), (Command{Command::Kind::status, false, {}, ""}));
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

} // namespace
} // namespace ravo::app
