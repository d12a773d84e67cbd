#include "cloud/platform/linux/keychain_secret_store.h"

#include <qt6keychain/keychain.h>

#include <QEventLoop>

namespace ravo::cloud {

namespace {

Failure storeFailure(const QKeychain::Job& job) {
    return Failure{"The desktop's secret store can't be used: " + job.errorString().toStdString()};
}

// Runs a job to its end. Jobs live on the heap and delete themselves later: QtKeychain
// still uses a job after it announced that it finished.
template <typename Job, typename Prepare, typename Read>
auto run(const QString& service, const QString& account, Prepare prepare, Read read) {
    auto* job = new Job(service);
    job->setKey(account);
    job->setAutoDelete(true);
    job->setInsecureFallback(false);
    prepare(*job);
    QEventLoop loop;
    bool done = false;
    QObject::connect(job, &QKeychain::Job::finished, &loop, [&] {
        done = true;
        loop.quit();
    });
    job->start();
    if (!done)
        loop.exec();
    return read(*job);
}

} // namespace

Result<std::optional<std::string>> KeychainSecretStore::read(const QString& service,
                                                             const QString& account) {
    return run<QKeychain::ReadPasswordJob>(
        service, account, [](auto&) {},
        [](QKeychain::ReadPasswordJob& job) -> Result<std::optional<std::string>> {
            if (job.error() == QKeychain::EntryNotFound)
                return std::optional<std::string>();
            if (job.error() != QKeychain::NoError)
                return storeFailure(job);
            return std::optional<std::string>(job.textData().toStdString());
        });
}

Status KeychainSecretStore::write(const QString& service, const QString& account,
                                  const std::string& secret) {
    return run<QKeychain::WritePasswordJob>(
        service, account,
        [&](QKeychain::WritePasswordJob& job) {
            job.setTextData(QString::fromStdString(secret));
        },
        [](QKeychain::WritePasswordJob& job) -> Status {
            if (job.error() != QKeychain::NoError)
                return storeFailure(job);
            return success();
        });
}

Status KeychainSecretStore::remove(const QString& service, const QString& account) {
    return run<QKeychain::DeletePasswordJob>(
        service, account, [](auto&) {},
        [](QKeychain::DeletePasswordJob& job) -> Status {
            if (job.error() != QKeychain::NoError && job.error() != QKeychain::EntryNotFound)
                return storeFailure(job);
            return success();
        });
}

} // namespace ravo::cloud
