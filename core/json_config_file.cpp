#include "core/json_config_file.h"

#include "core/atomic_file.h"

#include <algorithm>
#include <cctype>

namespace ravo::JsonConfigFile {

namespace fs = std::filesystem;

fs::path backupPath(const fs::path& path) {
    return path.string() + ".ravo-backup";
}

Result<nlohmann::json> read(const fs::path& path) {
    std::error_code error;
    if (!fs::exists(path, error))
        return nlohmann::json::object();
    const auto text = readFile(path);
    if (!text)
        return Failure{"Cannot read " + path.string() + "."};
    if (std::all_of(text->begin(), text->end(),
                    [](unsigned char c) { return std::isspace(c) != 0; }))
        return nlohmann::json::object();
    try {
        auto config = nlohmann::json::parse(*text);
        if (!config.is_object())
            return Failure{"The file " + path.string() +
                           " couldn't be read because it isn't in the correct format: it does "
                           "not hold a JSON object."};
        return config;
    } catch (const nlohmann::json::parse_error& parseError) {
        return Failure{"The file " + path.string() + " is not valid JSON (" +
                       std::string(parseError.what()) + ")."};
    }
}

Status write(const nlohmann::json& config, const fs::path& path, fs::perms newFileMode) {
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    if (error)
        return Failure{"Cannot create " + path.parent_path().string() + ": " + error.message()};
    std::optional<fs::perms> mode = newFileMode;
    if (fs::exists(path, error)) {
        mode = fs::status(path, error).permissions() & fs::perms::mask;
        const auto backup = backupPath(path);
        if (!fs::exists(backup, error)) {
            fs::copy_file(path, backup, error);
            if (error)
                return Failure{"Cannot back up " + path.string() + ": " + error.message()};
        }
    }
    return writeFileAtomically(path, config.dump(2) + "\n", mode);
}

} // namespace ravo::JsonConfigFile
