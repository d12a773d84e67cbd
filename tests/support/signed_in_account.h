#pragma once

#include "cloud/cloud_account.h"
#include "common/http_transport.h"
#include "tests/support/memory_secret_store.h"
#include "tests/support/ravo_server_process.h"
#include "tests/support/temporary_folder.h"

#include <QCoro/QCoroTask>
#include <QSettings>

#include <gtest/gtest.h>

#include <memory>

namespace ravo::testing {

// What the cloud tests start from: a settings file in a folder of its own, the real
// ravo-server beside it and this computer's account signed in there. Call signIn() from
// SetUp through ASSERT_NO_FATAL_FAILURE.
struct SignedInAccount {
    void signIn(const QStringList& serverArguments) {
        ASSERT_NO_FATAL_FAILURE(server.start(serverArguments));
        settings.setValue(cloud::CloudAccount::kServerKey, server.origin());
        account = std::make_unique<cloud::CloudAccount>(settings, secrets, transport);
        QCoro::waitFor(account->signIn(RavoServerProcess::kEmail, RavoServerProcess::kPassword));
        ASSERT_TRUE(account->isSignedIn()) << account->error().value_or("");
    }

    TemporaryFolder folder;
    RavoServerProcess server{folder.path()};
    QSettings settings{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
    std::shared_ptr<MemorySecretStore> secrets = std::make_shared<MemorySecretStore>();
    std::shared_ptr<common::NetworkTransport> transport =
        std::make_shared<common::NetworkTransport>();
    std::unique_ptr<cloud::CloudAccount> account;
};

} // namespace ravo::testing
