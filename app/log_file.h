#pragma once

#include <QtGlobal>

#include <cstdio>
#include <filesystem>

namespace ravo::app {

// Sends the program's log to a file for as long as this object lives: while the terminal
// dashboard owns the screen, a log line would tear it. A file past 1 MiB is moved aside to
// "<name>.1" first.
class LogFile {
public:
    explicit LogFile(const std::filesystem::path& path);
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
