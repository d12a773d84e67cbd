#pragma once

#include "tests/support/child_process.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace ravo::testing {

// A PostgreSQL of the test's own, from Debian's packages, on a loopback port, for the life of
// the object; as root it runs as the postgres user, which it must. Each test takes a fresh
// database on it, so one server serves a whole suite.
class TemporaryPostgres {
public:
    TemporaryPostgres() {
        bin_ = newestBin();
        if (bin_.empty()) {
            failure_ = "PostgreSQL is not installed (scripts/install-deps.sh --tests)";
            return;
        }
        char name[] = "/tmp/ravo-postgres.XXXXXX";
        if (!::mkdtemp(name)) {
            failure_ = "no temporary folder";
            return;
        }
        folder_ = name;
        if (::geteuid() == 0) {
            run({"chown", "postgres:", folder_.string()});
            as_ = {"runuser", "-u", "postgres", "--"};
        }
        port_ = freePort();
        if (run({(bin_ / "initdb").string(), "-D", (folder_ / "data").string(), "-A", "trust", "-U",
                 "ravo"}) != 0) {
            failure_ = "initdb failed";
            return;
        }
        const std::string options = "-p " + std::to_string(port_) + " -k " + folder_.string() +
                                    " -c listen_addresses=127.0.0.1 -c fsync=off";
        if (run({(bin_ / "pg_ctl").string(), "-D", (folder_ / "data").string(), "-l",
                 (folder_ / "log").string(), "-o", options, "-w", "start"}) != 0) {
            failure_ = "PostgreSQL did not start";
            return;
        }
        started_ = true;
    }
    ~TemporaryPostgres() {
        if (started_)
            run({(bin_ / "pg_ctl").string(), "-D", (folder_ / "data").string(), "-m", "immediate",
                 "stop"});
        if (!folder_.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(folder_, ignored);
        }
    }
    TemporaryPostgres(const TemporaryPostgres&) = delete;
    TemporaryPostgres& operator=(const TemporaryPostgres&) = delete;

    // Empty when it runs; what went wrong otherwise.
    const std::string& failure() const { return failure_; }

    // A new, empty database on the server, as ravo-server's --database takes it.
    std::string freshDatabase() {
        const std::string name = "test" + std::to_string(++databases_);
        run({(bin_ / "createdb").string(), "-h", "127.0.0.1", "-p", std::to_string(port_), "-U",
             "ravo", name});
        return "postgresql://ravo@127.0.0.1:" + std::to_string(port_) + "/" + name;
    }

    // Runs a file of SQL (a pg_dump, say) in a database of this server; psql's exit code.
    int load(const std::string& database, const std::filesystem::path& sql) {
        return run({(bin_ / "psql").string(), "-q", "-v", "ON_ERROR_STOP=1", "-d", database, "-f",
                    sql.string()});
    }

private:
    static std::filesystem::path newestBin() {
        std::vector<std::filesystem::path> found;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator("/usr/lib/postgresql", error))
            if (std::filesystem::exists(entry.path() / "bin" / "initdb"))
                found.push_back(entry.path() / "bin");
        std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
            return std::stoi(a.parent_path().filename().string()) <
                   std::stoi(b.parent_path().filename().string());
        });
        return found.empty() ? std::filesystem::path() : found.back();
    }

    static int freePort() {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
        ::close(fd);
        return ntohs(address.sin_port);
    }

    int run(std::vector<std::string> command) {
        command.insert(command.begin(), as_.begin(), as_.end());
        command.insert(command.begin(), "/usr/bin/env"); // finds runuser and chown on PATH
        return runChild(command, "", {}).exitCode;
    }

    std::filesystem::path bin_;
    std::filesystem::path folder_;
    std::vector<std::string> as_;
    int port_ = 0;
    int databases_ = 0;
    bool started_ = false;
    std::string failure_;
};

} // namespace ravo::testing
