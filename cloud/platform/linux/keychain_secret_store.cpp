#include "cloud/platform/linux/keychain_secret_store.h"

#include <qt6keychain/keychain.h>

#include <QCoro/QCoroTimer>
#include <QEventLoop>
#include <QTimer>

#include <memory>

namespace ravo::cloud {

namespace {

Failure storeFailure(const QKeychain::Job& job) {
    return Failure{"The desktop's secret store can't be used: " + job.errorString().toStdString()};
}

SecretStore::SecretRead answerOf(const QKeychain::ReadPasswordJob& job) {
    if (job.error() == QKeychain::EntryNotFound)
        return std::optional<std::string>();
    if (job.error() != QKeychain::NoError)
        return storeFailure(job);
    return std::optional<std::string>(job.textData().toStdString());
}

template <typename Job> Job* makeJob(const QString& service, const QString& account) {
    auto* job = new Job(service);
    job->setKey(account);
    job->setAutoDelete(true);
    job->setInsecureFallback(false);
    return job;
}

// Runs a job to its end. Jobs live on the heap and delete themselves later: QtKeychain
// still uses a job after it announced that it finished.
template <typename Job, typename Prepare, typename Read>
auto run(const QString& service, const QString& account, Prepare prepare, Read read) {
    auto* job = makeJob<Job>(service, account);
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

SecretStore::SecretRead KeychainSecretStore::read(const QString& service, const QString& account) {
    return run<QKeychain::ReadPasswordJob>(
        service, account, [](auto&) {}, answerOf);
}

QCoro::Task<SecretStore::SecretRead>
KeychainSecretStore::readWithin(const QString& service, const QString& account,
                                std::chrono::milliseconds limit) {
    auto* job = makeJob<QKeychain::ReadPasswordJob>(service, account);
    // One timer ends the wait either way: at the limit, or at once when the job answers.
    // The job may answer long after the wait ended; the timer is gone by then, and with
    // it the connection.
    const auto wake = std::make_unique<QTimer>();
    wake->setSingleShot(true);
    auto answer = std::make_shared<std::optional<SecretRead>>();
    QObject::connect(job, &QKeychain::Job::finished, wake.get(),
                     [answer, timer = wake.get()](QKeychain::Job* done) {
                         *answer = answerOf(*static_cast<QKeychain::ReadPasswordJob*>(done));
                         timer->start(0);
                     });
    wake->start(limit);
    job->start();
    co_await *wake;
    if (*answer)
        co_return std::move(**answer);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit).count();
    co_return Failure{"The desktop's secret store did not answer within " +
                      std::to_string(seconds) +
                      " s. Check that the keyring (GNOME Keyring, KWallet) is running and "
                      "unlocked."};
}

Status KeychainSecretStore::write(const QString& service, const QString& account,
                                  const std::string& secret) {
    return run<QKeychain::WritePasswordJob>(
        service, account,
        [&](QKeychain::WritePasswordJob& job) { job.setTextData(QString::fromStdString(secret)); },
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
