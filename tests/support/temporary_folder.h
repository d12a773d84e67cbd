#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace ravo::testing {

// A fresh folder under the system's temporary folder, removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "ravo-test-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// Points HOME and the XDG folders into a temporary folder for the life of the object.
class TemporaryHome {
public:
    TemporaryHome() {
        for (const char* name : kVariables) {
            const char* value = std::getenv(name);
            saved_.emplace_back(value ? std::optional<std::string>(value) : std::nullopt);
        }
        ::setenv("HOME", folder_.path().c_str(), 1);
        ::unsetenv("XDG_DATA_HOME");
        ::unsetenv("XDG_CONFIG_HOME");
    }
    ~TemporaryHome() {
        for (std::size_t i = 0; i < saved_.size(); ++i) {
            if (saved_[i])
                ::setenv(kVariables[i], saved_[i]->c_str(), 1);
            else
                ::unsetenv(kVariables[i]);
        }
    }

    const std::filesystem::path& path() const { return folder_.path(); }
    std::filesystem::path container() const { return path() / ".local" / "share" / "ravo"; }

private:
    static constexpr const char* kVariables[] = {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"};
    TemporaryFolder folder_;
    std::vector<std::optional<std::string>> saved_;
};

} // namespace ravo::testing
