// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs inside tools/lab with the site of eight devices, of which five answer a probe.
#include "lab/labprogram.h"

#include <QTest>

using namespace Qt::StringLiterals;
using tst::tellLab;

namespace {

constexpr int k_scanSeconds = 10;

/** What a device is known by: "address MAC port". */
QString known(const QString& address, const QString& mac, int port)
{
    return u"%1 %2 %3"_s.arg(address, mac).arg(port);
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
    for (const QString& line : tellLab(u"list"_s)) {
        const QStringList words = line.simplified().split(u' ');
        if (words.size() == 5 && words.at(4).startsWith(u"http"_s))
            m_expected.append(known(words.at(1), words.at(3), words.at(2).toInt()));
    }
    m_expected.sort();
    QCOMPARE(m_expected.size(), 5);
}

QStringList TestLabScan::stored()
{
    QStringList result;
    for (const QJsonValue& item : m_program.items({ u"list"_s }))
        result.append(
            known(item[u"IP"_s].toString(), item[u"MAC"_s].toString(), item[u"Port"_s].toInt()));
    result.sort();
    return result;
}

void TestLabScan::storesExactlyTheDevicesThatAnswer()
{
    const QJsonArray rows =
        m_program.items({ u"scan"_s, u"--sweep"_s, u"--for"_s, QString::number(k_scanSeconds) });
    QVERIFY2(m_program.exitCode() == 0, qPrintable(m_program.said()));
    QCOMPARE(tst::rowsWith(rows, "Event", u"new"_s).size(), 5);
    QCOMPARE(tst::rowsWith(rows, "Event", u"not ours"_s).size(), 3);
    QCOMPARE(stored(), m_expected);
}

void TestLabScan::knowsThemAgainAndSeesAChangedAddress()
{
    QProcess scan;
    m_program.start(scan, { u"scan"_s, u"--for"_s, QString::number(k_scanSeconds) });
    QString output;
    QVERIFY2(tst::waitForRows(scan, output, u"^known "_s, 5), qPrintable(output));
    QCOMPARE(tellLab(u"address cam1 10.77.0.99"_s).last(), u"ok"_s);
    QVERIFY2(tst::waitForRows(scan, output, u"^changed .*10\\.77\\.0\\.99 "_s), qPrintable(output));
    QVERIFY(scan.waitForFinished(tst::k_labPatience));
    output += QString::fromUtf8(scan.readAllStandardOutput());
    QCOMPARE(scan.exitCode(), 0);
    QVERIFY2(!output.contains(u"\nnew "_s), qPrintable(output));
    QStringList expected = m_expected.replaceInStrings(u"10.77.0.11 "_s, u"10.77.0.99 "_s);
    expected.sort();
    QCOMPARE(stored(), expected);
}

void TestLabScan::tellsThatADeviceWentOff()
{
    // The kernel would go on trusting it for half a minute and more.
    const QString impatience = u"ntable change name arp_cache dev near base_reachable 1000"_s;
    QCOMPARE(QProcess::execute(u"ip"_s, impatience.split(u' ')), 0);
    QProcess scan;
    m_program.start(scan, { u"scan"_s, u"--sweep"_s });
    QString output;
    QVERIFY2(tst::waitForRows(scan, output, u"^known "_s, 5), qPrintable(output));
    QCOMPARE(tellLab(u"stop cam2"_s).last(), u"ok"_s);
    QVERIFY2(tst::waitForRows(scan, output, u"^gone +10\\.77\\.0\\.12 "_s), qPrintable(output));
    QCOMPARE(tellLab(u"start cam2"_s).last(), u"ok"_s);
    QVERIFY2(tst::waitForRows(scan, output, u"^known +10\\.77\\.0\\.12 "_s, 2), qPrintable(output));
    scan.terminate();
    QVERIFY(scan.waitForFinished(tst::k_labPatience));
    output += QString::fromUtf8(scan.readAllStandardOutput());
    QVERIFY2(output.contains(u"5 found, 0 of them new, 1 lost,"_s), qPrintable(output.right(500)));
}

QTEST_GUILESS_MAIN(TestLabScan)
#include "tst_labscan.moc"
