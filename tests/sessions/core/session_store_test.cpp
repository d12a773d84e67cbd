#include "base/atomic_file.h"
#include "sessions/core/claude_desktop_sessions.h"
#include "sessions/core/session_settings.h"
#include "sessions/core/session_store.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo::sessions {
namespace {

namespace fs = std::filesystem;
const TimePoint now = fromUnixSeconds(1'800'000'000);

AgentSession session(Provider provider, const char* id, AgentSession::State state,
                     double secondsAgo) {
    AgentSession s;
    s.provider = provider;
    s.sessionID = id;
    s.project = "ravo";
    s.state = state;
    s.updatedAt = now - std::chrono::duration_cast<Clock::duration>(Seconds(secondsAgo));
    s.turnStartedAt = s.updatedAt;
    return s;
}

TEST(SessionIDs, OnlyPlainFileNameCharacters) {
    EXPECT_TRUE(SessionStore::isValidSessionID(std::string(128, 'a')));
    EXPECT_TRUE(SessionStore::isValidSessionID("9cf6ccf8-df0b-45ac_b45a.ce8d"));
    for (const std::string& id :
         {std::string(129, 'a'), std::string(), std::string("."), std::string(".."),
          std::string("a/b"), std::string("a b"), std::string("caf\xC3\xA9"), std::string("x\r\n"),
          std::string("..\\x")})
        EXPECT_FALSE(SessionStore::isValidSessionID(id)) << id;
}

TEST(SessionStoreFiles, UpsertRemoveAndTheFileNameFromTheArguments) {
    testing::TemporaryHome home;
    auto record = session(Provider::codex, "other-id", AgentSession::State::waiting, 0);
    ASSERT_TRUE(SessionStore::apply(Upsert{record}, Provider::claude, "abc").ok());
    const auto folder = *SessionStore::directory();
    EXPECT_TRUE(fs::exists(folder / "claude-abc.json"));
    EXPECT_FALSE(fs::exists(folder / "codex-other-id.json"));
    EXPECT_EQ(SessionStore::load(Provider::claude, "abc"), record);
    EXPECT_TRUE(SessionStore::apply(Ignore{}, Provider::claude, "abc").ok());
    EXPECT_TRUE(SessionStore::apply(Remove{}, Provider::claude, "abc").ok());
    EXPECT_FALSE(SessionStore::apply(Remove{}, Provider::claude, "abc").ok()); // already gone
    EXPECT_TRUE(SessionStore::apply(Upsert{record}, Provider::claude, "../escape").ok());
    EXPECT_FALSE(fs::exists(folder.parent_path() / "escape.json"));
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST(SessionStoreFiles, LoadAllSkipsWhatIsNotARecord) {
    testing::TemporaryHome home;
    SessionStore::apply(Upsert{session(Provider::claude, "a", AgentSession::State::running, 0)},
                        Provider::claude, "a");
    SessionStore::apply(Upsert{session(Provider::codex, "b", AgentSession::State::done, 0)},
                        Provider::codex, "b");
    const auto folder = *SessionStore::directory();
    writeFileAtomically(folder / "claude-empty.json", "{}");
    writeFileAtomically(folder / "claude-junk.json", "not json");
    writeFileAtomically(folder / "claude-c.txt", "{}");
    writeFileAtomically(folder / "claude-d.json",
                        R"({"provider":"gemini","sessionID":"d","project":"p","state":"done",
                            "updatedAt":1,"turnStartedAt":1})");
    EXPECT_EQ(SessionStore::loadAll().size(), 2u);
    const auto claude = SessionStore::loadAll(Provider::claude);
    ASSERT_EQ(claude.size(), 1u);
    EXPECT_EQ(claude[0].sessionID, "a");
}

TEST(SessionPlaces, TakenFromTheAgentsEnvironmentOnlyWhenWellFormed) {
    struct Case {
        const char *tmux, *pane, *window;
        SessionPlace place;
    };
    const Case cases[] = {
        {"/tmp/tmux-1000/default,4242,0",
         "%3",
         "62914570",
         {"/tmp/tmux-1000/default", "%3", 62914570u}},
        {"/tmp/tmux-1000/default,4242,0", nullptr, nullptr, {}}, // no pane: no tmux
        {"relative/socket,1,0", "%3", nullptr, {}},              // not an absolute path
        {"/tmp/s\x1b[2J,1,0", "%3", nullptr, {}},                // control characters
        {"/tmp/s,1,0", "3", nullptr, {}},                        // not a pane id
        {nullptr, nullptr, "0x3c00002", {}},                     // not decimal
        {nullptr, nullptr, "99999999999", {}},                   // past 32 bits
        {nullptr, nullptr, "0", {}},
    };
    for (const auto& c : cases) {
        const auto place = SessionPlace::fromEnvironment([&](const char* name) -> const char* {
            const std::string_view key(name);
            return key == "TMUX"        ? c.tmux
                   : key == "TMUX_PANE" ? c.pane
                   : key == "WINDOWID"  ? c.window
                                        : nullptr;
        });
        EXPECT_EQ(place, c.place) << (c.tmux ? c.tmux : "") << " " << (c.window ? c.window : "");
    }
}

TEST(SessionPlaces, KeptBesideTheRecordReadBackAndRemovedWithIt) {
    testing::TemporaryHome home;
    const SessionPlace place{"/tmp/tmux-0/default", "%7", 42u};
    ASSERT_TRUE(
        SessionStore::apply(Upsert{session(Provider::claude, "p", AgentSession::State::running, 0)},
                            Provider::claude, "p")
            .ok());
    ASSERT_TRUE(SessionStore::savePlace(place, Provider::claude, "p").ok());
    EXPECT_EQ(SessionStore::loadPlace(Provider::claude, "p"), place);
    // The record reader passes over it.
    EXPECT_EQ(SessionStore::loadAll().size(), 1u);
    // A file of the wrong shape reads as nowhere, never as a pane to send keys to.
    const auto file = *SessionStore::directory() / "claude-p.place";
    ASSERT_TRUE(
        writeFileAtomically(file, R"({"tmuxSocket":"/s","tmuxPane":"; rm -rf ~","x11Window":-1})")
            .ok());
    EXPECT_EQ(SessionStore::loadPlace(Provider::claude, "p"), SessionPlace{});
    ASSERT_TRUE(SessionStore::apply(Remove{}, Provider::claude, "p").ok());
    EXPECT_FALSE(fs::exists(file));
}

TEST(SessionRecords, TitleIsOptionalAndDatesAreUnixSeconds) {
    auto record = session(Provider::claude, "t", AgentSession::State::done, 0);
    const auto json = toJson(record);
    EXPECT_FALSE(json.contains("title"));
    EXPECT_EQ(json["updatedAt"], 1'800'000'000.0);
    EXPECT_EQ(json["state"], "done");
    EXPECT_EQ(sessionFromJson(json), record);
    auto missing = json;
    missing.erase("turnStartedAt");
    EXPECT_FALSE(sessionFromJson(missing));
    record.title = "Fix it";
    EXPECT_EQ(toJson(record)["title"], "Fix it");
    EXPECT_EQ(record.id(), "claude-t.json");
}

TEST(Prune, ActiveAfterThreeHoursAndDoneAfterADay) {
    testing::TemporaryHome home;
    using State = AgentSession::State;
    for (const auto& s : {session(Provider::claude, "run-old", State::running, 10800),
                          session(Provider::claude, "run-new", State::running, 10799),
                          session(Provider::codex, "wait-old", State::waiting, 20000),
                          session(Provider::claude, "done-old", State::done, 86400),
                          session(Provider::claude, "done-new", State::done, 86399)})
        SessionStore::apply(Upsert{s}, s.provider, s.sessionID);
    SessionStore::prune(now);
    std::vector<std::string> left;
    for (const auto& s : SessionStore::loadAll())
        left.push_back(s.sessionID);
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<std::string>{"done-new", "run-new"}));
}

TEST(SessionSettingsStore, InstalledProvidersAreSortedNamesThatReadBack) {
    testing::TemporaryHome home;
    EXPECT_TRUE(SessionSettings::installedProviders().empty());
    SessionSettings::setInstalledProviders({Provider::codex, Provider::claude});
    EXPECT_EQ(SessionSettings::installedProviders(),
              (std::set<Provider>{Provider::claude, Provider::codex}));
    const auto file = nlohmann::json::parse(*readFile(home.container() / "group.json"));
    EXPECT_EQ(file["installedProviders"], nlohmann::json::array({"claude", "codex"}));
}

TEST(DesktopSessions, ValidIDsAndTheWalkThatFindsThem) {
    using namespace ClaudeDesktopSessions;
    EXPECT_FALSE(isValidDesktopID("local_"));
    EXPECT_TRUE(isValidDesktopID("local_a"));
    EXPECT_TRUE(isValidDesktopID("local_" + std::string(64, '7')));
    EXPECT_FALSE(isValidDesktopID("local_" + std::string(65, '7')));
    EXPECT_FALSE(isValidDesktopID("local_a_b"));
    EXPECT_FALSE(isValidDesktopID("remote_abc"));

    testing::TemporaryFolder root;
    fs::create_directories(root / "a" / "b");
    fs::create_directories(root / ".hidden");
    writeFileAtomically(root / ".hidden" / "local_1.json",
                        R"({"sessionId":"local_hidden","cliSessionId":"cli-1"})");
    writeFileAtomically(root / "a" / "local_2.json",
                        R"({"sessionId":"local_bad id","cliSessionId":"cli-1"})");
    writeFileAtomically(root / "a" / "b" / "local_3.json",
                        R"({"sessionId":"local_good-1","cliSessionId":"cli-1","extra":1})");
    writeFileAtomically(root / "a" / "local_4.json", "broken");
    EXPECT_EQ(desktopID("cli-1", root.path()), "local_good-1");
    EXPECT_FALSE(desktopID("cli-2", root.path()));
    EXPECT_FALSE(desktopID("cli-1", root / "missing"));
}

// Regressions: records hold the first line of the user's prompt and were readable by
// everyone; their keys came out sorted instead of in the record's own order.
TEST(SessionRecordPrivacy, RecordsAre0600InA0700FolderWithKeysInFieldOrder) {
    testing::TemporaryHome home;
    auto record = session(Provider::claude, "abc", AgentSession::State::running, 0);
    record.title = "Rotate the production keys";
    ASSERT_TRUE(SessionStore::apply(Upsert{record}, Provider::claude, "abc").ok());
    const auto folder = *SessionStore::directory();
    EXPECT_EQ(fs::status(folder).permissions() & fs::perms::all, fs::perms(0700));
    EXPECT_EQ(fs::status(folder / "claude-abc.json").permissions() & fs::perms::all,
              fs::perms(0600));
    const std::string text = *readFile(folder / "claude-abc.json");
    std::size_t last = 0;
    for (const char* key : {"\"provider\"", "\"sessionID\"", "\"project\"", "\"title\"",
                            "\"state\"", "\"updatedAt\"", "\"turnStartedAt\""}) {
        const auto at = text.find(key);
        ASSERT_NE(at, std::string::npos) << key;
        EXPECT_GT(at, last == 0 ? 0 : last) << key << " in " << text;
        last = at;
    }
    // A folder made readable by an earlier version is closed by the next prune.
    fs::permissions(folder, fs::perms(0755));
    SessionStore::prune(now);
    EXPECT_EQ(fs::status(folder).permissions() & fs::perms::all, fs::perms(0700));
}

TEST(SessionRecordPrivacy, PruneClearsWhatKilledWritersLeftBehind) {
    testing::TemporaryHome home;
    ASSERT_TRUE(
        SessionStore::apply(Upsert{session(Provider::claude, "a", AgentSession::State::running, 0)},
                            Provider::claude, "a")
            .ok());
    const auto folder = *SessionStore::directory();
    const auto leftover = folder / "claude-a.json.31337.00000000deadbeef.tmp";
    const auto snapshotLeftover = home.container() / "snapshot.json.31338.00000000deadbeef.tmp";
    for (const auto& file : {leftover, snapshotLeftover}) {
        ASSERT_TRUE(writeFileAtomically(file, "{\"provider\":").ok());
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(2));
    }
    SessionStore::prune(Clock::now());
    EXPECT_FALSE(fs::exists(leftover));
    EXPECT_FALSE(fs::exists(snapshotLeftover));
    EXPECT_TRUE(fs::exists(folder / "claude-a.json"));
}

} // namespace
} // namespace ravo::sessions
