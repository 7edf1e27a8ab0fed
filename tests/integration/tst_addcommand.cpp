// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs in a network of its own, where 192.0.2.9 is at the end of a line and says nothing.
#include "shared/ownnetwork.h"

#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int k_patience = 60000; ///< ms

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

class TestAddCommand : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void saysWhyThereIsNoNode_data();
    void saysWhyThereIsNoNode();
};

void TestAddCommand::initTestCase()
{
    if (!tst::hasOwnNetwork())
        QSKIP("this machine allows no network namespace");
    const QString line = text("ip link add quiet type veth peer name deaf && ip link set deaf up "
                              "&& ip link set quiet up && ip addr add 192.0.2.1/24 dev quiet && "
                              "ip neigh add 192.0.2.9 lladdr 02:00:00:00:00:09 dev quiet");
    if (QProcess::execute(text("sh"), { text("-c"), line }) != 0)
        QSKIP("a line without anybody cannot be made (package iproute2)");
}

void TestAddCommand::saysWhyThereIsNoNode_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("port"); // that a device listens on, if any
    QTest::addColumn<QByteArray>("banner"); // what it says at once
    QTest::addColumn<QByteArray>("said");
    const auto row = [](const char* address, const char* said, int port = 0,
                         const char* banner = "") {
        QTest::newRow(said) << text(address) << port << QByteArray(banner) << QByteArray(said);
    };
    row("camera.invalid", "\"camera.invalid\" is the name of no host");
    row("198.51.100.7", "\"198.51.100.7\" cannot be reached: there is no route");
    row("192.0.2.9", "\"192.0.2.9\" is silent: ");
    row("127.0.0.1", "\"127.0.0.1\" refuses the connection; ");
    row("127.0.0.2", "\"127.0.0.2\" takes the connection, but did not answer", 80);
    row("127.0.0.3", "\"127.0.0.3\" answers, but not as a device", 443, "SSH-2.0-x\r\n");
    row("127.0.0.4", "\"127.0.0.4\" answers, but not as a device", 445, "220 gate\r\n");
}

void TestAddCommand::saysWhyThereIsNoNode()
{
    QFETCH(QString, address);
    QFETCH(int, port);
    QFETCH(QByteArray, banner);
    QFETCH(QByteArray, said);
    QTcpServer device;
    QObject::connect(&device, &QTcpServer::newConnection, &device,
        [&] { device.nextPendingConnection()->write(banner); });
    QVERIFY(port == 0 || device.listen(QHostAddress(address), quint16(port)));
    const QTemporaryDir folder;
    QProcess program;
    program.start(text(NODEDB_PROGRAM),
        { text("--store"), folder.filePath(text("devices.db")), text("add"), address });
    QTRY_COMPARE_WITH_TIMEOUT(program.state(), QProcess::NotRunning, k_patience);
    QCOMPARE(program.exitCode(), 1);
    const QByteArray error = program.readAllStandardError();
    QVERIFY2(error.contains(said), error);
}

int main(int argc, char** argv)
{
    return tst::runInOwnNetwork<TestAddCommand>(argc, argv);
}

#include "tst_addcommand.moc"
