#include "common/http_transport.h"
#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"
#include "updates/core/update_error.h"
#include "updates/core/update_verifier.h"
#include "updates/update_checker.h"

#include <QCoro/QCoroTask>
#include <QFile>
#include <QSettings>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QTcpServer>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <nlohmann/json.hpp>

namespace ravo::updates {
namespace {

using Downloaded = Result<std::filesystem::path>;

QCoro::Task<> downloadInto(UpdateChecker& checker, std::filesystem::path folder,
                           std::optional<Downloaded>& out) {
    auto result = co_await checker.download(std::move(folder));
    out.emplace(std::move(result));
}

Downloaded download(UpdateChecker& checker, const std::filesystem::path& folder) {
    std::optional<Downloaded> out;
    QCoro::waitFor(downloadInto(checker, folder, out));
    return std::move(*out);
}

// Release files come over https only, so the test serves them with its own certificate,
// which only this process trusts.
class UpdateDownloadTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto made = testing::runChild(
            {"/usr/bin/openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
             "ec_paramgen_curve:prime256v1", "-nodes", "-days", "1", "-subj", "/CN=127.0.0.1",
             "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
             (home.path() / "key.pem").string(), "-out", (home.path() / "cert.pem").string()},
            "", {});
        ASSERT_EQ(made.exitCode, 0);
        const QSslCertificate certificate = read<QSslCertificate>("cert.pem");
        ASSERT_FALSE(certificate.isNull());
        trusted = QSslConfiguration::defaultConfiguration();
        QSslConfiguration withOurs = trusted;
        withOurs.addCaCertificate(certificate);
        QSslConfiguration::setDefaultConfiguration(withOurs);

        QSslConfiguration serving = QSslConfiguration::defaultConfiguration();
        serving.setLocalCertificate(certificate);
        serving.setPrivateKey(read<QSslKey>("key.pem"));
        server.setSslConfiguration(serving);
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
        QObject::connect(&server, &QTcpServer::pendingConnectionAvailable, [this] { serve(); });
    }
    void TearDown() override { QSslConfiguration::setDefaultConfiguration(trusted); }

    template <typename T> T read(const char* name) {
        QFile file(QString::fromStdString((home.path() / name).string()));
        file.open(QIODevice::ReadOnly);
        if constexpr (std::is_same_v<T, QSslKey>)
            return QSslKey(&file, QSsl::Ec);
        else
            return QSslCertificate(&file);
    }

    void serve() {
        while (QTcpSocket* socket = server.nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                if (!socket->readAll().contains("\r\n\r\n"))
                    return;
                socket->write("HTTP/1.1 " + QByteArray::number(status) +
                              " Release\r\nContent-Length: " + QByteArray::number(body.size()) +
                              "\r\nConnection: close\r\n\r\n" + body);
                socket->disconnectFromHost();
            });
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    }

    // The checker knows of build 9, whose published digest is that of `published`.
    std::unique_ptr<UpdateChecker> checkerOffering(const std::string& published) {
        ReleaseManifest manifest;
        manifest.version = "0.9";
        manifest.build = 9;
        manifest.minimumBuild = 1;
        manifest.downloadURL =
            "https://127.0.0.1:" + std::to_string(server.serverPort()) + "/ravo-0.9.tar.gz";
        manifest.sha256 = UpdateVerifier::sha256(published);
        settings.setValue(UpdateChecker::kManifestKey,
                          QString::fromStdString(manifest.toJson().dump()));
        UpdateChecker::Options options;
        options.currentBuild = 5;
        return std::make_unique<UpdateChecker>(
            settings, std::make_shared<common::NetworkTransport>(), std::move(options));
    }

    testing::TemporaryHome home;
    QSettings settings{QString::fromStdString((home.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
    QSslServer server;
    QSslConfiguration trusted;
    int status = 200;
    QByteArray body = "the release, byte for byte";
};

TEST_F(UpdateDownloadTest, TheFileIsKeptOnlyWhenItIsTheOneThatWasSigned) {
    const auto folder = home.path() / "Downloads";
    std::filesystem::create_directories(folder);

    auto checker = checkerOffering(body.toStdString());
    ASSERT_EQ(checker->decision().kind, UpdateDecision::Kind::available);
    const auto saved = download(*checker, folder);
    ASSERT_TRUE(saved.ok()) << saved.failure().message;
    EXPECT_EQ(*saved, folder / "ravo-0.9.tar.gz");
    QFile file(QString::fromStdString(saved->string()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), body);
    std::filesystem::remove(*saved);

    // One byte changed on the way: nothing is saved and the user is told why.
    checker = checkerOffering(body.toStdString());
    body[4] = 'X';
    const auto tampered = download(*checker, folder);
    ASSERT_FALSE(tampered.ok());
    EXPECT_EQ(tampered.failure().message, text(UpdateError::checksumMismatch));
    EXPECT_TRUE(std::filesystem::is_empty(folder));

    status = 404;
    const auto missing = download(*checker, folder);
    ASSERT_FALSE(missing.ok());
    EXPECT_EQ(missing.failure().message, "The update could not be downloaded.");
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(UpdateDownloadTest, ACertificateThisComputerDoesNotTrustIsNoDownload) {
    QSslConfiguration::setDefaultConfiguration(trusted);
    auto checker = checkerOffering(body.toStdString());
    const auto folder = home.path() / "Downloads";
    std::filesystem::create_directories(folder);
    const auto saved = download(*checker, folder);
    ASSERT_FALSE(saved.ok());
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

// A release server that answers with zeros, as fast as they are taken, up to 400 MB: the
// answer of a broken or hostile server to the manifest request.
class FloodingServer {
public:
    explicit FloodingServer(QByteArray head) : head_(std::move(head)) {
        server_.listen(QHostAddress::LocalHost);
        QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] { accept(); });
    }
    QUrl url() const {
        return QUrl(QString("http://127.0.0.1:%1/latest").arg(server_.serverPort()));
    }
    qint64 sent = 0;

private:
    void accept() {
        while (QTcpSocket* socket = server_.nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                if (!socket->readAll().contains("\r\n\r\n"))
                    return;
                socket->write(head_);
                more(socket);
            });
            QObject::connect(socket, &QTcpSocket::bytesWritten, socket,
                             [this, socket] { more(socket); });
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    }
    void more(QTcpSocket* socket) {
        // Little held here: the test measures what the client keeps.
        static const QByteArray chunk(64 << 10, '\0');
        while (socket->bytesToWrite() < (256 << 10) && sent < kTotal) {
            socket->write(chunk);
            sent += chunk.size();
        }
        if (sent >= kTotal && socket->bytesToWrite() == 0)
            socket->disconnectFromHost();
    }
    static constexpr qint64 kTotal = 400ll << 20;
    QTcpServer server_;
    QByteArray head_;
};

long peakResidentKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(ReleaseServerAnswers, AreCutOffAtFourMebibytesWhateverTheySayOfTheirLength) {
    const std::pair<const char*, QByteArray> heads[] = {
        {"says its length", "HTTP/1.1 200 OK\r\nContent-Length: 419430400\r\n\r\n"},
        {"says nothing", "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n"}};
    for (const auto& [why, head] : heads) {
        testing::TemporaryHome home;
        QSettings settings(QString::fromStdString((home.path() / "ravo.conf").string()),
                           QSettings::IniFormat);
        FloodingServer server(head);
        UpdateChecker::Options options;
        options.currentBuild = 5;
        options.manifest = [&server] { return server.url(); };
        UpdateChecker checker(settings, std::make_shared<common::NetworkTransport>(), options);
        const long before = peakResidentKiB();
        QCoro::waitFor(checker.check());
        // 7 to 10 MiB on a quiet machine; more when the cores are busy and Qt's network thread
        // reads ahead. A whole answer in memory would be 400 MB.
        EXPECT_LT(peakResidentKiB() - before, 24 * 1024) << why;
        EXPECT_LT(server.sent, 64ll << 20) << why;
        EXPECT_EQ(checker.lastError(),
                  "The release server's answer is too large to be release information.")
            << why;
        EXPECT_EQ(checker.decision().kind, UpdateDecision::Kind::upToDate) << why;
    }
}

} // namespace
} // namespace ravo::updates
