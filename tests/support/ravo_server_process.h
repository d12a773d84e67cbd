#pragma once

#include <QHostAddress>
#include <QProcess>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace ravo::testing {

inline quint16 freeLoopbackPort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// The real ravo-server on loopback with a SQLite file in `folder`, and a password account
// "ada@example.org" in it. Call start() from SetUp through ASSERT_NO_FATAL_FAILURE.
class RavoServerProcess {
public:
    static constexpr const char* kEmail = "ada@example.org";
    static constexpr const char* kPassword = "correct horse battery";

    explicit RavoServerProcess(const std::filesystem::path& folder)
        : database_("sqlite:" + QString::fromStdString((folder / "ravo.db").string())) {}
    ~RavoServerProcess() { stop(); }

    void stop() {
        process_.terminate();
        process_.waitForFinished(5000);
    }

    // The same server again, on its port and database: back after being away.
    void restart() {
        stop();
        ASSERT_NO_FATAL_FAILURE(launch());
    }

    void start(const QStringList& extraArguments) {
        QProcess addUser;
        addUser.start(RAVO_SERVER,
                      {"user", "add", kEmail, "--password-stdin", "--database", database_});
        addUser.write(QByteArray(kPassword) + "\n");
        addUser.closeWriteChannel();
        ASSERT_TRUE(addUser.waitForFinished(10000));
        ASSERT_EQ(addUser.exitCode(), 0) << addUser.readAllStandardError().toStdString();
        port_ = freeLoopbackPort();
        arguments_ =
            QStringList{"--listen", QString("127.0.0.1:%1").arg(port_), "--database", database_} +
            extraArguments;
        ASSERT_NO_FATAL_FAILURE(launch());
    }

    quint16 port() const { return port_; }
    QString origin() const { return QString("http://127.0.0.1:%1").arg(port_); }

private:
    void launch() {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(RAVO_SERVER, arguments_);
        ASSERT_TRUE(process_.waitForStarted());
        for (int i = 0; i < 100; ++i) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, port_);
            if (socket.waitForConnected(100))
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        FAIL() << "ravo-server did not start";
    }

    QString database_;
    QStringList arguments_;
    QProcess process_;
    quint16 port_ = 0;
};

} // namespace ravo::testing
