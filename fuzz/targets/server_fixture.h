// A real ravo-server API on a SQLite file of the fuzzing process's own, with one signed-in
// device (token "fuzz-token"); shared by the server's fuzz targets.
#pragma once

#include "server/api/api.h"
#include "server/config/secrets.h"
#include "server/store/sql_store.h"

#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

using namespace ravo;
using namespace ravo::server;

namespace fuzz {

struct NoMail final : Mailer {
    Status send(const MailMessage&) override { return success(); }
};

struct Fixture {
    std::unique_ptr<SqlStore> store;
    NoMail mail;
    ServerConfig config;
    TelegramClient telegram{"http://127.0.0.1:9"};
    std::unique_ptr<ApiContext> context;
    std::string token = "fuzz-token";

    Fixture() {
        const auto file =
            std::filesystem::temp_directory_path() / ("ravo-fuzz-" + std::to_string(::getpid()));
        std::filesystem::remove(file);
        store = std::move(SqlStore::open("sqlite:" + file.string())).value();
        context.reset(new ApiContext{*store, mail, config, telegram});
        const auto account = store->accountForEmail("fuzz@example.org", true);
        store->addDevice(account->id, "fuzz", Secrets::sha256Hex(token));
    }
};

} // namespace fuzz
