// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs in a network of its own, where 192.0.2.9 is at the end of a line and says nothing.
#include "integration/programtest.h"
#include "shared/ownnetwork.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::StringLiterals;

class TestAddCommand : public tst::ProgramTest
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
    const QString line = u"ip link add quiet type veth peer name deaf && ip link set deaf up "
                         "&& ip link set quiet up && ip addr add 192.0.2.1/24 dev quiet && "
                         "ip neigh add 192.0.2.9 lladdr 02:00:00:00:00:09 dev quiet"_s;
    if (QProcess::execute(u"sh"_s, { u"-c"_s, line }) != 0)
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
        QTest::newRow(said) << QString::fromUtf8(address) << port << QByteArray(banner)
                            << QByteArray(said);
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
    begin();
    const tst::Run added = inWords("add " + address.toUtf8());
    QCOMPARE(added.code, 1);
    QVERIFY2(added.error.contains(said), added.error);
}

int main(int argc, char** argv)
{
    return tst::runInOwnNetwork<TestAddCommand>(argc, argv);
}

#include "tst_addcommand.moc"
