#include "base/desktop_entry.h"

#include <gtest/gtest.h>

namespace ravo {
namespace {

using Argv = std::vector<std::string>;

void expectSplits(std::initializer_list<std::pair<const char*, Argv>> cases) {
    for (const auto& [exec, argv] : cases) {
        const auto split = splitExecLine(exec);
        ASSERT_TRUE(split) << exec << ": " << split.error();
        EXPECT_EQ(*split, argv) << exec;
    }
}

TEST(DesktopEntry, ReadsItsOwnGroupAndPassesOverTheRest) {
    const auto entry = parseDesktopEntry("# written by hand\r\n"
                                         "Exec=before-any-group\r\n"
                                         "\r\n"
                                         "[Desktop Entry]\r\n"
                                         "Type=Application\r\n"
                                         "Name[de]=Systemüberwachung\r\n"
                                         "Name = System Monitor\r\n"
                                         "   # an indented comment\r\n"
                                         "Exec[de]=localized-exec\r\n"
                                         "Exec=gnome-system-monitor\r\n"
                                         "a line that is no key\r\n"
                                         "TryExec=gnome-system-monitor\r\n"
                                         "Exec=second-exec\r\n"
                                         "\r\n"
                                         "[Desktop Action processes]\r\n"
                                         "Exec=gnome-system-monitor -p\r\n"
                                         "Hidden=true\r\n"
                                         "[Desktop Entry]\r\n"
                                         "Name=Again\r\n");
    ASSERT_TRUE(entry) << entry.error();
    EXPECT_EQ(*entry, (DesktopEntry{"System Monitor", "gnome-system-monitor",
                                    "gnome-system-monitor", false}));
}

TEST(DesktopEntry, HiddenMissingExecAndNoGroup) {
    const auto hidden = parseDesktopEntry("[Desktop Entry]\nName=Gone\nHidden=true\n");
    ASSERT_TRUE(hidden);
    EXPECT_TRUE(hidden->hidden);
    EXPECT_EQ(hidden->exec, std::nullopt);
    EXPECT_EQ(hidden->tryExec, std::nullopt);
    // Only "true" hides it.
    const auto shown = parseDesktopEntry("[Desktop Entry]\nHidden=True\nExec=top");
    ASSERT_TRUE(shown);
    EXPECT_FALSE(shown->hidden);
    EXPECT_EQ(shown->exec, "top");

    for (const char* text :
         {"", "Name=No group\nExec=top\n", "[Desktop Action x]\nExec=top\n", "[Desktop Entry"}) {
        const auto none = parseDesktopEntry(text);
        ASSERT_FALSE(none) << text;
        EXPECT_EQ(none.error(), "No [Desktop Entry] group");
    }
}

TEST(DesktopEntry, UndoesTheStringEscapesBeforeExecIsSplit) {
    // Four backslashes in the file are one in the argument: the string escapes come first.
    const auto entry = parseDesktopEntry(
        "[Desktop Entry]\n"
        "Name=Task\\sManager\\tNow\\\\\\q\n"
        "Exec=\"/opt/my tools/monitor\" --title=\"a \\\"b\\\"\" --dir=\"C:\\\\\\\\temp\"\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, "Task Manager\tNow\\\\q");
    const auto argv = splitExecLine(*entry->exec);
    ASSERT_TRUE(argv) << argv.error();
    EXPECT_EQ(*argv, (Argv{"/opt/my tools/monitor", "--title=a \"b\"", "--dir=C:\\temp"}));
}

TEST(ExecLine, SplitsOnItsQuotingWithoutAShell) {
    expectSplits({
        {"top", {"top"}},
        {"  xfce4-taskmanager \t --flag  ", {"xfce4-taskmanager", "--flag"}},
        {R"("/usr/bin/my monitor" "" x)", {"/usr/bin/my monitor", "", "x"}},
        {R"(sh -c "echo \$HOME \`id\` \\ \"q\"")", {"sh", "-c", "echo $HOME `id` \\ \"q\""}},
        // An unknown escape keeps its backslash; outside quotes a backslash is plain.
        {R"(a "b\nc" d\e)", {"a", "b\\nc", "d\\e"}},
        // Shell characters are only characters here.
        {"run ; rm -rf ~ | cat > out", {"run", ";", "rm", "-rf", "~", "|", "cat", ">", "out"}},
        {R"(pre"quoted part"post)", {"prequoted partpost"}},
    });
}

TEST(ExecLine, DropsFieldCodesAndKeepsPercent) {
    expectSplits({
        {"gnome-system-monitor %U", {"gnome-system-monitor"}},
        {"app %f %F %u %U %i %c %k --x", {"app", "--x"}},
        {"app --file=%f", {"app", "--file="}},
        {"app 100%% \"50%%\"", {"app", "100%", "50%"}},
        {"app %%f", {"app", "%f"}},
        // The deprecated codes go too.
        {"app %d %D %n %N %v %m", {"app"}},
    });
}

TEST(ExecLine, RefusesWhatCannotBeStarted) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "Exec names no program"},
        {"   %U ", "Exec names no program"},
        {"\"\" --flag", "Exec names no program"},
        {"\"/usr/bin/monitor --flag", "Exec has a quote that is not closed"},
        {"monitor \"trailing\\\"", "Exec has a quote that is not closed"},
        {"monitor %", "Exec ends in a lone %"},
        {"monitor %z", "Exec has an unknown field code %z"},
    };
    for (const auto& [exec, error] : cases) {
        const auto split = splitExecLine(exec);
        ASSERT_FALSE(split) << exec;
        EXPECT_EQ(split.error(), error) << exec;
    }
}

} // namespace
} // namespace ravo
