#include "base/json_config_file.h"

#include "base/atomic_file.h"
#include "base/json_parse.h"

#include <algorithm>
#include <cctype>

namespace ravo::JsonConfigFile {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMaxConfigBytes = 16 * 1024 * 1024;
// Agents' settings nest a handful of levels; far deeper is damage or an attack.
constexpr std::size_t kMaxConfigDepth = 64;

bool isBlank(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char c) { return std::isspace(c) != 0; });
}

// A backup only counts when it holds a whole JSON document: an empty or cut-off copy
// (a full disk, a killed first attempt) is made again from the original.
bool hasUsableBackup(const fs::path& path) {
    std::error_code error;
    if (fs::exists(noOriginalMarkerPath(path), error))
        return true;
    const auto backup = readFile(backupPath(path), kMaxConfigBytes);
    return backup && !isBlank(*backup) && parseJson(*backup, {.maxDepth = kMaxConfigDepth});
}

Status makeBackup(const fs::path& path, const std::optional<std::string>& original,
                  fs::perms originalMode) {
    if (hasUsableBackup(path))
        return success();
    if (!original || isBlank(*original)) {
        const std::string note = path.filename().string() +
                                 " did not exist (or was empty) before Ravo first changed it.\n"
                                 "Deleting it returns to that state.\n";
        return writeFileAtomically(noOriginalMarkerPath(path), note, fs::perms(0644));
    }
    return writeFileAtomically(backupPath(path), *original, originalMode);
}

} // namespace

fs::path backupPath(const fs::path& path) {
    return path.string() + ".ravo-backup";
}

fs::path noOriginalMarkerPath(const fs::path& path) {
    return path.string() + ".ravo-backup-none";
}

Result<nlohmann::json> read(const fs::path& path) {
    std::error_code error;
    if (!fs::exists(path, error) && !fs::is_symlink(path, error))
        return nlohmann::json::object();
    const auto text = readFile(path, kMaxConfigBytes);
    if (!text)
        return Failure{"Cannot read " + path.string() + "."};
    return parse(*text, path);
}

Result<nlohmann::json> parse(std::string_view text, const fs::path& path) {
    if (isBlank(text))
        return nlohmann::json::object();
    auto config = parseJson(text, {.maxDepth = kMaxConfigDepth});
    if (!config)
        return Failure{"The file " + path.string() + " couldn't be read: " + config.error() +
                       ". Ravo leaves it as it is."};
    if (!config->is_object())
        return Failure{"The file " + path.string() +
                       " couldn't be read because it isn't in the correct format: it does "
                       "not hold a JSON object."};
    return config;
}

Status write(const nlohmann::json& config, const fs::path& path, fs::perms newFileMode) {
    if (auto replaceable = checkReplaceable(path); !replaceable)
        return replaceable;
    const fs::path target = resolvedLinkTarget(path);
    std::error_code error;
    fs::create_directories(target.parent_path(), error);
    if (error)
        return Failure{"Cannot create " + target.parent_path().string() + ": " + error.message()};
    const auto original = readFile(target, kMaxConfigBytes);
    const auto originalMode =
        original ? fs::status(target, error).permissions() & fs::perms::mask : newFileMode;
    if (auto backedUp = makeBackup(path, original, originalMode); !backedUp)
        return Failure{"Cannot back up " + path.string() + ": " + backedUp.error()};
    return writeFileAtomically(path, config.dump(2) + "\n", newFileMode);
}

} // namespace ravo::JsonConfigFile
