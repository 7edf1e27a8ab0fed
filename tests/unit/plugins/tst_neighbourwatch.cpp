// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs in a network of its own: a line whose other end nobody answers on.
#include "scanners/arp/neighbourwatch_p.h"
#include "scanners/arp/subnetsweep_p.h"
#include "shared/ownnetwork.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace tq;

namespace {

constexpr int k_patience = 60000; ///< ms

bool runIp(const char* arguments)
{
    return QProcess::execute(
               QStringLiteral("ip"), QString::fromLatin1(arguments).split(QLatin1Char(' ')))
        == 0;
}

/** Gives up or takes back the right to ask by netlink; programs that are started have it anyway. */
bool setMayAsk(bool mayAsk)
{
    __user_cap_header_struct head{ _LINUX_CAPABILITY_VERSION_3, 0 };
    __user_cap_data_struct data[2]{};
    if (::syscall(SYS_capget, &head, data) != 0)
        return false;
    const __u32 bit = 1u << CAP_NET_ADMIN;
    data[0].effective = mayAsk ? data[0].effective | bit : data[0].effective & ~bit;
    return ::syscall(SYS_capset, &head, data) == 0;
}

/** Returns how many datagrams were sent in this network, of both families. */
int datagrams()
{
    int sum = 0;
    const QRegularExpression four(
        QStringLiteral("^Udp: \\d+ \\d+ \\d+ (\\d+) "), QRegularExpression::MultilineOption);
    const QRegularExpression six(
        QStringLiteral("^Udp6OutDatagrams\\s+(\\d+)"), QRegularExpression::MultilineOption);
    for (const auto& [path, pattern] :
        { std::pair("/proc/net/snmp", four), std::pair("/proc/net/snmp6", six) }) {
        QFile file(QString::fromLatin1(path));
        if (file.open(QIODevice::ReadOnly))
            sum += pattern.match(QString::fromLatin1(file.readAll())).captured(1).toInt();
    }
    return sum;
}

} // namespace

class TestNeighbourWatch : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void asksInOneWayWhetherDevicesAreThere_data();
    void asksInOneWayWhetherDevicesAreThere();
    void sweepsAgain();
};

void TestNeighbourWatch::initTestCase()
{
    if (!tst::hasOwnNetwork())
        QSKIP("this machine allows no network namespace");
    if (QProcess::execute(QStringLiteral("ip"), { QStringLiteral("-V") }) != 0)
        QSKIP("the program ip is missing (package iproute2)");
}

void TestNeighbourWatch::init()
{
    QVERIFY(runIp("link add near type veth peer name far"));
    QVERIFY(runIp("link set far up") && runIp("link set near up"));
    QVERIFY(runIp("addr add 10.78.0.1/30 dev near"));
}

void TestNeighbourWatch::cleanup()
{
    runIp("link del near");
}

void TestNeighbourWatch::asksInOneWayWhetherDevicesAreThere_data()
{
    QTest::addColumn<bool>("mayAsk");
    QTest::newRow("by netlink") << true;
    QTest::newRow("an ordinary user by datagrams") << false;
}

void TestNeighbourWatch::asksInOneWayWhetherDevicesAreThere()
{
    QFETCH(bool, mayAsk);
    QStringList expected{ QStringLiteral("10.78.0.2") };
    QVERIFY(runIp("neigh add 10.78.0.2 lladdr 02:00:00:00:00:02 dev near nud stale"));
    if (QFile::exists(QStringLiteral("/proc/net/if_inet6"))) {
        QVERIFY(runIp("addr add fd78::1/64 dev near nodad"));
        QVERIFY(runIp("neigh add fd78::5 lladdr 02:00:00:00:00:05 dev near nud stale"));
        expected.append(QStringLiteral("fd78::5"));
    }
    QStringList gone;
    NeighbourWatch watch;
    QObject::connect(&watch, &NeighbourWatch::happened, this, [&](const auto& event) {
        if (event.kind == NeighbourTable::eGone)
            gone.append(event.address.toString());
    });
    const int before = datagrams();
    QVERIFY(setMayAsk(mayAsk));
    const bool isStarted = watch.start();
    watch.confirm(0);
    (void)QTest::qWaitFor([&] { return gone.size() == expected.size(); }, k_patience);
    QVERIFY(setMayAsk(true));
    QVERIFY(isStarted);
    gone.sort();
    QCOMPARE(gone, expected); // the kernel alone says that somebody is
    QCOMPARE(datagrams() - before, mayAsk ? 0 : int(expected.size()));
}

void TestNeighbourWatch::sweepsAgain()
{
    const int before = datagrams();
    SubnetSweep sweep(1);
    sweep.start(1000);
    QTRY_VERIFY_WITH_TIMEOUT(datagrams() - before >= 3, k_patience);
}

int main(int argc, char** argv)
{
    return tst::runInOwnNetwork<TestNeighbourWatch>(argc, argv);
}

#include "tst_neighbourwatch.moc"
