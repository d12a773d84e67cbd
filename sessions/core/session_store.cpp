#include "sessions/core/session_store.h"

#include "base/atomic_file.h"
#include "base/json_file.h"
#include "base/paths.h"

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace ravo::sessions::SessionStore {

namespace fs = std::filesystem;

std::optional<fs::path> directory() {
    return paths::inSharedContainer("Sessions");
}

namespace {

// Records hold the first line of the user's prompt: theirs alone to read.
constexpr auto kRecordMode = fs::perms(0600);
constexpr auto kFolderMode = fs::perms(0700);

Status createPrivateFolder(const fs::path& folder) {
    std::error_code error;
    if (fs::is_directory(folder, error))
        return success();
    fs::create_directories(folder.parent_path(), error);
    if (::mkdir(folder.c_str(), static_cast<mode_t>(kFolderMode)) != 0 && errno != EEXIST)
        return Failure{"Cannot create " + folder.string() + ": " + std::strerror(errno)};
    return success();
}

} // namespace

bool isValidSessionID(std::string_view id) {
    if (id.empty() || id.size() > 128 || id == "." || id == "..")
        return false;
    for (char c : id) {
        const auto u = static_cast<unsigned char>(c);
        const bool allowed = (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') ||
                             (u >= '0' && u <= '9') || u == '-' || u == '_' || u == '.';
        if (!allowed)
            return false;
    }
    return true;
}

Status apply(const SessionTransition& transition, Provider provider, const std::string& sessionID) {
    if (!isValidSessionID(sessionID))
        return success();
    const auto folder = directory();
    if (!folder)
        return success();
    const fs::path file = *folder / AgentSession::fileName(provider, sessionID);
    if (const auto* upsert = std::get_if<Upsert>(&transition)) {
        if (auto created = createPrivateFolder(*folder); !created)
            return created;
        return writeFileAtomically(file, toJson(upsert->session).dump(), kRecordMode);
    }
    if (std::holds_alternative<Remove>(transition)) {
        std::error_code error;
        fs::remove(*folder / SessionPlace::fileName(provider, sessionID), error);
        if (!fs::remove(file, error))
            return Failure{"Cannot remove " + file.string() +
                           (error ? ": " + error.message() : ": it does not exist")};
    }
    return success();
}

namespace {
std::optional<AgentSession> decodeFile(const fs::path& file) {
    const auto record = readJsonObject(file);
    return record ? sessionFromJson(*record) : std::nullopt;
}
} // namespace

std::optional<AgentSession> load(Provider provider, const std::string& sessionID) {
    const auto folder = directory();
    if (!folder || !isValidSessionID(sessionID))
        return std::nullopt;
    return decodeFile(*folder / AgentSession::fileName(provider, sessionID));
}

Status savePlace(const SessionPlace& place, Provider provider, const std::string& sessionID) {
    const auto folder = directory();
    if (!folder || !isValidSessionID(sessionID) || !place.isKnown())
        return success();
    if (loadPlace(provider, sessionID) == place)
        return success(); // every hook event would otherwise rewrite it
    if (auto created = createPrivateFolder(*folder); !created)
        return created;
    return writeFileAtomically(*folder / SessionPlace::fileName(provider, sessionID),
                               toJson(place).dump(), kRecordMode);
}

std::optional<SessionPlace> loadPlace(Provider provider, const std::string& sessionID) {
    const auto folder = directory();
    if (!folder || !isValidSessionID(sessionID))
        return std::nullopt;
    const auto json = readJsonObject(*folder / SessionPlace::fileName(provider, sessionID));
    return json ? placeFromJson(*json) : std::nullopt;
}

std::vector<AgentSession> loadAll(std::optional<Provider> provider) {
    std::vector<AgentSession> sessions;
    const auto folder = directory();
    if (!folder)
        return sessions;
    std::error_code error;
    for (fs::directory_iterator it(*folder, error), end; !error && it != end; it.increment(error)) {
        if (it->path().extension() != ".json")
            continue;
        auto session = decodeFile(it->path());
        if (session && (!provider || session->provider == *provider))
            sessions.push_back(std::move(*session));
    }
    return sessions;
}

void prune(TimePoint now) {
    // Writers killed between write and rename leave temporaries here and beside the
    // container's own files.
    if (const auto container = paths::sharedContainer())
        removeLeftoverTemporaries(*container);
    if (const auto folder = directory()) {
        removeLeftoverTemporaries(*folder);
        // Folders made by earlier versions were readable by everyone.
        std::error_code error;
        if (fs::is_directory(*folder, error))
            fs::permissions(*folder, kFolderMode, error);
    }
    for (const auto& session : loadAll()) {
        const double age = secondsBetween(session.updatedAt, now);
        const double limit =
            session.state == AgentSession::State::done ? kStaleDoneSeconds : kStaleActiveSeconds;
        if (age >= limit)
            apply(Remove{}, session.provider, session.sessionID); // a failure here is not fatal
    }
}

} // namespace ravo::sessions::SessionStore
