// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs inside tools/lab with the site flood.json.
#include "lab/attacker.h"
#include "lab/avahipeer.h"
#include "lab/labprogram.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>

using tst::tellLab;

namespace {

constexpr int k_messages = 10000;
constexpr int k_rounds = k_messages / tst::k_hostileKinds;
#ifdef __SANITIZE_ADDRESS__
constexpr int k_mostGrowth = 1024 * 1024; // KiB; it keeps what was freed
#else
constexpr int k_mostGrowth = 64 * 1024; // KiB
#endif
constexpr int k_mostLines = 100; ///< of the log, about the messages
constexpr quint16 k_port = 3702;

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QString contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
}

/** What this side's sockets of some ports hold, and what they had to drop. */
struct Sockets
{
    int count = 0;
    int waiting = 0; ///< bytes
    int dropped = 0; ///< datagrams
};

Sockets socketsOf(quint16 port, quint16 otherPort)
{
    Sockets result;
    const QStringList lines = contentOf(text("/proc/thread-self/net/udp")).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        // number, local and remote address:port, state, to be sent:to be read, ... drops
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        const int ours = words.value(1).section(QLatin1Char(':'), 1).toInt(nullptr, 16);
        if (ours == 0 || (ours != port && ours != otherPort))
            continue;
        ++result.count;
        result.waiting += words.value(4).section(QLatin1Char(':'), 1).toInt(nullptr, 16);
        result.dropped += words.last().toInt();
    }
    return result;
}

bool isPrintable(const QString& line)
{
    return std::all_of(line.begin(), line.end(),
        [](QChar each) { return each.isPrint() && each != QChar::ReplacementCharacter; });
}

} // namespace

/** The whole program among those who mean harm. */
class TestLabFlood : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void theScanGoesOn();

private:
    int largestMemory() const; // KiB
    void sendMessages();
    void publishNames();
    void findLateDevices();
    void checkLines(const char* what, const QString& output) const;

    tst::LabProgram m_program;
    tst::Attacker m_attacker;
    std::unique_ptr<tst::AvahiPeer> m_names;
    QProcess m_scan;
    QString m_output;
};

void TestLabFlood::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("LAB_CONTROL"), "run this by tools/lab");
    const QString obstacle = tst::AvahiPeer::obstacle();
    if (!obstacle.isEmpty())
        QSKIP(qPrintable(obstacle));
    if (qEnvironmentVariable("LAB_WITHOUT").contains(text("avahi")))
        QSKIP("the lab is without avahi; its --verbose says why");
    const QString reason = m_attacker.join();
    if (!reason.isEmpty())
        QSKIP(qPrintable(reason));
    m_names = std::make_unique<tst::AvahiPeer>(
        text("foe"), QStringList(text("foe-names")), m_attacker.enter());
    QVERIFY2(m_names->startBus() && m_names->startDaemon(), qPrintable(m_names->said()));
    for (const char* const change : { "stop late3", "withdraw late4" })
        QCOMPARE(tellLab(text(change)).last(), text("ok"));
}

int TestLabFlood::largestMemory() const
{
    static const QRegularExpression line(text("VmHWM:\\s*(\\d+) kB"));
    const QString path = text("/proc/%1/status").arg(m_scan.processId());
    return line.match(contentOf(path)).captured(1).toInt();
}

void TestLabFlood::sendMessages()
{
    const auto sockets = [this] { return socketsOf(k_port, m_attacker.victim()); };
    QCOMPARE(sockets().count, 2);
    const int droppedBefore = sockets().dropped;
    int sent = 0;
    for (int round = 0; round < k_rounds; ++round) {
        sent += m_attacker.sendRound(round);
        // No more at once than the sockets hold.
        QVERIFY(QTest::qWaitFor([&] { return sockets().waiting == 0; }, tst::k_labPatience));
    }
    QCOMPARE(sent, k_messages);
    QCOMPARE(sockets().dropped, droppedBefore);
}

void TestLabFlood::publishNames()
{
    const QStringList names{ text("gate\nnew  10.77.0.9\x1b[31m\x07"), text("\x1b]0;gate\x07"),
        text("\"; DROP TABLE nodes; --"), text("\xe2\x80\xae\xe2\x81\xa6\xc2\x9b[2J\xe2\x80\xa8"),
        QString(63, QLatin1Char('\x1b')), QString(31, QChar(0x0085)) };
    for (const QString& name : names) {
        for (const char* const type : { "_rtsp._tcp", "_smb._tcp" }) {
            const int number = m_names->publish(name, text(type), 554,
                { text("model=\x1b[2J") + QString(150, QLatin1Char('\r')),
                    text("mac=") + QString(200, QLatin1Char('\n')) });
            QVERIFY2(number >= 0, qPrintable(m_names->said()));
        }
    }
}

void TestLabFlood::checkLines(const char* what, const QString& output) const
{
    QVERIFY2(output.endsWith(QLatin1Char('\n')), what);
    for (const QString& line : output.chopped(1).split(QLatin1Char('\n')))
        QVERIFY2(isPrintable(line),
            qPrintable(text(what) + QString::fromLatin1(line.toUtf8().toPercentEncoding(" "))));
}

void TestLabFlood::findLateDevices()
{
    QString rows; // from now on
    QCOMPARE(tellLab(text("start late3")).last(), text("ok"));
    QVERIFY2(tst::waitForRows(m_scan, rows, text("^new .* Roof ")), qPrintable(rows.right(2000)));
    QCOMPARE(tellLab(text("announce late4")).last(), text("ok"));
    // Known if this side's Avahi still had it when the scan began.
    QVERIFY2(tst::waitForRows(m_scan, rows, text("^(new|known) .* late4 ")),
        qPrintable(rows.right(2000)));
    m_output += rows;
}

void TestLabFlood::theScanGoesOn()
{
    m_program.start(m_scan,
        { text("scan"), text("--scanner"), text("wsdiscovery"), text("--scanner"), text("dnssd") });
    for (const char* const device : { "^new .* Harbour gate ", "^new .* quay2 " })
        QVERIFY2(tst::waitForRows(m_scan, m_output, text(device)), qPrintable(m_output));
    QTRY_VERIFY(m_attacker.hasHeardProbe());
    const int before = largestMemory();
    QVERIFY(before > 0);

    sendMessages();
    publishNames();
    findLateDevices();
    if (QTest::currentTestFailed())
        return;
    const int after = largestMemory();

    m_scan.terminate();
    QVERIFY(m_scan.waitForFinished(tst::k_labPatience));
    m_output += QString::fromUtf8(m_scan.readAllStandardOutput());
    const QString log = QString::fromUtf8(m_scan.readAllStandardError());
    const auto rows = m_output.count(QLatin1Char('\n'));
    const auto lines = log.count(QLatin1Char('\n'));
    qInfo("%d messages; VmHWM %d kB before, %d kB after; %lld rows, %lld log lines", k_messages,
        before, after, qlonglong(rows), qlonglong(lines));
    QCOMPARE(m_scan.exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_scan.exitCode(), 0);
    QVERIFY(after >= before && after - before < k_mostGrowth);
    // Each row of a device that no driver wants has a line of its own.
    QVERIFY(rows < k_messages && lines < rows + k_mostLines);
    QVERIFY2(m_output.contains(text("\\u001b")), "no hostile name was shown");
    checkLines("output: ", m_output);
    checkLines("log: ", log);
    QVERIFY2(!m_output.contains(text("192.0.2.")), "an address off the segment was asked");
}

QTEST_GUILESS_MAIN(TestLabFlood)
#include "tst_labflood.moc"
