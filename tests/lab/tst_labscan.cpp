// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs inside tools/lab with the site of eight devices, of which five answer a probe.
#include "lab/labprogram.h"

#include <QTest>

using tst::tellLab;

namespace {

constexpr int k_scanSeconds = 10;

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/** What a device is known by: "address MAC port". */
QString known(const QString& address, const QString& mac, int port)
{
    return text("%1 %2 %3").arg(address, mac).arg(port);
}

} // namespace

class TestLabScan : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void storesExactlyTheDevicesThatAnswer();
    void knowsThemAgainAndSeesAChangedAddress();
    void tellsThatADeviceWentOff();

private:
    QStringList stored();

    tst::LabProgram m_program;
    QStringList m_expected;
};

void TestLabScan::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("LAB_CONTROL"), "run this by tools/lab");
    for (const QString& line : tellLab(text("list"))) {
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        if (words.size() == 5 && words.at(4).startsWith(text("http")))
            m_expected.append(known(words.at(1), words.at(3), words.at(2).toInt()));
    }
    m_expected.sort();
    QCOMPARE(m_expected.size(), 5);
}

QStringList TestLabScan::stored()
{
    QStringList result;
    for (const QJsonValue& item : m_program.items({ text("list") }))
        result.append(known(
            item[text("IP")].toString(), item[text("MAC")].toString(), item[text("Port")].toInt()));
    result.sort();
    return result;
}

void TestLabScan::storesExactlyTheDevicesThatAnswer()
{
    const QJsonArray rows = m_program.items(
        { text("scan"), text("--sweep"), text("--for"), QString::number(k_scanSeconds) });
    QVERIFY2(m_program.exitCode() == 0, qPrintable(m_program.said()));
    QCOMPARE(tst::rowsWith(rows, "Event", text("new")).size(), 5);
    QCOMPARE(tst::rowsWith(rows, "Event", text("not ours")).size(), 3);
    QCOMPARE(stored(), m_expected);
}

void TestLabScan::knowsThemAgainAndSeesAChangedAddress()
{
    QProcess scan;
    m_program.start(scan, { text("scan"), text("--for"), QString::number(k_scanSeconds) });
    QString output;
    QVERIFY2(tst::waitForRows(scan, output, text("^known "), 5), qPrintable(output));
    QCOMPARE(tellLab(text("address cam1 10.77.0.99")).last(), text("ok"));
    QVERIFY2(
        tst::waitForRows(scan, output, text("^changed .*10\\.77\\.0\\.99 ")), qPrintable(output));
    QVERIFY(scan.waitForFinished(tst::k_labPatience));
    output += QString::fromUtf8(scan.readAllStandardOutput());
    QCOMPARE(scan.exitCode(), 0);
    QVERIFY2(!output.contains(text("\nnew ")), qPrintable(output));
    QStringList expected = m_expected.replaceInStrings(text("10.77.0.11 "), text("10.77.0.99 "));
    expected.sort();
    QCOMPARE(stored(), expected);
}

void TestLabScan::tellsThatADeviceWentOff()
{
    // The kernel would go on trusting it for half a minute and more.
    const QString impatience = text("ntable change name arp_cache dev near base_reachable 1000");
    QCOMPARE(QProcess::execute(text("ip"), impatience.split(QLatin1Char(' '))), 0);
    QProcess scan;
    m_program.start(scan, { text("scan"), text("--sweep") });
    QString output;
    QVERIFY2(tst::waitForRows(scan, output, text("^known "), 5), qPrintable(output));
    QCOMPARE(tellLab(text("stop cam2")).last(), text("ok"));
    QVERIFY2(tst::waitForRows(scan, output, text("^gone +10\\.77\\.0\\.12 ")), qPrintable(output));
    QCOMPARE(tellLab(text("start cam2")).last(), text("ok"));
    QVERIFY2(
        tst::waitForRows(scan, output, text("^known +10\\.77\\.0\\.12 "), 2), qPrintable(output));
    scan.terminate();
    QVERIFY(scan.waitForFinished(tst::k_labPatience));
    output += QString::fromUtf8(scan.readAllStandardOutput());
    QVERIFY2(
        output.contains(text("5 found, 0 of them new, 1 lost,")), qPrintable(output.right(500)));
}

QTEST_GUILESS_MAIN(TestLabScan)
#include "tst_labscan.moc"
