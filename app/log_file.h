#pragma once

#include <QtGlobal>

#include <cstdio>
#include <filesystem>

namespace ravo::app {

// Sends the program's log to a file for as long as this object lives: while the terminal
// dashboard owns the screen, a log line would tear it, and the desktop app's log is easier
// to find there. A file past 1 MiB is moved aside to "<name>.1" first.
class LogFile {
public:
    // In place of stderr while a full-screen program owns the terminal, or beside it.
    enum class Mode { insteadOfStderr, besideStderr };

    explicit LogFile(const std::filesystem::path& path, Mode mode = Mode::insteadOfStderr);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    bool isOpen() const { return file_ != nullptr; }

private:
    std::FILE* file_ = nullptr;
    QtMessageHandler previous_ = nullptr;
    int savedError_ = -1;
};

} // namespace ravo::app
