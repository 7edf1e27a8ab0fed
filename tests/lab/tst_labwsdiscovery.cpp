// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs inside tools/lab with a site of one camera that speaks WS-Discovery and one that doesn't.
#include "discovery/inodescanner.h"
#include "discovery/nodehintipdevice.h"
#include "lab/labprogram.h"

#include "platform/pluginloader.h"

#include <QTest>

using namespace tq;

namespace {

constexpr int k_patience = 30000; ///< ms

// The responder has a network of its own, whose other end is here.
const QString k_peerCommand =
    QStringLiteral("ip link add far78 type veth peer name near78 netns 1 && ip link set lo up && "
                   "ip addr add 10.78.0.2/24 dev far78 && ip link set far78 up && "
                   "exec wsdd --interface far78 --ipv4only --hostname SHELF --verbose");

bool runIp(const QString& arguments)
{
    return QProcess::execute(QStringLiteral("ip"), arguments.split(QLatin1Char(' '))) == 0;
}

} // namespace

class TestLabWsDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void followsTheCamera();
    void findsAResponderThatMustBeAsked();

    void takeNew(const tq::NodeHint& hint) { take("new", hint); }
    void takeChanged(const tq::NodeHint& hint) { take("changed", hint); }
    void takeGone(const tq::NodeHint& hint) { take("gone", hint); }

private:
    void take(const char* event, const NodeHint& hint);

    tqm::smart<INodeScanner> m_scanner;
    QStringList m_told; ///< "EVENT ADDRESS:PORT NAME URL"
    QString m_endpoint; ///< of the last one told
};

void TestLabWsDiscovery::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("LAB_CONTROL"), "run this by tests/lab/run-wsdiscovery");
    plugin::Loader::instance().addFolder(QStringLiteral(PLUGIN_FOLDER));
    const auto found = plugin::Loader::instance().listComponents("INodeScanner", "wsdiscovery");
    QCOMPARE(found.size(), 1);
    m_scanner = found.first();
    QVERIFY(tq::connect(m_scanner->newHintSignal(), this, SLOT(takeNew(const tq::NodeHint&))));
    QVERIFY(
        tq::connect(m_scanner->hintChangedSignal(), this, SLOT(takeChanged(const tq::NodeHint&))));
    QVERIFY(tq::connect(m_scanner->hintGoneSignal(), this, SLOT(takeGone(const tq::NodeHint&))));
}

void TestLabWsDiscovery::init()
{
    m_scanner->start(0, 0);
    QVERIFY(m_scanner->isRunning());
}

void TestLabWsDiscovery::cleanup()
{
    m_scanner->stop();
    m_told.clear();
}

void TestLabWsDiscovery::take(const char* event, const NodeHint& hint)
{
    const auto& device = dynamic_cast<const NodeHintIPDevice&>(hint);
    QCOMPARE(device.furtherValue(), qint64(eWSDiscoveryService));
    QCOMPARE(device.nodeType(), eAnyNodeType);
    QVERIFY(!device.ssl());
    m_endpoint = device.secondText();
    m_told.append(QStringLiteral("%1 %2:%3 %4 %5")
                      .arg(QLatin1String(event), device.hostAddress(),
                          QString::number(device.port()), device.name(), device.thirdText()));
}

void TestLabWsDiscovery::followsTheCamera()
{
    const QString known =
        QStringLiteral("10.77.0.11:8080 Harbour gate http://10.77.0.11:8080/onvif/device_service");
    const QString moved =
        QStringLiteral("10.77.0.99:8080 Harbour gate http://10.77.0.99:8080/onvif/device_service");
    QTRY_COMPARE_WITH_TIMEOUT(m_told, QStringList(QStringLiteral("new ") + known), k_patience);
    const QString endpoint = m_endpoint;
    QVERIFY(endpoint.startsWith(QLatin1String("urn:uuid:")));
    QCOMPARE(tst::tellLab(QStringLiteral("stop cam1")).last(), QStringLiteral("ok"));
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 2, k_patience);
    QCOMPARE(m_told.last(), QStringLiteral("gone ") + known);
    QCOMPARE(tst::tellLab(QStringLiteral("start cam1")).last(), QStringLiteral("ok"));
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 3, k_patience);
    QCOMPARE(m_told.last(), QStringLiteral("new ") + known);
    QCOMPARE(tst::tellLab(QStringLiteral("address cam1 10.77.0.99")).last(), QStringLiteral("ok"));
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 4, k_patience);
    QCOMPARE(m_told.last(), QStringLiteral("changed ") + moved);
    QCOMPARE(m_endpoint, endpoint);
}

void TestLabWsDiscovery::findsAResponderThatMustBeAsked()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 1, k_patience); // the camera
    QProcess peer;
    peer.start(QStringLiteral("unshare"),
        { QStringLiteral("--net"), QStringLiteral("sh"), QStringLiteral("-c"), k_peerCommand });
    QTRY_VERIFY2(
        runIp(QStringLiteral("link set near78 up")), peer.readAllStandardError().constData());
    QVERIFY(runIp(QStringLiteral("addr add 10.78.0.1/24 dev near78")));

    // The scanner sees that there is another network, and asks there as well.
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 2, k_patience);
    const QString shelf =
        QStringLiteral("10.78.0.2:5357  http://10.78.0.2:5357/") + m_endpoint.mid(9);
    QCOMPARE(m_told.last(), QStringLiteral("new ") + shelf);

    // It answers a Probe without its address. A late Hello may tell it all the same: then once
    // more.
    QByteArray log = peer.readAllStandardError();
    for (int round = 0; round < 20 && !log.contains("\"Resolve "); ++round) {
        m_scanner->stop();
        m_told.clear();
        m_scanner->start(0, 0);
        QTRY_VERIFY_WITH_TIMEOUT(m_told.contains(QStringLiteral("new ") + shelf), k_patience);
        log += peer.readAllStandardError();
    }
    QVERIFY2(log.contains("\"Resolve "), log.constData());

    m_told.clear();
    peer.terminate();
    QTRY_COMPARE_WITH_TIMEOUT(m_told, QStringList(QStringLiteral("gone ") + shelf), k_patience);
    QVERIFY(peer.waitForFinished());
}

QTEST_GUILESS_MAIN(TestLabWsDiscovery)
#include "tst_labwsdiscovery.moc"
