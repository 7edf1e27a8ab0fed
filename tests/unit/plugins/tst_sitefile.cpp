// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// What a site file's reader makes of defaults and of hostile files; tests/lab/siteschema has the
// single rules.
#include "simulated/site/site.h"

#include <QRegularExpression>
#include <QTemporaryFile>
#include <QTest>

using namespace tq::site;

namespace {

Site read(const QByteArray& json)
{
    QTemporaryFile file;
    if (!file.open() || file.write(json) != json.size() || !file.flush())
        qFatal("no temporary file");
    Site site = readSite(file.fileName());
    site.error.remove(QStringLiteral("site file %1: ").arg(file.fileName()));
    return site;
}

QByteArray device(const QByteArray& more)
{
    return R"({"devices": [{"name": "a", "address": "10.77.0.2")" + more + "}]}";
}

} // namespace

class TestSiteFile : public QObject
{
    Q_OBJECT

private slots:
    void fillsDefaults();
    void readsTimesAndOrdersChanges();
    void errorNamesDeviceKeyAndValue();
    void refusesHostileFiles_data();
    void refusesHostileFiles();
};

void TestSiteFile::fillsDefaults()
{
    const Site site = read(device(R"(, "answers": "slow", "probe": "late", "onvif": {})"));
    QCOMPARE(site.error, QString());
    QCOMPARE(site.seed, 1U);
    const DeviceSpec& one = site.devices.at(0);
    QCOMPARE(one.kind, KindCamera);
    QCOMPARE(one.mac, QStringLiteral("02:77:0a:4d:00:02"));
    QCOMPARE(one.ports, QList<quint16>{ 80 });
    QCOMPARE(one.title, QStringLiteral("a"));
    QCOMPARE(one.delay, 5000);
    QCOMPARE(one.probeDelay, 2000);
    QCOMPARE(one.appears.by, ByArp);
    QCOMPARE(one.appears.times, 1);
    QVERIFY(!one.vanishes);
    QVERIFY(one.onvif && one.onvif->user.isEmpty() && !one.onvif->discoverable);
    QVERIFY(!one.smb);
}

void TestSiteFile::readsTimesAndOrdersChanges()
{
    const Site site =
        read(device(R"(, "appears": {"by": "wsdiscovery", "at": 0.0625}, "vanishes": 6.5, "changes":
            [{"at": 2, "address": "10.77.0.8"}, {"at": 1.001, "address": "10.77.0.9"}])"));
    QCOMPARE(site.error, QString());
    const DeviceSpec& one = site.devices.at(0);
    QCOMPARE(one.appears.by, ByWsDiscovery);
    QCOMPARE(one.appears.at, 63);
    QCOMPARE(one.vanishes, 6500);
    QCOMPARE(one.changes.at(0).at, 1001);
    QCOMPARE(one.changes.at(1).address, QHostAddress(QStringLiteral("10.77.0.8")));
}

void TestSiteFile::errorNamesDeviceKeyAndValue()
{
    const auto errorOf = [](const QByteArray& more) { return read(device(more)).error; };
    QCOMPARE(errorOf(R"(, "announces": [{"type": "_x._tcp", "port": true}])"),
        QStringLiteral("device 1: \"announces[0].port\" true is no number from 1 to 65535"));
    QCOMPARE(errorOf(R"(, "smb": {"shares": [{"name": "s", "full": ["eve"]}]})"),
        QStringLiteral(
            "device 1: \"smb.shares[0].full\" [\"eve\"] names who is none of the users"));
    QCOMPARE(errorOf(R"(}, {"name": "b", "address": "10.77.0.2")"),
        QStringLiteral("device 2: \"address\" \"10.77.0.2\" belongs to a"));
}

void TestSiteFile::refusesHostileFiles_data()
{
    const qsizetype many = 100000;
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("giant") << device(", \"title\": \"" + QByteArray(1 << 24, 'x') + '"');
    QTest::newRow("deep") << QByteArray(many, '[') + QByteArray(many, ']');
    QTest::newRow("long text") << device(", \"title\": \"" + QByteArray(many, 'x') + '"');
    QTest::newRow("long list") << device(
        ", \"announces\": [" + QByteArray(many, ' ').replace(" ", "0,") + "0]");
    QTest::newRow("many devices") << QByteArray(
        "{\"devices\": [" + QByteArray(many, ' ').replace(" ", "{},") + "{}]}");
    QTest::newRow("long key") << device(", \"" + QByteArray(many, 'k') + "\": 1");
    QTest::newRow("control characters") << device(", \"\\u0007\\u009b31m\": \"\\u001b[2J\"");
    QTest::newRow("no object") << QByteArray("[1]");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no UTF-8") << device(", \"title\": \"\xff\xfe\"");
}

void TestSiteFile::refusesHostileFiles()
{
    QFETCH(const QByteArray, json);
    const Site site = read(json);
    QVERIFY(!site.error.isEmpty());
    QVERIFY2(site.error.size() < 600, qPrintable(site.error));
    for (const QChar character : site.error)
        QVERIFY2(character.isPrint(), qPrintable(site.error));
}

QTEST_GUILESS_MAIN(TestSiteFile)
#include "tst_sitefile.moc"
