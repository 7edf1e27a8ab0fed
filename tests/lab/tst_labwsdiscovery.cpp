// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs inside tools/lab with a site of one camera that speaks WS-Discovery and one that doesn't.
#include "discovery/inodescanner.h"
#include "discovery/nodehintipdevice.h"
#include "lab/labprogram.h"
#include "scanners/wsdiscovery/wsmessages_p.h"
#include "scanners/wsdiscovery/wssockets_p.h"

#include "platform/pluginloader.h"

#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace tq;

namespace {

constexpr int k_patience = 30000; ///< ms

// The responder has a network of its own, whose other end is here.
const QString k_peerCommand =
    u"ip link add far78 type veth peer name near78 netns 1 && ip link set lo up && "
    "ip addr add 10.78.0.2/24 dev far78 && ip link set far78 up && "
    "exec wsdd --interface far78 --ipv4only --hostname SHELF --verbose"_s;

bool runIp(const QString& arguments)
{
    return QProcess::execute(u"ip"_s, arguments.split(u' ')) == 0;
}

/** Asks the network of that interface where a device is; returns what it answers. */
QStringList resolved(const QString& interface, const QString& endpoint)
{
    WsSockets sockets(WsSockets::k_port);
    const QString id = newWsMessageId();
    QStringList result;
    const auto take = [&](const QNetworkDatagram& datagram) {
        QString error;
        const auto message = readWsMessage(datagram.data(), error);
        const bool isAnswer = message && message->kind == WsMessage::eResolveMatches;
        if (isAnswer && message->relatesTo == id)
            result = message->devices.value(0).addresses;
    };
    QObject::connect(&sockets, &WsSockets::received, &sockets, take);
    if (sockets.open({ interface }) && sockets.refresh())
        sockets.send(wsResolve(id, endpoint));
    (void)QTest::qWaitFor([&] { return !result.isEmpty(); }, k_patience);
    return result;
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
    void interfacesMayShareAnAddress();

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
    m_told.append(u"%1 %2:%3 %4 %5"_s.arg(QLatin1String(event), device.hostAddress(),
        QString::number(device.port()), device.name(), device.thirdText()));
}

void TestLabWsDiscovery::followsTheCamera()
{
    const QString known =
        u"10.77.0.11:8080 Harbour gate http://10.77.0.11:8080/onvif/device_service"_s;
    const QString moved =
        u"10.77.0.99:8080 Harbour gate http://10.77.0.99:8080/onvif/device_service"_s;
    QTRY_COMPARE_WITH_TIMEOUT(m_told, QStringList(u"new "_s + known), k_patience);
    const QString endpoint = m_endpoint;
    QVERIFY(endpoint.startsWith(QLatin1String("urn:uuid:")));
    QCOMPARE(tst::tellLab(u"stop cam1"_s).last(), u"ok"_s);
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 2, k_patience);
    QCOMPARE(m_told.last(), u"gone "_s + known);
    QCOMPARE(tst::tellLab(u"start cam1"_s).last(), u"ok"_s);
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 3, k_patience);
    QCOMPARE(m_told.last(), u"new "_s + known);
    QCOMPARE(tst::tellLab(u"address cam1 10.77.0.99"_s).last(), u"ok"_s);
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 4, k_patience);
    QCOMPARE(m_told.last(), u"changed "_s + moved);
    QCOMPARE(m_endpoint, endpoint);
}

void TestLabWsDiscovery::findsAResponderThatMustBeAsked()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_told.size(), 1, k_patience); // the camera
    QProcess peer;
    peer.start(u"unshare"_s, { u"--net"_s, u"sh"_s, u"-c"_s, k_peerCommand });
    QTRY_VERIFY2_WITH_TIMEOUT(
        runIp(u"link set near78 up"_s), peer.readAllStandardError().constData(), k_patience);
    QVERIFY(runIp(u"addr add 10.78.0.1/24 dev near78"_s));

    // The scanner sees that there is another network, and asks there as well.
    // Where the responder has no time to say its address at once, that comes as a change.
    const QString place = u" 10.78.0.2:5357  http://10.78.0.2:5357/"_s;
    QTRY_VERIFY2_WITH_TIMEOUT(
        m_told.last().contains(place), qPrintable(m_told.join(u'\n')), k_patience);
    const QString shelf = place.mid(1) + m_endpoint.mid(9);
    QCOMPARE(m_told.at(1).section(u' ', 0, 0), u"new"_s);
    QVERIFY(m_told.last().endsWith(shelf));

    // It answers a Probe without its address. Whether the scanner had to ask for it or a Hello came
    // first is chance; that the question is understood is not.
    const QStringList places = resolved(u"near78"_s, m_endpoint);
    QVERIFY(places.contains(shelf.section(u' ', -1)));

    // Another address of ours on its network: it is asked from there, and still heard.
    QVERIFY(runIp(u"addr flush dev near78"_s) && runIp(u"addr add 10.78.0.3/24 dev near78"_s));
    QByteArray said;
    QTRY_VERIFY2_WITH_TIMEOUT(
        (said += peer.readAllStandardError()).contains("10.78.0.3"), said.constData(), k_patience);
    m_told.clear();
    peer.terminate();
    QTRY_COMPARE_WITH_TIMEOUT(m_told, QStringList(u"gone "_s + shelf), k_patience);
    peer.kill(); // it may hang when it ends, and has said what it had to say
    QVERIFY(peer.waitForFinished());
}

void TestLabWsDiscovery::interfacesMayShareAnAddress()
{
    constexpr quint16 k_ownPort = 3703;
    const QStringList names{ u"twin0"_s, u"twin1"_s };
    QVERIFY(runIp(u"link add twin0 type veth peer name twin1"_s));
    for (const QString& name : names)
        QVERIFY(
            runIp(u"addr add 10.79.0.1/24 dev "_s + name) && runIp(u"link set up dev "_s + name));
    QSet<uint> indexes;
    for (const QString& name : names) {
        const auto interface = [name] { return QNetworkInterface::interfaceFromName(name); };
        // The kernel tells a moment later that there is somebody at the other end.
        QTRY_VERIFY_WITH_TIMEOUT(
            interface().flags().testFlag(QNetworkInterface::IsRunning), k_patience);
        indexes.insert(uint(interface().index()));
    }
    WsSockets sockets(k_ownPort);
    QSet<uint> heard; // what is sent to the group comes back to who sent it
    QObject::connect(&sockets, &WsSockets::received, this,
        [&](const QNetworkDatagram& datagram) { heard.insert(datagram.interfaceIndex()); });
    QVERIFY(sockets.open(names));
    QVERIFY(sockets.refresh());
    QVERIFY(!sockets.refresh());
    sockets.send("x");
    QTRY_COMPARE_WITH_TIMEOUT(heard, indexes, k_patience);
}

QTEST_GUILESS_MAIN(TestLabWsDiscovery)
#include "tst_labwsdiscovery.moc"
