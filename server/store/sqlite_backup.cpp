#include "server/store/sqlite_backup.h"

#include <sqlite3.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace ravo::server {

namespace {

struct CloseDatabase {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

Result<Database> openDatabase(const std::filesystem::path& file, int flags) {
    sqlite3* raw = nullptr;
    const int opened = sqlite3_open_v2(file.c_str(), &raw, flags, nullptr);
    Database db(raw);
    if (opened != SQLITE_OK)
        return Failure{"cannot open " + file.string() + ": " +
                       (raw ? sqlite3_errmsg(raw) : "out of memory")};
    sqlite3_busy_timeout(raw, 10000);
    return db;
}

bool syncPath(const std::filesystem::path& path, int flags) {
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool synced = ::fsync(fd) == 0;
    ::close(fd);
    return synced;
}

Status copyInto(sqlite3* source, const std::filesystem::path& partial) {
    auto target = openDatabase(partial, SQLITE_OPEN_READWRITE);
    if (!target)
        return target.failure();
    sqlite3_backup* backup = sqlite3_backup_init(target->get(), "main", source, "main");
    if (!backup)
        return Failure{std::string("cannot start the copy: ") + sqlite3_errmsg(target->get())};
    // All pages in one step: one read snapshot, so the copy is of one moment. A writer that
    // holds the lock just then is waited for.
    int step = SQLITE_OK;
    for (int tries = 0; tries < 1000; ++tries) {
        step = sqlite3_backup_step(backup, -1);
        if (step != SQLITE_BUSY && step != SQLITE_LOCKED)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    sqlite3_backup_finish(backup);
    if (step != SQLITE_DONE)
        return Failure{std::string("the copy failed: ") + sqlite3_errstr(step)};
    // A WAL copy would come with a journal of its own to keep beside it; one file is handier.
    char* message = nullptr;
    if (sqlite3_exec(target->get(), "PRAGMA journal_mode=DELETE", nullptr, nullptr, &message) !=
        SQLITE_OK) {
        std::string text = message ? message : "unknown error";
        sqlite3_free(message);
        return Failure{"the copy failed: " + text};
    }
    return success();
}

} // namespace

Status backupSqlite(const std::filesystem::path& source, const std::filesystem::path& target) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(source, error))
        return Failure{"there is no database at " + source.string()};
    if (std::filesystem::equivalent(source, target, error))
        return Failure{"the backup cannot be the database itself"};
    auto from = openDatabase(source, SQLITE_OPEN_READONLY);
    if (!from)
        return from.failure();

    const std::filesystem::path partial = target.string() + ".partial";
    std::filesystem::remove(partial, error);
    const int fd = ::open(partial.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0)
        return Failure{"cannot write " + partial.string() + ": " + std::strerror(errno)};
    ::close(fd);
    Status copied = copyInto(from->get(), partial);
    if (copied && !syncPath(partial, O_RDONLY))
        copied = Failure{"cannot write " + partial.string() + ": " + std::strerror(errno)};
    if (copied) {
        std::filesystem::rename(partial, target, error);
        if (error)
            copied = Failure{"cannot write " + target.string() + ": " + error.message()};
    }
    if (!copied) {
        std::filesystem::remove(partial, error);
        return copied;
    }
    syncPath(target.parent_path().empty() ? "." : target.parent_path(), O_RDONLY | O_DIRECTORY);
    return success();
}

} // namespace ravo::server
